#include "Printers.hpp"
#include "RuvolaCore/PadControl.hpp"

#include <gtest/gtest.h>

namespace ruvola {
namespace {

TEST(PadControl, ParsesConfigNamesAndListsEveryControl) {
    const std::pair<const char*, PadControl> named[] = {
        {"KEY 1", PadControl::key(1)},
        {" Key   6 ", PadControl::key(6)},
        {"button 3", PadControl::button(3)},
        {"Left Knob", PadControl::knob(Knob::left)},
        {"right  KNOB", PadControl::knob(Knob::right)},
    };
    for (const auto& [text, control] : named) {
        EXPECT_EQ(PadControl::fromConfigName(text), control) << '"' << text << '"';
    }
    for (const char* text : {"", "key1", "key 0", "key 7", "key +-1", "key 1x", "key 99999999999",
                             "key\t1", "button 4", "knob left", "left knobs"}) {
        EXPECT_EQ(PadControl::fromConfigName(text), std::nullopt) << '"' << text << '"';
    }
    // Every control, in order, by the name that reads back as it.
    std::string names;
    for (const PadControl& control : PadControl::all()) {
        names += control.configName() + ",";
        EXPECT_EQ(PadControl::fromConfigName(control.configName()), control);
    }
    EXPECT_EQ(names, "key 1,key 2,key 3,key 4,key 5,key 6,button 1,button 2,button 3,"
                     "left knob,middle knob,right knob,");
}

} // namespace
} // namespace ruvola

#include "Printers.hpp"
#include "RuvolaCore/PadControl.hpp"
#include "RuvolaCore/PadInput.hpp"
#include "RuvolaCore/PadModel.hpp"

#include <gtest/gtest.h>

#include <tuple>
#include <unordered_set>

namespace ruvola {
namespace {

TEST(PadControl, ParsesConfigNames) {
    const std::pair<const char*, PadControl> named[] = {
        {"KEY 1", PadControl::key(1)},
        {" Key   6 ", PadControl::key(6)},
        {"key +2", PadControl::key(2)},
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
}

TEST(PadControl, AllListsTheTwelveControlsInOrder) {
    std::string names;
    for (const PadControl& control : PadControl::all()) {
        names += control.configName() + ",";
        EXPECT_EQ(PadControl::fromConfigName(control.configName()), control);
    }
    EXPECT_EQ(names, "key 1,key 2,key 3,key 4,key 5,key 6,button 1,button 2,button 3,"
                     "left knob,middle knob,right knob,");
    EXPECT_EQ(std::unordered_set(PadControl::all().begin(), PadControl::all().end()).size(), 12u);
}

TEST(PadInput, DescriptionAndControl) {
    using I = PadInput;
    using C = PadControl;
    constexpr Knob L = Knob::left, M = Knob::middle, R = Knob::right;
    const std::tuple<PadInput, const char*, PadControl> cases[] = {
        {I::key(4, true), "Key 4 down", C::key(4)},
        {I::key(1, false), "Key 1 up", C::key(1)},
        {I::button(2, false), "Button 2 up", C::button(2)},
        {I::knobTurn(L, 1), "Left knob +", C::knob(L)},
        {I::knobTurn(M, 0), "Middle knob \u2212", C::knob(M)},
        {I::knobPress(R, false), "Right knob released", C::knob(R)},
        {I::knobPress(M, true), "Middle knob pressed", C::knob(M)},
    };
    for (const auto& [input, description, control] : cases) {
        EXPECT_EQ(input.description(), description);
        EXPECT_EQ(input.control(), control) << description;
    }
}

TEST(PadModel, MatchesOnlyTheSupportedIdentifiers) {
    const PadModel se{"Soomfon Stream Controller SE", 0x1500, 0x3001};
    EXPECT_EQ(PadModel::matching(0x1500, 0x3001), se);
    EXPECT_EQ(PadModel::matching(0x1500, 0x3002), std::nullopt);
    EXPECT_EQ(PadModel::matching(0x1501, 0x3001), std::nullopt);
}

} // namespace
} // namespace ruvola

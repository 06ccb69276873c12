#include "RuvolaCore/PadControl.hpp"
#include "RuvolaCore/PadInput.hpp"
#include "RuvolaCore/PadModel.hpp"

#include <gtest/gtest.h>

#include <iterator>
#include <optional>
#include <unordered_set>

namespace ruvola {
namespace {

TEST(PadControl, ParsesConfigNames) {
    const std::optional<PadControl> none;
    const struct {
        const char* text;
        std::optional<PadControl> expected;
    } cases[] = {
        {"key 1", PadControl::key(1)},
        {"KEY 1", PadControl::key(1)},
        {"Key   1", PadControl::key(1)},
        {" key 1 ", PadControl::key(1)},
        {"key 6", PadControl::key(6)},
        {"key +2", PadControl::key(2)},
        {"key 02", PadControl::key(2)},
        {"button 3", PadControl::button(3)},
        {"Left Knob", PadControl::knob(Knob::left)},
        {"middle knob", PadControl::knob(Knob::middle)},
        {"right  KNOB", PadControl::knob(Knob::right)},
        {"", none},
        {"key", none},
        {"key1", none},
        {"key 0", none},
        {"key 7", none},
        {"key -1", none},
        {"key +-1", none},
        {"key +", none},
        {"key one", none},
        {"key 99999999999", none},
        {"key\t1", none},
        {"\tkey 1", none},
        {"key 1 2", none},
        {"button 0", none},
        {"button 4", none},
        {"knob left", none},
        {"top knob", none},
        {"left knobs", none},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(PadControl::fromConfigName(c.text), c.expected) << '"' << c.text << '"';
    }
}

TEST(PadControl, AllListsTheTwelveControlsInOrderWithTheirNames) {
    const struct {
        const char* configName;
        const char* description;
    } expected[] = {
        {"key 1", "Key 1"},
        {"key 2", "Key 2"},
        {"key 3", "Key 3"},
        {"key 4", "Key 4"},
        {"key 5", "Key 5"},
        {"key 6", "Key 6"},
        {"button 1", "Button 1"},
        {"button 2", "Button 2"},
        {"button 3", "Button 3"},
        {"left knob", "Left Knob"},
        {"middle knob", "Middle Knob"},
        {"right knob", "Right Knob"},
    };
    const auto& all = PadControl::all();
    ASSERT_EQ(all.size(), std::size(expected));
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i].configName(), expected[i].configName);
        EXPECT_EQ(all[i].description(), expected[i].description);
        EXPECT_EQ(PadControl::fromConfigName(expected[i].configName), all[i]);
        EXPECT_EQ(all[i].isKnob(), i >= 9) << expected[i].configName;
    }
    EXPECT_EQ(std::unordered_set<PadControl>(all.begin(), all.end()).size(), 12u);
}

TEST(PadInput, DescriptionAndControl) {
    const struct {
        PadInput input;
        const char* description;
        PadControl control;
    } cases[] = {
        {PadInput::key(4, true), "Key 4 down", PadControl::key(4)},
        {PadInput::key(1, false), "Key 1 up", PadControl::key(1)},
        {PadInput::button(2, false), "Button 2 up", PadControl::button(2)},
        {PadInput::button(3, true), "Button 3 down", PadControl::button(3)},
        {PadInput::knobTurn(Knob::left, 1), "Left knob +", PadControl::knob(Knob::left)},
        {PadInput::knobTurn(Knob::right, -1), "Right knob \u2212", PadControl::knob(Knob::right)},
        {PadInput::knobTurn(Knob::middle, 0), "Middle knob \u2212", PadControl::knob(Knob::middle)},
        {PadInput::knobPress(Knob::left, false), "Left knob released",
         PadControl::knob(Knob::left)},
        {PadInput::knobPress(Knob::middle, true), "Middle knob pressed",
         PadControl::knob(Knob::middle)},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.input.description(), c.description);
        EXPECT_EQ(c.input.control(), c.control) << c.description;
    }
}

TEST(PadModel, MatchesOnlyTheSupportedIdentifiers) {
    ASSERT_EQ(PadModel::supported().size(), 1u);
    const PadModel se{"Soomfon Stream Controller SE", 0x1500, 0x3001};
    EXPECT_EQ(PadModel::supported()[0], se);
    EXPECT_EQ(PadModel::matching(0x1500, 0x3001), se);
    EXPECT_EQ(PadModel::matching(0x3001, 0x1500), std::nullopt);
    EXPECT_EQ(PadModel::matching(0x1500, 0x3002), std::nullopt);
    EXPECT_EQ(PadModel::matching(0x1501, 0x3001), std::nullopt);
}

} // namespace
} // namespace ruvola

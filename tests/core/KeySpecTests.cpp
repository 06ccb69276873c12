#include "RuvolaCore/KeySpec.hpp"

#include <gtest/gtest.h>

namespace ruvola {
namespace {

using namespace std::string_literals;
using Kind = KeySpecError::Kind;

constexpr std::uint32_t cmd = modifierFlags::command;
constexpr std::uint32_t shift = modifierFlags::shift;
constexpr std::uint32_t opt = modifierFlags::option;
constexpr std::uint32_t ctrl = modifierFlags::control;
constexpr std::uint32_t all = cmd | shift | opt | ctrl;

TEST(KeySpecTest, ParsesEachTrigger) {
    const std::pair<std::string, Trigger> cases[] = {
        {"cmd+shift+4", Trigger::chord({21, cmd | shift})},
        {"4 cmd shift", Trigger::chord({21, cmd | shift})},
        {"Ctrl+Alt+Delete", Trigger::chord({51, ctrl | opt})},
        {"ctrl-a", Trigger::chord({0, ctrl})},
        {"\u2325\u2303\u2318\u21E7f1", Trigger::chord({122, all})},
        {"hyper k", Trigger::chord({40, all})},
        {"  cmd  cmd\ta \t", Trigger::chord({0, cmd})},
        {"cmd -", Trigger::chord({27, cmd})},
        {"cmd cmd", Trigger::doubleTap(cmd)},
        {"Ctrl \u2303", Trigger::doubleTap(ctrl)},
        {"a,b,cmd cmd c", Trigger::sequence({{0, 0}, {11, 0}, {8, cmd}})},
    };
    for (const auto& [spec, expected] : cases) {
        const auto result = KeySpec::parse(spec);
        ASSERT_TRUE(result.ok()) << spec << ": " << result.error().description();
        EXPECT_EQ(result.value(), expected) << spec;
        EXPECT_EQ(result->singleChord() != nullptr, expected.as<Chord>() != nullptr) << spec;
    }
}

TEST(KeySpecTest, RefusesWithTheOffendingPart) {
    const std::pair<std::string, KeySpecError> cases[] = {
        {"\t\u00A0\u3000", {Kind::empty, ""}},
        {"++", {Kind::empty, ""}},
        {"cmd+-", {Kind::noKey, "cmd+-"}},
        {"shift shift, a", {Kind::noKey, "shift shift"}},
        {"+", {Kind::unknownToken, "+"}},
        {"cmd \u00C9", {Kind::unknownToken, "\u00E9"}},
        {"a zz b", {Kind::unknownToken, "zz"}},
        {"-\u0301", {Kind::unknownToken, "-\u0301"}},
        {"\u2318\u0301a", {Kind::unknownToken, "\u2318\u0301a"}},
        {"cmd \xFF", {Kind::unknownToken, "\uFFFD"}},
        {"a b zz", {Kind::twoKeys, "a b zz"}},
        {"a, X  Y", {Kind::twoKeys, " X  Y"}},
        {"Meh+Meh", {Kind::badDoubleTap, "Meh+Meh"}},
        {"a,,b", {Kind::emptyStep, "a,,b"}},
        {"cmd zz,\u00A0", {Kind::emptyStep, "cmd zz,\u00A0"}},
    };
    for (const auto& [spec, error] : cases) {
        const auto result = KeySpec::parse(spec);
        ASSERT_FALSE(result.ok()) << spec;
        EXPECT_EQ(result.error(), error) << spec;
    }
    EXPECT_EQ(KeySpecError({Kind::unknownToken, "zz"}).description(),
              "unknown key or modifier 'zz'");
    EXPECT_EQ(KeySpecError({Kind::emptyStep, "a,"}).description(),
              "'a,' has an empty step; comma separates a sequence, and the comma key is spelled "
              "'comma'");
}

} // namespace
} // namespace ruvola

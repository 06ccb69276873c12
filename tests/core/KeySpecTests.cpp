#include "RuvolaCore/KeySpec.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <unordered_set>

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
        {"CMD Shift A", Trigger::chord({0, cmd | shift})},
        {"cmd+shift+4", Trigger::chord({21, cmd | shift})},
        {"\u2318\u21E74", Trigger::chord({21, cmd | shift})},
        {"4 cmd shift", Trigger::chord({21, cmd | shift})},
        {"Ctrl+Alt+Delete", Trigger::chord({51, ctrl | opt})},
        {"ctrl-a", Trigger::chord({0, ctrl})},
        {"\u2325\u2303\u2318\u21E7f1", Trigger::chord({122, all})},
        {"hyper k", Trigger::chord({40, all})},
        {"cmd cmd a", Trigger::chord({0, cmd})},
        {"  cmd   a \t", Trigger::chord({0, cmd})},
        {"cmd comma", Trigger::chord({43, cmd})},
        {"-", Trigger::chord({27, 0})},
        {"cmd -", Trigger::chord({27, cmd})},
        {"cmd cmd", Trigger::doubleTap(cmd)},
        {"shift+shift", Trigger::doubleTap(shift)},
        {"Ctrl \u2303", Trigger::doubleTap(ctrl)},
        {"cmd c, cmd v", Trigger::sequence({{8, cmd}, {9, cmd}})},
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
        {"", {Kind::empty, ""}},
        {"\t\u00A0\u3000", {Kind::empty, ""}},
        {"++", {Kind::empty, ""}},
        {"Cmd Shift", {Kind::noKey, "Cmd Shift"}},
        {"cmd+-", {Kind::noKey, "cmd+-"}},
        {"\u2318", {Kind::noKey, "\u2318"}},
        {"shift shift, a", {Kind::noKey, "shift shift"}},
        {"+", {Kind::unknownToken, "+"}},
        {"cmd \u00C9", {Kind::unknownToken, "\u00E9"}},
        {"zz a", {Kind::unknownToken, "zz"}},
        {"a zz b", {Kind::unknownToken, "zz"}},
        {"cmd\na", {Kind::unknownToken, "cmd\na"}},
        {"a\u2318", {Kind::unknownToken, "a\u2318"}},
        {"\u2318a\u2318", {Kind::unknownToken, "a\u2318"}},
        {"-\u0301", {Kind::unknownToken, "-\u0301"}},
        {"\u2318\u0301a", {Kind::unknownToken, "\u2318\u0301a"}},
        {"\u2318\u2318\u0301", {Kind::unknownToken, "\u2318\u0301"}},
        {"cmd \xFF", {Kind::unknownToken, "\uFFFD"}},
        {"a\0b"s, {Kind::unknownToken, "a\0b"s}},
        {"cmd a b", {Kind::twoKeys, "cmd a b"}},
        {"a a", {Kind::twoKeys, "a a"}},
        {"a b zz", {Kind::twoKeys, "a b zz"}},
        {"a, X  Y", {Kind::twoKeys, " X  Y"}},
        {"Meh+Meh", {Kind::badDoubleTap, "Meh+Meh"}},
        {"cmd c,", {Kind::emptyStep, "cmd c,"}},
        {"a,,b", {Kind::emptyStep, "a,,b"}},
        {"cmd zz,\u00A0", {Kind::emptyStep, "cmd zz,\u00A0"}},
    };
    for (const auto& [spec, error] : cases) {
        const auto result = KeySpec::parse(spec);
        ASSERT_FALSE(result.ok()) << spec;
        EXPECT_EQ(result.error(), error) << spec;
    }
}

TEST(KeySpecTest, DescribesEachErrorExactly) {
    const std::pair<KeySpecError, std::string> cases[] = {
        {{Kind::unknownToken, "zz"}, "unknown key or modifier 'zz'"},
        {{Kind::noKey, "cmd"}, "'cmd' is modifiers with no key"},
        {{Kind::twoKeys, "cmd a b"}, "'cmd a b' has more than one key; use a comma for a sequence"},
        {{Kind::badDoubleTap, "meh meh"},
         "'meh meh' repeats a modifier but is not a plain double-tap"},
        {{Kind::emptyStep, "a,"},
         "'a,' has an empty step; comma separates a sequence, and the "
         "comma key is spelled 'comma'"},
        {{Kind::empty, ""}, "empty key spec"},
    };
    for (const auto& [error, text] : cases) {
        EXPECT_EQ(error.description(), text);
    }
}

TEST(KeySpecTest, ModifierWordsAreExactLowerCaseWords) {
    const std::pair<std::string, std::optional<std::uint32_t>> cases[] = {
        {"command", cmd}, {"meta", cmd},  {"super", cmd},    {"option", opt},
        {"opt", opt},     {"ctrl", ctrl}, {"control", ctrl}, {"meh", 0xE0000},
        {"Cmd", {}},      {"cmd ", {}},   {"\u2318", {}},    {"", {}},
    };
    for (const auto& [token, flags] : cases) {
        EXPECT_EQ(KeySpec::modifier(token), flags) << token;
    }
}

TEST(KeysTest, NamesEveryKeyWithItsCode) {
    const auto& names = Keys::byName();
    EXPECT_EQ(names.size(), 118u);
    std::string codes;
    std::istringstream spots(
        "b m 0 5 6 \\ ` period apostrophe hyphen rightbracket return enter keypadenter "
        "forwarddelete esc help pagedown up f1 f9 f17 f20 keypad8 keypadequal");
    for (std::string name; spots >> name;) {
        codes += std::to_string(names.at(name)) + " ";
    }
    EXPECT_EQ(codes,
              "11 46 29 23 22 42 50 47 39 27 30 36 36 76 117 53 114 121 126 122 101 64 90 91 81 ");
    for (const std::string absent : {"A", "capslock", "shift", "volumeup"}) {
        EXPECT_FALSE(names.contains(absent)) << absent;
    }
    EXPECT_EQ(std::unordered_set<Chord>({{0, 0}, {0, cmd}, {0, cmd}, {1, 0}}).size(), 3u);
}

} // namespace
} // namespace ruvola

#include "RuvolaCore/KeySpec.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <optional>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

namespace ruvola {
namespace {

using namespace std::string_literals;
using Kind = KeySpecError::Kind;

constexpr std::uint32_t cmd = modifierFlags::command;
constexpr std::uint32_t shift = modifierFlags::shift;
constexpr std::uint32_t opt = modifierFlags::option;
constexpr std::uint32_t ctrl = modifierFlags::control;

struct ChordCase {
    std::string spec;
    Chord expected;
};

TEST(KeySpecTest, ParsesOneChordWrittenAnyWay) {
    const std::vector<ChordCase> cases = {
        {"CMD Shift A", {0, cmd | shift}},
        {"cmd+shift+4", {21, cmd | shift}},
        {"cmd shift 4", {21, cmd | shift}},
        {"\u2318\u21E74", {21, cmd | shift}},
        {"4 cmd shift", {21, cmd | shift}},
        {"Ctrl+Alt+Delete", {51, ctrl | opt}},
        {"ctrl-a", {0, ctrl}},
        {"\u2318a", {0, cmd}},
        {"\u2325\u2303\u2318\u21E7f1", {122, cmd | shift | opt | ctrl}},
        {"hyper k", {40, cmd | shift | opt | ctrl}},
        {"meh k", {40, shift | opt | ctrl}},
        {"cmd cmd a", {0, cmd}},
        {"  cmd   a \t", {0, cmd}},
        {"cmd comma", {43, cmd}},
        {"-", {27, 0}},
        {"cmd -", {27, cmd}},
        {"enter", {36, 0}},
        {"keypadenter", {76, 0}},
    };
    for (const auto& [spec, expected] : cases) {
        const auto result = KeySpec::parse(spec);
        ASSERT_TRUE(result.ok()) << spec << ": " << result.error().description();
        const Chord* chord = result->singleChord();
        ASSERT_NE(chord, nullptr) << spec;
        EXPECT_EQ(*chord, expected) << spec;
    }
}

TEST(KeySpecTest, RepeatedModifierAloneIsADoubleTap) {
    const std::vector<std::pair<std::string, std::uint32_t>> cases = {
        {"cmd cmd", cmd},      {"shift+shift", shift}, {"\u2325\u2325", opt},
        {"Ctrl \u2303", ctrl}, {"\u2318cmd", cmd},
    };
    for (const auto& [spec, modifier] : cases) {
        const auto result = KeySpec::parse(spec);
        ASSERT_TRUE(result.ok()) << spec << ": " << result.error().description();
        EXPECT_EQ(result.value(), Trigger::doubleTap(modifier)) << spec;
        EXPECT_EQ(result->singleChord(), nullptr) << spec;
    }
}

TEST(KeySpecTest, CommasMakeASequence) {
    const auto copyPaste = KeySpec::parse("cmd c, cmd v");
    ASSERT_TRUE(copyPaste.ok());
    EXPECT_EQ(copyPaste.value(), Trigger::sequence({{8, cmd}, {9, cmd}}));
    EXPECT_EQ(copyPaste->singleChord(), nullptr);

    // Each step may repeat a modifier without becoming a double-tap.
    const auto repeated = KeySpec::parse("a,b,cmd cmd c");
    ASSERT_TRUE(repeated.ok());
    EXPECT_EQ(repeated.value(), Trigger::sequence({{0, 0}, {11, 0}, {8, cmd}}));
}

struct ErrorCase {
    std::string spec;
    Kind kind;
    std::string payload;
};

TEST(KeySpecTest, RefusesWithTheOffendingPart) {
    const std::vector<ErrorCase> cases = {
        {"", Kind::empty, ""},
        {"   ", Kind::empty, ""},
        {"\t\u00A0\u3000", Kind::empty, ""},
        {"++", Kind::empty, ""},
        {"cmd", Kind::noKey, "cmd"},
        {"Cmd Shift", Kind::noKey, "Cmd Shift"},
        {"cmd+-", Kind::noKey, "cmd+-"},
        {"\u2318", Kind::noKey, "\u2318"},
        {"alt option", Kind::noKey, "alt option"},
        {"shift shift, a", Kind::noKey, "shift shift"},
        {"+", Kind::unknownToken, "+"},
        {"cmd zz", Kind::unknownToken, "zz"},
        {"cmd \u00C9", Kind::unknownToken, "\u00E9"},
        {"zz a", Kind::unknownToken, "zz"},
        {"a zz b", Kind::unknownToken, "zz"},
        {"a, cmd zz", Kind::unknownToken, "zz"},
        {"cmd\na", Kind::unknownToken, "cmd\na"},
        {"a\u2318", Kind::unknownToken, "a\u2318"},
        {"\u2318\u0301a", Kind::unknownToken, "\u2318\u0301a"},
        {"\u2318\u2318\u0301", Kind::unknownToken, "\u2318\u0301"},
        {"cmd a b", Kind::twoKeys, "cmd a b"},
        {"a a", Kind::twoKeys, "a a"},
        {"a b zz", Kind::twoKeys, "a b zz"},
        {"a, X  Y", Kind::twoKeys, " X  Y"},
        {"hyper hyper", Kind::badDoubleTap, "hyper hyper"},
        {"Meh+Meh", Kind::badDoubleTap, "Meh+Meh"},
        {"cmd c,", Kind::emptyStep, "cmd c,"},
        {", a", Kind::emptyStep, ", a"},
        {"a,,b", Kind::emptyStep, "a,,b"},
        {"cmd zz,\u00A0", Kind::emptyStep, "cmd zz,\u00A0"},
        {",", Kind::emptyStep, ","},
    };
    for (const auto& [spec, kind, payload] : cases) {
        const auto result = KeySpec::parse(spec);
        ASSERT_FALSE(result.ok()) << spec;
        EXPECT_EQ(result.error(), (KeySpecError{kind, payload})) << spec;
    }
}

TEST(KeySpecTest, DescribesEachErrorExactly) {
    const std::vector<std::pair<KeySpecError, std::string>> cases = {
        {{Kind::unknownToken, "zz"}, "unknown key or modifier 'zz'"},
        {{Kind::noKey, "cmd"}, "'cmd' is modifiers with no key"},
        {{Kind::twoKeys, "cmd a b"}, "'cmd a b' has more than one key; use a comma for a sequence"},
        {{Kind::badDoubleTap, "meh meh"},
         "'meh meh' repeats a modifier but is not a plain double-tap"},
        {{Kind::emptyStep, "cmd c,"},
         "'cmd c,' has an empty step; comma separates a sequence, and the comma key is spelled "
         "'comma'"},
        {{Kind::empty, ""}, "empty key spec"},
    };
    for (const auto& [error, text] : cases) {
        EXPECT_EQ(error.description(), text);
    }
}

TEST(KeySpecTest, ModifierWordsAreExactLowerCaseWords) {
    const std::vector<std::pair<std::string, std::optional<std::uint32_t>>> cases = {
        {"command", cmd}, {"meta", cmd},  {"super", cmd},      {"option", opt},
        {"opt", opt},     {"ctrl", ctrl}, {"hyper", 0x1E0000}, {"meh", 0xE0000},
        {"Cmd", {}},      {"cmd ", {}},   {"\u2318", {}},      {"", {}},
    };
    for (const auto& [token, flags] : cases) {
        EXPECT_EQ(KeySpec::modifier(token), flags) << token;
    }
}

TEST(KeysTest, NamesEveryKeyWithItsCode) {
    const auto& names = Keys::byName();
    EXPECT_EQ(names.size(), 118u);
    const std::vector<std::pair<std::string, std::uint16_t>> spotChecks = {
        {"a", 0},           {"b", 11},       {"m", 46},
        {"0", 29},          {"5", 23},       {"6", 22},
        {"\\", 42},         {"`", 50},       {",", 43},
        {"apostrophe", 39}, {"hyphen", 27},  {"rightbracket", 30},
        {"return", 36},     {"enter", 36},   {"forwarddelete", 117},
        {"esc", 53},        {"help", 114},   {"pagedown", 121},
        {"up", 126},        {"f1", 122},     {"f17", 64},
        {"f20", 90},        {"keypad8", 91}, {"keypadequal", 81},
    };
    for (const auto& [name, code] : spotChecks) {
        const auto entry = names.find(name);
        ASSERT_NE(entry, names.end()) << name;
        EXPECT_EQ(entry->second, code) << name;
    }
    for (const std::string absent : {"A", "capslock", "shift", "volumeup", "keypadenter "}) {
        EXPECT_EQ(names.count(absent), 0u) << absent;
    }
}

TEST(KeySpecTest, ChordsHashByBothFields) {
    const std::unordered_set<Chord> chords = {{0, 0}, {0, cmd}, {0, cmd}, {1, 0}};
    EXPECT_EQ(chords.size(), 3u);
}

// Invalid UTF-8 shows as U+FFFD in a token; noise built from tricky pieces gives well-formed
// triggers (and, under the sanitizers, no undefined behaviour).
TEST(KeySpecTest, SurvivesArbitraryBytes) {
    EXPECT_EQ(KeySpec::parse("cmd \xFF").error(), (KeySpecError{Kind::unknownToken, "\uFFFD"}));
    EXPECT_EQ(KeySpec::parse("a\0b"s).error(), (KeySpecError{Kind::unknownToken, "a\0b"s}));

    std::string longSpec = "\u2325a";
    for (int i = 0; i < 50'000; ++i) {
        longSpec += ", cmd \u2318\u2318a";
    }
    EXPECT_EQ(KeySpec::parse(longSpec)->as<std::vector<Chord>>()->size(), 50'001u);

    const std::vector<std::string> pieces = {"a",      "cmd ", "b",   "\u2318", ",",    " ",
                                             "\t",     "+",    "-",   "\xFF",   "\xE2", "\u0301",
                                             "\u200D", "meh",  "\0"s, "\u00A0"};
    std::mt19937 generator(20240611);
    for (int round = 0; round < 20'000; ++round) {
        std::string spec;
        for (auto n = generator() % 10; n > 0; --n) {
            spec += pieces[generator() % pieces.size()];
        }
        const auto result = KeySpec::parse(spec);
        if (const auto* tap = result.ok() ? result->as<Trigger::DoubleTap>() : nullptr) {
            EXPECT_TRUE(std::has_single_bit(tap->modifier)) << spec;
        }
        if (const auto* chords = result.ok() ? result->as<std::vector<Chord>>() : nullptr) {
            const auto commas = std::count(spec.begin(), spec.end(), ',');
            EXPECT_EQ(chords->size(), static_cast<std::size_t>(commas) + 1) << spec;
        }
    }
}

} // namespace
} // namespace ruvola

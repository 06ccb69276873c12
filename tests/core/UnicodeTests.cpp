#include "RuvolaCore/Unicode.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace ruvola::unicode {
namespace {

using namespace std::string_literals;

TEST(UnicodeTest, DecodesEachBadByteAsReplacement) {
    const std::vector<std::pair<std::string, std::u32string>> cases = {
        {"a\0b"s, U"a\0b"s},
        {"\xC3\xA9", U"\u00E9"},
        {"\xE2\x8C\x98", U"\u2318"},
        {"\xF0\x9F\x98\x80", U"\U0001F600"},
        {"\xFF", U"\uFFFD"},
        {"\x80", U"\uFFFD"},
        {"\xC3", U"\uFFFD"},
        {"\xC3(", U"\uFFFD("},
        {"\xE2\x8C", U"\uFFFD\uFFFD"},
        {"\xC0\xAF", U"\uFFFD\uFFFD"},                     // overlong
        {"\xED\xA0\x80", U"\uFFFD\uFFFD\uFFFD"},           // surrogate
        {"\xF4\x90\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"}, // past U+10FFFF
    };
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(decode(bytes), text) << bytes;
        if (text.find(U'\uFFFD') == std::u32string::npos) {
            EXPECT_EQ(encode(text), bytes);
        }
    }
    EXPECT_EQ(encode(char32_t{0xD800}), "\uFFFD");
    EXPECT_EQ(encode(char32_t{0x110000}), "\uFFFD");
}

TEST(UnicodeTest, LowerCasesCommonScripts) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"ABC xyz 09 @[`{", "abc xyz 09 @[`{"},
        {"\u00C0\u00C9\u00CE\u00D5\u00DC\u00DE\u00D7",
         "\u00E0\u00E9\u00EE\u00F5\u00FC\u00FE\u00D7"},
        {"\u0100\u0139\u014A\u0178\u0130\u1E9E\u1E00", "\u0101\u013A\u014B\u00FFi\u00DF\u1E01"},
        {"\u0391\u03A3\u03A9\u0386\u0388\u038C\u038F\u03AB",
         "\u03B1\u03C3\u03C9\u03AC\u03AD\u03CC\u03CE\u03CB"},
        {"\u0416\u042F\u0401\u0402\u0462\u04C0\u04C1\u04D0",
         "\u0436\u044F\u0451\u0452\u0463\u04CF\u04C2\u04D1"},
        {"\u0531\u0556\uFF21\uFF3A", "\u0561\u0586\uFF41\uFF5A"},
        {"\u00E9\u00DF\u2318\u65E5", "\u00E9\u00DF\u2318\u65E5"},
        {"\xFF"
         "A",
         "\uFFFDa"},
    };
    for (const auto& [text, lower] : cases) {
        EXPECT_EQ(lowercased(text), lower) << text;
    }
}

TEST(UnicodeTest, GroupsUserPerceivedCharacters) {
    using Characters = std::vector<std::string>;
    const std::vector<std::pair<std::string, Characters>> cases = {
        {"", {}},
        {"ab", {"a", "b"}},
        {"e\u0301x", {"e\u0301", "x"}},
        {"\u0301a", {"\u0301", "a"}},
        {"\u2318\u0301\u2318", {"\u2318\u0301", "\u2318"}},
        {"\U0001F468\u200D\U0001F469\u200D\U0001F467!",
         {"\U0001F468\u200D\U0001F469\u200D\U0001F467", "!"}},
        {"\u2764\uFE0F\U0001F44D\U0001F3FD", {"\u2764\uFE0F", "\U0001F44D\U0001F3FD"}},
        {"1\uFE0F\u20E3", {"1\uFE0F\u20E3"}},
        {"\U0001F1FA\U0001F1F8\U0001F1EB\U0001F1F7\U0001F1E9",
         {"\U0001F1FA\U0001F1F8", "\U0001F1EB\U0001F1F7", "\U0001F1E9"}},
        {"\r\n\n", {"\r\n", "\n"}},
        {"\xFF\u0301", {"\uFFFD\u0301"}},
    };
    for (const auto& [text, characters] : cases) {
        EXPECT_EQ(graphemes(text), characters) << text;
    }
}

TEST(UnicodeTest, TrimsSpacesOfEveryKind) {
    const std::vector<std::pair<std::string, std::string>> horizontal = {
        {"", ""},
        {" \t ", ""},
        {" \t a  b \t", "a  b"},
        {"\u00A0\u2003\u3000x\u202F\u205F", "x"},
        {"\nx\n", "\nx\n"},
        {"x\u200B", "x\u200B"}, // zero-width space is not a space separator
    };
    for (const auto& [text, trimmed] : horizontal) {
        EXPECT_EQ(trimmedWhitespace(text), trimmed) << text;
    }
    EXPECT_EQ(trimmedWhitespaceAndNewlines("\r\n\u0085 x y\u2028\u2029\t"), "x y");
}

} // namespace
} // namespace ruvola::unicode

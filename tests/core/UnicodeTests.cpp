#include "RuvolaCore/Unicode.hpp"

#include <gtest/gtest.h>

namespace ruvola::unicode {
namespace {

TEST(UnicodeTest, DecodesEachBadByteAsReplacement) {
    const std::pair<std::string, std::u32string> cases[] = {
        {"\xC3\xA9\xE2\x8C\x98\xF0\x9F\x98\x80", U"\u00E9\u2318\U0001F600"},
        {"\xFF", U"\uFFFD"},
        {"\xC3(", U"\uFFFD("},
        {"\xC0\xAF", U"\uFFFD\uFFFD"},                     // overlong
        {"\xED\xA0\x80", U"\uFFFD\uFFFD\uFFFD"},           // surrogate
        {"\xF4\x90\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"}, // past U+10FFFF
    };
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(decode(bytes), text) << bytes;
    }
    EXPECT_EQ(encode(cases[0].second), cases[0].first);
}

TEST(UnicodeTest, LowerCasesCommonScripts) {
    const std::pair<std::string, std::string> cases[] = {
        {"ABC xyz 09 @[`{", "abc xyz 09 @[`{"},
        {"\u00C0\u00C9\u00DE\u00D7", "\u00E0\u00E9\u00FE\u00D7"},
        {"\u0100\u0139\u014A\u0178\u0130\u1E9E\u1E00", "\u0101\u013A\u014B\u00FFi\u00DF\u1E01"},
        {"\u0391\u03A3\u0386\u0388\u038C\u038F", "\u03B1\u03C3\u03AC\u03AD\u03CC\u03CE"},
        {"\xFF\x41", "\uFFFDa"},
    };
    for (const auto& [text, lower] : cases) {
        EXPECT_EQ(lowercased(text), lower) << text;
    }
}

TEST(UnicodeTest, GroupsUserPerceivedCharacters) {
    using Characters = std::vector<std::string>;
    const std::pair<std::string, Characters> cases[] = {
        {"e\u0301x", {"e\u0301", "x"}},
        {"\u2318\u0301\u2318", {"\u2318\u0301", "\u2318"}},
        {"\U0001F468\u200D\U0001F469\u200D\U0001F467!",
         {"\U0001F468\u200D\U0001F469\u200D\U0001F467", "!"}},
        {"\u2764\uFE0F\U0001F44D\U0001F3FD", {"\u2764\uFE0F", "\U0001F44D\U0001F3FD"}},
        {"\U0001F1FA\U0001F1F8\U0001F1EB\U0001F1F7\U0001F1E9",
         {"\U0001F1FA\U0001F1F8", "\U0001F1EB\U0001F1F7", "\U0001F1E9"}},
        {"\xFF\u0301", {"\uFFFD\u0301"}},
    };
    for (const auto& [text, characters] : cases) {
        EXPECT_EQ(graphemes(text), characters) << text;
    }
}

} // namespace
} // namespace ruvola::unicode

#pragma once

#include <string>
#include <string_view>
#include <vector>

// Text helpers for the few places where the core must treat text as Unicode rather than bytes.
// Invalid UTF-8 never throws: each bad byte decodes as U+FFFD.
namespace ruvola::unicode {

std::u32string decode(std::string_view utf8);
std::string encode(std::u32string_view text);
std::string encode(char32_t codePoint);

/// Lower-cases ASCII and the common letters of Latin, Greek, Cyrillic and Armenian; everything
/// else passes through unchanged.
std::string lowercased(std::string_view utf8);
char32_t lowercased(char32_t codePoint);

/// Splits text into user-perceived characters: a base followed by its combining marks, variation
/// selectors, emoji modifiers and tags, joined across zero-width joiners, with regional-indicator
/// pairs and CR LF kept together.
std::vector<std::string> graphemes(std::string_view utf8);

/// True for the Unicode space separators and the tab.
bool isHorizontalWhitespace(char32_t codePoint);
/// True for horizontal whitespace and the line and paragraph breaks.
bool isWhitespaceOrNewline(char32_t codePoint);

/// Trims horizontal whitespace (spaces of every kind and tabs) from both ends.
std::string trimmedWhitespace(std::string_view utf8);
/// Trims whitespace and newlines from both ends.
std::string trimmedWhitespaceAndNewlines(std::string_view utf8);

} // namespace ruvola::unicode

#include "Unicode.hpp"

#include <algorithm>
#include <cstdint>

namespace ruvola::unicode {
namespace {

constexpr char32_t replacement = 0xFFFD;

bool inRange(char32_t c, char32_t first, char32_t last) {
    return c >= first && c <= last;
}

// Characters that stay with the character before them.
bool extendsPrevious(char32_t c) {
    return inRange(c, 0x0300, 0x036F) || inRange(c, 0x0483, 0x0489) || inRange(c, 0x0591, 0x05BD) ||
           inRange(c, 0x0610, 0x061A) || inRange(c, 0x064B, 0x065F) || c == 0x0670 ||
           inRange(c, 0x06D6, 0x06DC) || inRange(c, 0x06DF, 0x06E4) || inRange(c, 0x0900, 0x0903) ||
           inRange(c, 0x093A, 0x093C) || inRange(c, 0x093E, 0x094F) || inRange(c, 0x0951, 0x0957) ||
           inRange(c, 0x0962, 0x0963) || inRange(c, 0x1AB0, 0x1AFF) || inRange(c, 0x1DC0, 0x1DFF) ||
           c == 0x200C || inRange(c, 0x20D0, 0x20FF) || inRange(c, 0x302A, 0x302F) ||
           inRange(c, 0x3099, 0x309A) || inRange(c, 0xFE00, 0xFE0F) || inRange(c, 0xFE20, 0xFE2F) ||
           inRange(c, 0x1F3FB, 0x1F3FF) || inRange(c, 0xE0020, 0xE007F) ||
           inRange(c, 0xE0100, 0xE01EF);
}

constexpr char32_t zeroWidthJoiner = 0x200D;

bool isRegionalIndicator(char32_t c) {
    return inRange(c, 0x1F1E6, 0x1F1FF);
}

} // namespace

namespace {

// Decodes the code point at `position` and moves past it; a bad byte decodes as U+FFFD.
char32_t decodeNext(std::string_view utf8, std::size_t& position) {
    const auto lead = static_cast<std::uint8_t>(utf8[position]);
    if (lead < 0x80) {
        ++position;
        return lead;
    }
    std::size_t length = 0;
    char32_t value = 0;
    char32_t minimum = 0;
    if ((lead & 0xE0) == 0xC0) {
        length = 2, value = lead & 0x1Fu, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, value = lead & 0x0Fu, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, value = lead & 0x07u, minimum = 0x10000;
    }
    bool valid = length != 0 && position + length <= utf8.size();
    for (std::size_t k = 1; valid && k < length; ++k) {
        const auto next = static_cast<std::uint8_t>(utf8[position + k]);
        valid = (next & 0xC0) == 0x80;
        value = (value << 6) | (next & 0x3Fu);
    }
    if (valid && value >= minimum && value <= 0x10FFFF && !inRange(value, 0xD800, 0xDFFF)) {
        position += length;
        return value;
    }
    ++position;
    return replacement;
}

} // namespace

std::u32string decode(std::string_view utf8) {
    std::u32string out;
    out.reserve(utf8.size());
    for (std::size_t position = 0; position < utf8.size();) {
        out.push_back(decodeNext(utf8, position));
    }
    return out;
}

std::string encode(char32_t c) {
    std::string out;
    if (c > 0x10FFFF || inRange(c, 0xD800, 0xDFFF)) {
        c = replacement;
    }
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
    return out;
}

std::string encode(std::u32string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char32_t c : text) {
        out += encode(c);
    }
    return out;
}

char32_t lowercased(char32_t c) {
    if (inRange(c, U'A', U'Z')) {
        return c + 0x20;
    }
    if (c < 0x80) {
        return c;
    }
    if ((inRange(c, 0xC0, 0xDE) && c != 0xD7) || inRange(c, 0x391, 0x3A1) ||
        inRange(c, 0x3A3, 0x3AB) || inRange(c, 0x410, 0x42F) || inRange(c, 0xFF21, 0xFF3A)) {
        return c + 0x20;
    }
    const bool even = c % 2 == 0;
    if ((inRange(c, 0x100, 0x12F) || inRange(c, 0x132, 0x137) || inRange(c, 0x14A, 0x177) ||
         inRange(c, 0x460, 0x481) || inRange(c, 0x48A, 0x4BF) || inRange(c, 0x4D0, 0x52F) ||
         inRange(c, 0x1E00, 0x1E95) || inRange(c, 0x1EA0, 0x1EFF)) &&
        even) {
        return c + 1;
    }
    if ((inRange(c, 0x139, 0x148) || inRange(c, 0x179, 0x17E) || inRange(c, 0x4C1, 0x4CE)) &&
        !even) {
        return c + 1;
    }
    switch (c) {
    case 0x130:
        return U'i';
    case 0x178:
        return 0xFF;
    case 0x386:
        return 0x3AC;
    case 0x38C:
        return 0x3CC;
    case 0x38E:
        return 0x3CD;
    case 0x38F:
        return 0x3CE;
    case 0x4C0:
        return 0x4CF;
    case 0x1E9E:
        return 0xDF;
    default:
        break;
    }
    if (inRange(c, 0x388, 0x38A)) {
        return c + 0x25;
    }
    if (inRange(c, 0x400, 0x40F)) {
        return c + 0x50;
    }
    if (inRange(c, 0x531, 0x556)) {
        return c + 0x30;
    }
    return c;
}

std::string lowercased(std::string_view utf8) {
    const bool ascii = std::all_of(utf8.begin(), utf8.end(),
                                   [](char c) { return static_cast<std::uint8_t>(c) < 0x80; });
    if (ascii) {
        std::string out(utf8);
        for (char& c : out) {
            if (c >= 'A' && c <= 'Z') {
                c = static_cast<char>(c - 'A' + 'a');
            }
        }
        return out;
    }
    std::u32string text = decode(utf8);
    for (char32_t& c : text) {
        c = lowercased(c);
    }
    return encode(text);
}

std::vector<std::string> graphemes(std::string_view utf8) {
    const std::u32string text = decode(utf8);
    std::vector<std::string> out;
    std::u32string current;
    bool joinNext = false;
    for (char32_t c : text) {
        bool startsNew =
            !current.empty() && !joinNext && !extendsPrevious(c) && c != zeroWidthJoiner;
        if (startsNew && c == U'\n' && current == U"\r") {
            startsNew = false;
        }
        if (startsNew && isRegionalIndicator(c) && current.size() == 1 &&
            isRegionalIndicator(current.front())) {
            startsNew = false;
        }
        if (startsNew) {
            out.push_back(encode(current));
            current.clear();
        }
        current.push_back(c);
        joinNext = c == zeroWidthJoiner;
    }
    if (!current.empty()) {
        out.push_back(encode(current));
    }
    return out;
}

bool isHorizontalWhitespace(char32_t c) {
    return c == U' ' || c == U'\t' || c == 0xA0 || c == 0x1680 || inRange(c, 0x2000, 0x200A) ||
           c == 0x202F || c == 0x205F || c == 0x3000;
}

bool isWhitespaceOrNewline(char32_t c) {
    return isHorizontalWhitespace(c) || inRange(c, 0x0A, 0x0D) || c == 0x85 || c == 0x2028 ||
           c == 0x2029;
}

namespace {

// Keeps the original bytes between the first and the last character that is not a space.
template <typename Predicate>
std::string trimmed(std::string_view utf8, Predicate isSpace) {
    std::size_t first = utf8.size();
    std::size_t last = 0;
    for (std::size_t position = 0; position < utf8.size();) {
        const std::size_t start = position;
        if (!isSpace(decodeNext(utf8, position))) {
            first = std::min(first, start);
            last = position;
        }
    }
    return first < last ? std::string(utf8.substr(first, last - first)) : std::string();
}

} // namespace

std::string trimmedWhitespace(std::string_view utf8) {
    return trimmed(utf8, [](char32_t c) { return isHorizontalWhitespace(c); });
}

std::string trimmedWhitespaceAndNewlines(std::string_view utf8) {
    return trimmed(utf8, [](char32_t c) { return isWhitespaceOrNewline(c); });
}

} // namespace ruvola::unicode

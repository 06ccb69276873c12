#include "KeySpec.hpp"

#include "Unicode.hpp"

#include <algorithm>
#include <bit>
#include <iterator>

namespace ruvola {

std::string KeySpecError::description() const {
    const auto quoted = [this] { return "'" + payload + "'"; };
    switch (kind) {
    case Kind::unknownToken:
        return "unknown key or modifier " + quoted();
    case Kind::noKey:
        return quoted() + " is modifiers with no key";
    case Kind::twoKeys:
        return quoted() + " has more than one key; use a comma for a sequence";
    case Kind::badDoubleTap:
        return quoted() + " repeats a modifier but is not a plain double-tap";
    case Kind::emptyStep:
        return quoted() + " has an empty step; comma separates a sequence, and the comma key is "
                          "spelled 'comma'";
    case Kind::empty:
        break;
    }
    return "empty key spec";
}

namespace Keys {

const std::unordered_map<std::string, std::uint16_t>& byName() {
    // clang-format off
    static constexpr std::pair<std::string_view, std::uint16_t> names[] = {
        // Letters
        {"a", 0}, {"s", 1}, {"d", 2}, {"f", 3}, {"h", 4}, {"g", 5},
        {"z", 6}, {"x", 7}, {"c", 8}, {"v", 9}, {"b", 11}, {"q", 12},
        {"w", 13}, {"e", 14}, {"r", 15}, {"y", 16}, {"t", 17}, {"o", 31},
        {"u", 32}, {"i", 34}, {"p", 35}, {"l", 37}, {"j", 38}, {"k", 40},
        {"n", 45}, {"m", 46},
        // Digits
        {"1", 18}, {"2", 19}, {"3", 20}, {"4", 21}, {"6", 22},
        {"5", 23}, {"9", 25}, {"7", 26}, {"8", 28}, {"0", 29},
        // Punctuation; "," is unreachable, as a comma always separates steps
        {"=", 24}, {"-", 27}, {"]", 30}, {"[", 33}, {"'", 39}, {";", 41},
        {"\\", 42}, {",", 43}, {"/", 44}, {".", 47}, {"`", 50},
        // Punctuation by name
        {"comma", 43}, {"period", 47}, {"slash", 44}, {"backslash", 42},
        {"semicolon", 41}, {"quote", 39}, {"apostrophe", 39}, {"grave", 50},
        {"backtick", 50}, {"minus", 27}, {"hyphen", 27}, {"equal", 24},
        {"equals", 24}, {"leftbracket", 33}, {"rightbracket", 30},
        // Editing; "enter" is the main Return key, the keypad's is "keypadenter"
        {"return", 36}, {"enter", 36}, {"tab", 48}, {"space", 49}, {"delete", 51},
        {"backspace", 51}, {"escape", 53}, {"esc", 53}, {"forwarddelete", 117}, {"help", 114},
        // Navigation
        {"home", 115}, {"end", 119}, {"pageup", 116}, {"pagedown", 121},
        {"left", 123}, {"right", 124}, {"down", 125}, {"up", 126},
        // Function keys
        {"f1", 122}, {"f2", 120}, {"f3", 99}, {"f4", 118}, {"f5", 96},
        {"f6", 97}, {"f7", 98}, {"f8", 100}, {"f9", 101}, {"f10", 109},
        {"f11", 103}, {"f12", 111}, {"f13", 105}, {"f14", 107}, {"f15", 113},
        {"f16", 106}, {"f17", 64}, {"f18", 79}, {"f19", 80}, {"f20", 90},
        // Keypad
        {"keypad0", 82}, {"keypad1", 83}, {"keypad2", 84}, {"keypad3", 85},
        {"keypad4", 86}, {"keypad5", 87}, {"keypad6", 88}, {"keypad7", 89},
        {"keypad8", 91}, {"keypad9", 92}, {"keypaddecimal", 65}, {"keypadmultiply", 67},
        {"keypadplus", 69}, {"keypadclear", 71}, {"keypaddivide", 75}, {"keypadenter", 76},
        {"keypadminus", 78}, {"keypadequal", 81},
    };
    // clang-format on
    static const std::unordered_map<std::string, std::uint16_t> table = [] {
        std::unordered_map<std::string, std::uint16_t> built;
        built.reserve(std::size(names));
        for (const auto& [name, code] : names) {
            built.emplace(name, code);
        }
        return built;
    }();
    return table;
}

} // namespace Keys

namespace KeySpec {

std::optional<std::uint32_t> modifier(std::string_view token) {
    using namespace modifierFlags;
    static constexpr std::pair<std::string_view, std::uint32_t> words[] = {
        {"cmd", command},
        {"command", command},
        {"meta", command},
        {"super", command},
        {"shift", shift},
        {"alt", option},
        {"opt", option},
        {"option", option},
        {"ctrl", control},
        {"control", control},
        {"hyper", command | shift | option | control},
        {"meh", shift | option | control},
    };
    for (const auto& [word, flags] : words) {
        if (token == word) {
            return flags;
        }
    }
    return std::nullopt;
}

} // namespace KeySpec

namespace {

using Tokens = std::vector<std::string>;

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isBlank(std::string_view text) {
    // Any ASCII byte other than space or tab decodes to a non-blank character: skip the decode.
    const bool visibleAscii = std::any_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x80 && c != ' ' && c != '\t';
    });
    return !visibleAscii && unicode::trimmedWhitespace(text).empty();
}

// Emits the words of the leading ⌘⇧⌥⌃ symbols, then the rest of the token.
void appendExpandingSymbols(std::string_view token, Tokens& tokens) {
    static constexpr std::pair<std::string_view, std::string_view> symbols[] = {
        {"\u2318", "cmd"},
        {"\u21E7", "shift"},
        {"\u2325", "alt"},
        {"\u2303", "ctrl"},
    };
    if (token.empty()) {
        return;
    }
    // All four symbols begin with this byte; without it the token has none to expand.
    if (token.front() != '\xE2') {
        tokens.emplace_back(token);
        return;
    }
    // Whole characters, so that ⌘ followed by a combining mark is not the symbol.
    std::size_t consumed = 0;
    for (const std::string& character : unicode::graphemes(token)) {
        const auto* symbol =
            std::find_if(std::begin(symbols), std::end(symbols),
                         [&](const auto& entry) { return entry.first == character; });
        if (symbol == std::end(symbols)) {
            break;
        }
        tokens.emplace_back(symbol->second);
        consumed += character.size();
    }
    if (consumed < token.size()) {
        tokens.emplace_back(token.substr(consumed));
    }
}

bool isOneCharacter(std::string_view word) {
    // Only CR LF is two ASCII bytes in one character, and it holds nothing to cut.
    if (isAscii(word)) {
        return word.size() == 1;
    }
    return unicode::graphemes(word).size() == 1;
}

bool isCut(char c) {
    return c == '+' || c == '-';
}

bool isWordBreak(char c) {
    return c == ' ' || c == '\t';
}

// Calls visit with each run of text between the bytes that `isBreak` accepts.
template <typename IsBreak, typename Visit>
void forEachPiece(std::string_view text, IsBreak isBreak, Visit visit) {
    auto start = text.begin();
    for (;;) {
        const auto end = std::find_if(start, text.end(), isBreak);
        visit(std::string_view(start, end));
        if (end == text.end()) {
            return;
        }
        start = end + 1;
    }
}

void appendWord(std::string_view word, Tokens& tokens) {
    if (std::none_of(word.begin(), word.end(), isCut) || isOneCharacter(word)) {
        appendExpandingSymbols(word, tokens);
        return;
    }
    forEachPiece(word, isCut,
                 [&](std::string_view piece) { appendExpandingSymbols(piece, tokens); });
}

Tokens tokenize(std::string_view step) {
    // Lower-casing repairs invalid UTF-8, so the text below is well formed.
    const std::string text = unicode::lowercased(step);
    Tokens tokens;
    tokens.reserve(4);
    forEachPiece(text, isWordBreak, [&](std::string_view word) {
        if (!word.empty()) {
            appendWord(word, tokens);
        }
    });
    return tokens;
}

Result<Chord, KeySpecError> chord(std::string_view step, const Tokens& tokens) {
    using Kind = KeySpecError::Kind;
    if (tokens.empty()) {
        return KeySpecError{Kind::empty, {}};
    }
    std::uint32_t flags = 0;
    auto token = tokens.begin();
    for (; token != tokens.end(); ++token) {
        const auto flag = KeySpec::modifier(*token);
        if (!flag) {
            break;
        }
        flags |= *flag;
    }
    if (token == tokens.end()) {
        return KeySpecError{Kind::noKey, std::string(step)};
    }
    const auto& names = Keys::byName();
    const auto key = names.find(*token);
    if (key == names.end()) {
        return KeySpecError{Kind::unknownToken, *token};
    }
    for (++token; token != tokens.end(); ++token) {
        if (const auto flag = KeySpec::modifier(*token)) {
            flags |= *flag;
        } else if (names.count(*token) != 0) {
            return KeySpecError{Kind::twoKeys, std::string(step)};
        } else {
            return KeySpecError{Kind::unknownToken, *token};
        }
    }
    return Chord{key->second, flags & modifierFlags::mask};
}

// The one modifier of a step like "cmd cmd", nothing when the step is no double-tap.
Result<std::optional<std::uint32_t>, KeySpecError> doubleTap(std::string_view step,
                                                             const Tokens& tokens) {
    if (tokens.size() != 2 || tokens[0] != tokens[1]) {
        return std::optional<std::uint32_t>{};
    }
    const auto flag = KeySpec::modifier(tokens[0]);
    if (flag && !std::has_single_bit(*flag)) {
        return KeySpecError{KeySpecError::Kind::badDoubleTap, std::string(step)};
    }
    return flag;
}

std::vector<std::string_view> steps(std::string_view spec) {
    std::vector<std::string_view> out;
    forEachPiece(
        spec, [](char c) { return c == ','; }, [&](std::string_view step) { out.push_back(step); });
    return out;
}

} // namespace

Result<Trigger, KeySpecError> KeySpec::parse(std::string_view spec) {
    using Kind = KeySpecError::Kind;
    if (isBlank(spec)) {
        return KeySpecError{Kind::empty, {}};
    }
    if (spec.find(',') == std::string_view::npos) {
        const Tokens tokens = tokenize(spec);
        const auto tap = doubleTap(spec, tokens);
        if (!tap.ok()) {
            return tap.error();
        }
        if (const std::optional<std::uint32_t> flag = tap.value()) {
            return Trigger::doubleTap(*flag);
        }
        const auto single = chord(spec, tokens);
        if (!single.ok()) {
            return single.error();
        }
        return Trigger::chord(single.value());
    }
    // Every step is checked for blanks before any is parsed, so "cmd zz," reports the blank.
    const std::vector<std::string_view> parts = steps(spec);
    if (std::any_of(parts.begin(), parts.end(), isBlank)) {
        return KeySpecError{Kind::emptyStep, std::string(spec)};
    }
    // Only a lone step can be a double-tap: "shift shift, a" fails as modifiers with no key.
    std::vector<Chord> chords;
    chords.reserve(parts.size());
    for (const std::string_view step : parts) {
        const auto next = chord(step, tokenize(step));
        if (!next.ok()) {
            return next.error();
        }
        chords.push_back(next.value());
    }
    return Trigger::sequence(std::move(chords));
}

} // namespace ruvola

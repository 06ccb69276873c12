#include "PadControl.hpp"

#include "Unicode.hpp"

#include <charconv>
#include <vector>

namespace ruvola {

std::string_view knobs::rawValue(Knob knob) {
    switch (knob) {
    case Knob::left:
        return "left";
    case Knob::middle:
        return "middle";
    case Knob::right:
        return "right";
    }
    return "left";
}

std::string knobs::label(Knob knob) {
    std::string text(rawValue(knob));
    text.front() = static_cast<char>(text.front() - 'a' + 'A');
    return text;
}

std::optional<Knob> knobs::fromRawValue(std::string_view text) {
    for (Knob knob : allCases) {
        if (rawValue(knob) == text) {
            return knob;
        }
    }
    return std::nullopt;
}

namespace {

std::vector<std::string_view> wordsSeparatedBySpaces(std::string_view text) {
    std::vector<std::string_view> words;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find(' ', start), text.size());
        if (end > start) {
            words.push_back(text.substr(start, end - start));
        }
        start = end + 1;
    }
    return words;
}

// A base-10 signed integer spelled with an optional sign and digits only, as a whole word.
std::optional<int> parseInteger(std::string_view word) {
    if (!word.empty() && word.front() == '+') {
        word.remove_prefix(1);
        if (!word.empty() && (word.front() == '-' || word.front() == '+')) {
            return std::nullopt;
        }
    }
    int value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (word.empty() || error != std::errc() || end != word.data() + word.size()) {
        return std::nullopt;
    }
    return value;
}

} // namespace

std::optional<PadControl> PadControl::fromConfigName(std::string_view text) {
    const std::string lowered = unicode::lowercased(text);
    const auto words = wordsSeparatedBySpaces(lowered);
    if (words.size() != 2) {
        return std::nullopt;
    }
    const auto numbered = [&](int highest) -> std::optional<int> {
        const auto number = parseInteger(words[1]);
        if (!number || *number < 1 || *number > highest) {
            return std::nullopt;
        }
        return number;
    };
    if (words[0] == "key") {
        const auto number = numbered(6);
        return number ? std::optional(key(*number)) : std::nullopt;
    }
    if (words[0] == "button") {
        const auto number = numbered(3);
        return number ? std::optional(button(*number)) : std::nullopt;
    }
    if (words[1] == "knob") {
        const auto which = knobs::fromRawValue(words[0]);
        return which ? std::optional(knob(*which)) : std::nullopt;
    }
    return std::nullopt;
}

const std::array<PadControl, 12>& PadControl::all() {
    static const std::array<PadControl, 12> controls{key(1),
                                                     key(2),
                                                     key(3),
                                                     key(4),
                                                     key(5),
                                                     key(6),
                                                     button(1),
                                                     button(2),
                                                     button(3),
                                                     knob(Knob::left),
                                                     knob(Knob::middle),
                                                     knob(Knob::right)};
    return controls;
}

std::string PadControl::configName() const {
    switch (kind_) {
    case Kind::key:
        return "key " + std::to_string(number_);
    case Kind::button:
        return "button " + std::to_string(number_);
    case Kind::knob:
        return std::string(knobs::rawValue(knob_)) + " knob";
    }
    return {};
}

std::string PadControl::description() const {
    std::string text = configName();
    bool startOfWord = true;
    for (char& c : text) {
        if (startOfWord && c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
        startOfWord = c == ' ';
    }
    return text;
}

} // namespace ruvola

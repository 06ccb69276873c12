#pragma once

#include "Result.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace ruvola {

/// The device-independent modifier bits of macOS's NSEventModifierFlags; a chord holds no others.
namespace modifierFlags {
inline constexpr std::uint32_t shift = 0x20000;
inline constexpr std::uint32_t control = 0x40000;
inline constexpr std::uint32_t option = 0x80000;
inline constexpr std::uint32_t command = 0x100000;
inline constexpr std::uint32_t mask = shift | control | option | command;
} // namespace modifierFlags

/// One key pressed with modifiers: a macOS virtual key code and modifierFlags bits.
struct Chord {
    std::uint16_t keyCode;
    std::uint32_t modifiers;

    bool operator==(const Chord&) const = default;
};

/// What a keystroke text asks for: one chord, a sequence of two or more chords, or a double-tap
/// of one modifier key.
struct Trigger {
    struct DoubleTap {
        std::uint32_t modifier; // exactly one modifierFlags bit
        bool operator==(const DoubleTap&) const = default;
    };

    using Value = std::variant<Chord, std::vector<Chord>, DoubleTap>;
    Value value;

    static Trigger chord(Chord chord) { return {chord}; }
    static Trigger sequence(std::vector<Chord> chords) { return {std::move(chords)}; }
    static Trigger doubleTap(std::uint32_t modifier) { return {DoubleTap{modifier}}; }

    /// The chord when this is one chord, else null: the only trigger a control can be bound to.
    const Chord* singleChord() const { return std::get_if<Chord>(&value); }

    template <typename Case>
    const Case* as() const {
        return std::get_if<Case>(&value);
    }

    bool operator==(const Trigger&) const = default;
};

/// Why a keystroke text was refused.
struct KeySpecError {
    enum class Kind : std::uint8_t { unknownToken, noKey, twoKeys, badDoubleTap, emptyStep, empty };
    Kind kind;
    /// The offending token for unknownToken, empty for empty, else the step or the whole text as
    /// written.
    std::string payload;

    /// The text shown to the user.
    std::string description() const;

    bool operator==(const KeySpecError&) const = default;
};

namespace Keys {
/// Lower-case key name to macOS virtual key code; built on first use, never changed.
const std::unordered_map<std::string, std::uint16_t>& byName();
} // namespace Keys

namespace KeySpec {
/// Parses "cmd shift 4", "⌘⇧4", "ctrl+alt+delete", "cmd c, cmd v" or "cmd cmd". Never throws.
Result<Trigger, KeySpecError> parse(std::string_view spec);

/// The flags of a lower-case modifier word ("cmd", "opt", "hyper", …), or nothing.
std::optional<std::uint32_t> modifier(std::string_view token);
} // namespace KeySpec

} // namespace ruvola

template <>
struct std::hash<ruvola::Chord> {
    std::size_t operator()(const ruvola::Chord& chord) const noexcept {
        return std::hash<std::uint64_t>{}(std::uint64_t{chord.modifiers} << 16 | chord.keyCode);
    }
};

#pragma once

#include "Ruvola/platform/linux/KeySymbols.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ruvola::platform {

/// An XKB keymap, in xkbcommon's text format, with the four modifier keys and one key for each of
/// a few keysyms, made for a virtual keyboard to type exactly those keysyms with. Every key has a
/// single level, so what it gives does not depend on the modifiers held.
class TextKeymap {
public:
    using KeySym = keySymbols::KeySym;

    /// The keymap's modifier mask for modifierFlags bits; the modifier keys are those of
    /// `keySymbols::modifiers()`, at their usual places.
    static std::uint32_t modifierMask(std::uint32_t flags);

    /// The most keysyms one keymap holds: XKB keycodes run from 8 to 255, and 8 has no event code.
    static constexpr std::size_t capacity = 247 - 4;

    /// A keymap giving each of `keysyms` (distinct, at most `capacity`, none of them `none`).
    explicit TextKeymap(std::span<const KeySym> keysyms);

    /// The keymap, in the text format "xkb_v1".
    const std::string& text() const { return text_; }

    /// The Linux input event code of the key giving `keysym`, or none when no key gives it.
    std::optional<std::uint32_t> evdev(KeySym keysym) const;

    /// Whether a key gives each of `keysyms`.
    bool holds(std::span<const KeySym> keysyms) const;

private:
    std::vector<KeySym> keysyms_; // sorted, each with its event code beside it in evdevs_
    std::vector<std::uint32_t> evdevs_;
    std::string text_;
};

/// `keysyms` cut into consecutive runs of at most `TextKeymap::capacity` distinct keysyms each,
/// as few as the order allows; each run is typed with one keymap.
std::vector<std::span<const keySymbols::KeySym>>
keymapRuns(std::span<const keySymbols::KeySym> keysyms);

/// The distinct keysyms of `keysyms`, sorted.
std::vector<keySymbols::KeySym> distinctKeySyms(std::span<const keySymbols::KeySym> keysyms);

} // namespace ruvola::platform

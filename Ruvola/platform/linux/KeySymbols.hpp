#pragma once

#include <cstdint>
#include <span>

namespace ruvola::platform::keySymbols {

/// A keysym, as X and xkbcommon number them (their values are the same).
using KeySym = std::uint32_t;

/// No keysym.
inline constexpr KeySym none = 0;

/// One key a key name can reach: its macOS virtual key code, the keysym it gives and the Linux
/// input event code of the key at its place on a US keyboard.
struct Key {
    std::uint16_t keyCode;
    KeySym keysym;
    std::uint16_t evdev;
};

/// A modifier key: its modifierFlags bit, its keysym and the Linux input event code of the key.
struct Modifier {
    std::uint32_t flag;
    KeySym keysym;
    std::uint16_t evdev;
};

/// The modifiers a chord can hold (the left ones), in the order they are pressed; they are
/// released in reverse.
std::span<const Modifier> modifiers();

/// Every key a key name can reach, in no particular order.
std::span<const Key> keys();

/// The keysym for a macOS virtual key code, or `none` when no key name reaches it.
KeySym forKeyCode(std::uint16_t keyCode);

/// The Linux input event code for a macOS virtual key code, or 0 when no key name reaches it.
std::uint16_t evdevForKeyCode(std::uint16_t keyCode);

/// The keysym that types `character`: Return for a newline, Tab for a tab, `none` for other
/// control characters and for what is not a Unicode scalar value.
KeySym forCharacter(char32_t character);

} // namespace ruvola::platform::keySymbols

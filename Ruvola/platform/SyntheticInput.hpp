#pragma once

#include "RuvolaCore/KeySpec.hpp"

#include <string>

namespace ruvola::platform {

/// Sends keyboard input to whatever has the keyboard focus, as if typed.
///
/// Contract:
/// - `post` presses the chord's modifiers, then its key (a macOS virtual key code), waits 12 ms,
///   releases the key, then the modifiers. It returns false, sending nothing, when there is no
///   display to send to or the key code has no equivalent.
/// - `type` types any Unicode text, given as UTF-8, character by character; a character with no
///   key on the keyboard is still typed. It returns false when there is no display or the text is
///   not valid UTF-8, sending nothing.
/// - Both block until the input is delivered and any temporary keyboard change is undone.
/// - Both may be called from any thread, and from many at once; they never touch the event loop.
class SyntheticInput {
public:
    virtual ~SyntheticInput() = default;

    virtual bool post(const Chord& chord) = 0;
    virtual bool type(const std::string& utf8) = 0;
};

} // namespace ruvola::platform

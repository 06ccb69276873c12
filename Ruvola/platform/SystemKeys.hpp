#pragma once

#include "RuvolaCore/PadAction.hpp"

#include <array>
#include <string>
#include <string_view>

namespace ruvola::platform {

/// Media and system keys (volume, mute, play/pause, next, previous, display brightness), posted
/// as if pressed on a keyboard so that the desktop reacts as it does to its own keys.
///
/// Contract:
/// - `press` posts a key-down then a key-up of `key` via `tap`, with no pause between them. With
///   `fine`, Shift and Alt are held around the key (the desktop's gesture for small steps).
/// - A tap that is unavailable right now (no X display, `/dev/uinput` not writable) posts
///   nothing, silently: the caller learns from the effect, not from a result.
/// - `press` is called on the main thread and returns quickly; it never waits for the desktop to
///   react.
class SystemKeys {
public:
    /// Where keys are posted: `hid` as a keyboard device low in the system, `session` into the
    /// user's desktop session. Tried in this order.
    enum class Tap { hid, session };
    static constexpr std::array<Tap, 2> allTaps{Tap::hid, Tap::session};

    /// The tap's name in messages.
    static constexpr std::string_view name(Tap tap) { return tap == Tap::hid ? "hid" : "session"; }

    virtual ~SystemKeys() = default;

    virtual void press(SystemKey key, bool fine, Tap tap) = 0;

    /// Whether a key posted via `tap` now would reach the desktop: for `hid` a virtual keyboard
    /// can be made, for `session` the session takes posted keys. Cheap enough for every press.
    virtual bool canPost(Tap tap) = 0;

    /// What posts via `tap`, for a reader: "the uinput keyboard", "XTest".
    virtual std::string describe(Tap tap) const = 0;

    /// What the user calls the system that may ignore a posted key, to begin a sentence:
    /// "The desktop" in "The desktop ignored the system mute key; …".
    virtual std::string systemName() const = 0;
};

} // namespace ruvola::platform

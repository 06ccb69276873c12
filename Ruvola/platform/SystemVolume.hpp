#pragma once

#include <optional>

namespace ruvola::platform {

/// The volume and mute of the default audio output, read and set directly rather than by key.
///
/// The default output is looked up again on every call, so a switch to headphones is followed at
/// once. Every call is synchronous but bounded: a sound server that is missing, gone or stuck makes
/// it give up within about a second, with no value or false, and never logs.
class SystemVolume {
public:
    virtual ~SystemVolume() = default;

    /// The level from 0.0 (silent) to 1.0 (the output's normal full volume), averaged over its
    /// channels; a level above normal reads as 1.0. None when it cannot be read.
    virtual std::optional<double> volume() = 0;

    /// Sets every channel to `level`, clamped to 0.0…1.0. True once the server has accepted it.
    virtual bool setVolume(double level) = 0;

    /// Whether the output is muted; none when it cannot be read.
    virtual std::optional<bool> isMuted() = 0;

    /// Mutes or unmutes the output. True once the server has accepted it.
    virtual bool setMuted(bool muted) = 0;
};

} // namespace ruvola::platform

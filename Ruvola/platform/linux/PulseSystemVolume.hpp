#pragma once

#include "Ruvola/platform/SystemVolume.hpp"

#include <chrono>

namespace ruvola::platform {

/// The default sink of the PulseAudio server (or PipeWire's pulse server) named by the usual
/// client configuration, `PULSE_SERVER` first. Each call connects afresh, so there is no
/// connection to lose or reconnect; `bound` caps the time one call may take.
class PulseSystemVolume final : public SystemVolume {
public:
    explicit PulseSystemVolume(std::chrono::milliseconds bound = std::chrono::seconds(1));

    std::optional<double> volume() override;
    bool setVolume(double level) override;
    std::optional<bool> isMuted() override;
    bool setMuted(bool muted) override;

private:
    std::chrono::milliseconds bound_;
};

} // namespace ruvola::platform

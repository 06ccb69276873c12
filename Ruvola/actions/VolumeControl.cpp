#include "Ruvola/actions/VolumeControl.hpp"

#include "Ruvola/host/Logging.hpp"
#include "Ruvola/platform/InputAccess.hpp"
#include "Ruvola/platform/SystemVolume.hpp"

#include <QTimer>

#include <algorithm>

namespace ruvola {

namespace {

constexpr double volumeStep = 1.0 / 16;
constexpr double fineVolumeStep = 1.0 / 64;

} // namespace

VolumeControl::VolumeControl(Logging& logger, platform::InputAccess& access,
                             platform::SystemKeys& systemKeys, platform::SystemVolume& volume)
    : logger_(logger), access_(access), systemKeys_(systemKeys), volume_(volume) {}

std::optional<platform::SystemKeys::Tap> VolumeControl::tap() {
    for (const auto candidate : platform::SystemKeys::allTaps) {
        if (!tapChosen_ && systemKeys_.canPost(candidate)) {
            tap_ = candidate;
            tapChosen_ = true;
        }
    }
    if (!tapChosen_ && !saidNoTap_) {
        saidNoTap_ = true;
        logger_.warning("No system key can be pressed on this session; " + access_.remedy());
    }
    return tapChosen_ ? std::optional(tap_) : std::nullopt;
}

void VolumeControl::changeVolume(bool up) {
    if (access_.isTrusted() && volumeKeysWork_ != false) {
        if (const std::optional<double> before = volume_.volume(); before && tap()) {
            systemKeys_.press(up ? SystemKey::volumeup : SystemKey::volumedown, fineVolumeSteps_,
                              tap_);
            // At either end a working key leaves the level where it is: nothing to learn.
            if (!volumeKeysWork_ && (up ? *before < 1.0 : *before > 0.0)) {
                verifyVolumeKey(up, *before);
            }
            return;
        }
    }
    stepVolumeDirectly(up);
}

void VolumeControl::verifyVolumeKey(bool up, double before) {
    QTimer::singleShot(verificationDelay, this, [this, up, before] {
        if (volumeKeysWork_) {
            return; // settled by an earlier check
        }
        const std::optional<double> level = volume_.volume();
        if (!level || *level != before) {
            volumeKeysWork_ = true;
            logger_.info("System volume keys work via the " +
                         std::string(platform::SystemKeys::name(tap_)) +
                         " tap: the system's own overlay shows");
            return;
        }
        const auto& taps = platform::SystemKeys::allTaps;
        const auto next = std::find(taps.begin(), taps.end(), tap_) + 1;
        if (next != taps.end()) {
            logger_.warning(systemKeys_.systemName() + " ignored the volume key via the " +
                            std::string(platform::SystemKeys::name(tap_)) + " tap; trying " +
                            std::string(platform::SystemKeys::name(*next)));
            tap_ = *next;
            systemKeys_.press(up ? SystemKey::volumeup : SystemKey::volumedown, fineVolumeSteps_,
                              tap_);
            verifyVolumeKey(up, before);
            return;
        }
        volumeKeysWork_ = false;
        logger_.warning(systemKeys_.systemName() +
                        " ignored the system volume keys; setting the level directly instead");
        stepVolumeDirectly(up);
    });
}

void VolumeControl::stepVolumeDirectly(bool up) {
    const std::optional<double> level = volume_.volume();
    if (!level) {
        return;
    }
    const double step = fineVolumeSteps_ ? fineVolumeStep : volumeStep;
    volume_.setVolume(std::clamp(up ? *level + step : *level - step, 0.0, 1.0));
    // Raising the volume unmutes, as the keyboard's key does; lowering it never touches mute.
    if (up && volume_.isMuted().value_or(false)) {
        volume_.setMuted(false);
    }
}

void VolumeControl::toggleMute() {
    const bool wasMuted = volume_.isMuted().value_or(false);
    if (!access_.isTrusted() || volumeKeysWork_ == false || !tap()) {
        volume_.setMuted(!wasMuted);
        return;
    }
    systemKeys_.press(SystemKey::mute, false, tap_);
    QTimer::singleShot(verificationDelay, this, [this, wasMuted] {
        if (volume_.isMuted().value_or(false) == wasMuted) {
            logger_.warning(systemKeys_.systemName() +
                            " ignored the system mute key; muting directly instead");
            volume_.setMuted(!wasMuted);
        }
    });
}

} // namespace ruvola

#pragma once

#include "Ruvola/platform/SystemKeys.hpp"

#include <QObject>

#include <chrono>
#include <optional>

namespace ruvola {

class Logging;

namespace platform {
class InputAccess;
class SystemVolume;
} // namespace platform

/// The volume knob and the mute key: posts the desktop's own volume keys while they are seen to
/// work, so its overlay shows, and learns once, 350 ms after a key, whether the level moved,
/// trying each tap in turn before it settles on setting the sound server's level directly. Lives
/// on the main thread.
class VolumeControl final : public QObject {
public:
    VolumeControl(Logging& logger, platform::InputAccess& access, platform::SystemKeys& systemKeys,
                  platform::SystemVolume& volume);

    /// One click of a volume knob or one press of a volume key.
    void changeVolume(bool up);
    void toggleMute();

    /// Whether a volume knob moves a quarter step per click.
    bool fineVolumeSteps() const { return fineVolumeSteps_; }
    void setFineVolumeSteps(bool fine) { fineVolumeSteps_ = fine; }

    /// Known once a posted volume key was seen to change the level, or every tap was ignored.
    std::optional<bool> volumeKeysWork() const { return volumeKeysWork_; }
    /// The tap keys are posted through: at first the first that can post on this session, later
    /// the one the volume keys were last tried or seen on. None while no tap can post, which the
    /// log says once, with the remedy.
    std::optional<platform::SystemKeys::Tap> tap();

    /// How long after a volume or mute key its effect is checked.
    static constexpr std::chrono::milliseconds verificationDelay{350};

private:
    void verifyVolumeKey(bool up, double before);
    void stepVolumeDirectly(bool up);

    Logging& logger_;
    platform::InputAccess& access_;
    platform::SystemKeys& systemKeys_;
    platform::SystemVolume& volume_;

    bool fineVolumeSteps_ = false;
    std::optional<bool> volumeKeysWork_;
    platform::SystemKeys::Tap tap_ = platform::SystemKeys::Tap::hid;
    bool tapChosen_ = false;
    bool saidNoTap_ = false;
};

} // namespace ruvola

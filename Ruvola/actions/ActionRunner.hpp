#pragma once

#include "Ruvola/actions/HouseActions.hpp"
#include "Ruvola/actions/NetworkActions.hpp"
#include "Ruvola/platform/SystemKeys.hpp"
#include "RuvolaCore/PadAction.hpp"

#include <QObject>

#include <chrono>
#include <optional>
#include <string>

namespace ruvola {

class BindingsFile;
class Logging;
struct PadBinding;

namespace platform {
class InputAccess;
class Platform;
class SystemVolume;
} // namespace platform

/// Performs the action of a binding when its control is used. Lives on the main thread: local
/// work goes to background threads, web requests to the network, and media keys and volume are
/// handled here, learning as it goes whether the desktop reacts to posted volume keys. Outcomes are
/// only logged; nothing is retried.
class ActionRunner final : public QObject {
public:
    ActionRunner(Logging& logger, platform::Platform& platform,
                 std::chrono::milliseconds networkTimeout = std::chrono::seconds(15));
    ~ActionRunner() override;

    /// Runs `action` of `binding`; `file` builds web requests. Returns at once.
    void run(const PadAction& action, const PadBinding& binding, const BindingsFile& file);

    /// Whether a volume knob moves a quarter step per click.
    bool fineVolumeSteps() const { return fineVolumeSteps_; }
    void setFineVolumeSteps(bool fine) { fineVolumeSteps_ = fine; }

    /// Known once a posted volume key was seen to change the level, or every tap was ignored.
    std::optional<bool> volumeKeysWork() const { return volumeKeysWork_; }
    platform::SystemKeys::Tap tap() const { return tap_; }

    /// "key 1 (Play)": how log lines name a binding.
    static std::string logName(const PadBinding& binding);

    /// How long after a volume or mute key its effect is checked.
    static constexpr std::chrono::milliseconds verificationDelay{350};

private:
    bool checkAccess(const std::string& name);
    void runSystemKey(SystemKey key, const std::string& name);
    void changeVolume(bool up);
    void verifyVolumeKey(bool up, double before);
    void stepVolumeDirectly(bool up);
    void toggleMute();

    Logging& logger_;
    platform::InputAccess& access_;
    platform::SystemKeys& systemKeys_;
    platform::SystemVolume& volume_;
    NetworkActions network_;
    HouseActions house_;

    bool fineVolumeSteps_ = false;
    std::optional<bool> volumeKeysWork_;
    bool warnedAboutAccess_ = false;
    platform::SystemKeys::Tap tap_ = platform::SystemKeys::Tap::hid;
};

} // namespace ruvola

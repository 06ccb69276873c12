#pragma once

#include "Ruvola/actions/HouseActions.hpp"
#include "Ruvola/actions/NetworkActions.hpp"
#include "Ruvola/actions/VolumeControl.hpp"
#include "RuvolaCore/BindingsFile.hpp"
#include "RuvolaCore/PadAction.hpp"

#include <chrono>
#include <optional>
#include <string>

namespace ruvola {

class Logging;

namespace platform {
class Brightness;
class InputAccess;
class MediaPlayers;
class Platform;
class SystemKeys;
} // namespace platform

/// Performs the action of a binding when its control is used. Lives on the main thread: local
/// work goes to background threads, web requests to the network, media keys to the desktop, and
/// volume and mute to the volume control. Outcomes are only logged; nothing is retried.
class ActionRunner final {
public:
    ActionRunner(Logging& logger, platform::Platform& platform,
                 std::chrono::milliseconds networkTimeout = std::chrono::seconds(15));
    ~ActionRunner();

    ActionRunner(const ActionRunner&) = delete;
    ActionRunner& operator=(const ActionRunner&) = delete;

    /// The ready web request of a network action, or the sentence saying why there is none.
    using WebRequest = Result<HTTPRequest, RequestProblem>;

    /// Runs `action` of `binding`; a network action sends `request`. Returns at once.
    void run(const PadAction& action, const PadBinding& binding,
             const std::optional<WebRequest>& request = std::nullopt);

    VolumeControl& volume() { return volume_; }

    /// "key 1 (Play)": how log lines name a binding.
    static std::string logName(const PadBinding& binding);

private:
    bool checkAccess(const std::string& name);
    void runSystemKey(SystemKey key, const std::string& name);

    Logging& logger_;
    platform::InputAccess& access_;
    platform::SystemKeys& systemKeys_;
    platform::MediaPlayers& mediaPlayers_;
    platform::Brightness& brightness_;
    VolumeControl volume_;
    NetworkActions network_;
    HouseActions house_;

    bool warnedAboutAccess_ = false;
};

} // namespace ruvola

#include "Ruvola/platform/DesktopSession.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/SyntheticInput.hpp"
#include "Ruvola/platform/Windows.hpp"
#include "Ruvola/platform/linux/DesktopEntries.hpp"
#include "Ruvola/platform/linux/GioDesktop.hpp"
#include "Ruvola/platform/linux/GioLauncher.hpp"
#include "Ruvola/platform/linux/InotifyDirectoryWatcher.hpp"
#include "Ruvola/platform/linux/LinuxBrightness.hpp"
#include "Ruvola/platform/linux/LinuxInputAccess.hpp"
#include "Ruvola/platform/linux/LinuxInstallation.hpp"
#include "Ruvola/platform/linux/LinuxSystemKeys.hpp"
#include "Ruvola/platform/linux/LogindWakeWatcher.hpp"
#include "Ruvola/platform/linux/MprisMediaPlayers.hpp"
#include "Ruvola/platform/linux/PulseSystemVolume.hpp"
#include "Ruvola/platform/linux/Session.hpp"
#include "Ruvola/platform/linux/SignalStopWatcher.hpp"
#include "Ruvola/platform/linux/SpawnProcesses.hpp"
#include "Ruvola/platform/linux/UdevHidDiscovery.hpp"
#include "Ruvola/platform/linux/UdevHidManager.hpp"
#include "Ruvola/platform/linux/UinputAccessWatcher.hpp"
#include "Ruvola/platform/linux/XdgLaunchAtLogin.hpp"

#include <mutex>

namespace ruvola::platform {

namespace {

class LinuxPlatform final : public Platform {
public:
    std::unique_ptr<DirectoryWatcher> makeDirectoryWatcher() override {
        return std::make_unique<InotifyDirectoryWatcher>();
    }
    std::unique_ptr<HidManager> makeHidManager() override {
        return std::make_unique<UdevHidManager>();
    }
    std::unique_ptr<FrontmostWatcher> makeFrontmostWatcher() override {
        return session_.frontmostWatchers();
    }
    std::unique_ptr<Notifier> makeWakeWatcher() override {
        return std::make_unique<LogindWakeWatcher>();
    }
    std::unique_ptr<Notifier> makeAccessWatcher() override {
        return std::make_unique<UinputAccessWatcher>();
    }
    std::unique_ptr<Notifier> makeStopWatcher() override {
        return std::make_unique<SignalStopWatcher>();
    }
    Windows& windows() override { return *session_.windows; }
    Launcher& launcher() override { return launcher_; }
    Desktop& desktop() override { return desktop_; }
    DesktopSession& session() override { return *session_.description; }
    InputAccess& inputAccess() override { return inputAccess_; }
    const Installation& installation() const override { return installation_; }
    LaunchAtLogin& launchAtLogin() override { return launchAtLogin_; }
    const HidDiscovery& hidDiscovery() const override { return hidDiscovery_; }
    Processes& processes() override { return processes_; }
    // Made on first use: the virtual keyboard it may create is only wanted by the application.
    SystemKeys& systemKeys() override {
        std::call_once(systemKeysMade_, [this] {
            systemKeys_ = std::make_unique<LinuxSystemKeys>(std::move(session_.keys));
        });
        return *systemKeys_;
    }
    // Made on first use, on the main thread: they reach the buses, which commands mostly don't.
    MediaPlayers& mediaPlayers() override {
        if (!mediaPlayers_) {
            mediaPlayers_ = std::make_unique<MprisMediaPlayers>();
        }
        return *mediaPlayers_;
    }
    Brightness& brightness() override {
        if (!brightness_) {
            brightness_ = std::make_unique<LinuxBrightness>();
        }
        return *brightness_;
    }
    SystemVolume& systemVolume() override { return systemVolume_; }
    SyntheticInput& syntheticInput() override { return *session_.input; }

private:
    DesktopEntries entries_;
    SessionBackends session_ =
        SessionBackends::make(Session::current(), entries_, LinuxInstallation::applicationId);
    GioDesktop desktop_;
    LinuxInstallation installation_;
    SpawnProcesses processes_;
    GioLauncher launcher_{entries_, processes_, installation_};
    LinuxInputAccess inputAccess_{session_.inputAvailable, session_.wayland};
    XdgLaunchAtLogin launchAtLogin_{installation_};
    UdevHidDiscovery hidDiscovery_;
    PulseSystemVolume systemVolume_;
    std::once_flag systemKeysMade_;
    std::unique_ptr<LinuxSystemKeys> systemKeys_;
    std::unique_ptr<MprisMediaPlayers> mediaPlayers_;
    std::unique_ptr<LinuxBrightness> brightness_;
};

} // namespace

std::unique_ptr<Platform> makePlatform() {
    return std::make_unique<LinuxPlatform>();
}

} // namespace ruvola::platform

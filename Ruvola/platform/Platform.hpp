#pragma once

#include <memory>

namespace ruvola::platform {

class Brightness;
class Desktop;
class DesktopSession;
class DirectoryWatcher;
class FrontmostWatcher;
class HidDiscovery;
class HidManager;
class InputAccess;
class Installation;
class LaunchAtLogin;
class Launcher;
class MediaPlayers;
class Notifier;
class Processes;
class SyntheticInput;
class SystemKeys;
class SystemVolume;
class Windows;

/// The operating system's services, behind one small interface each. The backend is chosen once,
/// by the build, and reached only through `makePlatform()`, which also picks what the desktop
/// session running now can do.
class Platform {
public:
    virtual ~Platform() = default;

    virtual std::unique_ptr<DirectoryWatcher> makeDirectoryWatcher() = 0;
    virtual std::unique_ptr<HidManager> makeHidManager() = 0;
    virtual std::unique_ptr<FrontmostWatcher> makeFrontmostWatcher() = 0;
    /// Reports each return from sleep (suspend or hibernation) once the system is awake, when
    /// devices may have come back different. Silent, its `start` false, without a system bus.
    virtual std::unique_ptr<Notifier> makeWakeWatcher() = 0;
    /// Reports that `inputAccess()` may answer differently: the device synthetic input goes
    /// through appeared, went away, or got another owner, mode or access list.
    virtual std::unique_ptr<Notifier> makeAccessWatcher() = 0;
    /// Reports that the program was asked from outside to end (on Linux SIGTERM or SIGINT).
    virtual std::unique_ptr<Notifier> makeStopWatcher() = 0;
    /// The running applications and their windows, as this session shows them.
    virtual Windows& windows() = 0;
    virtual Launcher& launcher() = 0;
    virtual Desktop& desktop() = 0;
    /// The desktop session this runs in and what can be done there.
    virtual DesktopSession& session() = 0;
    virtual InputAccess& inputAccess() = 0;
    virtual const Installation& installation() const = 0;
    virtual LaunchAtLogin& launchAtLogin() = 0;
    virtual Processes& processes() = 0;
    virtual SystemKeys& systemKeys() = 0;
    /// The session's media players, told directly what a media key asks.
    virtual MediaPlayers& mediaPlayers() = 0;
    /// The screen's brightness through the desktop's own service, where the session has one.
    virtual Brightness& brightness() = 0;
    virtual SystemVolume& systemVolume() = 0;
    virtual SyntheticInput& syntheticInput() = 0;
    virtual const HidDiscovery& hidDiscovery() const = 0;
};

/// The platform of the operating system this build is for.
std::unique_ptr<Platform> makePlatform();

} // namespace ruvola::platform

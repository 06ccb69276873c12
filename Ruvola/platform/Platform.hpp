#pragma once

#include <memory>

namespace ruvola::platform {

class Applications;
class Desktop;
class DirectoryWatcher;
class FrontmostWatcher;
class HidDiscovery;
class HidManager;
class InputAccess;
class Installation;
class Processes;
class SyntheticInput;
class SystemKeys;
class SystemVolume;

/// The operating system's services, behind one small interface each. The backend is chosen once,
/// by the build, and reached only through `makePlatform()`.
class Platform {
public:
    virtual ~Platform() = default;

    virtual std::unique_ptr<DirectoryWatcher> makeDirectoryWatcher() = 0;
    virtual std::unique_ptr<HidManager> makeHidManager() = 0;
    virtual std::unique_ptr<FrontmostWatcher> makeFrontmostWatcher() = 0;
    virtual Applications& applications() = 0;
    virtual Desktop& desktop() = 0;
    virtual InputAccess& inputAccess() = 0;
    virtual const Installation& installation() const = 0;
    virtual Processes& processes() = 0;
    virtual SystemKeys& systemKeys() = 0;
    virtual SystemVolume& systemVolume() = 0;
    virtual SyntheticInput& syntheticInput() = 0;
    virtual const HidDiscovery& hidDiscovery() const = 0;
};

/// The platform of the operating system this build is for.
std::unique_ptr<Platform> makePlatform();

} // namespace ruvola::platform

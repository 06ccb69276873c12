#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/linux/GioDesktop.hpp"
#include "Ruvola/platform/linux/InotifyDirectoryWatcher.hpp"
#include "Ruvola/platform/linux/LinuxInputAccess.hpp"
#include "Ruvola/platform/linux/LinuxInstallation.hpp"

namespace ruvola::platform {

namespace {

class LinuxPlatform final : public Platform {
public:
    std::unique_ptr<DirectoryWatcher> makeDirectoryWatcher() override {
        return std::make_unique<InotifyDirectoryWatcher>();
    }
    Desktop& desktop() override { return desktop_; }
    InputAccess& inputAccess() override { return inputAccess_; }
    const Installation& installation() const override { return installation_; }

private:
    GioDesktop desktop_;
    LinuxInputAccess inputAccess_;
    LinuxInstallation installation_;
};

} // namespace

std::unique_ptr<Platform> makePlatform() {
    return std::make_unique<LinuxPlatform>();
}

} // namespace ruvola::platform

#include "Ruvola/platform/linux/LinuxInstallation.hpp"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace ruvola::platform {

namespace {

std::filesystem::path runningExecutable() {
    std::error_code error;
    std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path() : executable;
}

std::filesystem::path passwdHome() {
    const long size = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? static_cast<std::size_t>(size) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr || found->pw_dir == nullptr) {
        return {};
    }
    return found->pw_dir;
}

} // namespace

std::optional<std::string> LinuxInstallation::bundleIdentifier() const {
    const std::filesystem::path executable = runningExecutable();
    if (executable.empty()) {
        return std::nullopt;
    }
    const std::filesystem::path entry =
        executable.parent_path().parent_path() / "share" / "applications" /
        (std::string(LinuxInstallation::applicationId) + ".desktop");
    std::error_code error;
    if (!std::filesystem::is_regular_file(entry, error)) {
        return std::nullopt;
    }
    return LinuxInstallation::applicationId;
}

std::string LinuxInstallation::executableName() const {
    const std::filesystem::path executable = runningExecutable();
    return executable.empty() ? "ruvola" : executable.filename().string();
}

std::string LinuxInstallation::bundleRemedy() const {
    return "install Ruvola with cmake --install BUILD-DIR (the program goes to PREFIX/bin, its "
           "desktop entry to PREFIX/share/applications) and run doctor from PREFIX/bin/" +
           executableName();
}

std::filesystem::path LinuxInstallation::homeDirectory() const {
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
        return home;
    }
    return passwdHome();
}

std::filesystem::path LinuxInstallation::logDirectory() const {
    if (const char* state = std::getenv("XDG_STATE_HOME"); state != nullptr) {
        // The XDG rules say a relative value is to be ignored.
        if (const std::filesystem::path base(state); base.is_absolute()) {
            return base / "ruvola";
        }
    }
    return homeDirectory() / ".local" / "state" / "ruvola";
}

} // namespace ruvola::platform

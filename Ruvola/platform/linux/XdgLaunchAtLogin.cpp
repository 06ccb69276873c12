#include "Ruvola/platform/linux/XdgLaunchAtLogin.hpp"

#include "Ruvola/platform/Installation.hpp"

#include <cstdlib>
#include <glib.h>
#include <memory>
#include <string_view>

namespace ruvola::platform {

namespace {

constexpr std::string_view deletedSuffix = " (deleted)";

// An executable replaced while running (an upgrade) reads as "PATH (deleted)"; the entry wants
// the new one at PATH.
std::filesystem::path runningExecutable() {
    std::error_code error;
    std::string path = std::filesystem::read_symlink("/proc/self/exe", error).string();
    if (!error && path.ends_with(deletedSuffix)) {
        path.resize(path.size() - deletedSuffix.size());
    }
    return error ? std::filesystem::path() : std::filesystem::path(path);
}

// One argument of Exec: quoted when it holds a reserved character, with the characters that stay
// special inside quotes escaped; "%" doubled, as it starts a field code.
std::string execArgument(std::string_view argument) {
    constexpr std::string_view reserved = " \t\n\"'\\><~|&;$*?#()`";
    const bool quoted = argument.empty() || argument.find_first_of(reserved) != argument.npos;
    std::string result = quoted ? "\"" : "";
    for (const char c : argument) {
        if (quoted && (c == '"' || c == '`' || c == '$' || c == '\\')) {
            result += '\\';
        }
        result += c == '%' ? "%%" : std::string(1, c);
    }
    return quoted ? result + '"' : result;
}

// The escapes every string value of a desktop entry takes, applied before Exec's own quoting.
std::string stringValue(std::string_view text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '\\':
            result += "\\\\";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\t':
            result += "\\t";
            break;
        case '\r':
            result += "\\r";
            break;
        default:
            result += c;
        }
    }
    return result;
}

} // namespace

XdgLaunchAtLogin::XdgLaunchAtLogin(const Installation& installation,
                                   std::filesystem::path executable)
    : installation_(installation), executable_(std::move(executable)) {}

std::filesystem::path XdgLaunchAtLogin::entryPath() const {
    std::filesystem::path config = installation_.homeDirectory() / ".config";
    if (const char* home = std::getenv("XDG_CONFIG_HOME"); home != nullptr) {
        // The XDG rules say a relative value is to be ignored.
        if (const std::filesystem::path base(home); base.is_absolute()) {
            config = base;
        }
    }
    return config / "autostart" / "ltd.fennick.ruvola.desktop";
}

bool XdgLaunchAtLogin::isEnabled() const {
    const std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> file(g_key_file_new(),
                                                                     &g_key_file_free);
    if (!g_key_file_load_from_file(file.get(), entryPath().c_str(), G_KEY_FILE_NONE, nullptr)) {
        return false;
    }
    // A missing key reads as false, which is the default of both.
    const auto flag = [&](const char* key) {
        return g_key_file_get_boolean(file.get(), G_KEY_FILE_DESKTOP_GROUP, key, nullptr) != 0;
    };
    const bool gnomeOff = g_key_file_has_key(file.get(), G_KEY_FILE_DESKTOP_GROUP,
                                             "X-GNOME-Autostart-enabled", nullptr) != 0 &&
                          !flag("X-GNOME-Autostart-enabled");
    return !flag(G_KEY_FILE_DESKTOP_KEY_HIDDEN) && !gnomeOff;
}

std::optional<std::string> XdgLaunchAtLogin::setEnabled(bool enabled) {
    const std::filesystem::path entry = entryPath();
    std::error_code error;
    if (!enabled) {
        if (!std::filesystem::remove(entry, error) && error) {
            return "could not remove " + entry.string() + ": " + error.message();
        }
        return std::nullopt;
    }

    const std::filesystem::path executable =
        executable_.empty() ? runningExecutable() : executable_;
    if (executable.empty()) {
        return std::string("could not find the running program's path");
    }
    const std::string path = executable.string();
    if (g_utf8_validate(path.c_str(), static_cast<gssize>(path.size()), nullptr) == 0) {
        return "the program's path is not UTF-8, which a desktop entry can't hold: " + path;
    }
    std::filesystem::create_directories(entry.parent_path(), error);
    if (error) {
        return "could not create " + entry.parent_path().string() + ": " + error.message();
    }

    const std::string contents = "[Desktop Entry]\n"
                                 "Type=Application\n"
                                 "Name=Ruvola\n"
                                 "Comment=Drive the control pad from the system tray\n"
                                 "Exec=" +
                                 stringValue(execArgument(path)) +
                                 " --login-launch\n"
                                 "Terminal=false\n"
                                 "X-GNOME-Autostart-enabled=true\n";
    // Written to a temporary file renamed over the entry, so a session never reads half of one.
    GError* failure = nullptr;
    if (g_file_set_contents(entry.c_str(), contents.c_str(), static_cast<gssize>(contents.size()),
                            &failure) == 0) {
        std::string reason = failure != nullptr ? failure->message : "unknown error";
        g_clear_error(&failure);
        return "could not write " + entry.string() + ": " + reason;
    }
    return std::nullopt;
}

} // namespace ruvola::platform

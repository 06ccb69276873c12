#include "Ruvola/platform/linux/Session.hpp"

#include "Ruvola/platform/SyntheticInput.hpp"
#include "Ruvola/platform/Windows.hpp"
#include "Ruvola/platform/linux/LinuxDesktopSession.hpp"
#include "Ruvola/platform/linux/LinuxSystemKeys.hpp"
#include "Ruvola/platform/linux/UinputSyntheticInput.hpp"
#include "Ruvola/platform/linux/wayland/VirtualKeyboardInput.hpp"
#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"
#include "Ruvola/platform/linux/wayland/WlrWindows.hpp"
#include "Ruvola/platform/linux/x11/EwmhFrontmostWatcher.hpp"
#include "Ruvola/platform/linux/x11/EwmhWindows.hpp"
#include "Ruvola/platform/linux/x11/X11Display.hpp"
#include "Ruvola/platform/linux/x11/XTestSyntheticInput.hpp"
#include "Ruvola/platform/linux/x11/XTestSystemKeys.hpp"

#include <cstdlib>
#include <filesystem>
#include <mutex>

namespace ruvola::platform {

namespace {

class NoWindows final : public Windows {
public:
    std::optional<RunningApplication> frontmost() override { return std::nullopt; }
    std::vector<RunningApplication> running() override { return {}; }
    bool hide(const RunningApplication&) override { return false; }
    bool activate(const RunningApplication&) override { return false; }
    bool hasVisibleWindow(const RunningApplication&) override { return false; }
};

class NoFrontmostWatcher final : public FrontmostWatcher {
public:
    bool start(std::function<void()>) override { return false; }
};

class NoSyntheticInput final : public SyntheticInput {
public:
    bool post(const Chord&) override { return false; }
    bool type(const std::string&) override { return false; }
};

std::optional<std::string> variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? std::optional<std::string>(value) : std::nullopt;
}

} // namespace

Session Session::detect(const Environment& environment) {
    Session session;
    const auto type = environment("XDG_SESSION_TYPE");
    const bool wayland = environment("WAYLAND_DISPLAY").has_value();
    session.xDisplay = environment("DISPLAY").has_value();
    if (type == "wayland" || type == "x11") {
        session.kind = type == "wayland" ? Kind::wayland : Kind::x11;
    } else if (wayland || session.xDisplay) {
        session.kind = wayland ? Kind::wayland : Kind::x11;
    }
    if (session.kind != Kind::none) {
        session.desktop = environment("XDG_CURRENT_DESKTOP").value_or("");
    }
    return session;
}

Session Session::current() {
    return detect(variable);
}

namespace {

using Ability = DesktopSession::Ability;

SessionBackends noBackends() {
    SessionBackends backends;
    backends.input = std::make_unique<NoSyntheticInput>();
    backends.inputAvailable = [] { return false; };
    backends.windows = std::make_unique<NoWindows>();
    backends.frontmostWatchers = [] { return std::make_unique<NoFrontmostWatcher>(); };
    return backends;
}

// Everything X11 goes to the display `$DISPLAY` names.
SessionBackends x11Backends(DesktopEntries& entries) {
    SessionBackends backends;
    auto input = std::make_unique<XTestSyntheticInput>();
    XTestSyntheticInput* xtest = input.get();
    backends.inputAvailable = [xtest] { return xtest->available(); };
    backends.input = std::move(input);
    backends.windows = std::make_unique<EwmhWindows>(entries);
    backends.frontmostWatchers = [] { return std::make_unique<EwmhFrontmostWatcher>(); };
    backends.keys = std::make_unique<XTestSystemKeys>();
    backends.description = std::make_unique<LinuxDesktopSession>(
        "X11 \u2014 EWMH, XTest",
        [xtest] {
            const bool display = X11Display::open() != nullptr;
            const std::string noDisplay = "the X server no longer answers: start Ruvola again "
                                          "inside the desktop session";
            const std::string noXtest = "the X server offers no XTest extension: use a server "
                                        "that has it (Xorg and Xwayland do)";
            const bool typing = xtest->available();
            return std::vector<Ability>{
                {"frontmost application", display, "the active window (EWMH)", noDisplay},
                {"window control", display, "activate and iconify (EWMH)", noDisplay},
                {"keystrokes", typing, "XTest", noXtest},
                {"typed text", typing, "XTest, any character", noXtest},
            };
        },
        true);
    return backends;
}

// The desktop's name as the session gives it: the first of `XDG_CURRENT_DESKTOP`'s names.
std::string desktopName(const Session& session) {
    std::string name = session.desktop.substr(0, session.desktop.find(':'));
    if (name.empty() && std::getenv("SWAYSOCK") != nullptr) {
        name = "sway";
    }
    return name.empty() ? "an unknown compositor" : name;
}

// The chords of compositors without a virtual keyboard go through the kernel, once
// `/dev/uinput` is ours, which it may become while the program runs.
class UinputChords final : public SyntheticInput {
public:
    bool post(const Chord& chord) override {
        const std::lock_guard lock(mutex_);
        if (!keyboard_) {
            keyboard_ = UinputSyntheticInput::make();
        }
        return keyboard_ && keyboard_->post(chord);
    }
    bool type(const std::string&) override { return false; }

private:
    std::mutex mutex_;
    std::unique_ptr<UinputSyntheticInput> keyboard_;
};

SessionBackends waylandBackends(const Session& session, DesktopEntries& entries,
                                const std::string& ownAppId) {
    const std::shared_ptr<WaylandConnection> connection = WaylandConnection::open();
    if (!connection) {
        return noBackends();
    }
    SessionBackends backends = noBackends();
    const std::string name = desktopName(session);
    std::vector<std::string> offered;
    std::shared_ptr<WlrWindows> windows = WlrWindows::make(connection, entries, ownAppId);
    if (windows) {
        offered.emplace_back("window list");
        backends.frontmostWatchers = [windows] { return windows->makeWatcher(); };
        backends.windows = windows;
    }
    std::unique_ptr<VirtualKeyboardInput> keyboard = VirtualKeyboardInput::make(connection);
    const bool virtualKeyboard = keyboard != nullptr;
    if (keyboard) {
        offered.emplace_back("virtual keyboard");
        backends.inputAvailable = [connection] { return !connection->lost(); };
        backends.input = std::move(keyboard);
    } else {
        backends.input = std::make_unique<UinputChords>();
    }
    const bool sway = std::getenv("SWAYSOCK") != nullptr;
    std::string description = name + " on Wayland \u2014 ";
    for (std::size_t index = 0; index < offered.size(); ++index) {
        description += (index > 0 ? ", " : "") + offered[index];
    }
    if (offered.empty()) {
        description += "no window list or virtual keyboard";
    }
    const bool windowList = windows != nullptr;
    backends.description = std::make_unique<LinuxDesktopSession>(
        description,
        [name, windowList, virtualKeyboard, sway] {
            const std::string noList = name + " offers Ruvola no window list: only bindings "
                                              "without \"when\" apply (sway, Hyprland and other "
                                              "wlroots compositors offer one)";
            const std::string uinputRule = "install Ruvola's udev rule for /dev/uinput "
                                           "(70-ruvola-uinput.rules, put in place by cmake "
                                           "--install) and restart the computer";
            const bool uinput = UinputSyntheticInput::available();
            return std::vector<Ability>{
                {"frontmost application", windowList, "window list", noList},
                {"window control", windowList,
                 sway ? "window list, hiding through sway" : "window list",
                 name + " lets Ruvola start applications but not bring them forward or hide "
                        "them"},
                {"keystrokes", virtualKeyboard || uinput,
                 virtualKeyboard ? "virtual keyboard" : "the uinput keyboard",
                 name + " offers no virtual keyboard: " + uinputRule},
                {"typed text", virtualKeyboard, "virtual keyboard, any character",
                 name + " offers no virtual keyboard, so text can't be typed there"},
            };
        },
        false, connection);
    return backends;
}

} // namespace

SessionBackends SessionBackends::make(const Session& session, DesktopEntries& entries,
                                      const std::string& ownAppId) {
    SessionBackends backends;
    switch (session.kind) {
    case Session::Kind::x11:
        backends = x11Backends(entries);
        break;
    case Session::Kind::wayland:
        backends = waylandBackends(session, entries, ownAppId);
        backends.wayland = true;
        break;
    case Session::Kind::none:
        backends = noBackends();
        break;
    }
    if (!backends.description) {
        backends.description = std::make_unique<LinuxDesktopSession>("", nullptr, false);
    }
    return backends;
}

bool sessionReachable() {
    if (const char* wayland = std::getenv("WAYLAND_DISPLAY"); wayland != nullptr && *wayland) {
        const std::filesystem::path socket(wayland);
        const char* runtime = std::getenv("XDG_RUNTIME_DIR");
        std::error_code error;
        if (socket.is_absolute() ||
            (runtime != nullptr && std::filesystem::exists(runtime / socket, error))) {
            return true;
        }
    }
    // Asked of the server itself: a DISPLAY left over from a closed session names nothing.
    return X11Display::open() != nullptr;
}

} // namespace ruvola::platform

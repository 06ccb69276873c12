#include "Ruvola/platform/linux/Session.hpp"

#include "Ruvola/platform/SyntheticInput.hpp"
#include "Ruvola/platform/Windows.hpp"
#include "Ruvola/platform/linux/LinuxSystemKeys.hpp"
#include "Ruvola/platform/linux/x11/EwmhFrontmostWatcher.hpp"
#include "Ruvola/platform/linux/x11/EwmhWindows.hpp"
#include "Ruvola/platform/linux/x11/X11Display.hpp"
#include "Ruvola/platform/linux/x11/XTestSyntheticInput.hpp"
#include "Ruvola/platform/linux/x11/XTestSystemKeys.hpp"

#include <cstdlib>
#include <filesystem>

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

SessionBackends SessionBackends::make(const Session& session, DesktopEntries& entries) {
    SessionBackends backends;
    // Everything X11 goes to the display `$DISPLAY` names, XWayland's in a Wayland session too.
    if (session.xDisplay) {
        auto input = std::make_unique<XTestSyntheticInput>();
        backends.inputAvailable = [xtest = input.get()] { return xtest->available(); };
        backends.input = std::move(input);
        backends.windows = std::make_unique<EwmhWindows>(entries);
        backends.frontmostWatchers = [] { return std::make_unique<EwmhFrontmostWatcher>(); };
        backends.keys = std::make_unique<XTestSystemKeys>();
        return backends;
    }
    backends.input = std::make_unique<NoSyntheticInput>();
    backends.inputAvailable = [] { return false; };
    backends.windows = std::make_unique<NoWindows>();
    backends.frontmostWatchers = [] { return std::make_unique<NoFrontmostWatcher>(); };
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

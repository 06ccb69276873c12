#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ruvola::platform {

/// The desktop session Ruvola runs in (X11, a Wayland desktop, or none) and what its backend can
/// do there, said for a reader: `doctor` prints it, the log says when it changes.
///
/// Contract:
/// - Decided once, when the platform is made; nothing else ever asks which session this is.
/// - `abilities` are, in this order: following the frontmost application, window control,
///   keystrokes, typed text. Each unavailable one says what the user can do. None without a
///   usable session.
/// - Main thread.
class DesktopSession {
public:
    /// One thing the session's backend can or cannot do.
    struct Ability {
        std::string name; ///< "frontmost application"
        bool available = false;
        std::string detail; ///< what serves it, when available: "window list"
        std::string remedy; ///< what to do otherwise, beginning in lower case
    };

    virtual ~DesktopSession() = default;

    /// "sway on Wayland — window list, virtual keyboard"; "X11 — EWMH, XTest".
    virtual std::string description() const = 0;
    /// False without any graphical session, or where the session went away.
    virtual bool usable() const = 0;
    virtual std::vector<Ability> abilities() const = 0;
    /// Whether a tray is there now to show the status icon: a StatusNotifier host on the session
    /// bus, or an X11 system tray.
    virtual bool hasTray() const = 0;
    /// Called once, on the main thread, with a sentence for the log, when the session's display
    /// server goes away while the program runs; from then on the session is "none".
    virtual void onLost(std::function<void(const std::string& sentence)> listener) = 0;
};

} // namespace ruvola::platform

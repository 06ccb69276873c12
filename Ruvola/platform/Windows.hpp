#pragma once

#include "Ruvola/platform/Notifier.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ruvola::platform {

/// One running application, as the desktop groups its windows.
struct RunningApplication {
    /// The name people know it by, e.g. "Firefox" (on X11 the class of its windows' WM_CLASS).
    std::string name;
    /// The identifier its "when" bindings use: its desktop entry's id without ".desktop" where
    /// one is known, e.g. "org.gnome.TextEditor"; else the instance of its WM_CLASS.
    std::string identifier;
    /// The full path of its desktop entry, empty when none is known.
    std::string desktopEntry;
    /// Its process, 0 when unknown.
    std::int64_t pid = 0;
    /// The backend's own key for the group of windows; only meaningful to the same backend.
    std::string key;

    bool operator==(const RunningApplication&) const = default;
};

/// Decides whether an application, given by its name and the id of its desktop entry (without
/// ".desktop"; empty when it has none), is the one an action names.
using ApplicationMatch = std::function<bool(const std::string& name, const std::string& id)>;

/// The desktop's running applications and their windows: what each kind of desktop session
/// answers in its own way.
///
/// Contract:
/// - Every call may be made from any thread, and from many at once.
/// - Without a desktop session that offers this (no X display, no window manager) `frontmost`
///   gives none, `running` gives an empty list, and the window operations give false.
/// - Calls are synchronous but never wait on the applications themselves, only on the display.
class Windows {
public:
    virtual ~Windows() = default;

    /// The application of the active window; none when no window is active.
    virtual std::optional<RunningApplication> frontmost() = 0;

    /// The applications that have windows, each once, in the order the window manager lists
    /// their first windows.
    virtual std::vector<RunningApplication> running() = 0;

    /// Hides (iconifies) every window of the application. False when nothing could be hidden.
    virtual bool hide(const RunningApplication& application) = 0;

    /// Shows every hidden window of the application again and makes one of them active.
    virtual bool activate(const RunningApplication& application) = 0;

    /// Whether the application has a normal window that is mapped and not hidden.
    virtual bool hasVisibleWindow(const RunningApplication& application) = 0;
};

/// Reports, on the main thread, each time another application comes to the front. Momentary
/// gaps with no active window (a window manager between two windows) are not reported. `start`
/// gives false when there is nothing to watch (no X display).
class FrontmostWatcher : public Notifier {};

} // namespace ruvola::platform

#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace ruvola::platform {

class DesktopEntries;
class DesktopSession;
class FrontmostWatcher;
class SessionKeys;
class SyntheticInput;
class Windows;

/// The kind of desktop session this process runs in, decided once from its environment.
struct Session {
    enum class Kind { none, x11, wayland };

    Kind kind = Kind::none;
    /// The desktop as `XDG_CURRENT_DESKTOP` names it ("GNOME", "KDE", "sway"); empty when unset.
    std::string desktop;
    /// Whether `DISPLAY` names an X server, XWayland's too: the X11 backends then serve it.
    bool xDisplay = false;

    bool operator==(const Session&) const = default;

    /// Reads a variable of the environment; none when it is unset or empty.
    using Environment = std::function<std::optional<std::string>(const char* name)>;

    /// From `XDG_SESSION_TYPE`, else from which of `WAYLAND_DISPLAY` and `DISPLAY` is set.
    static Session detect(const Environment& environment);
    /// Of this process's environment.
    static Session current();
};

/// The backends of the seams that differ per session, made for one session: the X11 ones in an X11
/// session; on Wayland the ones of the compositor's family, from the protocols it offers; and ones
/// that have nothing (no frontmost, empty lists, window operations false, no session keys or
/// input) where the session offers nothing.
struct SessionBackends {
    /// Shared with the frontmost watchers it makes, where it makes them.
    std::shared_ptr<Windows> windows;
    std::function<std::unique_ptr<FrontmostWatcher>()> frontmostWatchers;
    std::unique_ptr<SessionKeys> keys; ///< null without any
    std::unique_ptr<SyntheticInput> input;
    /// Whether `input` can send anything right now.
    std::function<bool()> inputAvailable;
    /// A Wayland session, where no X11 way of sending input counts.
    bool wayland = false;
    /// What the session is and what these backends can do there.
    std::unique_ptr<DesktopSession> description;

    /// `ownAppId` names the program's own windows, which are never the frontmost application.
    static SessionBackends make(const Session& session, DesktopEntries& entries,
                                const std::string& ownAppId);
};

/// Whether a graphical session can be reached now, for windows and a tray icon: an X display that
/// accepts a connection, or a Wayland compositor's socket.
bool sessionReachable();

} // namespace ruvola::platform

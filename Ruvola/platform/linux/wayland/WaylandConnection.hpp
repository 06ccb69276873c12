#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class QSocketNotifier;
struct wl_display;
struct wl_interface;
struct wl_registry;
struct wl_seat;

namespace ruvola::platform {

/// Ruvola's own connection to the Wayland compositor (the toolkit keeps its own to itself), with
/// the globals the compositor offers.
///
/// Events are read and dispatched only on the main thread: from the main loop once `serve()` was
/// called, or by `roundtrip()`. Requests may be sent from any thread (the client library locks
/// around them); `flush()` then sends them without waiting. A compositor that goes away leaves
/// the connection `lost()`: every later call does nothing, and each `onLost` listener is called
/// once, on the main thread.
class WaylandConnection {
public:
    /// One global the compositor offers.
    struct Global {
        std::uint32_t name;
        std::string interface;
        std::uint32_t version;
    };

    /// Connects to the compositor `$WAYLAND_DISPLAY` names (a socket name in `$XDG_RUNTIME_DIR`
    /// or a full path) and learns its globals; null when there is none to connect to.
    static std::unique_ptr<WaylandConnection> open();

    ~WaylandConnection();
    WaylandConnection(const WaylandConnection&) = delete;
    WaylandConnection& operator=(const WaylandConnection&) = delete;

    wl_display* display() const { return display_; }

    /// The globals offered, in the order the compositor announced them.
    const std::vector<Global>& globals() const { return globals_; }
    bool offers(std::string_view interface) const;

    /// Binds the first global of `interface` at its offered version, at most `version`; null
    /// when it is not offered. Main thread.
    void* bind(const wl_interface& interface, std::uint32_t version);

    /// The compositor's first seat, bound once; null when it offers none (weston headless).
    wl_seat* seat();

    /// Reads and dispatches events on the main loop from now on. Main thread; once is enough.
    void serve();

    /// Waits until the compositor has handled every request sent so far, dispatching the events
    /// that came meanwhile. Main thread. False when the compositor is gone.
    bool roundtrip();

    /// Sends the requests queued so far without waiting. Any thread. False when the compositor is
    /// gone.
    bool flush();

    bool lost() const;

    /// Called once, on the main thread, when the compositor goes away.
    void onLost(std::function<void()> listener) { lostListeners_.push_back(std::move(listener)); }

private:
    explicit WaylandConnection(wl_display* display);
    void readEvents();
    void noticeLoss();

    wl_display* display_;
    wl_registry* registry_ = nullptr;
    wl_seat* seat_ = nullptr;
    std::vector<Global> globals_;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::vector<std::function<void()>> lostListeners_;
    bool lossNoticed_ = false;
};

} // namespace ruvola::platform

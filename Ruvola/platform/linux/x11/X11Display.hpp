#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <xcb/xcb.h>

namespace ruvola::platform {

/// One xcb connection to an X display, closed with the object. xcb rather than Xlib: Xlib's I/O
/// error handler ends the process when the server goes away, xcb only marks the connection broken.
class X11Connection {
public:
    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    xcb_connection_t* get() const { return connection_; }
    /// The display it was opened for, as `$DISPLAY` named it then.
    const std::string& displayName() const { return displayName_; }
    int screen() const { return screen_; }
    /// Different for every connection opened by this process.
    std::uint64_t serial() const { return serial_; }

    bool broken() const;
    /// Whether the server offers the extension, e.g. `xcb_test_id`.
    bool offers(xcb_extension_t& extension) const;
    /// Waits until the server has handled every request sent so far.
    void sync() const;
    /// Reads queued events and errors without waiting, handing each to `seen`. Reading is also
    /// how a server that went away is noticed, before anything is written to it.
    void discardEvents(const std::function<void(const xcb_generic_event_t&)>& seen = {}) const;

private:
    friend class X11Display;
    X11Connection(xcb_connection_t* connection, std::string displayName, int screen);

    xcb_connection_t* connection_;
    std::string displayName_;
    int screen_;
    std::uint64_t serial_;
};

/// Where every X11 backend gets its connection: to the display `$DISPLAY` names now. `connection`
/// keeps one and replaces it once it broke (the server went away) or `$DISPLAY` changed; `open`
/// makes one of the caller's own. Not locked: a kept connection is used by one thread at a time.
class X11Display {
public:
    using EventSeen = std::function<void(const xcb_generic_event_t&)>;

    /// `seen` gets each event read off the kept connection before it is handed out.
    explicit X11Display(EventSeen seen = {});
    ~X11Display();
    X11Display(const X11Display&) = delete;
    X11Display& operator=(const X11Display&) = delete;

    /// A new connection to `$DISPLAY`; null when it is unset or the server refuses.
    static std::unique_ptr<X11Connection> open();

    /// The kept connection, checked and replaced as needed; null without a display.
    X11Connection* connection();

private:
    EventSeen seen_;
    std::unique_ptr<X11Connection> connection_;
};

} // namespace ruvola::platform

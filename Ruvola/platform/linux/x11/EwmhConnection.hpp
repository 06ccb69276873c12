#pragma once

#include "Ruvola/platform/linux/x11/X11Display.hpp"

#include <functional>
#include <memory>
#include <mutex>
#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

namespace ruvola::platform {

/// The EWMH atoms interned on one X connection, which it uses and does not own.
class EwmhConnection {
public:
    /// Null when the server did not answer or has no such screen.
    static std::unique_ptr<EwmhConnection> open(const X11Connection& x);
    ~EwmhConnection();

    EwmhConnection(const EwmhConnection&) = delete;
    EwmhConnection& operator=(const EwmhConnection&) = delete;

    bool broken() const { return x11.broken(); }
    void discardEvents() const { x11.discardEvents(); }

    const X11Connection& x11;
    xcb_connection_t* connection;
    xcb_ewmh_connection_t ewmh{};
    int screen = 0;
    xcb_window_t root = XCB_WINDOW_NONE;
    xcb_atom_t wmChangeState = XCB_ATOM_NONE;

private:
    explicit EwmhConnection(const X11Connection& x) : x11(x), connection(x.get()) {}

    bool atomsInterned_ = false;
};

/// One EWMH connection to `$DISPLAY` that calls from many threads share and take turns on: a call
/// then costs two round trips rather than a connection's setup and the interning of the atoms.
class SharedEwmhConnection {
public:
    SharedEwmhConnection();
    ~SharedEwmhConnection();

    /// Calls `use` with the connection while no other call has it; false, without calling, when
    /// there is no display.
    bool use(const std::function<void(EwmhConnection&)>& use);

private:
    std::mutex mutex_;
    X11Display display_;
    std::unique_ptr<EwmhConnection> ewmh_; // for the connection of this serial
    std::uint64_t serial_ = 0;
};

} // namespace ruvola::platform

#pragma once

#include "Ruvola/platform/linux/x11/EwmhConnection.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Reading the windows a window manager manages, shared by the window queries and the watcher.
namespace ruvola::platform::ewmh {

struct WindowClass {
    std::string instance;
    std::string name;
};

struct Client {
    xcb_window_t window;
    WindowClass windowClass;
    std::int64_t pid;
};

/// What groups windows into one application.
std::string keyOf(const WindowClass& windowClass);

// Each reader takes its reply, or the error it got, so nothing piles up in the event queue.
std::vector<xcb_window_t> windowsFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie);
std::vector<xcb_atom_t> atomsFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie);

/// The active window with its class; none without a running window manager.
std::optional<Client> activeClient(EwmhConnection& x);

/// The managed windows with a WM_CLASS, in the window manager's order.
std::vector<Client> listClients(EwmhConnection& x);

} // namespace ruvola::platform::ewmh

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

/// The windows or atoms (`type`) a list property holds; none when it holds something else. Takes
/// its reply, or the error it got, so nothing piles up in the event queue.
std::vector<std::uint32_t> listFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie,
                                    xcb_atom_t type);

/// The active window with its class; none without a running window manager.
std::optional<Client> activeClient(EwmhConnection& x);

/// The managed windows with a WM_CLASS, in the window manager's order.
std::vector<Client> listClients(EwmhConnection& x);

} // namespace ruvola::platform::ewmh

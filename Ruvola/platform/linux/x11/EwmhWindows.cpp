#include "Ruvola/platform/linux/x11/EwmhWindows.hpp"

#include "Ruvola/platform/linux/DesktopEntries.hpp"
#include "Ruvola/platform/linux/x11/EwmhClients.hpp"

#include <algorithm>
#include <cstdlib>
#include <unordered_set>
#include <utility>
#include <xcb/xcb_icccm.h>

namespace ruvola::platform {

using ewmh::Client;
using ewmh::keyOf;
using ewmh::listClients;

namespace {

struct WindowState {
    bool normal;
    bool viewable;
    bool hidden;
};

std::vector<xcb_window_t> windowsOf(const std::vector<Client>& clients, const std::string& key) {
    std::vector<xcb_window_t> windows;
    for (const Client& client : clients) {
        if (keyOf(client.windowClass) == key) {
            windows.push_back(client.window);
        }
    }
    return windows;
}

std::vector<WindowState> statesOf(EwmhConnection& x, const std::vector<xcb_window_t>& windows) {
    struct Cookies {
        xcb_get_property_cookie_t type;
        xcb_get_property_cookie_t state;
        xcb_get_window_attributes_cookie_t attributes;
    };
    std::vector<Cookies> cookies;
    cookies.reserve(windows.size());
    for (const xcb_window_t window : windows) {
        cookies.push_back({xcb_ewmh_get_wm_window_type(&x.ewmh, window),
                           xcb_ewmh_get_wm_state(&x.ewmh, window),
                           xcb_get_window_attributes(x.connection, window)});
    }
    std::vector<WindowState> states;
    for (const Cookies& cookie : cookies) {
        const std::vector<xcb_atom_t> types = ewmh::listFrom(x, cookie.type, XCB_ATOM_ATOM);
        const std::vector<xcb_atom_t> flags = ewmh::listFrom(x, cookie.state, XCB_ATOM_ATOM);
        xcb_generic_error_t* error = nullptr;
        xcb_get_window_attributes_reply_t* attributes =
            xcb_get_window_attributes_reply(x.connection, cookie.attributes, &error);
        std::free(error);
        states.push_back({
            .normal =
                types.empty() || std::ranges::count(types, x.ewmh._NET_WM_WINDOW_TYPE_NORMAL) > 0,
            .viewable = attributes != nullptr && attributes->map_state == XCB_MAP_STATE_VIEWABLE,
            .hidden = std::ranges::count(flags, x.ewmh._NET_WM_STATE_HIDDEN) > 0,
        });
        std::free(attributes);
    }
    return states;
}

void sendToRoot(EwmhConnection& x, xcb_window_t window, xcb_atom_t type, std::uint32_t value) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    message.data.data32[0] = value;
    xcb_send_event(x.connection, 0, x.root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
}

RunningApplication describe(const Client& client, DesktopEntries& entries) {
    const ewmh::WindowClass& windowClass = client.windowClass;
    const auto entry = entries.forWindowClass(windowClass.instance, windowClass.name);
    return RunningApplication{
        .name = windowClass.name.empty() ? windowClass.instance : windowClass.name,
        .identifier = entry ? entry->id : windowClass.instance,
        .desktopEntry = entry ? entry->path : std::string(),
        .pid = client.pid,
        .key = keyOf(windowClass),
    };
}

} // namespace

std::optional<RunningApplication> EwmhWindows::frontmost() {
    std::optional<Client> active;
    connection_.use([&](EwmhConnection& x) { active = ewmh::activeClient(x); });
    if (!active) {
        return std::nullopt;
    }
    return describe(*active, entries_);
}

std::vector<RunningApplication> EwmhWindows::running() {
    std::vector<Client> clients;
    connection_.use([&](EwmhConnection& x) { clients = listClients(x); });
    std::vector<RunningApplication> applications;
    std::unordered_set<std::string> seen;
    for (const Client& client : clients) {
        if (seen.insert(keyOf(client.windowClass)).second) {
            applications.push_back(describe(client, entries_));
        }
    }
    return applications;
}

bool EwmhWindows::withWindowsOf(const RunningApplication& application, const WindowsUse& use) {
    bool found = false;
    connection_.use([&](EwmhConnection& x) {
        const std::vector<xcb_window_t> windows = windowsOf(listClients(x), application.key);
        found = !windows.empty();
        if (found) {
            use(x, windows);
        }
    });
    return found;
}

bool EwmhWindows::hide(const RunningApplication& application) {
    return withWindowsOf(application,
                         [](EwmhConnection& x, const std::vector<xcb_window_t>& windows) {
                             for (const xcb_window_t window : windows) {
                                 sendToRoot(x, window, x.wmChangeState, XCB_ICCCM_WM_STATE_ICONIC);
                             }
                             xcb_flush(x.connection);
                         });
}

bool EwmhWindows::activate(const RunningApplication& application) {
    return withWindowsOf(
        application, [](EwmhConnection& x, const std::vector<xcb_window_t>& windows) {
            const auto stackingCookie = xcb_ewmh_get_client_list_stacking(&x.ewmh, x.screen);
            const std::vector<WindowState> states = statesOf(x, windows);
            const std::vector<xcb_window_t> stacking =
                ewmh::listFrom(x, stackingCookie, XCB_ATOM_WINDOW);

            // The one to activate: its topmost normal window, else its topmost one.
            xcb_window_t chosen = windows.front();
            std::optional<std::pair<bool, std::ptrdiff_t>> best;
            for (std::size_t index = 0; index < windows.size(); ++index) {
                const auto place = std::ranges::find(stacking, windows[index]);
                const auto rank = std::make_pair(states[index].normal, place - stacking.begin());
                if (place != stacking.end() && (!best || rank > *best)) {
                    best = rank;
                    chosen = windows[index];
                }
            }
            // Mapping an iconified window asks the window manager to show it again.
            for (std::size_t index = 0; index < windows.size(); ++index) {
                if (states[index].hidden && windows[index] != chosen) {
                    xcb_map_window(x.connection, windows[index]);
                }
            }
            xcb_ewmh_request_change_active_window(&x.ewmh, x.screen, chosen,
                                                  XCB_EWMH_CLIENT_SOURCE_TYPE_OTHER,
                                                  XCB_CURRENT_TIME, XCB_WINDOW_NONE);
            xcb_flush(x.connection);
        });
}

bool EwmhWindows::hasVisibleWindow(const RunningApplication& application) {
    bool visible = false;
    withWindowsOf(application, [&](EwmhConnection& x, const std::vector<xcb_window_t>& windows) {
        visible = std::ranges::any_of(statesOf(x, windows), [](const WindowState& state) {
            return state.normal && state.viewable && !state.hidden;
        });
    });
    return visible;
}

} // namespace ruvola::platform

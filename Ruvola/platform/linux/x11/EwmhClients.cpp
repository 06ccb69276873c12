#include "Ruvola/platform/linux/x11/EwmhClients.hpp"

#include <cstdlib>
#include <utility>
#include <xcb/xcb_icccm.h>

namespace ruvola::platform::ewmh {

namespace {

xcb_window_t windowFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie) {
    xcb_window_t window = XCB_WINDOW_NONE;
    xcb_generic_error_t* error = nullptr;
    if (xcb_ewmh_get_window_reply(&x.ewmh, cookie, &window, &error) == 0) {
        window = XCB_WINDOW_NONE;
    }
    std::free(error);
    return window;
}

std::optional<WindowClass> classFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie) {
    xcb_icccm_get_wm_class_reply_t reply;
    xcb_generic_error_t* error = nullptr;
    if (xcb_icccm_get_wm_class_reply(x.connection, cookie, &reply, &error) == 0) {
        std::free(error);
        return std::nullopt;
    }
    WindowClass windowClass{reply.instance_name, reply.class_name};
    xcb_icccm_get_wm_class_reply_wipe(&reply);
    return windowClass;
}

std::int64_t pidFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie) {
    std::uint32_t pid = 0;
    xcb_generic_error_t* error = nullptr;
    if (xcb_ewmh_get_wm_pid_reply(&x.ewmh, cookie, &pid, &error) == 0) {
        pid = 0;
    }
    std::free(error);
    return pid;
}

// A window manager runs when the root names a check window that names itself; a killed one
// leaves its other root properties behind, stale. Callers ask in two halves, so that the check
// shares their own two round trips.
class ManagerCheck {
public:
    explicit ManagerCheck(EwmhConnection& x)
        : x_(x), cookie_(xcb_ewmh_get_supporting_wm_check(&x.ewmh, x.root)) {}
    ~ManagerCheck() {
        if (pending_) {
            xcb_discard_reply(x_.connection, cookie_.sequence);
        }
    }
    ManagerCheck(const ManagerCheck&) = delete;
    ManagerCheck& operator=(const ManagerCheck&) = delete;

    /// Reads the root's answer and asks the window it names; false when it names none.
    bool askWindow() {
        window_ = take();
        if (window_ == XCB_WINDOW_NONE) {
            return false;
        }
        cookie_ = xcb_ewmh_get_supporting_wm_check(&x_.ewmh, window_);
        pending_ = true;
        return true;
    }

    bool running() { return window_ != XCB_WINDOW_NONE && take() == window_; }

private:
    xcb_window_t take() {
        pending_ = false;
        return windowFrom(x_, cookie_);
    }

    EwmhConnection& x_;
    xcb_get_property_cookie_t cookie_;
    bool pending_ = true;
    xcb_window_t window_ = XCB_WINDOW_NONE;
};

} // namespace

std::string keyOf(const WindowClass& windowClass) {
    return windowClass.instance + '\n' + windowClass.name;
}

std::vector<std::uint32_t> listFrom(EwmhConnection& x, xcb_get_property_cookie_t cookie,
                                    xcb_atom_t type) {
    std::vector<std::uint32_t> values;
    xcb_generic_error_t* error = nullptr;
    xcb_get_property_reply_t* reply = xcb_get_property_reply(x.connection, cookie, &error);
    if (reply != nullptr && reply->type == type && reply->format == 32) {
        const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply));
        const auto count = static_cast<std::size_t>(xcb_get_property_value_length(reply)) / 4;
        values.assign(first, first + count);
    }
    std::free(reply);
    std::free(error);
    return values;
}

std::optional<Client> activeClient(EwmhConnection& x) {
    ManagerCheck manager(x);
    const auto activeCookie = xcb_ewmh_get_active_window(&x.ewmh, x.screen);
    const bool named = manager.askWindow();
    const xcb_window_t active = windowFrom(x, activeCookie);
    if (!named || active == XCB_WINDOW_NONE) {
        return std::nullopt;
    }
    const auto classCookie = xcb_icccm_get_wm_class(x.connection, active);
    const auto pidCookie = xcb_ewmh_get_wm_pid(&x.ewmh, active);
    const bool managed = manager.running();
    auto windowClass = classFrom(x, classCookie);
    const std::int64_t pid = pidFrom(x, pidCookie);
    if (!managed || !windowClass) {
        return std::nullopt;
    }
    return Client{active, std::move(*windowClass), pid};
}

std::vector<Client> listClients(EwmhConnection& x) {
    ManagerCheck manager(x);
    const auto listCookie = xcb_ewmh_get_client_list(&x.ewmh, x.screen);
    const bool named = manager.askWindow();
    const std::vector<xcb_window_t> windows = listFrom(x, listCookie, XCB_ATOM_WINDOW);
    if (!named) {
        return {};
    }
    std::vector<std::pair<xcb_get_property_cookie_t, xcb_get_property_cookie_t>> cookies;
    cookies.reserve(windows.size());
    for (const xcb_window_t window : windows) {
        cookies.emplace_back(xcb_icccm_get_wm_class(x.connection, window),
                             xcb_ewmh_get_wm_pid(&x.ewmh, window));
    }
    const bool managed = manager.running();
    std::vector<Client> clients;
    for (std::size_t index = 0; index < windows.size(); ++index) {
        auto windowClass = classFrom(x, cookies[index].first);
        const std::int64_t pid = pidFrom(x, cookies[index].second);
        if (windowClass) {
            clients.push_back({windows[index], std::move(*windowClass), pid});
        }
    }
    return managed ? clients : std::vector<Client>{};
}

} // namespace ruvola::platform::ewmh

#include "Ruvola/platform/linux/x11/X11Display.hpp"

#include <atomic>
#include <cstdlib>
#include <utility>
#include <xcb/xcb.h>

namespace ruvola::platform {

namespace {

std::string displayVariable() {
    const char* variable = std::getenv("DISPLAY");
    return variable != nullptr ? variable : "";
}

std::uint64_t nextSerial() {
    static std::atomic<std::uint64_t> serial{0};
    return ++serial;
}

} // namespace

X11Connection::X11Connection(xcb_connection_t* connection, std::string displayName, int screen)
    : connection_(connection), displayName_(std::move(displayName)), screen_(screen),
      serial_(nextSerial()) {}

X11Connection::~X11Connection() {
    xcb_disconnect(connection_); // also frees one that failed
}

bool X11Connection::broken() const {
    return xcb_connection_has_error(connection_) != 0;
}

bool X11Connection::offers(xcb_extension_t& extension) const {
    const xcb_query_extension_reply_t* reply = xcb_get_extension_data(connection_, &extension);
    return reply != nullptr && reply->present != 0;
}

void X11Connection::sync() const {
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

void X11Connection::discardEvents(
    const std::function<void(const xcb_generic_event_t&)>& seen) const {
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
        if (seen) {
            seen(*event);
        }
        std::free(event);
    }
}

X11Display::X11Display(EventSeen seen) : seen_(std::move(seen)) {}

X11Display::~X11Display() = default;

std::unique_ptr<X11Connection> X11Display::open() {
    const std::string display = displayVariable();
    if (display.empty()) {
        return nullptr;
    }
    int screen = 0;
    std::unique_ptr<X11Connection> opened(
        new X11Connection(xcb_connect(display.c_str(), &screen), display, screen));
    return opened->broken() ? nullptr : std::move(opened);
}

X11Connection* X11Display::connection() {
    if (connection_) {
        connection_->discardEvents(seen_);
        if (connection_->broken() || connection_->displayName() != displayVariable()) {
            connection_.reset();
        }
    }
    if (!connection_) {
        connection_ = open();
    }
    return connection_.get();
}

} // namespace ruvola::platform

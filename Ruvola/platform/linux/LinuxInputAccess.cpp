#include "Ruvola/platform/linux/LinuxInputAccess.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <unistd.h>
#include <xcb/xcb.h>

namespace ruvola::platform {

namespace {

// xcb rather than Xlib: Xlib's default I/O error handler would end the process if the server
// went away during the check.
bool offersXTest(const char* display) {
    xcb_connection_t* connection = xcb_connect(display, nullptr);
    bool present = false;
    if (xcb_connection_has_error(connection) == 0) {
        constexpr std::string_view extension = "XTEST";
        const auto cookie = xcb_query_extension(
            connection, static_cast<std::uint16_t>(extension.size()), extension.data());
        xcb_query_extension_reply_t* reply = xcb_query_extension_reply(connection, cookie, nullptr);
        present = reply != nullptr && reply->present != 0;
        std::free(reply);
    }
    xcb_disconnect(connection); // also frees a connection that failed
    return present;
}

} // namespace

bool LinuxInputAccess::isTrusted() {
    const char* display = std::getenv("DISPLAY");
    const std::string_view displayName = display != nullptr ? display : "";
    if (!displayName.empty() && displayName == xtestDisplay_) {
        return true;
    }
    if (::access("/dev/uinput", W_OK) == 0) {
        return true;
    }
    if (displayName.empty() || !offersXTest(display)) {
        return false;
    }
    xtestDisplay_ = displayName;
    return true;
}

std::string LinuxInputAccess::remedy() const {
    return "run Ruvola in an X11 session, or install its udev rule for /dev/uinput "
           "(70-ruvola-uinput.rules, put in place by cmake --install) and restart the computer";
}

std::string LinuxInputAccess::refusal() const {
    return "needs input access: an X11 session, or Ruvola's udev rule for /dev/uinput";
}

} // namespace ruvola::platform

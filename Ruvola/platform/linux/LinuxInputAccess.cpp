#include "Ruvola/platform/linux/LinuxInputAccess.hpp"

#include <unistd.h>

namespace ruvola::platform {

bool LinuxInputAccess::isTrusted() {
    return ::access("/dev/uinput", W_OK) == 0 || sessionInput_();
}

std::string LinuxInputAccess::remedy() const {
    return std::string(wayland_ ? "install" : "run Ruvola in an X11 session, or install") +
           " its udev rule for /dev/uinput (70-ruvola-uinput.rules, put in place by cmake "
           "--install) and restart the computer";
}

std::string LinuxInputAccess::refusal() const {
    return std::string("needs input access: ") + (wayland_ ? "" : "an X11 session, or ") +
           "Ruvola's udev rule for /dev/uinput";
}

} // namespace ruvola::platform

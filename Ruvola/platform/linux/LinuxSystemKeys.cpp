#include "Ruvola/platform/linux/LinuxSystemKeys.hpp"

#include "Ruvola/platform/linux/UinputKeyboard.hpp"

#include <unistd.h>
#include <utility>

namespace ruvola::platform {

LinuxSystemKeys::LinuxSystemKeys(std::unique_ptr<SessionKeys> session)
    : sessionKeys_(std::move(session)) {
    makeVirtualKeyboard();
}

LinuxSystemKeys::~LinuxSystemKeys() = default;

// Checking for write access first makes a retry at every press cheap until a udev rule grants it.
// A device made at a press is read only once the desktop has found it, so that press is lost.
void LinuxSystemKeys::makeVirtualKeyboard() {
    if (virtualKeyboardTried_ || ::access("/dev/uinput", W_OK) != 0) {
        return;
    }
    virtualKeyboardTried_ = true;
    virtualKeyboard_ = UinputKeyboard::make();
}

bool LinuxSystemKeys::canPost(Tap tap) {
    switch (tap) {
    case Tap::hid:
        return ::access("/dev/uinput", W_OK) == 0;
    case Tap::session:
        return sessionKeys_ && sessionKeys_->available();
    }
    return false;
}

std::string LinuxSystemKeys::describe(Tap tap) const {
    if (tap == Tap::hid) {
        return "the uinput keyboard";
    }
    return sessionKeys_ ? sessionKeys_->name() : "the session";
}

void LinuxSystemKeys::press(SystemKey key, bool fine, Tap tap) {
    switch (tap) {
    case Tap::hid:
        makeVirtualKeyboard();
        if (virtualKeyboard_) {
            virtualKeyboard_->press(key, fine);
        }
        break;
    case Tap::session:
        if (sessionKeys_) {
            sessionKeys_->press(key, fine);
        }
        break;
    }
}

} // namespace ruvola::platform

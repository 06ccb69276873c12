#include "Ruvola/platform/linux/LinuxSystemKeys.hpp"

#include <X11/XF86keysym.h>
#include <X11/keysym.h>
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <linux/input.h>
#include <linux/uinput.h>
#include <optional>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace ruvola::platform {

namespace {

struct KeyCodes {
    std::uint16_t evdev;
    xcb_keysym_t keysym;
};

KeyCodes codesFor(SystemKeys::Key key) {
    using Key = SystemKeys::Key;
    switch (key) {
    case Key::volumeUp:
        return {KEY_VOLUMEUP, XF86XK_AudioRaiseVolume};
    case Key::volumeDown:
        return {KEY_VOLUMEDOWN, XF86XK_AudioLowerVolume};
    case Key::brightnessUp:
        return {KEY_BRIGHTNESSUP, XF86XK_MonBrightnessUp};
    case Key::brightnessDown:
        return {KEY_BRIGHTNESSDOWN, XF86XK_MonBrightnessDown};
    case Key::mute:
        return {KEY_MUTE, XF86XK_AudioMute};
    case Key::play:
        return {KEY_PLAYPAUSE, XF86XK_AudioPlay};
    case Key::next:
        return {KEY_NEXTSONG, XF86XK_AudioNext};
    case Key::previous:
        return {KEY_PREVIOUSSONG, XF86XK_AudioPrev};
    }
    return {};
}

constexpr SystemKeys::Key allKeys[] = {
    SystemKeys::Key::volumeUp,       SystemKeys::Key::volumeDown, SystemKeys::Key::brightnessUp,
    SystemKeys::Key::brightnessDown, SystemKeys::Key::mute,       SystemKeys::Key::play,
    SystemKeys::Key::next,           SystemKeys::Key::previous,
};

// Held around the key, pressed in this order and released in reverse.
constexpr std::uint16_t fineEvdev[] = {KEY_LEFTSHIFT, KEY_LEFTALT};
constexpr xcb_keysym_t fineKeysyms[] = {XK_Shift_L, XK_Alt_L};

constexpr const char* uinputPath = "/dev/uinput";

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    int get() const { return fd_; }

private:
    int fd_;
};

} // namespace

// A keyboard device made through uinput, offering just the keys posted here.
class LinuxSystemKeys::VirtualKeyboard {
public:
    static std::unique_ptr<VirtualKeyboard> make() {
        FileDescriptor fd(::open(uinputPath, O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        if (fd.get() < 0 || ::ioctl(fd.get(), UI_SET_EVBIT, EV_KEY) < 0 ||
            ::ioctl(fd.get(), UI_SET_EVBIT, EV_SYN) < 0) {
            return nullptr;
        }
        for (const SystemKeys::Key key : allKeys) {
            if (::ioctl(fd.get(), UI_SET_KEYBIT, int{codesFor(key).evdev}) < 0) {
                return nullptr;
            }
        }
        for (const std::uint16_t modifier : fineEvdev) {
            if (::ioctl(fd.get(), UI_SET_KEYBIT, int{modifier}) < 0) {
                return nullptr;
            }
        }
        uinput_setup setup{};
        setup.id.bustype = BUS_VIRTUAL;
        std::copy_n(deviceName.begin(), std::min(deviceName.size(), sizeof setup.name - 1),
                    setup.name);
        if (::ioctl(fd.get(), UI_DEV_SETUP, &setup) < 0 || ::ioctl(fd.get(), UI_DEV_CREATE) < 0) {
            return nullptr;
        }
        return std::unique_ptr<VirtualKeyboard>(new VirtualKeyboard(std::move(fd)));
    }

    VirtualKeyboard(const VirtualKeyboard&) = delete;
    VirtualKeyboard& operator=(const VirtualKeyboard&) = delete;
    ~VirtualKeyboard() { ::ioctl(fd_.get(), UI_DEV_DESTROY); }

    void press(std::uint16_t code, bool fine) const {
        std::array<input_event, 10> events{};
        std::size_t count = 0;
        const auto add = [&](std::uint16_t type, std::uint16_t eventCode, std::int32_t value) {
            events[count].type = type;
            events[count].code = eventCode;
            events[count].value = value;
            ++count;
        };
        const auto report = [&] { add(EV_SYN, SYN_REPORT, 0); };
        if (fine) {
            for (const std::uint16_t modifier : fineEvdev) {
                add(EV_KEY, modifier, 1);
            }
            report();
        }
        add(EV_KEY, code, 1);
        report();
        add(EV_KEY, code, 0);
        report();
        if (fine) {
            for (auto modifier = std::rbegin(fineEvdev); modifier != std::rend(fineEvdev);
                 ++modifier) {
                add(EV_KEY, *modifier, 0);
            }
            report();
        }
        // A failed write loses this press alone; there is no one to tell.
        [[maybe_unused]] const ssize_t written =
            ::write(fd_.get(), events.data(), count * sizeof(input_event));
    }

private:
    explicit VirtualKeyboard(FileDescriptor fd) : fd_(std::move(fd)) {}

    FileDescriptor fd_;
};

// XTest through xcb rather than Xlib: Xlib's default I/O error handler would end the process
// when the server goes away. Nothing here waits on the server except connecting and reading the
// keymap, which happen again only after the connection broke or the keymap changed.
class LinuxSystemKeys::SessionKeyboard {
public:
    void press(xcb_keysym_t keysym, bool fine) {
        const char* display = std::getenv("DISPLAY");
        const std::string name = display != nullptr ? display : "";
        if (connection_ && (name != displayName_ || !healthy())) {
            connection_.reset();
        }
        if ((!connection_ && !connect(name)) || !xtest_) {
            return;
        }
        if (keymapStale_) {
            readKeymap();
        }
        const auto code = keycodeFor(keysym, fine);
        std::vector<xcb_keycode_t> modifiers;
        for (const xcb_keysym_t modifier : fineKeysyms) {
            if (const auto modifierCode = keycodeFor(modifier, false); fine && modifierCode) {
                modifiers.push_back(*modifierCode);
            }
        }
        // Without its modifiers a fine step would be a full one, so nothing is better.
        if (!code || (fine && modifiers.size() != std::size(fineKeysyms))) {
            return;
        }
        for (const xcb_keycode_t modifier : modifiers) {
            fake(XCB_KEY_PRESS, modifier);
        }
        fake(XCB_KEY_PRESS, *code);
        fake(XCB_KEY_RELEASE, *code);
        for (auto modifier = modifiers.rbegin(); modifier != modifiers.rend(); ++modifier) {
            fake(XCB_KEY_RELEASE, *modifier);
        }
        xcb_flush(connection_.get());
    }

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    // A server without XTest keeps its connection, so that it isn't asked again at every press.
    bool connect(const std::string& name) {
        displayName_ = name;
        keymapStale_ = true;
        xtest_ = false;
        if (name.empty()) {
            return false;
        }
        connection_.reset(xcb_connect(name.c_str(), nullptr));
        if (xcb_connection_has_error(connection_.get()) != 0) {
            connection_.reset(); // a failed connection still has to be freed
            return false;
        }
        const xcb_query_extension_reply_t* xtest =
            xcb_get_extension_data(connection_.get(), &xcb_test_id);
        xtest_ = xtest != nullptr && xtest->present != 0;
        return true;
    }

    // Reading pending events also notices a server that went away; the only ones that matter
    // are keymap changes, which every client gets.
    bool healthy() {
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection_.get())) {
            if ((event->response_type & 0x7F) == XCB_MAPPING_NOTIFY) {
                keymapStale_ = true;
            }
            std::free(event);
        }
        return xcb_connection_has_error(connection_.get()) == 0;
    }

    void readKeymap() {
        keysyms_.clear();
        const xcb_setup_t* setup = xcb_get_setup(connection_.get());
        firstKeycode_ = setup->min_keycode;
        const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
        xcb_get_keyboard_mapping_reply_t* reply = xcb_get_keyboard_mapping_reply(
            connection_.get(), xcb_get_keyboard_mapping(connection_.get(), firstKeycode_, count),
            nullptr);
        if (reply == nullptr) {
            return; // the connection broke; the next press makes a new one
        }
        const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(reply);
        keysyms_.assign(keysyms, keysyms + xcb_get_keyboard_mapping_keysyms_length(reply));
        width_ = reply->keysyms_per_keycode;
        std::free(reply);
        keymapStale_ = false;
    }

    // The first keycode giving `keysym` unmodified. Under Shift, one whose shifted level gives
    // the same keysym is preferred: the play key's shifted level is often pause.
    std::optional<xcb_keycode_t> keycodeFor(xcb_keysym_t keysym, bool shifted) const {
        std::optional<xcb_keycode_t> found;
        for (std::size_t row = 0; width_ > 0 && row + width_ <= keysyms_.size(); row += width_) {
            if (keysyms_[row] != keysym) {
                continue;
            }
            const auto code = static_cast<xcb_keycode_t>(firstKeycode_ + row / width_);
            const xcb_keysym_t shiftedKeysym = width_ > 1 ? keysyms_[row + 1] : XCB_NO_SYMBOL;
            if (!shifted || shiftedKeysym == XCB_NO_SYMBOL || shiftedKeysym == keysym) {
                return code;
            }
            found = found.value_or(code);
        }
        return found;
    }

    void fake(std::uint8_t type, xcb_keycode_t code) {
        xcb_test_fake_input(connection_.get(), type, code, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    }

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    std::string displayName_;
    bool xtest_ = false;
    bool keymapStale_ = true;
    xcb_keycode_t firstKeycode_ = 0;
    std::size_t width_ = 0;
    std::vector<xcb_keysym_t> keysyms_;
};

LinuxSystemKeys::LinuxSystemKeys() : sessionKeyboard_(std::make_unique<SessionKeyboard>()) {
    makeVirtualKeyboard();
}

LinuxSystemKeys::~LinuxSystemKeys() = default;

// Checking for write access first makes a retry at every press cheap until a udev rule grants it.
// A device made at a press is read only once the desktop has found it, so that press is lost.
void LinuxSystemKeys::makeVirtualKeyboard() {
    if (virtualKeyboardTried_ || ::access(uinputPath, W_OK) != 0) {
        return;
    }
    virtualKeyboardTried_ = true;
    virtualKeyboard_ = VirtualKeyboard::make();
}

void LinuxSystemKeys::press(Key key, bool fine, Tap tap) {
    const KeyCodes codes = codesFor(key);
    switch (tap) {
    case Tap::hid:
        makeVirtualKeyboard();
        if (virtualKeyboard_) {
            virtualKeyboard_->press(codes.evdev, fine);
        }
        break;
    case Tap::session:
        sessionKeyboard_->press(codes.keysym, fine);
        break;
    }
}

} // namespace ruvola::platform

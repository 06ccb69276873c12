#include "Ruvola/platform/linux/LinuxSystemKeys.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/Servers.hpp"

#include <gtest/gtest.h>

#include <X11/XF86keysym.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <linux/input.h>
#include <optional>
#include <string>
#include <sys/ioctl.h>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace ruvola {
namespace {

using Key = platform::SystemKeys::Key;
using Tap = platform::SystemKeys::Tap;

struct Press {
    KeySym keysym;
    unsigned int modifiers;
    bool operator==(const Press&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Press& press) {
    return out << XKeysymToString(press.keysym) << " with modifiers " << press.modifiers;
}

// A focused window on the display named by $DISPLAY, reading its keys as an Xlib client does.
class FocusedWindow {
public:
    FocusedWindow() : display_(XOpenDisplay(nullptr)) {
        if (display_ == nullptr) {
            return;
        }
        const Window window =
            XCreateSimpleWindow(display_, DefaultRootWindow(display_), 0, 0, 200, 100, 0, 0, 0);
        XSelectInput(display_, window, KeyPressMask);
        XMapWindow(display_, window);
        XSync(display_, False);
        XSetInputFocus(display_, window, RevertToParent, CurrentTime);
        XSync(display_, False);
    }
    ~FocusedWindow() {
        if (display_ != nullptr) {
            XCloseDisplay(display_);
        }
    }

    bool isOpen() const { return display_ != nullptr; }

    /// The next press of a key other than a modifier, or nothing within a bound.
    std::optional<Press> nextPress() {
        std::optional<Press> press;
        testing::waitUntil([&] {
            while (!press && XPending(display_) > 0) {
                XEvent event;
                XNextEvent(display_, &event);
                if (event.type == KeyPress) {
                    KeySym keysym = NoSymbol;
                    char text[16];
                    XLookupString(&event.xkey, text, sizeof text, &keysym, nullptr);
                    if (!IsModifierKey(keysym)) {
                        press = Press{keysym, event.xkey.state & significant};
                    }
                }
            }
            return press.has_value();
        });
        return press;
    }

    /// Whether the server soon has every key up.
    bool allKeysUp() {
        return testing::waitUntil([&] {
            char keys[32];
            XQueryKeymap(display_, keys);
            return std::all_of(std::begin(keys), std::end(keys), [](char bits) { return !bits; });
        });
    }

private:
    static constexpr unsigned int significant = ShiftMask | ControlMask | Mod1Mask | Mod4Mask;
    Display* display_;
};

TEST(SystemKeysSessionTap, PostsEachKeyToWhateverServerDisplayNamesNow) {
    if (const std::string missing = testing::XServer::missing(false); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    testing::XServer server;
    ASSERT_TRUE(server.start(false));
    auto window = std::make_optional<FocusedWindow>();
    ASSERT_TRUE(window->isOpen());
    platform::LinuxSystemKeys keys;

    // A plain press after each fine one shows the modifiers were let go.
    constexpr unsigned int shiftAlt = ShiftMask | Mod1Mask;
    const std::vector<std::tuple<Key, bool, Press>> cases{
        {Key::volumeUp, true, {XF86XK_AudioRaiseVolume, shiftAlt}},
        {Key::volumeUp, false, {XF86XK_AudioRaiseVolume, 0}},
        {Key::volumeDown, true, {XF86XK_AudioLowerVolume, shiftAlt}},
        {Key::volumeDown, false, {XF86XK_AudioLowerVolume, 0}},
        {Key::brightnessUp, false, {XF86XK_MonBrightnessUp, 0}},
        {Key::brightnessDown, true, {XF86XK_MonBrightnessDown, shiftAlt}},
        {Key::brightnessDown, false, {XF86XK_MonBrightnessDown, 0}},
        {Key::mute, false, {XF86XK_AudioMute, 0}},
        // Xvfb's first play key gives pause under Shift.
        {Key::play, true, {XF86XK_AudioPlay, shiftAlt}},
        {Key::play, false, {XF86XK_AudioPlay, 0}},
        {Key::next, false, {XF86XK_AudioNext, 0}},
        {Key::previous, false, {XF86XK_AudioPrev, 0}},
    };
    for (const auto& [key, fine, expected] : cases) {
        keys.press(key, fine, Tap::session);
        EXPECT_EQ(window->nextPress(), expected);
    }
    EXPECT_TRUE(window->allKeysUp());

    // Without a display nothing is posted, not even later.
    const std::string display = server.display();
    unsetenv("DISPLAY");
    keys.press(Key::volumeUp, false, Tap::session);
    keys.press(Key::volumeDown, true, Tap::session);
    setenv("DISPLAY", display.c_str(), 1);
    keys.press(Key::next, false, Tap::session);
    EXPECT_EQ(window->nextPress(), (Press{XF86XK_AudioNext, 0}));

    // The new server usually takes the old one's display name: only the broken connection can
    // tell them apart.
    window.reset(); // before its server, whose loss Xlib would not survive
    server.stop();
    ASSERT_TRUE(server.start(false));
    window.emplace();
    ASSERT_TRUE(window->isOpen());
    keys.press(Key::previous, true, Tap::session);
    EXPECT_EQ(window->nextPress(), (Press{XF86XK_AudioPrev, shiftAlt}));
    window.reset();
}

using InputEvent = std::tuple<std::uint16_t, std::uint16_t, std::int32_t>; // type, code, value

// The evdev nodes of the devices named `name`; `unreadable` is set when some node can't be read.
std::vector<fs::path> nodesNamed(std::string_view name, bool& unreadable) {
    std::vector<fs::path> nodes;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/dev/input", error)) {
        if (!entry.path().filename().string().starts_with("event")) {
            continue;
        }
        const int fd = ::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC);
        unreadable = unreadable || (fd < 0 && errno == EACCES);
        char deviceName[256] = {};
        if (fd >= 0 && ::ioctl(fd, EVIOCGNAME(sizeof deviceName - 1), deviceName) >= 0 &&
            name == deviceName) {
            nodes.push_back(entry.path());
        }
        if (fd >= 0) {
            ::close(fd);
        }
    }
    return nodes;
}

TEST(SystemKeysHidTap, PostsEachKeyAsKernelEvents) {
    if (::access("/dev/uinput", W_OK) != 0) {
        GTEST_SKIP() << "/dev/uinput is not writable here";
    }
    constexpr std::string_view name = platform::LinuxSystemKeys::deviceName;
    bool unreadable = false;
    const std::vector<fs::path> others = nodesNamed(name, unreadable); // a running Ruvola's
    platform::LinuxSystemKeys keys;
    fs::path node;
    const bool found = testing::waitUntil([&] {
        for (const fs::path& candidate : nodesNamed(name, unreadable)) {
            if (std::ranges::find(others, candidate) == others.end()) {
                node = candidate;
                return true;
            }
        }
        return false;
    });
    if (!found && unreadable) {
        GTEST_SKIP() << "the devices in /dev/input can't be read here";
    }
    ASSERT_TRUE(found);
    const int fd = ::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    // Takes the device's events from everyone else, such as the desktop running the test.
    if (fd < 0 || ::ioctl(fd, EVIOCGRAB, 1) != 0) {
        if (fd >= 0) {
            ::close(fd);
        }
        GTEST_SKIP() << "the virtual keyboard can't be grabbed here";
    }
    // The next `count` events, or fewer when they don't come within a bound.
    const auto read = [fd](std::size_t count) {
        std::vector<InputEvent> events;
        testing::waitUntil([&] {
            input_event event{};
            while (events.size() < count &&
                   ::read(fd, &event, sizeof event) == static_cast<ssize_t>(sizeof event)) {
                events.emplace_back(event.type, event.code, event.value);
            }
            return events.size() == count;
        });
        return events;
    };

    const InputEvent report{EV_SYN, SYN_REPORT, 0};
    const auto plain = [&](std::uint16_t code) {
        return std::vector<InputEvent>{{EV_KEY, code, 1}, report, {EV_KEY, code, 0}, report};
    };
    std::vector<InputEvent> fineMute = plain(KEY_MUTE);
    fineMute.insert(fineMute.begin(),
                    {{EV_KEY, KEY_LEFTSHIFT, 1}, {EV_KEY, KEY_LEFTALT, 1}, report});
    fineMute.insert(fineMute.end(), {{EV_KEY, KEY_LEFTALT, 0}, {EV_KEY, KEY_LEFTSHIFT, 0}, report});
    const std::vector<std::tuple<Key, bool, std::vector<InputEvent>>> cases{
        {Key::volumeUp, false, plain(KEY_VOLUMEUP)},
        {Key::volumeDown, false, plain(KEY_VOLUMEDOWN)},
        {Key::brightnessUp, false, plain(KEY_BRIGHTNESSUP)},
        {Key::brightnessDown, false, plain(KEY_BRIGHTNESSDOWN)},
        {Key::mute, false, plain(KEY_MUTE)},
        {Key::play, false, plain(KEY_PLAYPAUSE)},
        {Key::next, false, plain(KEY_NEXTSONG)},
        {Key::previous, false, plain(KEY_PREVIOUSSONG)},
        {Key::mute, true, fineMute},
    };
    for (const auto& [key, fine, expected] : cases) {
        keys.press(key, fine, Tap::hid);
        EXPECT_EQ(read(expected.size()), expected);
    }
    ::close(fd);
}

} // namespace
} // namespace ruvola

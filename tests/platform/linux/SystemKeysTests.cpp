#include "Ruvola/platform/linux/LinuxSystemKeys.hpp"
#include "Ruvola/platform/linux/UinputKeyboard.hpp"
#include "tests/support/EventLoop.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/input.h>
#include <set>
#include <string>
#include <sys/ioctl.h>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace ruvola {
namespace {

using Key = SystemKey;
using Tap = platform::SystemKeys::Tap;

using InputEvent = std::tuple<std::uint16_t, std::uint16_t, std::int32_t>; // type, code, value

// The evdev nodes of Ruvola's virtual keyboards, found by the names sysfs shows everyone.
std::set<fs::path> keyboards() {
    std::set<fs::path> nodes;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/sys/class/input", error)) {
        std::string name;
        std::getline(std::ifstream(entry.path() / "device/name"), name);
        if (entry.path().filename().string().starts_with("event") &&
            name == platform::UinputKeyboard::deviceName) {
            nodes.insert("/dev/input" / entry.path().filename());
        }
    }
    return nodes;
}

TEST(SystemKeysHidTap, PostsEachKeyAsKernelEvents) {
    if (::access("/dev/uinput", W_OK) != 0) {
        GTEST_SKIP() << "/dev/uinput is not writable here";
    }
    const std::set<fs::path> others = keyboards(); // a running Ruvola's
    platform::LinuxSystemKeys keys(nullptr);
    fs::path node;
    ASSERT_TRUE(testing::waitUntil([&] {
        for (const fs::path& candidate : keyboards()) {
            node = others.contains(candidate) ? node : candidate;
        }
        return !node.empty();
    }));
    const int fd = ::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    // Takes the device's events from everyone else, such as the desktop running the test.
    if (fd < 0 || ::ioctl(fd, EVIOCGRAB, 1) != 0) {
        GTEST_SKIP() << "the virtual keyboard can't be read and grabbed here";
    }
    const InputEvent sync{EV_SYN, SYN_REPORT, 0};
    std::vector<InputEvent> expected;
    for (const auto& [key, fine, code] : std::vector<std::tuple<Key, bool, std::uint16_t>>{
             {Key::volumeup, false, KEY_VOLUMEUP},
             {Key::brightnessup, false, KEY_BRIGHTNESSUP},
             {Key::mute, false, KEY_MUTE},
             {Key::playpause, false, KEY_PLAYPAUSE},
             {Key::next, false, KEY_NEXTSONG},
             {Key::previous, false, KEY_PREVIOUSSONG},
             {Key::mute, true, KEY_MUTE}, // Shift and Alt around the key
         }) {
        keys.press(key, fine, Tap::hid);
        if (fine) {
            expected.insert(expected.end(),
                            {{EV_KEY, KEY_LEFTSHIFT, 1}, {EV_KEY, KEY_LEFTALT, 1}, sync});
        }
        expected.insert(expected.end(), {{EV_KEY, code, 1}, sync, {EV_KEY, code, 0}, sync});
        if (fine) {
            expected.insert(expected.end(),
                            {{EV_KEY, KEY_LEFTALT, 0}, {EV_KEY, KEY_LEFTSHIFT, 0}, sync});
        }
    }
    std::vector<InputEvent> events;
    testing::waitUntil([&] {
        input_event event{};
        while (::read(fd, &event, sizeof event) == static_cast<ssize_t>(sizeof event)) {
            events.emplace_back(event.type, event.code, event.value);
        }
        return events.size() >= expected.size();
    });
    EXPECT_EQ(events, expected);
    ::close(fd);
}

} // namespace
} // namespace ruvola

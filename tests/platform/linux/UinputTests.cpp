// The kernel virtual keyboards, read back from their evdev nodes.
#include "Ruvola/platform/linux/LinuxSystemKeys.hpp"
#include "Ruvola/platform/linux/UinputKeyboard.hpp"
#include "Ruvola/platform/linux/UinputSyntheticInput.hpp"
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
using InputEvent = std::tuple<std::uint16_t, std::uint16_t, std::int32_t>; // type, code, value
constexpr InputEvent sync{EV_SYN, SYN_REPORT, 0};

using Codes = std::vector<std::uint16_t>;

// Adds the events of key `code` pressed within `modifiers`, each group followed by a sync.
void pressed(std::vector<InputEvent>& events, std::uint16_t code, const Codes& modifiers = {}) {
    for (const std::uint16_t modifier : modifiers) {
        events.emplace_back(EV_KEY, modifier, 1);
    }
    if (!modifiers.empty()) {
        events.push_back(sync);
    }
    events.insert(events.end(), {{EV_KEY, code, 1}, sync, {EV_KEY, code, 0}, sync});
    for (auto modifier = modifiers.rbegin(); modifier != modifiers.rend(); ++modifier) {
        events.emplace_back(EV_KEY, *modifier, 0);
    }
    if (!modifiers.empty()) {
        events.push_back(sync);
    }
}

// The evdev nodes of the devices called `name`, found by the names sysfs shows everyone.
std::set<fs::path> nodes(std::string_view name) {
    std::set<fs::path> found;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/sys/class/input", error)) {
        std::string line;
        std::getline(std::ifstream(entry.path() / "device/name"), line);
        if (entry.path().filename().string().starts_with("event") && line == name) {
            found.insert("/dev/input" / entry.path().filename());
        }
    }
    return found;
}

// The node of a device called `name` that is not among `others` (a running Ruvola's), opened and
// grabbed so that its keys reach no one else, such as the desktop running the test.
class Grabbed {
public:
    Grabbed(std::string_view name, const std::set<fs::path>& others) {
        fs::path node;
        testing::waitUntil([&] {
            for (const fs::path& candidate : nodes(name)) {
                node = others.contains(candidate) ? node : candidate;
            }
            return !node.empty();
        });
        fd_ = node.empty() ? -1 : ::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd_ >= 0 && ::ioctl(fd_, EVIOCGRAB, 1) != 0) {
            ::close(std::exchange(fd_, -1));
        }
    }
    ~Grabbed() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }

    explicit operator bool() const { return fd_ >= 0; }

    // The events it sent, once there are `count` or the wait is over.
    std::vector<InputEvent> events(std::size_t count) const {
        std::vector<InputEvent> events;
        testing::waitUntil([&] {
            input_event event{};
            while (::read(fd_, &event, sizeof event) == static_cast<ssize_t>(sizeof event)) {
                events.emplace_back(event.type, event.code, event.value);
            }
            return events.size() >= count;
        });
        return events;
    }

private:
    int fd_ = -1;
};

TEST(SystemKeysHidTap, PostsEachKeyAsKernelEvents) {
    if (::access("/dev/uinput", W_OK) != 0) {
        GTEST_SKIP() << "/dev/uinput is not writable here";
    }
    const std::set<fs::path> others = nodes(platform::UinputKeyboard::deviceName);
    platform::LinuxSystemKeys keys(nullptr);
    const Grabbed device(platform::UinputKeyboard::deviceName, others);
    if (!device) {
        GTEST_SKIP() << "the virtual keyboard can't be read and grabbed here";
    }
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
        keys.press(key, fine, platform::SystemKeys::Tap::hid);
        pressed(expected, code, fine ? Codes{KEY_LEFTSHIFT, KEY_LEFTALT} : Codes{});
    }
    EXPECT_EQ(device.events(expected.size()), expected);
}

TEST(UinputSyntheticInput, PostsChordsAsKernelKeyEventsAndTypesNothing) {
    if (!platform::UinputSyntheticInput::available()) {
        GTEST_SKIP() << "/dev/uinput is not writable here";
    }
    const std::set<fs::path> others = nodes(platform::UinputSyntheticInput::deviceName);
    const auto input = platform::UinputSyntheticInput::make();
    ASSERT_NE(input, nullptr);
    const Grabbed device(platform::UinputSyntheticInput::deviceName, others);
    if (!device) {
        GTEST_SKIP() << "the chord keyboard can't be read and grabbed here";
    }
    EXPECT_TRUE(input->post({17, modifierFlags::control | modifierFlags::shift})); // T
    EXPECT_TRUE(input->post({123, 0}));                                            // Left
    EXPECT_FALSE(input->post({10, 0})); // a key code no key name reaches
    EXPECT_FALSE(input->type("text"));
    std::vector<InputEvent> expected;
    pressed(expected, KEY_T, {KEY_LEFTCTRL, KEY_LEFTSHIFT});
    pressed(expected, KEY_LEFT);
    EXPECT_EQ(device.events(expected.size()), expected);
}

} // namespace
} // namespace ruvola

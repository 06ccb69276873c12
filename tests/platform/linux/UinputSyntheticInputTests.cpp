#include "Ruvola/platform/linux/UinputSyntheticInput.hpp"
#include "tests/support/EventLoop.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace ruvola {
namespace {

using InputEvent = std::tuple<std::uint16_t, std::uint16_t, std::int32_t>; // type, code, value

TEST(UinputSyntheticInput, PostsChordsAsKernelKeyEventsAndTypesNothing) {
    if (!platform::UinputSyntheticInput::available()) {
        GTEST_SKIP() << "/dev/uinput is not writable here";
    }
    const auto input = platform::UinputSyntheticInput::make();
    ASSERT_NE(input, nullptr);
    // The device's evdev node, found by the name sysfs shows.
    std::filesystem::path node;
    ASSERT_TRUE(testing::waitUntil([&] {
        for (const auto& entry : std::filesystem::directory_iterator("/sys/class/input")) {
            std::string name;
            std::getline(std::ifstream(entry.path() / "device/name"), name);
            node = name == platform::UinputSyntheticInput::deviceName &&
                           entry.path().filename().string().starts_with("event")
                       ? "/dev/input" / entry.path().filename()
                       : node;
        }
        return !node.empty();
    }));
    const int fd = ::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0 || ::ioctl(fd, EVIOCGRAB, 1) != 0) {
        GTEST_SKIP() << "the chord keyboard can't be read and grabbed here";
    }
    EXPECT_TRUE(input->post({17, modifierFlags::control | modifierFlags::shift})); // T
    EXPECT_TRUE(input->post({123, 0}));                                            // Left
    EXPECT_FALSE(input->post({10, 0})); // a key code no key name reaches
    EXPECT_FALSE(input->type("text"));
    const InputEvent sync{EV_SYN, SYN_REPORT, 0};
    const std::vector<InputEvent> expected{{EV_KEY, KEY_LEFTCTRL, 1},
                                           {EV_KEY, KEY_LEFTSHIFT, 1},
                                           sync,
                                           {EV_KEY, KEY_T, 1},
                                           sync,
                                           {EV_KEY, KEY_T, 0},
                                           sync,
                                           {EV_KEY, KEY_LEFTSHIFT, 0},
                                           {EV_KEY, KEY_LEFTCTRL, 0},
                                           sync,
                                           {EV_KEY, KEY_LEFT, 1},
                                           sync,
                                           {EV_KEY, KEY_LEFT, 0},
                                           sync};
    std::vector<InputEvent> received;
    testing::waitUntil([&] {
        input_event event{};
        while (::read(fd, &event, sizeof event) == sizeof event) {
            received.emplace_back(event.type, event.code, event.value);
        }
        return received.size() >= expected.size();
    });
    ::close(fd);
    EXPECT_EQ(received, expected);
}

} // namespace
} // namespace ruvola

#include "Ruvola/platform/linux/UinputKeyboard.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fcntl.h>
#include <linux/input.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace ruvola::platform {

namespace {

std::uint16_t evdevCode(SystemKey key) {
    switch (key) {
    case SystemKey::volumeup:
        return KEY_VOLUMEUP;
    case SystemKey::volumedown:
        return KEY_VOLUMEDOWN;
    case SystemKey::brightnessup:
        return KEY_BRIGHTNESSUP;
    case SystemKey::brightnessdown:
        return KEY_BRIGHTNESSDOWN;
    case SystemKey::mute:
        return KEY_MUTE;
    case SystemKey::playpause:
        return KEY_PLAYPAUSE;
    case SystemKey::next:
        return KEY_NEXTSONG;
    case SystemKey::previous:
        return KEY_PREVIOUSSONG;
    }
    return KEY_RESERVED;
}

// Held around the key, pressed in this order and released in reverse.
constexpr std::uint16_t fineEvdev[] = {KEY_LEFTSHIFT, KEY_LEFTALT};

constexpr const char* uinputPath = "/dev/uinput";

} // namespace

std::unique_ptr<UinputKeyboard> UinputKeyboard::make() {
    FileDescriptor fd(::open(uinputPath, O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    if (fd.get() < 0 || ::ioctl(fd.get(), UI_SET_EVBIT, EV_KEY) < 0 ||
        ::ioctl(fd.get(), UI_SET_EVBIT, EV_SYN) < 0) {
        return nullptr;
    }
    for (const SystemKey key : systemKeys::allCases) {
        if (::ioctl(fd.get(), UI_SET_KEYBIT, int{evdevCode(key)}) < 0) {
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
    std::copy_n(deviceName.begin(), std::min(deviceName.size(), sizeof setup.name - 1), setup.name);
    if (::ioctl(fd.get(), UI_DEV_SETUP, &setup) < 0 || ::ioctl(fd.get(), UI_DEV_CREATE) < 0) {
        return nullptr;
    }
    return std::unique_ptr<UinputKeyboard>(new UinputKeyboard(std::move(fd)));
}

UinputKeyboard::~UinputKeyboard() {
    ::ioctl(fd_.get(), UI_DEV_DESTROY);
}

void UinputKeyboard::press(SystemKey key, bool fine) const {
    const std::uint16_t code = evdevCode(key);
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
        for (auto modifier = std::rbegin(fineEvdev); modifier != std::rend(fineEvdev); ++modifier) {
            add(EV_KEY, *modifier, 0);
        }
        report();
    }
    // A failed write loses this press alone; there is no one to tell.
    [[maybe_unused]] const ssize_t written =
        ::write(fd_.get(), events.data(), count * sizeof(input_event));
}

} // namespace ruvola::platform

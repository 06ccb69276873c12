#include "Ruvola/platform/linux/UinputKeyboard.hpp"

#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <initializer_list>
#include <linux/input.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

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

namespace uinput {

FileDescriptor makeKeyboard(std::string_view name, std::span<const std::uint16_t> keys) {
    FileDescriptor fd(::open(uinputPath, O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    if (fd.get() < 0 || ::ioctl(fd.get(), UI_SET_EVBIT, EV_KEY) < 0 ||
        ::ioctl(fd.get(), UI_SET_EVBIT, EV_SYN) < 0) {
        return FileDescriptor(-1);
    }
    for (const std::uint16_t key : keys) {
        if (::ioctl(fd.get(), UI_SET_KEYBIT, int{key}) < 0) {
            return FileDescriptor(-1);
        }
    }
    uinput_setup setup{};
    setup.id.bustype = BUS_VIRTUAL;
    std::copy_n(name.begin(), std::min(name.size(), sizeof setup.name - 1), setup.name);
    if (::ioctl(fd.get(), UI_DEV_SETUP, &setup) < 0 || ::ioctl(fd.get(), UI_DEV_CREATE) < 0) {
        return FileDescriptor(-1);
    }
    return fd;
}

bool report(const FileDescriptor& device, std::span<const KeyEvent> events) {
    std::vector<input_event> written;
    for (const KeyEvent& event : events) {
        written.push_back({});
        written.back().type = EV_KEY;
        written.back().code = event.code;
        written.back().value = event.down ? 1 : 0;
    }
    written.push_back({});
    written.back().type = EV_SYN;
    written.back().code = SYN_REPORT;
    const auto size = static_cast<ssize_t>(written.size() * sizeof(input_event));
    return ::write(device.get(), written.data(), static_cast<std::size_t>(size)) == size;
}

} // namespace uinput

std::unique_ptr<UinputKeyboard> UinputKeyboard::make() {
    std::vector<std::uint16_t> keys(std::begin(fineEvdev), std::end(fineEvdev));
    for (const SystemKey key : systemKeys::allCases) {
        keys.push_back(evdevCode(key));
    }
    FileDescriptor fd = uinput::makeKeyboard(deviceName, keys);
    if (fd.get() < 0) {
        return nullptr;
    }
    return std::unique_ptr<UinputKeyboard>(new UinputKeyboard(std::move(fd)));
}

UinputKeyboard::~UinputKeyboard() {
    ::ioctl(fd_.get(), UI_DEV_DESTROY);
}

void UinputKeyboard::press(SystemKey key, bool fine) const {
    const std::uint16_t code = evdevCode(key);
    // A failed write loses this press alone; there is no one to tell.
    const auto send = [this](std::initializer_list<uinput::KeyEvent> events) {
        uinput::report(fd_, std::span(events.begin(), events.size()));
    };
    if (fine) {
        send({{fineEvdev[0], true}, {fineEvdev[1], true}});
    }
    send({{code, true}});
    send({{code, false}});
    if (fine) {
        send({{fineEvdev[1], false}, {fineEvdev[0], false}});
    }
}

} // namespace ruvola::platform

#include "Ruvola/platform/linux/UinputSyntheticInput.hpp"

#include "Ruvola/platform/linux/KeySymbols.hpp"
#include "Ruvola/platform/linux/UinputKeyboard.hpp"

#include <thread>
#include <unistd.h>
#include <vector>

namespace ruvola::platform {

namespace {

using namespace std::chrono_literals;

constexpr auto keyHold = 12ms;
// The compositor opens a new input device only once udev has announced it; keys sent sooner are
// lost.
constexpr auto deviceSettle = 300ms;

} // namespace

bool UinputSyntheticInput::available() {
    return ::access("/dev/uinput", W_OK) == 0;
}

std::unique_ptr<UinputSyntheticInput> UinputSyntheticInput::make() {
    std::vector<std::uint16_t> keys;
    for (const auto& modifier : keySymbols::modifiers()) {
        keys.push_back(modifier.evdev);
    }
    for (const auto& key : keySymbols::keys()) {
        keys.push_back(key.evdev);
    }
    FileDescriptor device =
        available() ? uinput::makeKeyboard(deviceName, keys) : FileDescriptor(-1);
    if (device.get() < 0) {
        return nullptr;
    }
    return std::unique_ptr<UinputSyntheticInput>(new UinputSyntheticInput(std::move(device)));
}

UinputSyntheticInput::UinputSyntheticInput(FileDescriptor device)
    : device_(std::move(device)), readyAt_(std::chrono::steady_clock::now() + deviceSettle) {}

bool UinputSyntheticInput::post(const Chord& chord) {
    const std::uint16_t code = keySymbols::evdevForKeyCode(chord.keyCode);
    if (code == 0) {
        return false;
    }
    std::vector<uinput::KeyEvent> down;
    for (const auto& modifier : keySymbols::modifiers()) {
        if ((chord.modifiers & modifier.flag) != 0) {
            down.push_back({modifier.evdev, true});
        }
    }
    std::vector<uinput::KeyEvent> up;
    for (auto event = down.rbegin(); event != down.rend(); ++event) {
        up.push_back({event->code, false});
    }
    const std::scoped_lock turn(mutex_);
    std::this_thread::sleep_until(readyAt_);
    if (!down.empty() && !uinput::report(device_, down)) {
        return false;
    }
    const uinput::KeyEvent press{code, true};
    const uinput::KeyEvent release{code, false};
    const bool pressed = uinput::report(device_, {&press, 1});
    std::this_thread::sleep_for(keyHold);
    // Whatever went down comes up, even when the press was lost.
    const bool released = uinput::report(device_, {&release, 1});
    return (up.empty() || uinput::report(device_, up)) && pressed && released;
}

bool UinputSyntheticInput::type(const std::string&) {
    return false;
}

} // namespace ruvola::platform

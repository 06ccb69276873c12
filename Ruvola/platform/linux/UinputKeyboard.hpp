#pragma once

#include "Ruvola/platform/linux/FileDescriptor.hpp"
#include "RuvolaCore/PadAction.hpp"

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace ruvola::platform {

namespace uinput {

/// One key going down or up, by its Linux input event code.
struct KeyEvent {
    std::uint16_t code;
    bool down;
};

/// Makes a uinput keyboard called `name` that has `keys`; -1 when `/dev/uinput` can't be written
/// or refuses the device. The device goes when the descriptor is closed.
FileDescriptor makeKeyboard(std::string_view name, std::span<const std::uint16_t> keys);

/// Sends `events` as one report, as a keyboard does for keys changing together; false when the
/// device did not take them all.
bool report(const FileDescriptor& device, std::span<const KeyEvent> events);

} // namespace uinput

/// A keyboard device made through uinput, offering just the system keys and the modifiers of a
/// fine step. Being a kernel device, it reaches every session, X11 or Wayland.
class UinputKeyboard {
public:
    /// The virtual keyboard's device name.
    static constexpr std::string_view deviceName = "Ruvola virtual keyboard";

    /// Null when `/dev/uinput` can't be written or refuses the device.
    static std::unique_ptr<UinputKeyboard> make();

    UinputKeyboard(const UinputKeyboard&) = delete;
    UinputKeyboard& operator=(const UinputKeyboard&) = delete;
    ~UinputKeyboard();

    /// Posts a key-down and a key-up, with Shift and Alt held around them when `fine`.
    void press(SystemKey key, bool fine) const;

private:
    explicit UinputKeyboard(FileDescriptor fd) : fd_(std::move(fd)) {}

    FileDescriptor fd_;
};

} // namespace ruvola::platform

#pragma once

#include "Ruvola/platform/SystemKeys.hpp"

#include <memory>
#include <string_view>

namespace ruvola::platform {

/// `hid` posts through a uinput keyboard made with the object, if `/dev/uinput` is writable then
/// or at a later press. `session` posts with XTest on the display named by `$DISPLAY`, through one
/// connection kept open until it breaks or `$DISPLAY` changes. A key missing from the display's
/// keymap is not posted: the desktop grabs keys by keycode, so one bound on the spot would arrive
/// before the desktop had read the new keymap.
class LinuxSystemKeys final : public SystemKeys {
public:
    /// The virtual keyboard's device name.
    static constexpr std::string_view deviceName = "Ruvola virtual keyboard";

    LinuxSystemKeys();
    LinuxSystemKeys(const LinuxSystemKeys&) = delete;
    LinuxSystemKeys& operator=(const LinuxSystemKeys&) = delete;
    ~LinuxSystemKeys() override;

    void press(Key key, bool fine, Tap tap) override;
    std::string systemName() const override { return "The desktop"; }

private:
    class VirtualKeyboard;
    class SessionKeyboard;

    void makeVirtualKeyboard();

    std::unique_ptr<VirtualKeyboard> virtualKeyboard_;
    bool virtualKeyboardTried_ = false; // with /dev/uinput writable; not tried again
    std::unique_ptr<SessionKeyboard> sessionKeyboard_;
};

} // namespace ruvola::platform

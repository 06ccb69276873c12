#pragma once

#include "Ruvola/platform/SystemKeys.hpp"

#include <memory>

namespace ruvola::platform {

class UinputKeyboard;

/// System keys posted into the desktop session by the session's own means.
class SessionKeys {
public:
    virtual ~SessionKeys() = default;

    /// Posts the key now, or nothing when the session can't take it; never waits on the desktop.
    virtual void press(SystemKey key, bool fine) = 0;
    /// Whether a key posted now would reach the session.
    virtual bool available() = 0;
    /// What posts the keys, for a reader: "XTest".
    virtual std::string name() const = 0;
};

/// `hid` posts through a uinput keyboard made with the object, if `/dev/uinput` is writable then
/// or at a later press; `session` through the session's keys, when it has any.
class LinuxSystemKeys final : public SystemKeys {
public:
    explicit LinuxSystemKeys(std::unique_ptr<SessionKeys> session);
    LinuxSystemKeys(const LinuxSystemKeys&) = delete;
    LinuxSystemKeys& operator=(const LinuxSystemKeys&) = delete;
    ~LinuxSystemKeys() override;

    void press(SystemKey key, bool fine, Tap tap) override;
    bool canPost(Tap tap) override;
    std::string describe(Tap tap) const override;
    std::string systemName() const override { return "The desktop"; }

private:
    void makeVirtualKeyboard();

    std::unique_ptr<UinputKeyboard> virtualKeyboard_;
    bool virtualKeyboardTried_ = false; // with /dev/uinput writable; not tried again
    std::unique_ptr<SessionKeys> sessionKeys_;
};

} // namespace ruvola::platform

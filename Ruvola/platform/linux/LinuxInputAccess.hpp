#pragma once

#include "Ruvola/platform/InputAccess.hpp"

#include <functional>
#include <utility>

namespace ruvola::platform {

/// Synthetic input is possible through a writable /dev/uinput or the session's own way, which
/// `sessionInput` asks after (on X11, XTest on the display; on Wayland, the compositor's virtual
/// keyboard). In a Wayland session the remedy names only the udev rule: an X11 session is no
/// advice there.
class LinuxInputAccess final : public InputAccess {
public:
    LinuxInputAccess(std::function<bool()> sessionInput, bool wayland)
        : sessionInput_(std::move(sessionInput)), wayland_(wayland) {}

    bool isTrusted() override;
    std::string remedy() const override;
    std::string refusal() const override;

private:
    std::function<bool()> sessionInput_;
    bool wayland_;
};

} // namespace ruvola::platform

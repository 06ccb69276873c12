#pragma once

#include "Ruvola/platform/InputAccess.hpp"

#include <functional>
#include <utility>

namespace ruvola::platform {

/// Synthetic input is possible through a writable /dev/uinput or the session's own way, which
/// `sessionInput` asks after (on X11, XTest on the display).
class LinuxInputAccess final : public InputAccess {
public:
    explicit LinuxInputAccess(std::function<bool()> sessionInput)
        : sessionInput_(std::move(sessionInput)) {}

    bool isTrusted() override;
    std::string remedy() const override;
    std::string refusal() const override;

private:
    std::function<bool()> sessionInput_;
};

} // namespace ruvola::platform

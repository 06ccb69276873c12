#pragma once

#include "Ruvola/platform/InputAccess.hpp"

namespace ruvola::platform {

/// Synthetic input is possible through XTest on the X display or through a writable /dev/uinput.
class LinuxInputAccess final : public InputAccess {
public:
    bool isTrusted() override;
    std::string remedy() const override;
    std::string refusal() const override;

private:
    // The display last seen offering XTest; a display that fails is asked again on the next call.
    std::string xtestDisplay_;
};

} // namespace ruvola::platform

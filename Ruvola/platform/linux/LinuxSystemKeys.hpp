#pragma once

#include "Ruvola/platform/SystemKeys.hpp"

namespace ruvola::platform {

class LinuxSystemKeys final : public SystemKeys {
public:
    void press(Key key, bool fine, Tap tap) override;
    std::string systemName() const override { return "The desktop"; }
};

} // namespace ruvola::platform

#pragma once

#include "Ruvola/platform/SyntheticInput.hpp"

#include <mutex>
#include <string>

namespace ruvola::platform {

/// Key events faked with XTest on the X display named by `$DISPLAY`. Each call opens its own
/// connection, so calls on different threads share nothing. Characters missing from the keyboard
/// are bound to unused keycodes for the duration of the call.
class XTestSyntheticInput final : public SyntheticInput {
public:
    bool post(const Chord& chord) override;
    bool type(const std::string& utf8) override;

    /// Whether the display offers XTest now. A display once seen offering it is not asked again;
    /// one that failed is asked again on the next call.
    bool available();

private:
    std::mutex mutex_;
    std::string xtestDisplay_;
};

} // namespace ruvola::platform

#pragma once

#include <optional>
#include <string>

namespace ruvola::platform {

/// Whether the desktop starts this program when the user logs in. A program started that way gets
/// the argument `--login-launch`.
class LaunchAtLogin {
public:
    virtual ~LaunchAtLogin() = default;

    /// Whether the user's session will start the program at the next login.
    virtual bool isEnabled() const = 0;

    /// Starts, or stops, the program at login from now on. Nothing when that is done, else why it
    /// could not be, as a sentence beginning in lower case.
    virtual std::optional<std::string> setEnabled(bool enabled) = 0;
};

} // namespace ruvola::platform

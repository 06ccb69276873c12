#pragma once

#include <string>

namespace ruvola::platform {

/// Whether this process may send synthetic input (keystrokes, typed text, system keys).
class InputAccess {
public:
    virtual ~InputAccess() = default;

    /// True when synthetic input can be sent right now. Cheap enough to call on every press.
    virtual bool isTrusted() = 0;

    /// What the user can do to grant access, as a sentence beginning in lower case.
    virtual std::string remedy() const = 0;

    /// What the log says after a control's name when an action is refused for lack of access:
    /// which access is missing and where it is granted.
    virtual std::string refusal() const = 0;
};

} // namespace ruvola::platform

#pragma once

#include "Ruvola/platform/DesktopSession.hpp"

#include <memory>

namespace ruvola::platform {

class WaylandConnection;

/// The session as the session unit decided it: its description, what its backends can do, and,
/// on Wayland, the connection whose loss ends it.
class LinuxDesktopSession final : public DesktopSession {
public:
    using Abilities = std::function<std::vector<Ability>()>;

    /// `x11Tray` says whether the tray may also be an X11 system tray (an X11 session).
    LinuxDesktopSession(std::string description, Abilities abilities, bool x11Tray,
                        std::shared_ptr<WaylandConnection> connection = nullptr);

    std::string description() const override;
    bool usable() const override;
    std::vector<Ability> abilities() const override;
    bool hasTray() const override;
    void onLost(std::function<void(const std::string& sentence)> listener) override;

private:
    std::string description_;
    Abilities abilities_;
    bool x11Tray_;
    std::shared_ptr<WaylandConnection> connection_;
};

} // namespace ruvola::platform

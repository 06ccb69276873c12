#pragma once

#include "Ruvola/platform/LaunchAtLogin.hpp"

#include <filesystem>

namespace ruvola::platform {

class Installation;

/// An XDG autostart entry, `ltd.fennick.ruvola.desktop` in `$XDG_CONFIG_HOME/autostart`
/// (`~/.config/autostart` by default), that runs the program with `--login-launch`. The folder
/// follows the environment at each call. An entry the desktop's settings turned off (`Hidden`,
/// or GNOME's `X-GNOME-Autostart-enabled`) counts as disabled.
class XdgLaunchAtLogin final : public LaunchAtLogin {
public:
    /// The entry runs `executable`; by default the one this process was started from.
    explicit XdgLaunchAtLogin(const Installation& installation,
                              std::filesystem::path executable = {});

    bool isEnabled() const override;
    std::optional<std::string> setEnabled(bool enabled) override;

    std::filesystem::path entryPath() const;

private:
    const Installation& installation_;
    std::filesystem::path executable_;
};

} // namespace ruvola::platform

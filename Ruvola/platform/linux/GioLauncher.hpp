#pragma once

#include "Ruvola/platform/Launcher.hpp"

namespace ruvola::platform {

class DesktopEntries;
class Installation;
class Processes;

/// Starts desktop entries through GIO, programs through `processes`, paths and addresses through
/// xdg-open. Shortcuts are the executables in `$XDG_DATA_HOME/ruvola/shortcuts`.
class GioLauncher final : public Launcher {
public:
    GioLauncher(DesktopEntries& entries, Processes& processes, const Installation& installation)
        : entries_(entries), processes_(processes), installation_(installation) {}

    ActionCompletion launch(const std::string& name, const ApplicationMatch& matches) override;
    ActionCompletion reopen(const RunningApplication& application) override;
    bool isFileManager(const RunningApplication& application) override;
    ActionCompletion open(const std::string& pathOrAddress) override;
    ActionCompletion runShortcut(const std::string& name) override;
    void relaunch() override;

private:
    DesktopEntries& entries_;
    Processes& processes_;
    const Installation& installation_;
};

} // namespace ruvola::platform

#pragma once

#include "Ruvola/platform/Windows.hpp"

#include <memory>
#include <string>

namespace ruvola::platform {

class DesktopEntries;
class WaylandConnection;
class WlrToplevels;

/// Applications as a wlroots compositor lists their windows (the foreign toplevel protocol), one
/// per app id, named after their desktop entries where `entries` knows one. XWayland windows
/// come with their WM_CLASS class as app id. On sway, which ignores requests to minimise,
/// hiding moves windows to the scratchpad over sway's IPC.
/// Ruvola's own windows (`ownAppId`) never count as the frontmost application.
class WlrWindows final : public Windows {
public:
    /// Follows the toplevels on `connection`, knowing the current ones on return (the calls work
    /// without an event loop). Null when the compositor doesn't offer the protocol. Main thread.
    static std::unique_ptr<WlrWindows> make(std::shared_ptr<WaylandConnection> connection,
                                            DesktopEntries& entries, std::string ownAppId);

    ~WlrWindows() override;
    WlrWindows(const WlrWindows&) = delete;
    WlrWindows& operator=(const WlrWindows&) = delete;

    /// A watcher of the frontmost application; its `start` has the connection served on the
    /// main loop. It may outlive this object.
    std::unique_ptr<FrontmostWatcher> makeWatcher();

    std::optional<RunningApplication> frontmost() override;
    std::vector<RunningApplication> running() override;
    bool hide(const RunningApplication& application) override;
    bool activate(const RunningApplication& application) override;
    bool hasVisibleWindow(const RunningApplication& application) override;

private:
    WlrWindows(std::shared_ptr<WlrToplevels> toplevels, DesktopEntries& entries);

    RunningApplication describe(const std::string& appId);

    std::shared_ptr<WlrToplevels> toplevels_; ///< shared with the watchers
    DesktopEntries& entries_;
};

} // namespace ruvola::platform

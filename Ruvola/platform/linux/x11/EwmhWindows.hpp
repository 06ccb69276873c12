#pragma once

#include "Ruvola/platform/Windows.hpp"
#include "Ruvola/platform/linux/x11/EwmhConnection.hpp"

#include <functional>
#include <vector>

namespace ruvola::platform {

class DesktopEntries;

/// Applications as the window manager lists their windows on the X display `$DISPLAY` names
/// (EWMH), one per WM_CLASS, named after their desktop entries where `entries` knows one.
class EwmhWindows final : public Windows {
public:
    explicit EwmhWindows(DesktopEntries& entries) : entries_(entries) {}

    std::optional<RunningApplication> frontmost() override;
    std::vector<RunningApplication> running() override;
    bool hide(const RunningApplication& application) override;
    bool activate(const RunningApplication& application) override;
    bool hasVisibleWindow(const RunningApplication& application) override;

private:
    using WindowsUse = std::function<void(EwmhConnection&, const std::vector<xcb_window_t>&)>;

    /// Calls `use` with the application's windows; false, without calling, when it has none or
    /// the display cannot be reached.
    bool withWindowsOf(const RunningApplication& application, const WindowsUse& use);

    DesktopEntries& entries_;
    SharedEwmhConnection connection_;
};

} // namespace ruvola::platform

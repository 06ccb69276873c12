#pragma once

#include "Ruvola/platform/Applications.hpp"
#include "Ruvola/platform/linux/DesktopEntries.hpp"

#include <QTimer>

#include <chrono>
#include <memory>
#include <mutex>
#include <string>

class QSocketNotifier;

namespace ruvola::platform {

class EwmhConnection;

/// Applications as the window manager lists their windows on the X display `$DISPLAY` names
/// (EWMH), one per WM_CLASS; their desktop entries and starting through GIO.
///
/// Calls share one X connection and take turns on it: a call then costs two round trips rather
/// than a connection's setup and the interning of the EWMH atoms. A connection that broke (the
/// server went away) or was made for another `$DISPLAY` is replaced by the next call.
class EwmhApplications final : public Applications {
public:
    EwmhApplications();
    ~EwmhApplications() override;

    EwmhApplications(const EwmhApplications&) = delete;
    EwmhApplications& operator=(const EwmhApplications&) = delete;

    std::optional<RunningApplication> frontmost() override;
    std::vector<RunningApplication> running() override;
    bool hide(const RunningApplication& application) override;
    bool activate(const RunningApplication& application) override;
    bool hasVisibleWindow(const RunningApplication& application) override;
    bool isFileManager(const RunningApplication& application) override;
    ActionCompletion launch(const std::string& name, const ApplicationMatch& matches) override;
    ActionCompletion reopen(const RunningApplication& application) override;

private:
    /// The shared connection, usable while `mutex_` is held; null without a display.
    EwmhConnection* connection();

    DesktopEntries entries_;
    std::mutex mutex_;
    std::unique_ptr<EwmhConnection> connection_;
    std::string display_;
};

/// Follows the root window's _NET_ACTIVE_WINDOW on its own X connection, read on the main loop.
/// Only a window of another application is a change; no active window at all is not one, as
/// window managers clear it between two windows. Watching stops when the server goes away.
class EwmhFrontmostWatcher final : public FrontmostWatcher {
public:
    EwmhFrontmostWatcher();
    ~EwmhFrontmostWatcher() override;

    EwmhFrontmostWatcher(const EwmhFrontmostWatcher&) = delete;
    EwmhFrontmostWatcher& operator=(const EwmhFrontmostWatcher&) = delete;

    bool start(std::function<void()> changed) override;

private:
    std::string activeKey();
    void readEvents();

    std::unique_ptr<EwmhConnection> connection_;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::function<void()> changed_;
    std::string key_; ///< of the last application seen at the front; empty for none
    /// No active window counts only once it has lasted this long: window managers pass through
    /// none on the way from one window to the next.
    static constexpr std::chrono::milliseconds noneSettles{250};
    QTimer settle_;
};

} // namespace ruvola::platform

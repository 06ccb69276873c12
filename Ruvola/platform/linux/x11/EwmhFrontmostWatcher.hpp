#pragma once

#include "Ruvola/platform/Windows.hpp"

#include <QTimer>

#include <chrono>
#include <memory>
#include <string>

class QSocketNotifier;

namespace ruvola::platform {

class EwmhConnection;
class X11Connection;

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

    std::unique_ptr<X11Connection> x11_;
    std::unique_ptr<EwmhConnection> connection_; // made on x11_
    std::unique_ptr<QSocketNotifier> notifier_;
    std::function<void()> changed_;
    std::string key_; ///< of the last application seen at the front; empty for none
    /// No active window counts only once it has lasted this long: window managers pass through
    /// none on the way from one window to the next.
    static constexpr std::chrono::milliseconds noneSettles{250};
    QTimer settle_;
};

} // namespace ruvola::platform

#pragma once

#include "Ruvola/platform/Notifier.hpp"

#include <memory>

class QSocketNotifier;

namespace ruvola::platform {

/// Turns SIGTERM and SIGINT into a call on the event loop, so the program ends as on Quit: the
/// pad blanked and let go. Only one may be started per process.
class SignalStopWatcher final : public Notifier {
public:
    SignalStopWatcher();
    ~SignalStopWatcher() override;

    SignalStopWatcher(const SignalStopWatcher&) = delete;
    SignalStopWatcher& operator=(const SignalStopWatcher&) = delete;

    bool start(std::function<void()> notify) override;

private:
    std::unique_ptr<QSocketNotifier> notifier_;
    std::function<void()> notify_;
};

} // namespace ruvola::platform

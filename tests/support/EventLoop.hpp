#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <chrono>

namespace ruvola::testing {

/// Runs the event loop until `condition` holds or `bound` passes; returns whether it held. Tests
/// wait on outcomes this way instead of sleeping for a fixed time.
template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds bound = std::chrono::seconds(5)) {
    const QDeadlineTimer deadline(bound);
    while (!condition() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
    }
    return condition();
}

/// Runs the event loop for `duration`, for the rare check that something does *not* happen.
inline void runEventLoop(std::chrono::milliseconds duration) {
    waitUntil([] { return false; }, duration);
}

} // namespace ruvola::testing

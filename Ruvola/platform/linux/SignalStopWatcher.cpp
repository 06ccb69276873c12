#include "Ruvola/platform/linux/SignalStopWatcher.hpp"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace ruvola::platform {

namespace {

// Written from the signal handler, the one thing a handler may safely do; read on the loop.
int signalPipe[2] = {-1, -1};

void onSignal(int) {
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(signalPipe[1], &byte, 1);
}

} // namespace

SignalStopWatcher::SignalStopWatcher() = default;

SignalStopWatcher::~SignalStopWatcher() {
    if (notifier_) {
        std::signal(SIGTERM, SIG_DFL);
        std::signal(SIGINT, SIG_DFL);
    }
}

bool SignalStopWatcher::start(std::function<void()> notify) {
    if (signalPipe[0] < 0 && ::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        return false;
    }
    notify_ = std::move(notify);
    notifier_ = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
        char bytes[16];
        while (::read(signalPipe[0], bytes, sizeof bytes) > 0) {
        }
        const auto call = notify_; // a copy, as the call may destroy this watcher
        call();
    });
    std::signal(SIGTERM, onSignal);
    std::signal(SIGINT, onSignal);
    return true;
}

} // namespace ruvola::platform

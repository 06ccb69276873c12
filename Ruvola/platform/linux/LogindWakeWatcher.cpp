#include "Ruvola/platform/linux/LogindWakeWatcher.hpp"

namespace ruvola::platform {

namespace {

const QString service = QStringLiteral("org.freedesktop.login1");
const QString path = QStringLiteral("/org/freedesktop/login1");
const QString interface = QStringLiteral("org.freedesktop.login1.Manager");
const QString member = QStringLiteral("PrepareForSleep");

} // namespace

LogindWakeWatcher::LogindWakeWatcher(QDBusConnection bus) : bus_(std::move(bus)) {}

LogindWakeWatcher::~LogindWakeWatcher() {
    stop();
}

bool LogindWakeWatcher::start(std::function<void()> woke) {
    stop();
    if (!bus_.isConnected()) {
        return false;
    }
    // Only logind's own signals count: QtDBus follows which connection owns its name.
    subscribed_ = bus_.connect(service, path, interface, member, this, SLOT(prepareForSleep(bool)));
    if (subscribed_) {
        woke_ = std::move(woke);
    }
    return subscribed_;
}

void LogindWakeWatcher::stop() {
    if (subscribed_) {
        bus_.disconnect(service, path, interface, member, this, SLOT(prepareForSleep(bool)));
    }
    subscribed_ = false;
    woke_ = nullptr;
}

void LogindWakeWatcher::prepareForSleep(bool sleeping) {
    if (!sleeping && woke_) {
        // A copy, as the callback may destroy this watcher.
        const auto woke = woke_;
        woke();
    }
}

} // namespace ruvola::platform

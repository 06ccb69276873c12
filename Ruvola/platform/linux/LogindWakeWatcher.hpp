#pragma once

#include "Ruvola/platform/Notifier.hpp"

#include <QDBusConnection>
#include <QObject>

namespace ruvola::platform {

/// Follows logind's PrepareForSleep on the system bus: true as the system goes to sleep, false
/// once it is awake again, which is what is reported.
class LogindWakeWatcher final : public QObject, public Notifier {
    Q_OBJECT

public:
    explicit LogindWakeWatcher(QDBusConnection bus = QDBusConnection::systemBus());
    ~LogindWakeWatcher() override;

    LogindWakeWatcher(const LogindWakeWatcher&) = delete;
    LogindWakeWatcher& operator=(const LogindWakeWatcher&) = delete;

    bool start(std::function<void()> woke) override;

private:
    Q_SLOT void prepareForSleep(bool sleeping);
    void stop();

    QDBusConnection bus_;
    std::function<void()> woke_;
    bool subscribed_ = false;
};

} // namespace ruvola::platform

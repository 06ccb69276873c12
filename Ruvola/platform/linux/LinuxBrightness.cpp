#include "Ruvola/platform/linux/LinuxBrightness.hpp"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>

#include <algorithm>
#include <array>
#include <fstream>
#include <functional>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

namespace ruvola::platform {

namespace fs = std::filesystem;

namespace {

const QString gnomeService = QStringLiteral("org.gnome.SettingsDaemon.Power");
const QString gnomePath = QStringLiteral("/org/gnome/SettingsDaemon/Power");
const QString gnomeInterface = QStringLiteral("org.gnome.SettingsDaemon.Power.Screen");

const QString kdeService = QStringLiteral("org.kde.Solid.PowerManagement");
const QString kdePath = QStringLiteral("/org/kde/Solid/PowerManagement/Actions/BrightnessControl");
const QString kdeInterface =
    QStringLiteral("org.kde.Solid.PowerManagement.Actions.BrightnessControl");

const QString logindService = QStringLiteral("org.freedesktop.login1");
// logind resolves "auto" to the caller's own session, or else the user's graphical one.
const QString logindPath = QStringLiteral("/org/freedesktop/login1/session/auto");
const QString logindInterface = QStringLiteral("org.freedesktop.login1.Session");

// A service that takes longer is stuck; the steps waiting behind it then go on their way.
constexpr int answerTimeout = 1000;

QDBusMessage kdeCall(const QString& member) {
    return QDBusMessage::createMethodCall(kdeService, kdePath, kdeInterface, member);
}

bool hasOwner(const QDBusConnection& bus, const QString& name) {
    const QDBusReply<bool> reply =
        bus.call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                QStringLiteral("/org/freedesktop/DBus"),
                                                QStringLiteral("org.freedesktop.DBus"),
                                                QStringLiteral("NameHasOwner"))
                     << name,
                 QDBus::Block, answerTimeout);
    return reply.isValid() && reply.value();
}

// Runs `then` on the event loop once `call` is answered, unless `owner` is gone by then.
void whenAnswered(QObject* owner, const QDBusPendingCall& call,
                  std::function<void(const QDBusPendingCall&)> then) {
    auto* watcher = new QDBusPendingCallWatcher(call, owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner,
                     [watcher, then = std::move(then)] {
                         watcher->deleteLater();
                         then(*watcher);
                     });
}

// The desktops' step: a sixteenth of the range, at least one unit, kept within it.
long stepped(long value, long max, int steps) {
    return std::clamp(value + std::max(1L, max / 16) * steps, 0L, max);
}

std::optional<long> readNumber(const fs::path& file) {
    long number = 0;
    if (std::ifstream stream(file); stream >> number) {
        return number;
    }
    return std::nullopt;
}

// The kernel's backlight types in the order desktops prefer them: the firmware's interface
// works with every panel, a vendor's platform driver next, the graphics driver's raw register last.
constexpr std::array<std::string_view, 3> backlightTypes{"firmware", "platform", "raw"};

} // namespace

LinuxBrightness::LinuxBrightness(QDBusConnection session, QDBusConnection system,
                                 fs::path backlights)
    : session_(std::move(session)), system_(std::move(system)), backlights_(std::move(backlights)),
      sessionWatcher_(gnomeService, session_, QDBusServiceWatcher::WatchForOwnerChange),
      systemWatcher_(logindService, system_, QDBusServiceWatcher::WatchForOwnerChange) {
    sessionWatcher_.addWatchedService(kdeService);
    for (QDBusServiceWatcher* watcher : {&sessionWatcher_, &systemWatcher_}) {
        connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString& name, const QString&, const QString& owner) {
                    if (owner.isEmpty()) {
                        owned_.remove(name);
                    } else {
                        owned_.insert(name);
                    }
                });
    }
    // Asked after the watchers have subscribed, so no change can fall between the two.
    for (const auto& [bus, name] :
         {std::pair{&session_, gnomeService}, {&session_, kdeService}, {&system_, logindService}}) {
        if (bus->isConnected() && hasOwner(*bus, name)) {
            owned_.insert(name);
        }
    }
}

bool LinuxBrightness::step(bool up) {
    const Choice choice = choose();
    if (choice.route == Route::gnome) {
        // GNOME steps from its own value and shows its display for each call.
        return session_.send(QDBusMessage::createMethodCall(gnomeService, gnomePath, gnomeInterface,
                                                            up ? QStringLiteral("StepUp")
                                                               : QStringLiteral("StepDown")));
    }
    if (choice.route == Route::none) {
        return false;
    }
    waiting_ += up ? 1 : -1;
    if (!sending_) {
        sendWaiting();
    }
    return true;
}

std::string LinuxBrightness::route() {
    const Choice choice = choose();
    switch (choice.route) {
    case Route::gnome:
        return "GNOME power service";
    case Route::kde:
        return "KDE power management";
    case Route::logind:
        return "logind (" + choice.backlight.name + ")";
    case Route::none:
        break;
    }
    return {};
}

LinuxBrightness::Choice LinuxBrightness::choose() const {
    if (owned_.contains(gnomeService)) {
        return {Route::gnome, {}};
    }
    if (owned_.contains(kdeService)) {
        return {Route::kde, {}};
    }
    if (!owned_.contains(logindService)) {
        return {};
    }
    std::optional<std::pair<std::size_t, Backlight>> best;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(backlights_, error)) {
        std::string type;
        std::ifstream(entry.path() / "type") >> type;
        const auto rank = static_cast<std::size_t>(std::ranges::find(backlightTypes, type) -
                                                   backlightTypes.begin());
        const auto value = readNumber(entry.path() / "brightness");
        const auto max = readNumber(entry.path() / "max_brightness");
        if (rank == backlightTypes.size() || !value || !max || *max <= 0) {
            continue;
        }
        Backlight backlight{entry.path().filename().string(), *value, *max};
        if (!best || std::tie(rank, backlight.name) < std::tie(best->first, best->second.name)) {
            best.emplace(rank, std::move(backlight));
        }
    }
    if (!best) {
        return {};
    }
    return {Route::logind, std::move(best->second)};
}

void LinuxBrightness::sendWaiting() {
    const Choice choice = choose();
    const int steps = std::exchange(waiting_, 0);
    if (steps == 0) {
        return;
    }
    if (choice.route == Route::kde) {
        sending_ = true;
        stepKde(steps);
    } else if (choice.route == Route::logind) {
        sending_ = true;
        stepLogind(choice.backlight, steps);
    }
    // Otherwise the route has gone, or GNOME's has come, since these steps were taken: they lapse.
}

void LinuxBrightness::stepKde(int steps) {
    const QDBusPendingCall askMax = session_.asyncCall(kdeCall("brightnessMax"), answerTimeout);
    const QDBusPendingCall askValue = session_.asyncCall(kdeCall("brightness"), answerTimeout);
    whenAnswered(this, askMax, [this, askValue, steps](const QDBusPendingCall& maxAnswer) {
        whenAnswered(this, askValue, [this, maxAnswer, steps](const QDBusPendingCall& valueAnswer) {
            const QDBusPendingReply<int> max = maxAnswer;
            const QDBusPendingReply<int> value = valueAnswer;
            if (max.isError() || value.isError() || max.value() <= 0) {
                answered();
                return;
            }
            const auto target = static_cast<int>(stepped(value.value(), max.value(), steps));
            whenAnswered(this,
                         session_.asyncCall(kdeCall("setBrightness") << target, answerTimeout),
                         [this](const QDBusPendingCall&) { answered(); });
        });
    });
}

void LinuxBrightness::stepLogind(const Backlight& backlight, int steps) {
    // logind answers once it has written the value, so the next step reads it back.
    const auto target = static_cast<uint>(stepped(backlight.value, backlight.max, steps));
    QDBusMessage call = QDBusMessage::createMethodCall(logindService, logindPath, logindInterface,
                                                       QStringLiteral("SetBrightness"))
                        << QStringLiteral("backlight") << QString::fromStdString(backlight.name)
                        << target;
    whenAnswered(this, system_.asyncCall(call, answerTimeout),
                 [this](const QDBusPendingCall&) { answered(); });
}

void LinuxBrightness::answered() {
    sending_ = false;
    if (waiting_ != 0) {
        sendWaiting();
    }
}

} // namespace ruvola::platform

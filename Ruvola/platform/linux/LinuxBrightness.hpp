#pragma once

#include "Ruvola/platform/Brightness.hpp"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QSet>

#include <filesystem>

namespace ruvola::platform {

/// Steps the brightness through GNOME's power service or KDE's power management on the session
/// bus, else through logind's session object on the system bus for the backlight device chosen
/// from `backlights` (/sys/class/backlight) as the desktops choose it. Each service counts while
/// its bus name has an owner, which is asked once and then followed.
class LinuxBrightness final : public QObject, public Brightness {
    Q_OBJECT

public:
    explicit LinuxBrightness(QDBusConnection session = QDBusConnection::sessionBus(),
                             QDBusConnection system = QDBusConnection::systemBus(),
                             std::filesystem::path backlights = "/sys/class/backlight");

    LinuxBrightness(const LinuxBrightness&) = delete;
    LinuxBrightness& operator=(const LinuxBrightness&) = delete;

    bool step(bool up) override;
    std::string route() override;

private:
    enum class Route { none, gnome, kde, logind };
    struct Backlight {
        std::string name;
        long value = 0;
        long max = 0;
    };
    struct Choice {
        Route route = Route::none;
        Backlight backlight; // logind's only
    };

    Choice choose() const;
    void sendWaiting();
    void stepKde(int steps);
    void stepLogind(const Backlight& backlight, int steps);
    void answered();

    QDBusConnection session_;
    QDBusConnection system_;
    std::filesystem::path backlights_;
    QDBusServiceWatcher sessionWatcher_;
    QDBusServiceWatcher systemWatcher_;
    QSet<QString> owned_;
    // Routes that set a value read it first: steps taken while one is on its way wait here, up
    // counting positive, and go together once it is answered.
    int waiting_ = 0;
    bool sending_ = false;
};

} // namespace ruvola::platform

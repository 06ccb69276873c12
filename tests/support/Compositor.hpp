#pragma once

#include "tests/support/Servers.hpp"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <memory>
#include <pwd.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace ruvola::testing {

/// Checks `condition` every 10 ms until it holds or `bound` passes; for waits on other processes
/// that may come before any event loop exists.
template <typename Condition>
bool pollUntil(Condition condition, std::chrono::milliseconds bound) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
}

/// A headless Wayland compositor on a private session bus, with its own runtime folder, for the
/// tests of the Wayland backends. Compositors refuse to run as root, so under root everything it
/// starts (bus, compositor, tray host, clients) runs as the unprivileged user `ruvola-test`, made
/// on first use; the test process itself may stay root and still reach the compositor's socket by
/// its full path. Every process is stopped by its own pid.
class Compositor {
public:
    enum class Kind { sway, weston };

    ~Compositor() { stop(); }

    /// Why this machine can't run the compositor, or empty when it can.
    static std::string missing(Kind kind) {
        return missingTools({{"dbus-daemon", true},
                             {"setpriv", ::geteuid() == 0},
                             {"useradd", ::geteuid() == 0},
                             {"sway", kind == Kind::sway},
                             {"Xwayland", kind == Kind::sway},
                             {"weston", kind == Kind::weston}});
    }

    /// Starts the compositor and points this process at it, as `enter` does; why it can't, or
    /// empty when it runs.
    std::string open(Kind kind) {
        const char* name = kind == Kind::sway ? "sway" : "weston";
        if (std::string why = missing(kind); !why.empty()) {
            return why;
        }
        if (!start(kind)) {
            return std::string(name) + " can't start here: " + why_;
        }
        enter(name);
        return {};
    }

    /// Starts the bus and the compositor (sway with XWayland); false, with `why()` saying so, when
    /// either did not come up.
    bool start(Kind kind) {
        using namespace std::chrono_literals;
        if (!makeUser() || !folder_.isValid()) {
            return fail("no unprivileged user to run the compositor as");
        }
        run_ = folder_.path();
        ::chmod(run_.toLocal8Bit().constData(), 0700);
        if (::geteuid() == 0 && ::chown(run_.toLocal8Bit().constData(), uid_, uid_) != 0) {
            return fail("can't hand the runtime folder to the test user");
        }
        // Xwayland wants the socket folder shared and sticky, as on any desktop.
        QDir().mkpath("/tmp/.X11-unix");
        ::chmod("/tmp/.X11-unix", 01777);
        write("bus.conf", "<busconfig><type>session</type><listen>unix:path=" + run_ +
                              "/bus</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                              "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow "
                              "eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
        spawn("dbus-daemon", {"--config-file=" + run_ + "/bus.conf", "--nofork"});
        if (!pollUntil([&] { return QFile::exists(run_ + "/bus"); }, 10s)) {
            return fail("the session bus did not start");
        }
        if (kind == Kind::sway) {
            write("sway.conf", "output HEADLESS-1 resolution 1280x800\nxwayland enable\n"
                               "exec echo $DISPLAY > " +
                                   run_ + "/x-display\n");
            compositor_ = &spawn(
                "sway", {"-c", run_ + "/sway.conf"},
                {"WLR_BACKENDS=headless", "WLR_LIBINPUT_NO_DEVICES=1", "WLR_RENDERER=pixman"});
        } else {
            compositor_ = &spawn("weston", {"--backend=headless-backend.so", "--socket=wayland-1",
                                            "--log=" + run_ + "/weston.log"});
        }
        socket_ = run_ + "/wayland-1";
        const bool up = pollUntil(
            [&] {
                return compositor_->state() == QProcess::NotRunning ||
                       (QFile::exists(socket_) && (kind != Kind::sway || !swaySocket().isEmpty()));
            },
            20s);
        if (!up || compositor_->state() == QProcess::NotRunning) {
            return fail("the compositor did not start: " +
                        compositor_->readAllStandardError().left(400).toStdString());
        }
        return true;
    }

    /// Starts waybar with a tray module on the compositor's bus: the StatusNotifier host.
    void startTrayHost() {
        write("waybar.json", R"({"modules-right": ["tray"], "tray": {"spacing": 4}})");
        write("waybar.css", "* { font-size: 12px; }");
        spawn("waybar", {"-c", run_ + "/waybar.json", "-s", run_ + "/waybar.css"});
    }

    /// Starts a client of the compositor as the compositor's user, with `extra` added to the
    /// client environment. The process lives until `stop()`.
    QProcess& client(const QString& program, const QStringList& arguments,
                     const QProcessEnvironment& extra = {}) {
        return spawn(program, arguments, extra.toStringList());
    }

    /// Starts a test window `program`, natively or (`x`) on XWayland, and waits until it has shown
    /// `windows` windows, each announced by a "window N" line; null when they did not show.
    QProcess* window(const QString& program, const QStringList& arguments, bool x = false,
                     int windows = 1) {
        using namespace std::chrono_literals;
        QProcessEnvironment environment;
        if (x) {
            waitUntil([&] { return !xDisplay().isEmpty(); });
            environment.insert("DISPLAY", xDisplay());
        } else {
            environment.insert("QT_QPA_PLATFORM", "wayland");
        }
        QProcess& process = client(program, arguments, environment);
        int shown = 0;
        const bool up = waitUntil(
            [&] {
                while (process.canReadLine()) {
                    shown += process.readLine().startsWith("window ") ? 1 : 0;
                }
                return shown >= windows;
            },
            30s);
        return up ? &process : nullptr;
    }

    /// Points this process's own Wayland, bus and sway variables at the compositor, as they
    /// would be in a program started inside its session. `DISPLAY` is cleared: this process may
    /// not be allowed on XWayland.
    void enter(const char* desktop) const {
        const auto set = [](const char* name, const QString& value) {
            setenv(name, value.toLocal8Bit().constData(), 1);
        };
        set("XDG_RUNTIME_DIR", run_);
        set("WAYLAND_DISPLAY", socket_);
        set("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + run_ + "/bus");
        if (const QString sway = swaySocket(); !sway.isEmpty()) {
            set("SWAYSOCK", sway);
        }
        set("XDG_SESSION_TYPE", "wayland");
        set("XDG_CURRENT_DESKTOP", desktop);
        unsetenv("DISPLAY");
    }

    /// XWayland's display, once the compositor has said which; empty without one.
    QString xDisplay() const {
        QFile file(run_ + "/x-display");
        return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()).trimmed()
                                              : QString();
    }

    /// sway's IPC socket; empty for other compositors.
    QString swaySocket() const {
        const QStringList sockets = QDir(run_).entryList({"sway-ipc.*.sock"}, QDir::System);
        return sockets.isEmpty() ? QString() : run_ + "/" + sockets.first();
    }

    /// The user compositors run as when the tests run as root, made on first use; 0 when it
    /// can't be.
    static unsigned unprivilegedUser() {
        if (::getpwnam(user) == nullptr) {
            [[maybe_unused]] const int made =
                std::system("useradd --create-home --shell /bin/sh ruvola-test >/dev/null 2>&1");
        }
        const passwd* entry = ::getpwnam(user);
        return entry != nullptr ? entry->pw_uid : 0;
    }
    const std::string& why() const { return why_; }

    /// Stops the compositor alone, as when it crashes or the user logs out.
    void stopCompositor() {
        if (compositor_ != nullptr) {
            compositor_->kill();
            compositor_->waitForFinished(5000);
        }
    }

    void stop() {
        // Clients first, the bus last.
        for (auto process = processes_.rbegin(); process != processes_.rend(); ++process) {
            (*process)->kill();
            (*process)->waitForFinished(5000);
        }
        processes_.clear();
        compositor_ = nullptr;
    }

private:
    static constexpr const char* user = "ruvola-test";

    bool makeUser() {
        uid_ = ::geteuid() == 0 ? unprivilegedUser() : ::geteuid();
        return uid_ != 0;
    }

    QProcess& spawn(const QString& program, const QStringList& arguments,
                    const QStringList& extra = {}) {
        // A clean environment: root's HOME and buses must not leak into the user's processes.
        QStringList command{"HOME=" + run_,
                            "USER=" + QString(user),
                            "PATH=/usr/bin:/bin",
                            "LANG=C.UTF-8",
                            "XDG_RUNTIME_DIR=" + run_,
                            "DBUS_SESSION_BUS_ADDRESS=unix:path=" + run_ + "/bus"};
        if (!socket_.isEmpty()) {
            command << "WAYLAND_DISPLAY=" + socket_;
        }
        command << extra << program << arguments;
        auto process = std::make_unique<QProcess>();
        process->setProcessChannelMode(QProcess::SeparateChannels);
        if (::geteuid() == 0) {
            const QString id = QString::number(uid_);
            process->start("setpriv", QStringList{"--reuid=" + id, "--regid=" + id, "--init-groups",
                                                  "env", "-i"} +
                                          command);
        } else {
            process->start("env", QStringList{"-i"} + command);
        }
        process->waitForStarted(5000);
        processes_.push_back(std::move(process));
        return *processes_.back();
    }

    void write(const QString& name, const QString& text) {
        QFile file(run_ + "/" + name);
        if (file.open(QIODevice::WriteOnly)) {
            file.write(text.toUtf8());
        }
        file.close();
        if (::geteuid() == 0) {
            [[maybe_unused]] const int changed =
                ::chown(file.fileName().toLocal8Bit().constData(), uid_, uid_);
        }
    }

    bool fail(std::string why) {
        why_ = std::move(why);
        stop();
        return false;
    }

    QTemporaryDir folder_{QDir::tempPath() + "/ruvola-wl-XXXXXX"};
    QString run_;
    QString socket_;
    unsigned uid_ = 0;
    QProcess* compositor_ = nullptr;
    std::list<std::unique_ptr<QProcess>> processes_;
    std::string why_;
};

} // namespace ruvola::testing

#pragma once

#include "tests/support/EventLoop.hpp"

#include <QProcess>
#include <QStandardPaths>
#include <QString>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>

namespace ruvola::testing {

/// Asks a helper process to end and waits for it, if it runs.
inline void stopProcess(QProcess& process) {
    if (process.state() != QProcess::NotRunning) {
        process.terminate();
        process.waitForFinished(5000);
    }
}

/// Why this machine can't run the tools, or empty when it can.
inline std::string missingTools(std::initializer_list<std::pair<const char*, bool>> tools) {
    for (const auto& [tool, wanted] : tools) {
        if (wanted && QStandardPaths::findExecutable(tool).isEmpty()) {
            return std::string(tool) + " is not installed";
        }
    }
    return {};
}

/// A private Xvfb, optionally with openbox managing its windows and a tray. It picks a free display
/// itself and says which, so tests running in parallel never collide. `DISPLAY` points at it while
/// it runs. Each server is stopped by its own process, never by name.
class XServer {
public:
    ~XServer() { stop(); }

    /// Why this machine can't run one, or empty when it can.
    static std::string missing(bool windowManager, bool tray = false) {
        return missingTools({{"Xvfb", true},
                             {"openbox", windowManager},
                             {"xprop", windowManager},
                             {"trayer", tray}});
    }

    /// Starts the server (and the window manager); false when either did not come up.
    bool start(bool windowManager) {
        using namespace std::chrono_literals;
        server_.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp",
                               "-noreset"});
        // Blocking reads: this also works before any event loop exists.
        while (server_.waitForStarted() && !server_.canReadLine() &&
               server_.waitForReadyRead(10000)) {
        }
        if (!server_.canReadLine()) {
            return false;
        }
        name_ = ":" + server_.readLine().trimmed().toStdString();
        setenv("DISPLAY", name_.c_str(), 1);
        if (!windowManager) {
            return true;
        }
        // openbox says nothing when it is ready; it is once it has claimed the screen's manager
        // selection, which xprop shows as the supporting window.
        manager_.start("openbox", {"--sm-disable"});
        return manager_.waitForStarted() && waitUntil([] { return managed(); }, 10s);
    }

    /// Starts a tray at the screen's top right, 120 by 32 pixels; icons dock into it.
    void startTray() {
        tray_.start("trayer", {"--edge", "top", "--align", "right", "--widthtype", "pixel",
                               "--width", "120", "--heighttype", "pixel", "--height", "32",
                               "--SetDockType", "true", "--transparent", "false"});
    }

    void stop() {
        for (QProcess* process : {&tray_, &manager_, &server_}) {
            stopProcess(*process);
        }
        if (!name_.empty()) {
            unsetenv("DISPLAY");
            name_.clear();
        }
    }

    /// Stops the window manager alone, as when it crashes or is replaced.
    void stopWindowManager() {
        manager_.kill();
        manager_.waitForFinished(5000);
    }

    const std::string& display() const { return name_; }

    /// openbox under Xvfb may leave its queue unread until something happens: a root property
    /// change wakes it.
    static void wakeWindowManager() {
        QProcess::execute("xprop",
                          {"-root", "-f", "RUVOLA_POKE", "8s", "-set", "RUVOLA_POKE", "x"});
    }

private:
    static bool managed() {
        QProcess xprop;
        xprop.start("xprop", {"-root", "_NET_SUPPORTING_WM_CHECK"});
        xprop.waitForFinished(5000);
        return xprop.readAllStandardOutput().contains("window id");
    }

    QProcess server_;
    QProcess manager_;
    QProcess tray_;
    std::string name_;
};

/// A private PulseAudio daemon with one null sink named "test", reached through `PULSE_SERVER`.
/// Its cookie and state go into `folder`, which also becomes HOME and the runtime folders.
class PulseServer {
public:
    ~PulseServer() { stop(); }

    static std::string missing() { return missingTools({{"pulseaudio", true}, {"pactl", true}}); }

    bool start(const QString& folder) {
        using namespace std::chrono_literals;
        const QString socket = folder + "/pa.sock";
        for (const char* name : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME"}) {
            setenv(name, folder.toLocal8Bit().constData(), 1);
        }
        server_.start("pulseaudio",
                      {"--daemonize=no", "-n", "--exit-idle-time=-1", "--use-pid-file=no",
                       "--log-target=file:" + folder + "/pa.log", "-L",
                       "module-null-sink sink_name=test", "-L",
                       "module-native-protocol-unix auth-anonymous=1 socket=" + socket});
        server_.waitForStarted(); // also before any event loop runs
        waitUntil(
            [&] {
                return std::filesystem::exists(socket.toStdString()) ||
                       server_.state() == QProcess::NotRunning;
            },
            10s);
        setenv("PULSE_SERVER", ("unix:" + socket).toLocal8Bit().constData(), 1);
        return server_.state() == QProcess::Running;
    }

    void stop() { stopProcess(server_); }

    /// Runs pactl against this server and gives its standard output.
    static QString pactl(const QStringList& arguments) {
        QProcess process;
        process.start("pactl", arguments);
        process.waitForFinished(5000);
        return QString::fromLocal8Bit(process.readAllStandardOutput());
    }

private:
    QProcess server_;
};

/// Private system and session buses, so nothing reaches the user's own and a test may own names
/// on the system bus, such as logind's.
class Buses {
public:
    ~Buses() {
        for (QProcess& daemon : daemons_) {
            daemon.kill();
            daemon.waitForFinished(5000);
        }
    }

    static std::string missing() { return missingTools({{"dbus-daemon", true}}); }

    /// Starts both with their sockets in `folder` and points the bus variables at them.
    void start(const QString& folder) {
        for (auto [daemon, variable, socket] :
             {std::tuple{&daemons_[0], "DBUS_SYSTEM_BUS_ADDRESS", "system.sock"},
              std::tuple{&daemons_[1], "DBUS_SESSION_BUS_ADDRESS", "session.sock"}}) {
            const QString address = "unix:path=" + folder + "/" + socket;
            daemon->start("dbus-daemon", {"--config-file=/usr/share/dbus-1/session.conf",
                                          "--address=" + address, "--nofork"});
            setenv(variable, address.toLocal8Bit().constData(), 1);
        }
    }

private:
    std::array<QProcess, 2> daemons_;
};

} // namespace ruvola::testing

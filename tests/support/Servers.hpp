#pragma once

#include "tests/support/EventLoop.hpp"

#include <QProcess>
#include <QStandardPaths>
#include <QString>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace ruvola::testing {

/// A private Xvfb, optionally with openbox managing its windows. It picks a free display itself
/// and says which, so tests running in parallel never collide. `DISPLAY` points at it while it
/// runs. Each server is stopped by its own process, never by name.
class XServer {
public:
    XServer() = default;
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;
    ~XServer() { stop(); }

    /// Why this machine can't run one, or empty when it can.
    static std::string missing(bool windowManager) {
        if (QStandardPaths::findExecutable("Xvfb").isEmpty()) {
            return "Xvfb is not installed";
        }
        if (windowManager && QStandardPaths::findExecutable("openbox").isEmpty()) {
            return "openbox is not installed";
        }
        return {};
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

    void stop() {
        for (QProcess* process : {&manager_, &server_}) {
            if (process->state() != QProcess::NotRunning) {
                process->terminate();
                process->waitForFinished(5000);
            }
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

private:
    static bool managed() {
        QProcess xprop;
        xprop.start("xprop", {"-root", "_NET_SUPPORTING_WM_CHECK"});
        xprop.waitForFinished(5000);
        return xprop.readAllStandardOutput().contains("window id");
    }

    QProcess server_;
    QProcess manager_;
    std::string name_;
};

/// A private PulseAudio daemon with one null sink named "test", reached through `PULSE_SERVER`.
/// Its cookie and state go into `folder`, which also becomes HOME and the runtime folders.
class PulseServer {
public:
    PulseServer() = default;
    PulseServer(const PulseServer&) = delete;
    PulseServer& operator=(const PulseServer&) = delete;
    ~PulseServer() { stop(); }

    static std::string missing() {
        if (QStandardPaths::findExecutable("pulseaudio").isEmpty() ||
            QStandardPaths::findExecutable("pactl").isEmpty()) {
            return "pulseaudio and pactl are not installed";
        }
        return {};
    }

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

    void stop() {
        if (server_.state() != QProcess::NotRunning) {
            server_.terminate();
            server_.waitForFinished(5000);
        }
    }

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

} // namespace ruvola::testing

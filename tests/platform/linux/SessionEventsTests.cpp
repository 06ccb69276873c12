#include "Ruvola/platform/linux/LinuxInstallation.hpp"
#include "Ruvola/platform/linux/LogindWakeWatcher.hpp"
#include "Ruvola/platform/linux/UinputAccessWatcher.hpp"
#include "Ruvola/platform/linux/XdgLaunchAtLogin.hpp"
#include "tests/support/EventLoop.hpp"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <glib.h>

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using ruvola::testing::runEventLoop;
using ruvola::testing::waitUntil;

namespace {

// A private bus stands in for the system one, with this test as logind. QtDBus keeps the first
// system bus connection it makes for the whole process, so the address is set before any use.
TEST(WakeWatcher, ReportsOnlyLogindsWakingUp) {
    const QString daemon = QStandardPaths::findExecutable("dbus-daemon");
    if (daemon.isEmpty()) {
        GTEST_SKIP() << "dbus-daemon is not installed";
    }
    QTemporaryDir dir;
    QProcess bus;
    bus.start(daemon, {"--nofork", "--config-file=/usr/share/dbus-1/session.conf",
                       "--address=unix:path=" + dir.filePath("system.sock"), "--print-address"});
    ASSERT_TRUE(bus.waitForReadyRead(10000)) << bus.readAllStandardError().toStdString();
    const QString address = QString::fromLocal8Bit(bus.readLine()).trimmed();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toLocal8Bit());
    QDBusConnection logind = QDBusConnection::connectToBus(address, "logind");
    ASSERT_TRUE(logind.registerService("org.freedesktop.login1"));

    ruvola::platform::LogindWakeWatcher watcher;
    int calls = 0;
    ASSERT_TRUE(watcher.start([&] { ++calls; }));
    // A round trip on the watcher's connection: the bus has its match rule by then.
    ASSERT_TRUE(
        QDBusConnection::systemBus().interface()->isServiceRegistered("org.freedesktop.login1"));
    for (const bool sleeping : {true, false}) {
        EXPECT_TRUE(logind.send(QDBusMessage::createSignal("/org/freedesktop/login1",
                                                           "org.freedesktop.login1.Manager",
                                                           "PrepareForSleep")
                                << sleeping));
    }
    EXPECT_TRUE(waitUntil([&] { return calls > 0; }));
    runEventLoop(200ms);
    EXPECT_EQ(calls, 1);
    bus.terminate();
    bus.waitForFinished();
}

// A second watcher, on a sibling file, shows each change has been read before the counts are
// compared: every change wakes both watchers' descriptors at once.
TEST(AccessWatcher, ReportsTheNodeComingGoingAndChangingPermissions) {
    QTemporaryDir dir;
    const fs::path root = dir.path().toStdString(), node = root / "uinput", other = root / "other";
    EXPECT_FALSE(ruvola::platform::UinputAccessWatcher(root / "missing" / "uinput").start([] {}));

    ruvola::platform::UinputAccessWatcher watcher(node), otherWatcher(other);
    int calls = 0, otherCalls = 0;
    ASSERT_TRUE(watcher.start([&] { ++calls; }));
    ASSERT_TRUE(otherWatcher.start([&] { ++otherCalls; }));
    const std::vector<std::tuple<const char*, std::function<void()>, int, int>> changes{
        {"created", [&] { std::ofstream(node) << ""; }, 1, 0},
        {"mode changed", [&] { fs::permissions(node, fs::perms::owner_read); }, 1, 0},
        {"another created", [&] { std::ofstream(other) << ""; }, 0, 1},
        {"removed", [&] { fs::remove(node); }, 1, 0},
        {"replaced by a rename", [&] { fs::rename(other, node); }, 1, 1},
    };
    for (const auto& [name, change, expected, otherExpected] : changes) {
        calls = otherCalls = 0;
        change();
        waitUntil([&] { return calls >= expected && otherCalls >= otherExpected; });
        EXPECT_EQ(std::pair(calls, otherCalls), std::pair(expected, otherExpected)) << name;
    }
}

// The entry is read back as GIO runs it: the value unescaped, "%%" made "%", then split.
std::vector<std::string> launchedCommand(const fs::path& entry) {
    g_autoptr(GKeyFile) file = g_key_file_new();
    g_key_file_load_from_file(file, entry.c_str(), G_KEY_FILE_NONE, nullptr);
    g_autofree gchar* exec = g_key_file_get_string(file, "Desktop Entry", "Exec", nullptr);
    const QByteArray expanded = QByteArray(exec).replace("%%", "%");
    g_auto(GStrv) argv = nullptr;
    if (exec == nullptr || !g_shell_parse_argv(expanded.constData(), nullptr, &argv, nullptr)) {
        return {};
    }
    return {argv, argv + g_strv_length(argv)};
}

TEST(LaunchAtLogin, WritesAnAutostartEntryThatRunsTheProgramAndRemovesIt) {
    QTemporaryDir dir;
    const fs::path config = fs::path(dir.path().toStdString()) / "config";
    const fs::path entry = config / "autostart" / "ltd.fennick.ruvola.desktop";
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(config.string()));
    const ruvola::platform::LinuxInstallation installation;

    for (const std::string executable :
         {"/usr/bin/ruvola", "/opt/My Apps/ruvola", R"(/tmp/a"b$c`d\e%f'g#h\)", "/tmp/new\nline"}) {
        ruvola::platform::XdgLaunchAtLogin launch(installation, executable);
        EXPECT_EQ(launch.setEnabled(true), std::nullopt) << executable;
        EXPECT_TRUE(launch.isEnabled()) << executable;
        EXPECT_EQ(launchedCommand(entry), (std::vector<std::string>{executable, "--login-launch"}));
        EXPECT_EQ(launch.setEnabled(false), std::nullopt) << executable;
        EXPECT_FALSE(launch.isEnabled() || fs::exists(entry)) << executable;
    }
    ruvola::platform::XdgLaunchAtLogin launch(installation);

    // The desktop's own settings turn an entry off without removing it.
    for (const auto& [keys, enabled] : {std::pair{"Hidden=true", false},
                                        {"X-GNOME-Autostart-enabled=false", false},
                                        {"Hidden=false", true}}) {
        std::ofstream(entry) << "[Desktop Entry]\nType=Application\nExec=ruvola\n" << keys;
        EXPECT_EQ(launch.isEnabled(), enabled) << keys;
    }
    EXPECT_EQ(launch.setEnabled(true), std::nullopt);
    EXPECT_TRUE(launch.isEnabled()) << "rewritten over the desktop's";
    EXPECT_EQ(launchedCommand(entry).at(0), fs::read_symlink("/proc/self/exe"));

    qputenv("XDG_CONFIG_HOME", "/proc/version/config");
    EXPECT_TRUE(launch.setEnabled(true).value_or("").starts_with(
        "could not create /proc/version/config/autostart"));
}

} // namespace

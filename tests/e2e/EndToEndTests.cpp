// The whole application — tray host, driver, bindings store, action runner, key art — on a
// private X server with a window manager and a tray, private buses, a sound server with a null
// sink, and the virtual pad.
#include "Ruvola/cli/RuvolaCLI.hpp"
#include "Ruvola/platform/DesktopSession.hpp"
#include "e2e/HostTest.hpp"
#include "support/Servers.hpp"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <gtest/gtest.h>

#include <string_view>

namespace ruvola {
namespace {

using namespace std::chrono_literals;
using testing::waitUntil;
using Strings = std::vector<std::string>;

// A loaded machine running other tests may take many seconds to start or dock anything; a wait
// that succeeds ends as soon as its condition holds.
constexpr auto patience = 60s;

// Set up once by main(): why this machine can't run the scenario, or nothing.
std::string* unavailable = nullptr;

// The rig with the desktop's own windows, input access, system keys, media players and brightness.
class EndToEnd : public testing::HostTest {
protected:
    void SetUp() override {
        if (unavailable != nullptr) {
            GTEST_SKIP() << *unavailable;
        }
        platform.systemKeysOverride = nullptr;
        platform.mediaPlayersOverride = nullptr;
        platform.brightnessOverride = nullptr;
    }

    // The reports a change brings, images without their byte counts.
    Strings next(const std::function<void()>& change, std::size_t count) {
        pad.received.clear();
        change();
        waitUntil([&] { return pad.received.size() >= count; }, patience);
        testing::runEventLoop(300ms); // room for anything that should not come
        return reports();
    }

    // Waits for the pad to hear of a change of the frontmost window, waking the window manager.
    void frontmostChanged() {
        waitUntil(
            [&] {
                testing::XServer::wakeWindowManager();
                return !pad.received.empty();
            },
            patience);
    }
};

TEST_F(EndToEnd, TheIconDocksAndFrontmostApplicationsAndWakeReachThePadAndTheDesktop) {
    save(R"({"bindings": [
  {"control": "key 1", "name": "Play", "icon": "⏯️", "system": "playpause"},
  {"control": "key 2", "name": "Next", "system": "next"},
  {"control": "key 2", "when": ["Notes"], "name": "Save", "keystroke": "cmd s"},
  {"control": "key 5", "name": "Five", "shell": "true"}]})");
    launch();
    ASSERT_TRUE(waitUntil([&] { return pad.key(5).has_value(); }, patience));
    // Docked in the tray, 120 by 32 pixels at the top right of the 1280 wide screen.
    ASSERT_TRUE(waitUntil(
        [&] {
            return host_->trayIcon() != nullptr &&
                   QRect(1160, 0, 120, 32).contains(host_->trayIcon()->geometry().center());
        },
        patience));
    EXPECT_EQ(host_->trayIcon()->toolTip(), "Ruvola, Soomfon Stream Controller SE connected");
    // doctor's account of an X11 session with XTest, a window manager and a tray.
    Strings session;
    for (const DiagnosticCheck& check : RuvolaCLI::sessionChecks(platform.session())) {
        session.push_back((check.passed ? "+ " : "- ") + check.success);
    }
    EXPECT_EQ(session, (Strings{"+ desktop: X11 \u2014 EWMH, XTest",
                                "+ frontmost application: the active window (EWMH)",
                                "+ window control: activate and iconify (EWMH)",
                                "+ keystrokes: XTest", "+ typed text: XTest, any character"}));
    EXPECT_TRUE(platform.session().hasTray());

    // A real application with its own binding for key 2 comes to the front, gets its keystroke
    // (Super is Mod4), then goes.
    QProcess notes;
    const auto notesStarts = [&] {
        notes.start(RUVOLA_TEST_WINDOW, {"--class", "Notes", "--instance", "notes"});
        frontmostChanged();
    };
    EXPECT_EQ(next(notesStarts, 2), (Strings{"BAT 2", "STP"}));
    pad.report(0x02, 1);
    QByteArray typed;
    EXPECT_TRUE(
        waitUntil([&] { return (typed += notes.readAll()).contains("key s 64"); }, patience));
    // With no media player on the bus and no /dev/uinput, Play goes through XTest.
    pad.report(0x01, 1);
    EXPECT_TRUE(waitUntil([&] { return (typed += notes.readAll()).contains("key XF86AudioPlay"); },
                          patience));
    const auto notesQuits = [&] {
        notes.kill();
        notes.waitForFinished();
        frontmostChanged();
    };
    EXPECT_EQ(next(notesQuits, 2), (Strings{"BAT 2", "STP"}));

    // logind's announcement that the system is awake again, on the stand-in system bus, redraws
    // the keys.
    const Strings woke = next(
        [] {
            QDBusConnection::systemBus().send(
                QDBusMessage::createSignal("/org/freedesktop/login1",
                                           "org.freedesktop.login1.Manager", "PrepareForSleep")
                << false);
        },
        9);
    ASSERT_GT(woke.size(), 4U);
    EXPECT_EQ(Strings(woke.end() - 4, woke.end()), (Strings{"BAT 1", "BAT 2", "BAT 5", "STP"}));

    EXPECT_TRUE(pad.violations.empty());
    pad.unplug();
    EXPECT_TRUE(waitUntil(
        [&] { return host_->trayIcon()->toolTip() == "Ruvola, no pad connected"; }, patience));
}

} // namespace
} // namespace ruvola

int main(int argc, char** argv) {
    using namespace ruvola::testing;
    using ruvola::patience;
    // The scenario's own servers: X with openbox and a tray, a sound server, a session bus, and a
    // system bus it owns logind on.
    std::string missing = onlyListing(argc, argv) ? "only listing" : XServer::missing(true, true);
    for (const std::string& lacking : {Buses::missing(), PulseServer::missing()}) {
        missing = missing.empty() ? lacking : missing;
    }
    QTemporaryDir folder;
    Buses buses;
    PulseServer sound;
    XServer display;
    if (missing.empty()) {
        buses.start(folder.path());
        if (!sound.start(folder.path()) || !display.start(true)) {
            missing = "the sound server, the X server or openbox did not start";
        }
        display.startTray();
    }
    qputenv("QT_QPA_PLATFORM", missing.empty() ? "xcb" : "offscreen");
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    if (missing.empty()) {
        waitUntil(
            [] {
                return QDBusConnection::systemBus().isConnected() &&
                       QDBusConnection::systemBus().registerService("org.freedesktop.login1");
            },
            patience);
        waitUntil([] { return QSystemTrayIcon::isSystemTrayAvailable(); }, patience);
    } else {
        ruvola::unavailable = &missing;
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

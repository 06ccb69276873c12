// The whole application — tray host, driver, bindings store, action runner, key art — on a
// private X server with a window manager and a tray, private buses, a sound server with a null
// sink, and the virtual pad.
#include "Ruvola/RuvolaApplication.hpp"
#include "Ruvola/pad/PadConnection.hpp"
#include "Ruvola/tray/MenubarHost.hpp"
#include "fakes/TestPlatform.hpp"
#include "fakes/VirtualPad.hpp"
#include "support/EventLoop.hpp"
#include "support/RecordingLogger.hpp"
#include "support/Servers.hpp"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QMenu>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
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

class EndToEnd : public ::testing::Test {
protected:
    void SetUp() override {
        if (unavailable != nullptr) {
            GTEST_SKIP() << *unavailable;
        }
        for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"}) {
            setenv(name, home_.path().toLocal8Bit().constData(), 1);
        }
        platform_.hidManagers = [this] { return pad_.manager(); };
    }

    void TearDown() override {
        if (host_) {
            host_->terminate();
        }
    }

    void launch() {
        host_ = std::make_unique<MenubarHost>(application_, logger_, AppIdentity{}, platform_,
                                              settings_, false);
        host_->launch();
    }

    void save(const std::string& text) {
        const std::filesystem::path file =
            std::filesystem::path(home_.path().toStdString()) / ".config/ruvola/bindings.json";
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file.string() + ".new") << text;
        std::filesystem::rename(file.string() + ".new", file);
    }

    // The reports a change brings, images without their byte counts.
    Strings next(const std::function<void()>& change, std::size_t count) {
        pad_.received.clear();
        change();
        waitUntil([&] { return pad_.received.size() >= count; }, patience);
        testing::runEventLoop(300ms); // room for anything that should not come
        Strings received;
        for (const std::string& report : pad_.received) {
            received.push_back(report.starts_with("BAT") ? report.substr(0, 5) : report);
        }
        return received;
    }

    bool logged(const std::string& line) {
        return waitUntil([&] { return logger_.contains(line); }, patience);
    }

    // openbox may not have looked at its queue yet: a root property change wakes it.
    static void poke() {
        QProcess::execute("xprop",
                          {"-root", "-f", "RUVOLA_POKE", "8s", "-set", "RUVOLA_POKE", "x"});
    }

    // Waits for the pad to hear of a change of the frontmost window.
    void frontmostChanged() {
        waitUntil(
            [&] {
                poke();
                return !pad_.received.empty();
            },
            patience);
    }

    bool shown(std::initializer_list<int> keys) {
        return std::ranges::all_of(keys, [&](int key) { return pad_.key(key).has_value(); });
    }

    QTemporaryDir home_;
    QSettings settings_{home_.filePath("ruvola.conf"), QSettings::IniFormat};
    testing::VirtualPad pad_;
    testing::RecordingLogger logger_;
    testing::TestPlatform platform_;
    RuvolaApplication application_{platform_, settings_};
    std::unique_ptr<MenubarHost> host_;
};

TEST_F(EndToEnd, StarterKeysShowAndThePanelOpensUnderTheTrayIcon) {
    launch();
    ASSERT_TRUE(waitUntil([&] { return shown({1, 2, 3, 4, 5, 6}); }, patience));
    EXPECT_TRUE(logged("INFO Connected to Soomfon Stream Controller SE, firmware unknown"));
    // Docked in the tray, 120 by 32 pixels at the top right of the 1280 wide screen.
    ASSERT_TRUE(waitUntil(
        [&] { return QRect(1160, 0, 120, 32).contains(host_->trayIcon().geometry().center()); },
        patience));
    host_->togglePanel();
    // Shown just under the icon and across its middle, once the window manager has placed it.
    EXPECT_TRUE(waitUntil(
        [&] {
            const QRect icon = host_->trayIcon().geometry();
            const QRect panel = host_->panel().window()->geometry();
            return host_->panel().isVisible() && std::abs(panel.top() - icon.bottom()) <= 12 &&
                   panel.left() <= icon.center().x() && icon.center().x() <= panel.right();
        },
        patience));
    host_->togglePanel();
    EXPECT_FALSE(host_->panel().isVisible());
}

TEST_F(EndToEnd, PressesLayoutChangesFrontmostApplicationsAndWakeReachThePad) {
    const std::string keyFive =
        R"({"control": "key 5", "name": "Touch", "shell": "echo x >> \"$HOME/pressed\""})";
    const auto layout = [&](int brightness, const std::string& keyOne) {
        return R"({"settings": {"brightness": )" + std::to_string(brightness) +
               R"(}, "bindings": [
  {"control": "key 1", "name": ")" +
               keyOne + R"(", "icon": "⏯️", "system": "playpause"},
  {"control": "key 2", "name": "Next", "system": "next"},
  {"control": "key 2", "when": ["Notes"], "name": "Save", "keystroke": "cmd s"},
  {"control": "left knob", "name": "Turn", "right": {"shell": "echo r >> \"$HOME/turned\""}},
  {"control": "middle knob", "name": "Volume", "turn": "volume"},
  )" + keyFive +
               "]}";
    };
    save(layout(60, "Play"));
    launch();
    ASSERT_TRUE(waitUntil([&] { return shown({1, 2, 5}); }, patience));

    pad_.report(0x05, 1);
    pad_.report(0x05, 0);
    application_.pad()->onInput(PadInput::knobTurn(Knob::left, 3));
    EXPECT_TRUE(logged("INFO Key 5 (Touch): action completed"));
    EXPECT_TRUE(logged("INFO Left Knob (Turn): action completed"));
    std::ifstream pressed(home_.filePath("pressed").toStdString());
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(pressed), {}), "x\n");
    std::ifstream turned(home_.filePath("turned").toStdString());
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(turned), {}), "r\n"); // +3 runs once

    // Nothing listens for the media keys on this display: the level is stepped directly.
    testing::PulseServer::pactl({"set-sink-volume", "test", "50%"});
    application_.pad()->onInput(PadInput::knobTurn(Knob::middle, 1));
    EXPECT_TRUE(logged("WARNING The desktop ignored the system volume keys; setting the level "
                       "directly instead"));
    EXPECT_TRUE(testing::PulseServer::pactl({"get-sink-volume", "test"}).contains("56%"));

    EXPECT_EQ(next([&] { save(layout(60, "Pause")); }, 2), (Strings{"BAT 1", "STP"}));
    EXPECT_EQ(next([&] { save(layout(30, "Pause")); }, 1), Strings{"LIG 30"});

    // A real application with its own binding for key 2 comes to the front, then goes.
    QProcess notes;
    EXPECT_EQ(next(
                  [&] {
                      notes.start(RUVOLA_TEST_WINDOW, {"--class", "Notes", "--instance", "notes"});
                      frontmostChanged();
                  },
                  2),
              (Strings{"BAT 2", "STP"}));
    EXPECT_EQ(next(
                  [&] {
                      notes.kill();
                      notes.waitForFinished();
                      frontmostChanged();
                  },
                  2),
              (Strings{"BAT 2", "STP"}));

    // Unplugged and back, then logind's announcement that the system is awake again on the
    // stand-in system bus: each starts the pad again and redraws its keys.
    const auto redrawn = [](const Strings& reports) {
        return reports.size() > 4 && Strings(reports.end() - 4, reports.end()) ==
                                         Strings{"BAT 1", "BAT 2", "BAT 5", "STP"};
    };
    EXPECT_TRUE(redrawn(next([&] { pad_.unplug(), pad_.plugIn(); }, 10)));
    const Strings woke = next(
        [] {
            QDBusConnection::systemBus().send(
                QDBusMessage::createSignal("/org/freedesktop/login1",
                                           "org.freedesktop.login1.Manager", "PrepareForSleep")
                << false);
        },
        9);
    EXPECT_EQ(woke.front(), "DIS");
    EXPECT_TRUE(redrawn(woke)) << ::testing::PrintToString(woke);
    EXPECT_EQ(pad_.brightness(), 30);
    EXPECT_TRUE(logger_.contains("INFO Woke from sleep; restarting the pad"));

    // A file broken while running: its problems show in the panel, its keys keep their looks.
    save(R"({"bindings": [{"control": "key 9"}, {"control": "key 1", "shell": 3}]})");
    EXPECT_TRUE(waitUntil(
        [&] {
            for (const PanelEntry& entry : host_->panelContent()) {
                const auto* row = entry.as<PanelRow>();
                if (row != nullptr && row->id == "controls" && row->trailing == "2 to Fix") {
                    return true;
                }
            }
            return false;
        },
        patience));
    EXPECT_TRUE(pad_.violations.empty());
}

TEST_F(EndToEnd, TheIconHidesComesBackOnReopenAndStaysHiddenAtLogin) {
    launch();
    const std::unique_ptr<QMenu> menu = host_->contextMenu();
    Strings titles;
    for (const QAction* action : menu->actions()) {
        titles.push_back(action->isSeparator() ? "—" : action->text().toStdString());
    }
    EXPECT_EQ(titles, (Strings{"Launch at Login", "—", "Hide Menu Bar Icon", "About Ruvola",
                               "Quit Ruvola"}));
    EXPECT_FALSE(menu->actions().front()->isChecked());

    menu->actions()[2]->trigger();
    EXPECT_FALSE(host_->trayIcon().isVisible());
    EXPECT_TRUE(logged("INFO Status item hidden from the menu"));
    host_->terminate();

    // Started by the desktop at login, a hidden icon stays hidden; opened again, it comes back.
    host_ = std::make_unique<MenubarHost>(application_, logger_, AppIdentity{}, platform_,
                                          settings_, true);
    host_->launch();
    EXPECT_FALSE(host_->trayIcon().isVisible());
    host_->reopen();
    EXPECT_TRUE(host_->trayIcon().isVisible());
    EXPECT_TRUE(logged("INFO Status item restored on reopen"));
}

} // namespace
} // namespace ruvola

int main(int argc, char** argv) {
    using ruvola::patience;
    // The scenario's own servers: X with openbox and a tray, a sound server, a session bus, and a
    // system bus it owns logind on.
    std::string missing = ruvola::testing::XServer::missing(true, true);
    for (int index = 1; index < argc; ++index) {
        if (std::string_view(argv[index]).starts_with("--gtest_list_tests")) {
            missing = "only listing"; // listing the tests needs no servers
        }
    }
    for (const std::string& lacking :
         {ruvola::testing::Buses::missing(), ruvola::testing::PulseServer::missing()}) {
        missing = missing.empty() ? lacking : missing;
    }
    QTemporaryDir folder;
    ruvola::testing::Buses buses;
    ruvola::testing::PulseServer sound;
    ruvola::testing::XServer display;
    if (missing.empty()) {
        buses.start(folder.path());
        if (!sound.start(folder.path())) {
            missing = "the sound server did not start";
        }
        if (!display.start(true)) {
            missing = "the X server or openbox did not start";
        }
        display.startTray();
    }
    qputenv("QT_QPA_PLATFORM", missing.empty() ? "xcb" : "offscreen");
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    if (missing.empty()) {
        ruvola::testing::waitUntil(
            [] {
                return QDBusConnection::systemBus().isConnected() &&
                       QDBusConnection::systemBus().registerService("org.freedesktop.login1");
            },
            patience);
        ruvola::testing::waitUntil([] { return QSystemTrayIcon::isSystemTrayAvailable(); },
                                   patience);
    } else {
        ruvola::unavailable = &missing;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

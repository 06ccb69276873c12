// The whole application on a headless sway with XWayland and a tray host (waybar), and on weston,
// which offers nothing: the session chosen at run time, the frontmost application, keystrokes,
// typed text, opening and hiding, the panel without a tray and doctor's lines. Compositors refuse
// to run as root, so under root the scenario runs itself again as an unprivileged user.
#include "Ruvola/cli/RuvolaCLI.hpp"
#include "Ruvola/platform/DesktopSession.hpp"
#include "Ruvola/platform/linux/wayland/SwayIpc.hpp"
#include "Ruvola/tray/StatusPanel.hpp"
#include "e2e/HostTest.hpp"
#include "support/Compositor.hpp"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QJsonDocument>
#include <gtest/gtest.h>

#include <string_view>
#include <unistd.h>

namespace ruvola {
namespace {

using namespace std::chrono_literals;
using testing::Compositor;
using testing::waitUntil;
using Strings = std::vector<std::string>;

constexpr auto patience = 30s;

// Started by main() before the toolkit, which then runs on it: the sway every test but weston's
// uses. Null when it could not start, with the reason in `unavailable`.
Compositor* sway = nullptr;
std::string* unavailable = nullptr;

class WaylandEndToEnd : public testing::HostTest {
protected:
    // Points the program at sway, or at a weston of its own.
    bool enter(Compositor::Kind kind) {
        if (kind == Compositor::Kind::weston) {
            why_ = weston_.open(kind);
            compositor = &weston_;
        } else if (sway != nullptr) {
            compositor = sway;
            sway->enter("sway");
        } else {
            why_ = *unavailable;
        }
        return why_.empty();
    }

    // Doctor's lines about the session and the tray, "+" for ✓ and "-" for ✗.
    Strings doctor() {
        Strings lines;
        for (const DiagnosticCheck& check : RuvolaCLI::diagnosticChecks(platform)) {
            if (check.name != "pad" && !check.name.ends_with("keys") &&
                check.name != "brightness") {
                lines.push_back((check.passed ? "+ " : "- ") + check.success);
            }
        }
        return lines;
    }

    // Starts a test window and waits until the pad hears it came to the front.
    QProcess* window(const QString& program, const QStringList& arguments, bool x = false) {
        pad.received.clear();
        QProcess* started = compositor->window(program, arguments, x);
        waitUntil([&] { return std::ranges::count(pad.received, "STP") > 0; }, patience);
        return started;
    }

    // The key pictures sent, without the pad's keep-alive.
    Strings redrawn() const {
        Strings sent = reports();
        std::erase(sent, "CONNECT");
        return sent;
    }

    bool received(QProcess& window, QByteArray& seen, const QByteArray& wanted) {
        return waitUntil([&] { return (seen += window.readAllStandardOutput()).contains(wanted); },
                         patience);
    }

    std::string why_;
    Compositor weston_;
    Compositor* compositor = nullptr;
};

TEST_F(WaylandEndToEnd, OnSwayEveryBindingAndActionWorksAsOnX11) {
    if (!enter(Compositor::Kind::sway)) {
        GTEST_SKIP() << why_;
    }
    save(R"({"bindings": [
  {"control": "key 1", "name": "Plain", "shell": "true"},
  {"control": "key 1", "when": ["org.example.Writer"], "name": "Write", "text": "héllo 🎵"},
  {"control": "key 2", "when": ["Notes"], "name": "Tab", "keystroke": "ctrl shift t"},
  {"control": "key 3", "name": "Writer", "open": "org.example.Writer"}]})");
    // No tray host yet: the panel opens as a window, which sway floats.
    launch();
    ASSERT_TRUE(waitUntil([&] { return pad.key(3).has_value(); }, patience));
    EXPECT_TRUE(host_->panel().isVisible() && host_->panel().windowed());
    EXPECT_TRUE(waitUntil(
        [&] {
            const auto views = platform::SwayIpc::fromEnvironment()->views();
            return views && std::ranges::any_of(*views, &platform::SwayIpc::View::floating);
        },
        patience));
    EXPECT_TRUE(logger.contains("INFO No tray on this desktop; the panel opens as a window"));
    host_->panel().hide();
    host_->reopen(); // a second launch
    EXPECT_TRUE(host_->panel().isVisible());
    host_->panel().hide();

    QByteArray writerSaw;
    QProcess* writer = window(RUVOLA_WAYLAND_TEST_WINDOW, {"--app-id", "org.example.Writer"});
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(redrawn(), (Strings{"BAT 1", "STP"}));
    pad.report(0x01, 1);
    EXPECT_TRUE(received(*writer, writerSaw, "key L l\nkey L l\nkey O o\nkey Space  \nkey 🎵 🎵"));
    EXPECT_TRUE(writerSaw.contains("key H h\nkey É é\n")) << writerSaw.toStdString();

    // An XWayland application comes to the front and gets its chord.
    QByteArray notesSaw;
    QProcess* notes = window(RUVOLA_TEST_WINDOW, {"--class", "Notes", "--instance", "notes"}, true);
    ASSERT_NE(notes, nullptr);
    EXPECT_EQ(redrawn(), (Strings{"BAT 1", "BAT 2", "STP"}));
    pad.report(0x02, 1);
    EXPECT_TRUE(received(*notes, notesSaw, "key t 5")); // Shift and Control held

    // open brings the background Writer forward, hides it when in front, and brings it back.
    const auto front = [&](const std::string& name) {
        return waitUntil(
            [&] {
                const auto& identifiers = application.frontmostIdentifiers();
                return !identifiers.empty() && identifiers.front() == name;
            },
            patience);
    };
    // Notes in front to begin with, even if Writer's own late activation request took it back.
    platform::SwayIpc::fromEnvironment()->run("[class=\"Notes\"] focus");
    ASSERT_TRUE(front("Notes"));
    pad.report(0x03, 1);
    EXPECT_TRUE(front("org.example.Writer")) << ::testing::PrintToString(logger.lines());
    pad.report(0x03, 1);
    EXPECT_TRUE(front("Notes"));
    pad.report(0x03, 1);
    EXPECT_TRUE(front("org.example.Writer"));

    EXPECT_EQ(doctor(), (Strings{"+ desktop: sway on Wayland \u2014 window list, virtual keyboard",
                                 "+ frontmost application: window list",
                                 "+ window control: window list, hiding through sway",
                                 "+ keystrokes: virtual keyboard",
                                 "+ typed text: virtual keyboard, any character",
                                 "- tray: the status icon shows in the desktop's tray"}));

    // A tray host appears: the icon registers with its watcher, and its click opens the panel.
    compositor->startTrayHost();
    const auto items = [] {
        QDBusInterface watcher("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                               "org.kde.StatusNotifierWatcher");
        return watcher.property("RegisteredStatusNotifierItems").toStringList();
    };
    ASSERT_TRUE(waitUntil([&] { return !items().isEmpty(); }, patience));
    EXPECT_TRUE(platform.session().hasTray());
    const QString item = items().first();
    const auto slash = item.indexOf('/');
    // Sent without waiting: the item lives in this process, whose loop must run to answer.
    QDBusConnection::sessionBus().send(
        QDBusMessage::createMethodCall(item.left(slash), item.mid(slash),
                                       "org.kde.StatusNotifierItem", "Activate")
        << 0 << 0);
    EXPECT_TRUE(waitUntil([&] { return host_->panel().isVisible(); }, patience));
    EXPECT_TRUE(pad.violations.empty());
}

TEST_F(WaylandEndToEnd, OnWestonOnlyPlainBindingsMatchAndDoctorSaysWhatIsMissing) {
    if (!enter(Compositor::Kind::weston)) {
        GTEST_SKIP() << why_;
    }
    save(R"({"bindings": [
  {"control": "key 1", "name": "Plain", "shell": "touch \"$HOME/pressed\""},
  {"control": "key 1", "when": ["org.example.Writer"], "name": "Write", "text": "x"}]})");
    ASSERT_TRUE(start());
    ASSERT_NE(compositor->window(RUVOLA_WAYLAND_TEST_WINDOW, {"--app-id", "org.example.Writer"}),
              nullptr);
    testing::runEventLoop(200ms);
    EXPECT_TRUE(application.frontmostIdentifiers().empty());
    const Strings lines = doctor();
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[0], "+ desktop: weston on Wayland \u2014 no window list or virtual keyboard");
    for (std::size_t index = 1; index < 5; ++index) {
        EXPECT_TRUE(lines[index].starts_with("- ")) << lines[index];
    }
    // No X11 advice on Wayland: only the udev rule gives access there.
    EXPECT_TRUE(platform.inputAccess().remedy().starts_with("install its udev rule"));

    // The compositor going away is said once; presses still run.
    compositor->stopCompositor();
    EXPECT_TRUE(waitUntil(
        [&] {
            return logger.contains("WARNING The Wayland compositor went away; windows, keystrokes "
                                   "and typed text are off");
        },
        patience));
    pad.report(0x01, 1);
    EXPECT_TRUE(waitUntil([&] { return QFile::exists(home.filePath("pressed")); }, patience));
}

} // namespace
} // namespace ruvola

// Qt's Wayland plugins, some unloaded before the end, leave objects that no suppression can name.
// The leaks of Ruvola's own Wayland code are looked for by the platform tests, without the toolkit.
extern "C" const char* __asan_default_options() {
    return "detect_leaks=0";
}

int main(int argc, char** argv) {
    const bool listing = ruvola::testing::onlyListing(argc, argv);
    if (::geteuid() == 0 && !listing) {
        const unsigned user = ruvola::testing::Compositor::unprivilegedUser();
        const std::string id = std::to_string(user);
        std::vector<std::string> command{
            "setpriv", "--reuid=" + id,      "--regid=" + id, "--init-groups", "env",
            "-i",      "PATH=/usr/bin:/bin", "LANG=C.UTF-8",  "HOME=/tmp"};
        for (const char* kept : {"LSAN_OPTIONS", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
            if (const char* value = std::getenv(kept)) {
                command.push_back(std::string(kept) + "=" + value);
            }
        }
        for (int index = 0; index < argc; ++index) {
            command.emplace_back(argv[index]);
        }
        std::vector<char*> arguments;
        for (std::string& word : command) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        if (user != 0) {
            ::execvp("setpriv", arguments.data());
        }
        std::fprintf(stderr, "can't run the scenario as an unprivileged user\n");
    }
    // The toolkit talks Wayland to sway, as the program does on a Wayland desktop.
    using ruvola::testing::Compositor;
    Compositor compositor;
    std::string missing = listing ? "only listing" : Compositor::missing(Compositor::Kind::sway);
    if (missing.empty() && !compositor.start(Compositor::Kind::sway)) {
        missing = "sway can't start here: " + compositor.why();
    }
    if (missing.empty()) {
        compositor.enter("sway");
        qputenv("QT_QPA_PLATFORM", "wayland");
        ruvola::sway = &compositor;
    } else {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        ruvola::unavailable = &missing;
    }
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setDesktopFileName("ltd.fennick.ruvola");
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

#include "Ruvola/platform/Launcher.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/linux/DesktopEntries.hpp"
#include "Ruvola/platform/linux/x11/EwmhFrontmostWatcher.hpp"
#include "Ruvola/platform/linux/x11/EwmhWindows.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/PrivateDesktop.hpp"
#include "tests/support/Servers.hpp"

#include <QProcess>
#include <gtest/gtest.h> // before Xlib, whose macros clash with its names

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <fstream>
#include <set>
#include <unistd.h>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace ruvola {
namespace {

using platform::RunningApplication;

const fs::path& desktop = testing::privateDesktop(RUVOLA_TEST_WINDOW);

/// The ID of each application started so far, marked "here" when its parent is this process.
std::multiset<std::string> started() {
    std::ifstream log(desktop / "started.log");
    std::multiset<std::string> lines;
    for (std::string line; std::getline(log, line);) {
        lines.insert(line.substr(0, line.find(' ')) +
                     (line.ends_with(" " + std::to_string(getpid())) ? " here" : ""));
    }
    return lines;
}

TEST(Launcher, StartsByDesktopEntryElseFromPathAndReopensByEntry) {
    const auto platform = platform::makePlatform();
    platform::Launcher& launcher = platform->launcher();
    const auto none = [](const std::string&, const std::string&) { return false; };
    const RunningApplication files{"Files", "files",
                                   (desktop / "applications/files.desktop").string(), 0, ""};
    fs::remove(desktop / "started.log");

    const std::vector<std::pair<ActionCompletion, std::string>> cases{
        {launcher.launch(
             "Files", [](const std::string& name, const std::string&) { return name == "Files"; }),
         "succeeded"},
        // The id reaches the match without ".desktop".
        {launcher.launch("beta", [](const std::string&,
                                    const std::string& id) { return id == "org.example.Beta"; }),
         "succeeded"},
        {launcher.launch("ruvola-path-app", none), "succeeded"},
        {launcher.reopen(files), "succeeded"},
        {launcher.reopen({"Delta", "delta", "", 0, ""}), "succeeded"}, // no entry: nothing to do
        {launcher.launch("nothing-here", none),
         "could not launch: no application called \"nothing-here\""},
    };
    for (const auto& [completion, reason] : cases) {
        EXPECT_EQ(completion.failure() ? completion.failure()->description() : "succeeded", reason);
    }
    ASSERT_TRUE(testing::waitUntil([] { return started().size() == 4; }, 10s));
    // The program on PATH is detached from this process, not its child.
    EXPECT_EQ(started(), (std::multiset<std::string>{"beta", "delta", "files", "files"}));

    EXPECT_TRUE(launcher.isFileManager(files));
    EXPECT_FALSE(launcher.isFileManager({"Files", "files", "", 0, ""}));
    EXPECT_FALSE(launcher.isFileManager({"Beta", "org.example.Beta", "/b.desktop", 0, ""}));
}

/// A ruvola_test_window process with that many windows of a class, ended with the test.
struct TestWindow {
    TestWindow(const QString& windowClass, const QString& instance, std::size_t count = 1) {
        process.start(RUVOLA_TEST_WINDOW, {"--class", windowClass, "--instance", instance,
                                           "--windows", QString::number(count)});
        testing::waitUntil(
            [&] {
                testing::XServer::wakeWindowManager(); // it maps them
                while (process.canReadLine()) {
                    const QByteArray line = process.readLine().trimmed();
                    if (line.startsWith("window ")) {
                        windows.push_back(line.mid(7).toULong(nullptr, 16));
                    }
                }
                return windows.size() == count || process.state() == QProcess::NotRunning;
            },
            60s); // a loaded machine may take long to map them; a met wait ends at once
    }
    ~TestWindow() { testing::stopProcess(process); }

    QProcess process;
    std::vector<Window> windows;
};

class Ewmh : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string missing = testing::XServer::missing(true); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
        ASSERT_TRUE(x_.start(true));
    }

    /// The running application of that name, once there is one.
    std::optional<RunningApplication> named(const std::string& name) {
        std::optional<RunningApplication> found;
        testing::waitUntil(
            [&] {
                testing::XServer::wakeWindowManager();
                for (const RunningApplication& application : windows_.running()) {
                    found = application.name == name ? application : found;
                }
                return found.has_value();
            },
            10s);
        return found;
    }

    /// Whether it comes to the front, if only for a moment: the window manager goes through no
    /// active window, or another of the same application's, on its way.
    bool frontmostBecomes(const std::string& name) {
        bool seen = false;
        return testing::waitUntil([&] {
            const auto front = windows_.frontmost();
            return seen = seen || (front && front->name == name);
        });
    }

    testing::XServer x_;
    platform::DesktopEntries entries_;
    platform::EwmhWindows windows_{entries_};
};

TEST_F(Ewmh, ListsHidesAndActivatesEachApplicationWithAllItsWindows) {
    TestWindow alpha("Alpha", "alpha-bin", 2), beta("Beta", "beta"), gamma("Gamma", "gamma");
    ASSERT_TRUE(named("Gamma"));
    const std::vector<RunningApplication> running = windows_.running();
    const std::vector<RunningApplication> expected{
        {"Alpha", "alpha", (desktop / "applications/alpha.desktop").string(),
         alpha.process.processId(), running.at(0).key},
        {"Beta", "org.example.Beta", (desktop / "applications/org.example.Beta.desktop").string(),
         beta.process.processId(), running.at(1).key},
        {"Gamma", "gamma", "", gamma.process.processId(), running.at(2).key},
    };
    EXPECT_EQ(running, expected);
    EXPECT_EQ(std::set<std::string>({running[0].key, running[1].key, running[2].key}).size(), 3U);
    EXPECT_TRUE(frontmostBecomes("Gamma")) << "the newest window has the focus";

    EXPECT_TRUE(windows_.activate(running[0]));
    EXPECT_TRUE(frontmostBecomes("Alpha"));
    EXPECT_TRUE(windows_.hide(running[0]));
    EXPECT_TRUE(testing::waitUntil([&] { return !windows_.hasVisibleWindow(running[0]); }));
    EXPECT_TRUE(windows_.hasVisibleWindow(running[1]));
    EXPECT_TRUE(windows_.activate(running[0]));
    EXPECT_TRUE(frontmostBecomes("Alpha"));
    EXPECT_TRUE(testing::waitUntil([&] { return windows_.hasVisibleWindow(running[0]); }));
}

TEST_F(Ewmh, WatcherReportsEachChangeOfApplication) {
    TestWindow alpha("Alpha", "alpha-bin", 2), beta("Beta", "beta");
    ASSERT_EQ(alpha.windows.size(), 2U);
    const auto alphaApp = named("Alpha"), betaApp = named("Beta");
    ASSERT_TRUE(alphaApp && betaApp);
    platform::EwmhFrontmostWatcher watcher;
    std::vector<std::string> reports;
    ASSERT_TRUE(watcher.start([&] {
        const auto front = windows_.frontmost();
        reports.push_back(front ? front->name : "none");
    }));
    const auto bringForward = [&](const RunningApplication& application) {
        windows_.activate(application);
        return testing::waitUntil(
            [&] { return !reports.empty() && reports.back() == application.name; });
    };
    EXPECT_TRUE(bringForward(*alphaApp));
    reports.clear(); // past what was still settling when it started
    EXPECT_TRUE(bringForward(*betaApp));
    EXPECT_TRUE(bringForward(*alphaApp));
    // No active window, then another window of the same application, set behind the window
    // manager's back: not a change. Had it been reported, it would be before the next switch.
    Display* display = XOpenDisplay(nullptr);
    for (const Window window : {Window{None}, alpha.windows.at(0), alpha.windows.at(1)}) {
        const long value = static_cast<long>(window);
        XChangeProperty(display, DefaultRootWindow(display),
                        XInternAtom(display, "_NET_ACTIVE_WINDOW", False), XA_WINDOW, 32,
                        PropModeReplace, reinterpret_cast<const unsigned char*>(&value), 1);
    }
    XCloseDisplay(display);
    EXPECT_TRUE(bringForward(*betaApp));
    EXPECT_EQ(reports, (std::vector<std::string>{"Beta", "Alpha", "Beta"}));
}

TEST_F(Ewmh, GivesNothingWithoutAWindowManagerOrServerAndRecoversAfter) {
    TestWindow window("Gamma", "gamma");
    const auto gamma = named("Gamma");
    ASSERT_TRUE(gamma);
    const auto expectNothing = [&](const char* situation) {
        EXPECT_FALSE(windows_.frontmost()) << situation;
        EXPECT_TRUE(windows_.running().empty()) << situation;
        EXPECT_FALSE(windows_.hide(*gamma)) << situation;
        EXPECT_FALSE(windows_.activate(*gamma)) << situation;
        EXPECT_FALSE(windows_.hasVisibleWindow(*gamma)) << situation;
    };
    // Its root properties stay behind, naming windows it no longer manages; the server drops its
    // windows once it has noticed it is gone.
    x_.stopWindowManager();
    ASSERT_TRUE(testing::waitUntil([&] { return windows_.running().empty(); }));
    expectNothing("window manager killed");

    const std::string display = x_.display();
    x_.stop();
    setenv("DISPLAY", display.c_str(), 1); // the same name, no server behind it
    expectNothing("server gone");
    EXPECT_FALSE(platform::EwmhFrontmostWatcher().start([] {}));

    ASSERT_TRUE(x_.start(true));
    TestWindow delta("Delta", "delta");
    EXPECT_TRUE(named("Delta"));
}

} // namespace
} // namespace ruvola

#include "Ruvola/platform/linux/x11/EwmhApplications.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/Servers.hpp"

#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace ruvola {
namespace {

using platform::RunningApplication;

QTemporaryDir root;

// A private desktop, in place before GIO first reads it. Windows of (alpha-bin, Alpha) belong to
// alpha.desktop by their lower-cased class, (beta, Beta) to org.example.Beta.desktop by its
// StartupWMClass; (gamma, Gamma) and (delta, Delta) have no entry. files.desktop opens folders;
// ruvola-path-app, on PATH, shows Delta.
const fs::path base = [] {
    const fs::path folder = root.path().toStdString();
    for (const char* child : {"applications", "system", "bin"}) {
        fs::create_directories(folder / child);
    }
    // openbox won't run without a theme from the data folders.
    fs::create_directory_symlink("/usr/share/themes", folder / "system/themes");
    const std::string window = std::string("\"") + RUVOLA_TEST_WINDOW + "\"";
    const auto entry = [&](const std::string& id, const std::string& keys) {
        std::ofstream(folder / "applications" / (id + ".desktop"))
            << "[Desktop Entry]\nType=Application\n"
            << keys;
    };
    entry("alpha", "Name=Alpha\nExec=" + window + " --class Alpha --instance alpha-bin\n");
    entry("org.example.Beta", "Name=Beta Viewer\nStartupWMClass=Beta\nExec=" + window +
                                  " --class Beta --instance beta\n");
    entry("files", "Name=Files\nExec=" + window + " --class Files --instance files\n");
    std::ofstream(folder / "bin/ruvola-path-app")
        << "#!/bin/sh\nexec " << window << " --class Delta --instance delta\n";
    fs::permissions(folder / "bin/ruvola-path-app", fs::perms::owner_all);
    std::ofstream(folder / "mimeapps.list")
        << "[Default Applications]\ninode/directory=files.desktop\n";
    setenv("XDG_DATA_HOME", folder.c_str(), 1);
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
    setenv("XDG_DATA_DIRS", (folder / "system").c_str(), 1);
    setenv("PATH", ((folder / "bin").string() + ":" + std::getenv("PATH")).c_str(), 1);
    // No session bus: GIO's launch notice must fail at once instead of starting one.
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (folder / "no-bus").string()).c_str(), 1);
    unsetenv("XDG_CURRENT_DESKTOP");
    return folder;
}();

/// A ruvola_test_window process, ended with the test.
class TestWindow {
public:
    TestWindow(const QString& windowClass, const QString& instance, int windows = 1) {
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process_.start(RUVOLA_TEST_WINDOW, {"--class", windowClass, "--instance", instance,
                                            "--windows", QString::number(windows)});
        testing::waitUntil(
            [&] {
                while (process_.canReadLine()) {
                    const QByteArray line = process_.readLine().trimmed();
                    if (line.startsWith("window ")) {
                        windows_.push_back(line.mid(7).toULong(nullptr, 16));
                    }
                    ready_ = ready_ || line == "ready";
                }
                return ready_ || process_.state() == QProcess::NotRunning;
            },
            10s);
    }
    ~TestWindow() {
        process_.kill();
        process_.waitForFinished(5000);
    }

    bool ready() const { return ready_; }
    std::int64_t pid() const { return process_.processId(); }
    const std::vector<Window>& windows() const { return windows_; }

private:
    QProcess process_;
    std::vector<Window> windows_;
    bool ready_ = false;
};

/// The test's own connection to the display.
class XClient {
public:
    XClient() : display_(XOpenDisplay(nullptr)) {}
    ~XClient() {
        if (display_ != nullptr) {
            XCloseDisplay(display_);
        }
    }
    XClient(const XClient&) = delete;
    XClient& operator=(const XClient&) = delete;

    std::vector<unsigned long> property(Window window, const char* name) {
        Atom type = None;
        int format = 0;
        unsigned long count = 0, after = 0;
        unsigned char* data = nullptr;
        std::vector<unsigned long> values;
        if (XGetWindowProperty(display_, window, atom(name), 0, 1024, False, AnyPropertyType, &type,
                               &format, &count, &after, &data) == Success &&
            data != nullptr && format == 32) {
            const auto* longs = reinterpret_cast<const unsigned long*>(data);
            values.assign(longs, longs + count);
        }
        if (data != nullptr) {
            XFree(data);
        }
        return values;
    }

    bool hidden(Window window) {
        const auto states = property(window, "_NET_WM_STATE");
        return std::ranges::count(states, atom("_NET_WM_STATE_HIDDEN")) > 0;
    }

    std::size_t clients() { return property(root(), "_NET_CLIENT_LIST").size(); }

    /// Waits until the window manager handles events. openbox claims the screen before its
    /// event loop runs, and a window mapped in between waits for the next event to reach it, so
    /// a probe window is mapped and the root poked until the probe is managed.
    bool windowManagerListens() {
        const Window probe = XCreateSimpleWindow(display_, root(), 0, 0, 10, 10, 0, 0, 0);
        XMapWindow(display_, probe);
        const bool managed = testing::waitUntil(
            [&] {
                const long poke = 1;
                XChangeProperty(display_, root(), atom("RUVOLA_TEST_POKE"), XA_CARDINAL, 32,
                                PropModeReplace, reinterpret_cast<const unsigned char*>(&poke), 1);
                XSync(display_, False);
                return std::ranges::count(property(root(), "_NET_CLIENT_LIST"), probe) > 0;
            },
            10s);
        XDestroyWindow(display_, probe);
        XSync(display_, False);
        return managed;
    }

    /// Sets the active window behind the window manager's back.
    void setActive(Window window) {
        const long value = static_cast<long>(window);
        XChangeProperty(display_, root(), atom("_NET_ACTIVE_WINDOW"), XA_WINDOW, 32,
                        PropModeReplace, reinterpret_cast<const unsigned char*>(&value), 1);
        XSync(display_, False);
    }

private:
    Atom atom(const char* name) { return XInternAtom(display_, name, False); }
    Window root() const { return DefaultRootWindow(display_); }

    Display* display_;
};

class Ewmh : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string missing = testing::XServer::missing(true); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
        ASSERT_TRUE(start(true));
    }

    bool start(bool windowManager) {
        if (!server_.start(windowManager)) {
            return false;
        }
        x_.emplace();
        return !windowManager || x_->windowManagerListens();
    }

    void stop() {
        x_.reset(); // before its server goes, which Xlib would not survive
        server_.stop();
    }

    /// The running application of that name, once there is one.
    std::optional<RunningApplication> named(const std::string& name) {
        std::optional<RunningApplication> found;
        testing::waitUntil(
            [&] {
                for (const RunningApplication& application : applications_.running()) {
                    if (application.name == name) {
                        found = application;
                    }
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
        testing::waitUntil([&] {
            const auto front = applications_.frontmost();
            seen = seen || (front && front->name == name);
            return seen;
        });
        return seen;
    }

    testing::XServer server_;
    std::optional<XClient> x_;
    platform::EwmhApplications applications_;
};

TEST_F(Ewmh, ListsEachApplicationOnceInTheWindowManagersOrder) {
    TestWindow alpha("Alpha", "alpha-bin", 2), beta("Beta", "beta"), gamma("Gamma", "gamma");
    ASSERT_TRUE(alpha.ready() && beta.ready() && gamma.ready());
    ASSERT_TRUE(named("Gamma"));
    const std::vector<RunningApplication> running = applications_.running();

    const std::vector<RunningApplication> expected{
        {"Alpha", "alpha", (base / "applications/alpha.desktop").string(), alpha.pid(),
         running.at(0).key},
        {"Beta", "org.example.Beta", (base / "applications/org.example.Beta.desktop").string(),
         beta.pid(), running.at(1).key},
        {"Gamma", "gamma", "", gamma.pid(), running.at(2).key},
    };
    EXPECT_EQ(running, expected);
    EXPECT_EQ(std::set<std::string>({running[0].key, running[1].key, running[2].key}).size(), 3U);

    // The newest window has the focus; many threads at once all see the same.
    ASSERT_TRUE(frontmostBecomes("Gamma"));
    std::vector<std::future<bool>> askers;
    for (int thread = 0; thread < 8; ++thread) {
        askers.push_back(std::async(std::launch::async, [&] {
            bool same = true;
            for (int call = 0; call < 25; ++call) {
                same = same && applications_.running() == running &&
                       applications_.frontmost() == running[2];
            }
            return same;
        }));
    }
    for (auto& asker : askers) {
        EXPECT_TRUE(asker.get());
    }
}

TEST_F(Ewmh, HidesActivatesAndWatchesEveryWindowOfAnApplication) {
    TestWindow alpha("Alpha", "alpha-bin", 2), beta("Beta", "beta");
    ASSERT_TRUE(alpha.ready() && beta.ready());
    const auto alphaApp = named("Alpha"), betaApp = named("Beta");
    ASSERT_TRUE(alphaApp && betaApp);
    ASSERT_TRUE(frontmostBecomes("Beta"));

    EXPECT_TRUE(applications_.activate(*alphaApp));
    EXPECT_TRUE(frontmostBecomes("Alpha"));
    EXPECT_TRUE(applications_.hide(*alphaApp));
    EXPECT_TRUE(testing::waitUntil([&] { return !applications_.hasVisibleWindow(*alphaApp); }));
    for (const Window window : alpha.windows()) {
        EXPECT_TRUE(x_->hidden(window));
    }
    EXPECT_TRUE(applications_.hasVisibleWindow(*betaApp));
    EXPECT_TRUE(applications_.activate(*alphaApp));
    EXPECT_TRUE(frontmostBecomes("Alpha"));
    EXPECT_TRUE(testing::waitUntil([&] {
        return std::ranges::none_of(alpha.windows(), [&](Window w) { return x_->hidden(w); });
    }));
    EXPECT_TRUE(applications_.hasVisibleWindow(*alphaApp));
    const RunningApplication gone{"Gone", "gone", "", 0, "gone\nGone"};
    EXPECT_FALSE(applications_.hide(gone));
    EXPECT_FALSE(applications_.activate(gone));
    EXPECT_FALSE(applications_.hasVisibleWindow(gone));

    platform::EwmhFrontmostWatcher watcher;
    std::vector<std::string> reports;
    ASSERT_TRUE(watcher.start([&] {
        const auto front = applications_.frontmost();
        reports.push_back(front ? front->name : "none");
    }));
    const auto bringForward = [&](const RunningApplication& application) {
        applications_.activate(application);
        return testing::waitUntil(
            [&] { return !reports.empty() && reports.back() == application.name; });
    };
    EXPECT_TRUE(bringForward(*betaApp));
    reports.clear(); // past what was still settling when it started
    EXPECT_TRUE(bringForward(*alphaApp));
    // No active window, then another window of the same application: not a change. Had it been
    // reported, it would be before the next switch.
    for (const Window window : {Window{None}, alpha.windows().at(0), alpha.windows().at(1)}) {
        x_->setActive(window);
    }
    EXPECT_TRUE(bringForward(*betaApp));
    EXPECT_EQ(reports, (std::vector<std::string>{"Alpha", "Beta"}));

    // A window manager that restarts leaves the watcher following its successor.
    server_.stopWindowManager();
    QProcess successor;
    successor.start("openbox", {"--sm-disable"});
    ASSERT_TRUE(successor.waitForStarted() && x_->windowManagerListens());
    ASSERT_TRUE(testing::waitUntil([&] { return applications_.running().size() == 2; }, 10s));
    EXPECT_TRUE(bringForward(*alphaApp));
    EXPECT_TRUE(bringForward(*betaApp));
    EXPECT_EQ(std::ranges::adjacent_find(reports), reports.end());
}

TEST_F(Ewmh, LaunchesByDesktopEntryOrProgramAndReopens) {
    const auto nameIs = [](std::string wanted) {
        return [wanted](const std::string& name, const std::string&) { return name == wanted; };
    };
    const auto none = [](const std::string&, const std::string&) { return false; };

    EXPECT_TRUE(applications_.launch("Files", nameIs("Files")).ok());
    const auto files = named("Files");
    ASSERT_TRUE(files);
    EXPECT_EQ(files->identifier, "files");
    EXPECT_TRUE(applications_.isFileManager(*files));

    // The id reaches the match without ".desktop".
    EXPECT_TRUE(applications_
                    .launch("beta", [](const std::string&,
                                       const std::string& id) { return id == "org.example.Beta"; })
                    .ok());
    const auto beta = named("Beta");
    ASSERT_TRUE(beta);
    EXPECT_FALSE(applications_.isFileManager(*beta));

    // Not an entry's name: the program on PATH, detached from this process.
    EXPECT_TRUE(applications_.launch("ruvola-path-app", none).ok());
    const auto delta = named("Delta");
    ASSERT_TRUE(delta);
    EXPECT_EQ(delta->desktopEntry, "");
    std::ifstream status("/proc/" + std::to_string(delta->pid) + "/stat");
    std::string pid, command, state;
    pid_t parent = 0;
    status >> pid >> command >> state >> parent;
    EXPECT_NE(parent, getpid());

    // Reopening starts the entry again, another window of the same application.
    const std::size_t windows = x_->clients();
    EXPECT_TRUE(applications_.reopen(*files).ok());
    EXPECT_TRUE(testing::waitUntil([&] { return x_->clients() == windows + 1; }, 10s));
    EXPECT_EQ(applications_.running().size(), 3U);
    EXPECT_TRUE(applications_.reopen(*delta).ok()); // no entry: nothing to do

    RunningApplication uninstalled = *files;
    uninstalled.desktopEntry = (base / "applications/uninstalled.desktop").string();
    const std::vector<std::pair<ActionCompletion, std::string>> failures{
        {applications_.launch("nothing-here", nameIs("nothing-here")),
         "no application called \"nothing-here\""},
        {applications_.reopen(uninstalled), uninstalled.desktopEntry},
    };
    for (const auto& [completion, reason] : failures) {
        ASSERT_FALSE(completion.ok()) << reason;
        const auto* failure =
            std::get_if<ActionFailure::CouldNotLaunch>(&completion.failure()->reason);
        ASSERT_NE(failure, nullptr) << reason;
        EXPECT_NE(failure->reason.find(reason), std::string::npos) << failure->reason;
    }
}

TEST_F(Ewmh, GivesNothingWithoutAWindowManagerOrDisplayAndRecoversAfter) {
    const RunningApplication gamma{"Gamma", "gamma", "", 0, "gamma\nGamma"};
    const auto expectNothing = [&](const char* situation, bool watcherStarts) {
        EXPECT_FALSE(applications_.frontmost()) << situation;
        EXPECT_TRUE(applications_.running().empty()) << situation;
        EXPECT_FALSE(applications_.hide(gamma)) << situation;
        EXPECT_FALSE(applications_.activate(gamma)) << situation;
        EXPECT_FALSE(applications_.hasVisibleWindow(gamma)) << situation;
        platform::EwmhFrontmostWatcher watcher;
        EXPECT_EQ(watcher.start([] {}), watcherStarts) << situation;
    };
    platform::EwmhFrontmostWatcher watcher;
    {
        TestWindow window("Gamma", "gamma");
        ASSERT_TRUE(named("Gamma"));
        ASSERT_TRUE(watcher.start([] {}));
        // Its root properties stay behind, naming windows it no longer manages.
        server_.stopWindowManager();
        expectNothing("window manager killed", true);
    }
    const std::string display = server_.display();
    stop();
    setenv("DISPLAY", display.c_str(), 1); // the same name, no server behind it
    expectNothing("server gone", false);
    testing::runEventLoop(100ms); // the watcher sees its connection close and stops
    unsetenv("DISPLAY");
    expectNothing("no display", false);

    ASSERT_TRUE(start(false));
    {
        TestWindow window("Gamma", "gamma");
        ASSERT_TRUE(window.ready());
        expectNothing("no window manager", true);
    }
    stop();
    ASSERT_TRUE(start(true));
    TestWindow delta("Delta", "delta");
    EXPECT_TRUE(named("Delta"));
}

} // namespace
} // namespace ruvola

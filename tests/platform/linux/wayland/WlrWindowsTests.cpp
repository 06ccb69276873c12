#include "Ruvola/platform/linux/DesktopEntries.hpp"
#include "Ruvola/platform/linux/wayland/SwayIpc.hpp"
#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"
#include "Ruvola/platform/linux/wayland/WlrToplevels.hpp"
#include "Ruvola/platform/linux/wayland/WlrWindows.hpp"
#include "tests/support/Compositor.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace ruvola::platform {
namespace {

using namespace std::chrono_literals;
using testing::Compositor;
using testing::waitUntil;

constexpr const char* ownAppId = "ruvola";

/// WlrWindows on a fresh headless sway, with stand-in applications started on demand.
class WlrWindowsTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string why = compositor.open(Compositor::Kind::sway); !why.empty()) {
            GTEST_SKIP() << why;
        }
        connection = WaylandConnection::open();
        ASSERT_NE(connection, nullptr);
        windows = WlrWindows::make(connection, entries, ownAppId);
        ASSERT_NE(windows, nullptr);
        connection->serve();
    }

    /// Starts an application with `count` windows, native or (`x`) on XWayland with `id` as its
    /// WM_CLASS class, and waits until the list holds it.
    void start(const QString& id, bool x = false, int count = 1, const QStringList& extra = {}) {
        const QStringList arguments =
            x ? QStringList{"--class", id, "--instance", "x"}
              : QStringList{"--app-id", id, "--windows", QString::number(count)} + extra;
        ASSERT_NE(compositor.window(x ? RUVOLA_TEST_WINDOW : RUVOLA_WAYLAND_TEST_WINDOW, arguments,
                                    x, count),
                  nullptr)
            << id.toStdString() << " did not show its windows";
        ASSERT_TRUE(waitUntil([&] { return listed(id.toStdString()); }));
    }

    bool listed(const std::string& key) {
        return std::ranges::count(windows->running(), key, &RunningApplication::key) == 1;
    }

    bool inFront(const std::string& key) {
        const auto front = windows->frontmost();
        return front && front->key == key;
    }

    static RunningApplication app(const std::string& key) {
        RunningApplication application;
        application.key = key;
        return application;
    }

    Compositor compositor;
    DesktopEntries entries;
    std::shared_ptr<WaylandConnection> connection;
    std::unique_ptr<WlrWindows> windows;
};

TEST_F(WlrWindowsTest, FrontmostFollowsFocusAcrossNativeAndXWaylandWindowsReportedOnce) {
    start("org.example.Native");
    start("XClient", true);
    start(ownAppId);
    SwayIpc::fromEnvironment()->run("[class=XClient] focus");
    ASSERT_TRUE(waitUntil([&] { return inFront("XClient"); }));
    const auto front = windows->frontmost();
    EXPECT_EQ(front->name, "XClient");
    EXPECT_EQ(front->identifier, "XClient"); // no desktop entry for it

    int reports = 0;
    const auto watcher = windows->makeWatcher();
    ASSERT_TRUE(watcher->start([&] { ++reports; }));
    SwayIpc::fromEnvironment()->run("[app_id=org.example.Native] focus");
    EXPECT_TRUE(waitUntil([&] { return reports == 1 && inFront("org.example.Native"); }));
    EXPECT_TRUE(windows->activate(app("XClient")));
    EXPECT_TRUE(waitUntil([&] { return reports == 2 && inFront("XClient"); }));
    // Ruvola's own window in front leaves the application before it there.
    SwayIpc::fromEnvironment()->run("[app_id=ruvola] focus");
    testing::runEventLoop(400ms);
    EXPECT_TRUE(inFront("XClient"));
    SwayIpc::fromEnvironment()->run("[app_id=org.example.Native] focus");
    EXPECT_TRUE(waitUntil([&] { return reports == 3 && inFront("org.example.Native"); }));
    testing::runEventLoop(400ms);
    EXPECT_EQ(reports, 3);
}

TEST_F(WlrWindowsTest, HideTakesAnAppOutOfSightAndActivateBringsItBack) {
    // An app id that would break a sway command if it were ever written into one.
    const std::string odd = "odd \"app\"; [x] é";
    start("org.example.Background");
    start(QString::fromStdString(odd));
    ASSERT_TRUE(waitUntil([&] { return inFront(odd); }));
    EXPECT_TRUE(windows->hasVisibleWindow(app(odd)));

    EXPECT_TRUE(windows->activate(app("org.example.Background")));
    EXPECT_TRUE(waitUntil([&] { return inFront("org.example.Background"); }));
    EXPECT_TRUE(windows->activate(app(odd)));
    EXPECT_TRUE(waitUntil([&] { return inFront(odd); }));

    EXPECT_TRUE(windows->hide(app(odd)));
    EXPECT_TRUE(waitUntil([&] { return !windows->hasVisibleWindow(app(odd)) && !inFront(odd); }));
    EXPECT_TRUE(windows->hasVisibleWindow(app("org.example.Background")));
    EXPECT_TRUE(windows->activate(app(odd)));
    EXPECT_TRUE(waitUntil([&] { return windows->hasVisibleWindow(app(odd)) && inFront(odd); }));
    // Back where it was, tiled, rather than floating as the scratchpad leaves it.
    const auto views = SwayIpc::fromEnvironment()->views();
    ASSERT_TRUE(views);
    EXPECT_EQ(std::ranges::count_if(*views,
                                    [&](const SwayIpc::View& view) {
                                        return view.appId == odd && !view.hidden && !view.floating;
                                    }),
              1);

    EXPECT_FALSE(windows->hide(app("org.example.Absent")));
    EXPECT_FALSE(windows->activate(app("org.example.Absent")));
    EXPECT_FALSE(windows->hasVisibleWindow(app("org.example.Absent")));
}

TEST_F(WlrWindowsTest,
       TitleChangesAreNoFrontmostChangeAndNothingIsAnsweredOnceTheCompositorIsGone) {
    start("org.example.Retitled", false, 1, {"--retitle-ms", "50"});
    ASSERT_TRUE(waitUntil([&] { return inFront("org.example.Retitled"); }));
    int reports = 0;
    const auto watcher = windows->makeWatcher();
    ASSERT_TRUE(watcher->start([&] { ++reports; }));
    testing::runEventLoop(1s);
    EXPECT_EQ(reports, 0);
    EXPECT_TRUE(inFront("org.example.Retitled"));

    compositor.stopCompositor();
    EXPECT_TRUE(waitUntil([&] { return connection->lost(); }));
    EXPECT_EQ(windows->frontmost(), std::nullopt);
    EXPECT_TRUE(windows->running().empty());
    const auto gone = app("org.example.Retitled");
    EXPECT_FALSE(windows->hide(gone));
    EXPECT_FALSE(windows->activate(gone));
    EXPECT_FALSE(windows->hasVisibleWindow(gone));
    EXPECT_FALSE(windows->makeWatcher()->start([] {}));
}

TEST_F(WlrWindowsTest, ListsAnApplicationWithManyWindowsOnce) {
    start("org.example.First");
    // Asked from another thread all along, while the windows come.
    std::atomic<bool> asking = true;
    std::thread asker([&] {
        while (asking) {
            windows->frontmost();
            windows->hasVisibleWindow(windows->running().back());
        }
    });
    // A thousand windows, from five processes: one alone overfills its own connection.
    for (int process = 0; process < 5; ++process) {
        start("org.example.Many", false, 200);
    }
    asking = false;
    asker.join();
    const auto running = windows->running();
    ASSERT_EQ(running.size(), 2u);
    EXPECT_EQ(running[0].key, "org.example.First");
    EXPECT_EQ(running[1].key, "org.example.Many");
    EXPECT_TRUE(windows->hasVisibleWindow(running[1]));

    // A table made now knows every window on return, with no event loop turning.
    const auto toplevels = WlrToplevels::follow(connection, ownAppId);
    int count = 0;
    toplevels->forEachOf("org.example.Many", [&](auto*, const auto&) { ++count; });
    EXPECT_EQ(count, 1000);
}

} // namespace
} // namespace ruvola::platform

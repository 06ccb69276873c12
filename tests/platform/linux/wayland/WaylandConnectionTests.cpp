#include "Ruvola/platform/linux/DesktopEntries.hpp"
#include "Ruvola/platform/linux/wayland/VirtualKeyboardInput.hpp"
#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"
#include "Ruvola/platform/linux/wayland/WlrWindows.hpp"
#include "tests/support/Compositor.hpp"

#include <gtest/gtest.h>

namespace ruvola::platform {
namespace {

using testing::Compositor;

TEST(WaylandConnection, LearnsTheGlobalsAndNoticesTheCompositorGoingAwayOnce) {
    setenv("WAYLAND_DISPLAY", "/nonexistent/wayland-9", 1);
    EXPECT_EQ(WaylandConnection::open(), nullptr);

    Compositor compositor;
    if (const std::string why = compositor.open(Compositor::Kind::sway); !why.empty()) {
        GTEST_SKIP() << why;
    }
    const auto connection = WaylandConnection::open();
    ASSERT_NE(connection, nullptr);
    EXPECT_TRUE(connection->offers("zwlr_foreign_toplevel_manager_v1"));
    EXPECT_TRUE(connection->offers("zwp_virtual_keyboard_manager_v1"));
    EXPECT_NE(connection->seat(), nullptr);

    int losses = 0;
    connection->onLost([&] { ++losses; });
    connection->serve();
    compositor.stopCompositor();
    EXPECT_TRUE(testing::waitUntil([&] { return losses > 0; }));
    EXPECT_TRUE(connection->lost());
    EXPECT_FALSE(connection->flush());
    EXPECT_FALSE(connection->roundtrip());
    EXPECT_EQ(losses, 1);
}

// weston offers neither the window list nor the virtual keyboard, and headless, no seat.
TEST(WaylandConnection, OnWestonNeitherBackendIsMadeAndTheConnectionStillWorks) {
    Compositor compositor;
    if (const std::string why = compositor.open(Compositor::Kind::weston); !why.empty()) {
        GTEST_SKIP() << why;
    }
    const std::shared_ptr<WaylandConnection> connection = WaylandConnection::open();
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(connection->seat(), nullptr);
    EXPECT_FALSE(connection->offers("zwlr_foreign_toplevel_manager_v1"));
    EXPECT_TRUE(connection->roundtrip());
    DesktopEntries entries;
    EXPECT_EQ(WlrWindows::make(connection, entries, "ruvola"), nullptr);
    EXPECT_EQ(VirtualKeyboardInput::make(connection), nullptr);
}

} // namespace
} // namespace ruvola::platform

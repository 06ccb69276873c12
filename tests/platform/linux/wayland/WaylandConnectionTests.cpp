#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"
#include "tests/support/Compositor.hpp"

#include <gtest/gtest.h>

namespace ruvola::platform {
namespace {

using testing::Compositor;

TEST(WaylandConnection, LearnsTheGlobalsAndNoticesTheCompositorGoingAwayOnce) {
    Compositor compositor;
    if (const std::string missing = Compositor::missing(Compositor::Kind::sway); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    if (!compositor.start(Compositor::Kind::sway)) {
        GTEST_SKIP() << "sway can't start here: " << compositor.why();
    }
    compositor.enter("sway");
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

TEST(WaylandConnection, CopesWithACompositorWithoutASeat) {
    Compositor compositor;
    if (const std::string missing = Compositor::missing(Compositor::Kind::weston);
        !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    if (!compositor.start(Compositor::Kind::weston)) {
        GTEST_SKIP() << "weston can't start here: " << compositor.why();
    }
    compositor.enter("weston");
    const auto connection = WaylandConnection::open();
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(connection->seat(), nullptr);
    EXPECT_FALSE(connection->offers("zwlr_foreign_toplevel_manager_v1"));
    EXPECT_TRUE(connection->roundtrip());
}

TEST(WaylandConnection, IsNullWithoutACompositor) {
    setenv("WAYLAND_DISPLAY", "/nonexistent/wayland-9", 1);
    EXPECT_EQ(WaylandConnection::open(), nullptr);
}

} // namespace
} // namespace ruvola::platform

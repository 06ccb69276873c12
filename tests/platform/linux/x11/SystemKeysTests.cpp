#include "Ruvola/platform/linux/x11/XTestSystemKeys.hpp"
#include "tests/support/XDesktop.hpp"

#include <gtest/gtest.h>

#include <X11/XF86keysym.h>
#include <tuple>

namespace ruvola {
namespace {

using testing::ReceivedKey;

TEST(XTestSystemKeys, PostsEachKeyToWhateverServerDisplayNamesNow) {
    if (const std::string missing = testing::XServer::missing(false); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    testing::XDesktop x;
    ASSERT_TRUE(x.start(false));
    platform::XTestSystemKeys keys;

    // A plain press after each fine one shows the modifiers were let go.
    constexpr unsigned int shiftAlt = ShiftMask | Mod1Mask;
    const std::vector<std::tuple<SystemKey, bool, ReceivedKey>> cases{
        {SystemKey::volumeup, true, {XF86XK_AudioRaiseVolume, shiftAlt}},
        {SystemKey::volumeup, false, {XF86XK_AudioRaiseVolume, 0}},
        {SystemKey::volumedown, false, {XF86XK_AudioLowerVolume, 0}},
        {SystemKey::brightnessup, false, {XF86XK_MonBrightnessUp, 0}},
        {SystemKey::brightnessdown, true, {XF86XK_MonBrightnessDown, shiftAlt}},
        {SystemKey::brightnessdown, false, {XF86XK_MonBrightnessDown, 0}},
        {SystemKey::mute, false, {XF86XK_AudioMute, 0}},
        {SystemKey::playpause, false, {XF86XK_AudioPlay, 0}},
        {SystemKey::next, false, {XF86XK_AudioNext, 0}},
        {SystemKey::previous, false, {XF86XK_AudioPrev, 0}},
    };
    for (const auto& [key, fine, expected] : cases) {
        keys.press(key, fine);
        EXPECT_EQ(x.presses(1), std::vector{expected}) << systemKeys::rawValue(key) << fine;
    }
    EXPECT_TRUE(x.allKeysUp());

    // Without a display nothing is posted, not even later.
    const std::string display = x.display();
    unsetenv("DISPLAY");
    keys.press(SystemKey::volumeup, false);
    keys.press(SystemKey::volumedown, true);
    setenv("DISPLAY", display.c_str(), 1);
    keys.press(SystemKey::next, false);
    EXPECT_EQ(x.presses(1), (std::vector<ReceivedKey>{{XF86XK_AudioNext, 0}}));

    // The new server usually takes the old one's display name: only the broken connection can
    // tell them apart.
    x.stop();
    ASSERT_TRUE(x.start(false));
    keys.press(SystemKey::previous, true);
    EXPECT_EQ(x.presses(1), (std::vector<ReceivedKey>{{XF86XK_AudioPrev, shiftAlt}}));
}

} // namespace
} // namespace ruvola

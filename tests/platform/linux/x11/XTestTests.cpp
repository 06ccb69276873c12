#include "Ruvola/platform/linux/x11/XTestSyntheticInput.hpp"
#include "Ruvola/platform/linux/x11/XTestSystemKeys.hpp"
#include "tests/support/XDesktop.hpp"

#include <QString>
#include <gtest/gtest.h>

#include <X11/XF86keysym.h>
#include <X11/keysym.h>
#include <future>
#include <string>
#include <tuple>
#include <vector>

namespace ruvola {
namespace {

using testing::ReceivedKey;

class XTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string missing = testing::XServer::missing(false); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
        ASSERT_TRUE(x_.start(false));
    }

    /// The characters of the next `count` presses.
    std::u32string typed(std::size_t count) {
        std::u32string characters;
        for (const ReceivedKey& press : x_.presses(count)) {
            const KeySym keysym = press.first;
            characters += keysym == XK_Return                   ? U'\n'
                          : (keysym & 0xFF000000) == 0x01000000 ? char32_t(keysym & 0xFFFFFF)
                          : keysym < 0x100                      ? char32_t(keysym)
                                                                : U'?';
        }
        return characters;
    }

    testing::XDesktop x_;
    platform::XTestSyntheticInput input_;
};

// Each case also shows the previous chord let go of its modifiers.
TEST_F(XTest, ChordsArriveWithExactlyTheirModifiers) {
    const std::vector<std::pair<Chord, ReceivedKey>> cases{
        {{21, modifierFlags::command | modifierFlags::shift}, {XK_dollar, Mod4Mask | ShiftMask}},
        {{96, 0}, {XK_F5, 0}},
        // Xvfb's keypad gives its digits only with Shift or Num Lock.
        {{83, modifierFlags::control}, {XK_KP_1, ControlMask}},
        {{36, modifierFlags::option}, {XK_Return, Mod1Mask}},
        {{0, 0}, {XK_a, 0}},
    };
    for (const auto& [chord, expected] : cases) {
        auto posted = std::async(std::launch::async, [&] { return input_.post(chord); });
        EXPECT_EQ(x_.presses(1), std::vector{expected}) << chord.keyCode;
        EXPECT_TRUE(posted.get()) << chord.keyCode;
    }
    EXPECT_TRUE(x_.allKeysUp());
}

TEST_F(XTest, TextArrivesIntactWhetherOrNotItsCharactersHaveKeys) {
    EXPECT_FALSE(input_.type("a\xC3(")); // not UTF-8: nothing is typed
    // More characters without keys than Xvfb has unused keycodes, so some are reused.
    const std::u32string expected = U"Héllo, Wörld! 🎵 αβγδεζηθικλμνξοπρστυφχψω\n";
    auto typing = std::async(std::launch::async, [&] {
        return input_.type("Héllo, Wörld! 🎵 αβγδεζηθικλμνξοπρστυφχψω\n");
    });
    EXPECT_EQ(typed(expected.size()), expected);
    EXPECT_TRUE(typing.get());

    // Calls from many threads take turns: each one's text arrives whole, its Shift its own.
    auto first = std::async(std::launch::async, [&] { return input_.type("ABC"); });
    auto second = std::async(std::launch::async, [&] { return input_.type("xyz"); });
    const std::u32string both = typed(6);
    EXPECT_TRUE(both == U"ABCxyz" || both == U"xyzABC")
        << QString::fromUcs4(both.data(), static_cast<qsizetype>(both.size())).toStdString();
    EXPECT_TRUE(first.get() && second.get());
}

TEST_F(XTest, SystemKeysGoToWhateverServerDisplayNamesNow) {
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
        EXPECT_EQ(x_.presses(1), std::vector{expected}) << systemKeys::rawValue(key) << fine;
    }
    EXPECT_TRUE(x_.allKeysUp());

    // Without a display nothing is posted, not even later.
    const std::string display = x_.display();
    unsetenv("DISPLAY");
    keys.press(SystemKey::volumeup, false);
    keys.press(SystemKey::volumedown, true);
    setenv("DISPLAY", display.c_str(), 1);
    keys.press(SystemKey::next, false);
    EXPECT_EQ(x_.presses(1), (std::vector<ReceivedKey>{{XF86XK_AudioNext, 0}}));

    // The new server usually takes the old one's display name: only the broken connection can
    // tell them apart.
    x_.stop();
    ASSERT_TRUE(x_.start(false));
    keys.press(SystemKey::previous, true);
    EXPECT_EQ(x_.presses(1), (std::vector<ReceivedKey>{{XF86XK_AudioPrev, shiftAlt}}));
}

} // namespace
} // namespace ruvola

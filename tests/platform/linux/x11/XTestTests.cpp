#include "Ruvola/platform/linux/x11/XTestSyntheticInput.hpp"
#include "Ruvola/platform/linux/x11/XTestSystemKeys.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/Servers.hpp"

#include <gtest/gtest.h> // before Xlib, whose macros clash with its names

#include <X11/XF86keysym.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <algorithm>
#include <future>
#include <poll.h>
#include <string>
#include <tuple>
#include <vector>

namespace ruvola {
namespace {

/// A key press as the window got it: its keysym and the modifiers that matter to shortcuts.
using ReceivedKey = std::pair<KeySym, unsigned int>;

/// A private Xvfb without a window manager, and the test's own connection with a focused window
/// that records the keys it gets.
class XTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string missing = testing::XServer::missing(false); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
        ASSERT_TRUE(start());
    }

    void TearDown() override { stop(); }

    bool start() {
        if (!server_.start(false) ||
            (display_ = XOpenDisplay(server_.display().c_str())) == nullptr) {
            return false;
        }
        const Window window =
            XCreateSimpleWindow(display_, DefaultRootWindow(display_), 0, 0, 200, 100, 0, 0, 0);
        XSelectInput(display_, window, KeyPressMask);
        XMapWindow(display_, window);
        XSync(display_, False);
        XSetInputFocus(display_, window, RevertToParent, CurrentTime);
        // Xlib loads its keymap on first use; loaded later, it misses the changes queued before.
        XKeysymToKeycode(display_, XK_a);
        XSync(display_, False);
        return true;
    }

    void stop() {
        if (display_ != nullptr) {
            XCloseDisplay(display_); // before its server goes, which Xlib would not survive
            display_ = nullptr;
        }
        server_.stop();
    }

    /// The next `count` presses of keys other than modifiers, fewer when they don't come soon.
    /// Read while input is being sent, as borrowed keycodes are readable only until given back.
    std::vector<ReceivedKey> presses(std::size_t count) {
        std::vector<ReceivedKey> received;
        const QDeadlineTimer deadline(5000);
        while (received.size() < count && !deadline.hasExpired()) {
            while (received.size() < count && XPending(display_) > 0) {
                XEvent event;
                XNextEvent(display_, &event);
                if (event.type == MappingNotify) {
                    XRefreshKeyboardMapping(&event.xmapping);
                } else if (event.type == KeyPress) {
                    KeySym keysym = NoSymbol;
                    char text[16];
                    XLookupString(&event.xkey, text, sizeof text, &keysym, nullptr);
                    if (!IsModifierKey(keysym)) {
                        received.push_back({keysym, event.xkey.state & (ShiftMask | ControlMask |
                                                                        Mod1Mask | Mod4Mask)});
                    }
                }
            }
            pollfd readable{ConnectionNumber(display_), POLLIN, 0};
            poll(&readable, 1, 50);
        }
        return received;
    }

    /// The characters of the next `count` presses.
    std::u32string typed(std::size_t count) {
        std::u32string characters;
        for (const auto& [keysym, modifiers] : presses(count)) {
            characters += keysym == XK_Return                   ? U'\n'
                          : (keysym & 0xFF000000) == 0x01000000 ? char32_t(keysym & 0xFFFFFF)
                          : keysym < 0x100                      ? char32_t(keysym)
                                                                : U'?';
        }
        return characters;
    }

    /// Whether the server soon has every key up.
    bool allKeysUp() {
        return testing::waitUntil([&] {
            char keys[32];
            XQueryKeymap(display_, keys);
            return std::all_of(std::begin(keys), std::end(keys), [](char bits) { return !bits; });
        });
    }

    testing::XServer server_;
    Display* display_ = nullptr;
    platform::XTestSyntheticInput input_;
};

// Each case also shows the previous chord let go of its modifiers.
TEST_F(XTest, ChordsArriveWithExactlyTheirModifiers) {
    const std::vector<std::pair<Chord, ReceivedKey>> cases{
        {{21, modifierFlags::command | modifierFlags::shift}, {XK_dollar, Mod4Mask | ShiftMask}},
        // Xvfb's keypad gives its digits only with Shift or Num Lock.
        {{83, modifierFlags::control}, {XK_KP_1, ControlMask}},
        {{36, modifierFlags::option}, {XK_Return, Mod1Mask}},
        {{0, 0}, {XK_a, 0}},
    };
    for (const auto& [chord, expected] : cases) {
        auto posted = std::async(std::launch::async, [&] { return input_.post(chord); });
        EXPECT_EQ(presses(1), std::vector{expected}) << chord.keyCode;
        EXPECT_TRUE(posted.get()) << chord.keyCode;
    }
    EXPECT_TRUE(allKeysUp());
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
}

TEST_F(XTest, SystemKeysGoToWhateverServerDisplayNamesNow) {
    platform::XTestSystemKeys keys;

    // A plain press after each fine one shows the modifiers were let go.
    constexpr unsigned int shiftAlt = ShiftMask | Mod1Mask;
    const std::vector<std::tuple<SystemKey, bool, ReceivedKey>> cases{
        {SystemKey::volumeup, true, {XF86XK_AudioRaiseVolume, shiftAlt}},
        {SystemKey::volumeup, false, {XF86XK_AudioRaiseVolume, 0}},
        {SystemKey::brightnessup, false, {XF86XK_MonBrightnessUp, 0}},
        {SystemKey::mute, false, {XF86XK_AudioMute, 0}},
        {SystemKey::next, false, {XF86XK_AudioNext, 0}},
        {SystemKey::previous, false, {XF86XK_AudioPrev, 0}},
    };
    for (const auto& [key, fine, expected] : cases) {
        keys.press(key, fine);
        EXPECT_EQ(presses(1), std::vector{expected}) << systemKeys::rawValue(key) << fine;
    }
    EXPECT_TRUE(allKeysUp());

    // The new server usually takes the old one's display name: only the broken connection can
    // tell them apart.
    stop();
    ASSERT_TRUE(start());
    keys.press(SystemKey::previous, true);
    EXPECT_EQ(presses(1), (std::vector<ReceivedKey>{{XF86XK_AudioPrev, shiftAlt}}));
}

} // namespace
} // namespace ruvola

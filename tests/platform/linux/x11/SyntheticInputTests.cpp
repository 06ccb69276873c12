#include "Ruvola/platform/linux/x11/XTestSyntheticInput.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/Servers.hpp"

#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <poll.h>
#include <string>
#include <vector>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace ruvola {
namespace {

struct Press {
    KeySym keysym;
    unsigned int modifiers;
};

// A private Xvfb with one focused window, read the way an Xlib client reads its keys.
class FocusedWindow : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string missing = testing::XServer::missing(false); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
        ASSERT_TRUE(server_.start(false));
        ASSERT_TRUE(testing::waitUntil(
            [&] { return (display_ = XOpenDisplay(server_.display().c_str())) != nullptr; }, 10s));
        const Window window =
            XCreateSimpleWindow(display_, DefaultRootWindow(display_), 0, 0, 200, 100, 0, 0, 0);
        XSelectInput(display_, window, KeyPressMask);
        XMapWindow(display_, window);
        XSync(display_, False);
        XSetInputFocus(display_, window, RevertToParent, CurrentTime);
        // Xlib loads its keymap on first use; loaded later, it misses the changes queued before.
        XKeysymToKeycode(display_, XK_a);
        XSync(display_, False);
    }

    void TearDown() override {
        if (display_ != nullptr) {
            XCloseDisplay(display_);
        }
        server_.stop();
    }

    // The next `count` presses of non-modifier keys, reading while the input is being sent since
    // borrowed keycodes are only readable until they are given back.
    std::vector<Press> presses(std::size_t count) {
        std::vector<Press> received;
        const auto deadline = std::chrono::steady_clock::now() + 5s;
        while (received.size() < count) {
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
                        received.push_back({keysym, event.xkey.state & significant});
                    }
                }
            }
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (received.size() == count || left <= 0ms) {
                break;
            }
            pollfd readable{ConnectionNumber(display_), POLLIN, 0};
            poll(&readable, 1, static_cast<int>(left.count()));
        }
        return received;
    }

    static constexpr unsigned int significant = ShiftMask | ControlMask | Mod1Mask | Mod4Mask;
    testing::XServer server_;
    Display* display_ = nullptr;
    platform::XTestSyntheticInput input_;
};

// Each case also shows the previous chord let go of its modifiers.
TEST_F(FocusedWindow, ChordsArriveWithExactlyTheirModifiers) {
    const std::vector<std::tuple<Chord, KeySym, unsigned int>> cases{
        {{21, modifierFlags::command | modifierFlags::shift}, XK_dollar, Mod4Mask | ShiftMask},
        {{96, 0}, XK_F5, 0},
        // Xvfb's keypad gives its digits only with Shift or Num Lock.
        {{83, modifierFlags::control}, XK_KP_1, ControlMask},
        {{36, modifierFlags::option}, XK_Return, Mod1Mask},
        {{0, 0}, XK_a, 0},
    };
    for (const auto& [chord, keysym, modifiers] : cases) {
        auto posted = std::async(std::launch::async, [&] { return input_.post(chord); });
        const std::vector<Press> received = presses(1);
        EXPECT_TRUE(posted.get()) << chord.keyCode;
        ASSERT_EQ(received.size(), 1U) << chord.keyCode;
        EXPECT_EQ(received[0].keysym, keysym) << chord.keyCode;
        EXPECT_EQ(received[0].modifiers, modifiers) << chord.keyCode;
    }
}

TEST_F(FocusedWindow, TextArrivesIntactWhetherOrNotItsCharactersHaveKeys) {
    EXPECT_FALSE(input_.type("a\xC3(")); // not UTF-8: nothing is typed
    // More characters without keys than Xvfb has unused keycodes, so some are reused.
    const std::u32string expected = U"Héllo, Wörld! 🎵 αβγδεζηθικλμνξοπρστυφχψω\n";
    auto typed = std::async(std::launch::async, [&] {
        return input_.type("Héllo, Wörld! 🎵 αβγδεζηθικλμνξοπρστυφχψω\n");
    });
    std::u32string characters;
    for (const Press& press : presses(expected.size())) {
        const KeySym keysym = press.keysym;
        characters += keysym == XK_Return                   ? U'\n'
                      : (keysym & 0xFF000000) == 0x01000000 ? char32_t(keysym & 0xFFFFFF)
                      : keysym < 0x100                      ? char32_t(keysym)
                                                            : U'?';
    }
    EXPECT_TRUE(typed.get());
    EXPECT_EQ(characters, expected);
}

TEST(SyntheticInput, FailsWithoutADisplay) {
    unsetenv("DISPLAY");
    platform::XTestSyntheticInput input;
    EXPECT_FALSE(input.post({0, modifierFlags::command}));
    EXPECT_FALSE(input.type("a"));
}

} // namespace
} // namespace ruvola

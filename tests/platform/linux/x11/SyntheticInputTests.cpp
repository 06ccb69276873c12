#include "Ruvola/platform/linux/x11/XTestSyntheticInput.hpp"
#include "tests/support/XDesktop.hpp"

#include <QString>
#include <gtest/gtest.h>

#include <X11/keysym.h>
#include <future>
#include <string>
#include <vector>

namespace ruvola {
namespace {

class SyntheticInput : public ::testing::Test {
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
        for (const testing::ReceivedKey& press : x_.presses(count)) {
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
TEST_F(SyntheticInput, ChordsArriveWithExactlyTheirModifiers) {
    const std::vector<std::pair<Chord, testing::ReceivedKey>> cases{
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

TEST_F(SyntheticInput, TextArrivesIntactWhetherOrNotItsCharactersHaveKeys) {
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

} // namespace
} // namespace ruvola

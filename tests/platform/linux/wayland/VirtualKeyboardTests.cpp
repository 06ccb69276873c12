#include "Ruvola/platform/linux/wayland/SwayIpc.hpp"
#include "Ruvola/platform/linux/wayland/TextKeymap.hpp"
#include "Ruvola/platform/linux/wayland/VirtualKeyboardInput.hpp"
#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"
#include "tests/support/Compositor.hpp"

#include <gtest/gtest.h>

#include <future>
#include <set>
#include <string>
#include <vector>
#include <xkbcommon/xkbcommon.h>

namespace ruvola::platform {
namespace {

using namespace std::chrono_literals;
using testing::Compositor;
using KeySym = keySymbols::KeySym;

TEST(TextKeymap, CompilesWithEachKeysymOnItsOwnKeyAndTheModifiersSettingTheirMasks) {
    std::vector<KeySym> keysyms{0x61 /* a */, 0xE9 /* é */, 0x0101F3B5 /* 🎵 */, 0xFF0D, 0xFF09};
    for (KeySym next = 0x01000400; keysyms.size() < TextKeymap::capacity; ++next) {
        keysyms.push_back(next);
    }
    const TextKeymap keymap(keysyms);
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES);
    if (xkb_context_num_include_paths(context) == 0) {
        xkb_context_unref(context);
        GTEST_SKIP() << "no XKB data is installed (xkb-data) for the keymap's standard types";
    }
    xkb_keymap* compiled =
        xkb_keymap_new_from_string(context, keymap.text().c_str(), XKB_KEYMAP_FORMAT_TEXT_V1, {});
    ASSERT_NE(compiled, nullptr) << keymap.text();
    xkb_state* state = xkb_state_new(compiled);
    std::set<std::uint32_t> codes;
    for (const KeySym keysym : keysyms) {
        const auto evdev = keymap.evdev(keysym);
        ASSERT_TRUE(evdev.has_value()) << keysym;
        codes.insert(*evdev);
        EXPECT_EQ(xkb_state_key_get_one_sym(state, *evdev + 8), keysym);
    }
    EXPECT_EQ(codes.size(), keysyms.size());
    EXPECT_FALSE(keymap.holds(std::vector<KeySym>{0x61, 0x62}));
    for (const auto& modifier : keySymbols::modifiers()) {
        EXPECT_FALSE(codes.contains(modifier.evdev));
        xkb_state_update_key(state, modifier.evdev + 8u, XKB_KEY_DOWN);
        EXPECT_EQ(xkb_state_serialize_mods(state, XKB_STATE_MODS_DEPRESSED),
                  TextKeymap::modifierMask(modifier.flag));
        xkb_state_update_key(state, modifier.evdev + 8u, XKB_KEY_UP);
    }
    xkb_state_unref(state);
    xkb_keymap_unref(compiled);
    xkb_context_unref(context);
}

// Past 243 distinct keysyms, each run holds a full keymap: 10,000 / 243 rounded up.
TEST(TextKeymap, CutsTextIntoAsFewRunsAsKeymapsCanHold) {
    for (const auto& [distinct, runCount] :
         {std::pair{50u, 1u}, {243u, 1u}, {244u, 42u}, {600u, 42u}}) {
        std::vector<KeySym> keysyms;
        for (KeySym index = 0; index < 10000; ++index) {
            keysyms.push_back(0x01000400 + (index * 7919) % distinct);
        }
        std::vector<KeySym> joined;
        for (const auto run : keymapRuns(keysyms)) {
            joined.insert(joined.end(), run.begin(), run.end());
            EXPECT_LE(distinctKeySyms(run).size(), TextKeymap::capacity);
        }
        EXPECT_EQ(joined, keysyms) << distinct;
        EXPECT_EQ(keymapRuns(keysyms).size(), runCount) << distinct;
    }
}

/// A test window on the compositor and the keys it reported, one "SEQUENCE TEXT" (native) or
/// "KEYSYMNAME STATE" (X) each, modifier keys left out.
struct TestWindow {
    QProcess* process = nullptr;
    QByteArray pending = {};
    std::vector<std::string> keys = {};

    bool waitForKeys(std::size_t count, std::chrono::milliseconds bound = std::chrono::seconds(5)) {
        return testing::waitUntil(
            [&] {
                pending += process->readAllStandardOutput();
                for (qsizetype end; (end = pending.indexOf('\n')) >= 0;
                     pending.remove(0, end + 1)) {
                    const std::string line = pending.left(end).toStdString();
                    if (line.starts_with("key ") && line.find("_L ") == std::string::npos) {
                        keys.push_back(line.substr(4));
                    }
                }
                return keys.size() >= count;
            },
            bound);
    }

    /// The text the native window's keys typed.
    std::string text() const {
        std::string typed;
        for (const std::string& key : keys) {
            typed += key.substr(key.find(' ') + 1);
        }
        return typed;
    }
};

class VirtualKeyboard : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string why = compositor_.open(Compositor::Kind::sway); !why.empty()) {
            GTEST_SKIP() << why;
        }
        connection_ = WaylandConnection::open();
        ASSERT_NE(connection_, nullptr);
        input_ = VirtualKeyboardInput::make(connection_);
        ASSERT_NE(input_, nullptr);
    }

    /// A new window, which sway focuses: a native one, or an X one on XWayland; keys go where
    /// the focus is, and shown comes before focused.
    bool open(bool native, TestWindow& window) {
        window.process = compositor_.window(
            native ? RUVOLA_WAYLAND_TEST_WINDOW : RUVOLA_TEST_WINDOW, {}, !native);
        const auto focused = QString("[pid=%1 con_id=__focused__] nop")
                                 .arg(window.process ? window.process->processId() : 0)
                                 .toStdString();
        if (window.process == nullptr ||
            !testing::waitUntil([&] { return SwayIpc::fromEnvironment()->run(focused); })) {
            return false;
        }
        // XWayland hands an X window the keyboard a moment after sway focuses it: keys sent
        // earlier go nowhere. A probe key, sent until one arrives, says when it has it.
        for (std::size_t probe = 0; probe < 40; ++probe) {
            if (input_->post(Chord{0, 0}) && window.waitForKeys(1, 250ms)) {
                window.waitForKeys(probe + 1, 250ms); // a late one from an earlier probe
                window.keys.clear();
                return true;
            }
        }
        return false;
    }

    static constexpr Chord controlShiftT{17, modifierFlags::control | modifierFlags::shift};
    Compositor compositor_;
    std::shared_ptr<WaylandConnection> connection_;
    std::unique_ptr<VirtualKeyboardInput> input_;
};

// Each call needs another keymap than the one before, which X clients read late.
TEST_F(VirtualKeyboard, ChordsAndTextArriveIntactInNativeAndXWaylandWindows) {
    for (const bool native : {true, false}) {
        TestWindow window;
        ASSERT_TRUE(open(native, window)) << "the window did not show and take the focus";
        EXPECT_TRUE(input_->post(controlShiftT));
        EXPECT_TRUE(input_->type(""));
        EXPECT_FALSE(input_->type("ab\xff"
                                  "cd")); // sends nothing, not even "ab"
        EXPECT_TRUE(input_->type("héllo 🎵"));
        EXPECT_TRUE(input_->type("ÀÉ"));
        EXPECT_TRUE(input_->post(controlShiftT));
        ASSERT_TRUE(window.waitForKeys(11)) << native << ::testing::PrintToString(window.keys);
        if (native) {
            for (const std::string& chord : {window.keys.front(), window.keys.back()}) {
                EXPECT_TRUE(chord.starts_with("Ctrl+Shift+T ")) << chord;
            }
            window.keys = {window.keys.begin() + 1, window.keys.end() - 1};
            EXPECT_EQ(window.text(), "héllo 🎵ÀÉ");
        } else { // Shift 1 + Control 4
            EXPECT_EQ(window.keys, (std::vector<std::string>{"t 5", "h 0", "eacute 0", "l 0", "l 0",
                                                             "o 0", "space 0", "U0001F3B5 0",
                                                             "Agrave 0", "Eacute 0", "t 5"}));
        }
    }
    // Once the compositor is gone, calls fail and say the connection is lost, without crashing.
    compositor_.stopCompositor();
    EXPECT_FALSE(input_->post(controlShiftT));
    EXPECT_FALSE(input_->type("gone"));
    EXPECT_TRUE(connection_->lost());
}

TEST_F(VirtualKeyboard, ALongTextArrivesCompleteAndInOrderWhileAChordWaitsItsTurn) {
    TestWindow window;
    ASSERT_TRUE(open(true, window)) << "the window did not show and take the focus";
    // 10,000 characters, 336 of them different: more than one keymap holds.
    QString characters;
    for (char16_t index = 0; index < 10000; ++index) {
        characters +=
            index >= 5000 && index < 5300
                ? QChar(0x4E00 + index)
                : QLatin1Char("abcdefghijklmnopqrstuvwxyz0123456789"[(index * 7919) % 36]);
    }
    const std::string text = characters.toStdString();
    auto typed = std::async(std::launch::async, [&] { return input_->type(text); });
    auto posted = std::async(std::launch::async, [&] {
        return input_->post({17, modifierFlags::control});
    });
    EXPECT_TRUE(window.waitForKeys(10001, 60s)) << window.keys.size();
    EXPECT_TRUE(typed.get());
    EXPECT_TRUE(posted.get());
    // The chord comes wholly before or after the text, never inside it.
    const auto chord = [](const std::string& key) { return key.starts_with("Ctrl+T "); };
    ASSERT_FALSE(window.keys.empty());
    ASSERT_TRUE(chord(window.keys.front()) || chord(window.keys.back()))
        << std::count_if(window.keys.begin(), window.keys.end(), chord) << " chord(s) among "
        << window.keys.size() << " keys, first " << window.keys.front();
    std::erase_if(window.keys, chord);
    EXPECT_EQ(window.text(), text);
}

} // namespace
} // namespace ruvola::platform

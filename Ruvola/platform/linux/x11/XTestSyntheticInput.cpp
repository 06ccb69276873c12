#include "Ruvola/platform/linux/x11/XTestSyntheticInput.hpp"

#include "Ruvola/platform/linux/KeySymbols.hpp"
#include "Ruvola/platform/linux/x11/X11Display.hpp"

#include <QList>
#include <QString>
#include <QStringDecoder>

#include <X11/keysym.h>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace ruvola::platform {
namespace {

using KeySym = xcb_keysym_t;
using KeyCode = xcb_keycode_t;
constexpr KeySym NoSymbol = XCB_NO_SYMBOL;

using namespace std::chrono_literals;

constexpr auto keyHold = 12ms;
constexpr std::size_t chunkUnits = 16; // UTF-16 units typed between pauses
constexpr auto chunkPause = 1200us;
// Clients fetch a changed keymap lazily; undoing it sooner makes them read the wrong character.
constexpr auto mappingSettle = 150ms;

// A server that goes away in the middle of typing (the session ending) ends only the typing.
std::unique_ptr<X11Connection> openDisplay() {
    auto x = X11Display::open();
    return x && x->offers(xcb_test_id) ? std::move(x) : nullptr;
}

// Calls borrow the same unused keycodes, so they take turns; their keys would interleave anyway.
std::mutex& keyboardTurn() {
    static std::mutex mutex;
    return mutex;
}

void fakeKey(const X11Connection& x, KeyCode code, bool down) {
    xcb_test_fake_input(x.get(), down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, code, XCB_CURRENT_TIME,
                        XCB_NONE, 0, 0, 0);
}

// One call's view of the keyboard mapping and of the unused keycodes it borrows.
class Keyboard {
public:
    struct Key {
        KeyCode code;
        bool shifted;
    };

    explicit Keyboard(const X11Connection& x) : x_(x) {
        const xcb_setup_t* setup = xcb_get_setup(x.get());
        first_ = setup->min_keycode;
        last_ = setup->max_keycode;
        const int count = last_ - first_ + 1;
        xcb_get_keyboard_mapping_reply_t* map = xcb_get_keyboard_mapping_reply(
            x.get(),
            xcb_get_keyboard_mapping(x.get(), static_cast<KeyCode>(first_),
                                     static_cast<std::uint8_t>(count)),
            nullptr);
        if (map == nullptr) {
            return;
        }
        const KeySym* keysyms = xcb_get_keyboard_mapping_keysyms(map);
        const int length = xcb_get_keyboard_mapping_keysyms_length(map);
        if (map->keysyms_per_keycode > 0 && length == count * map->keysyms_per_keycode) {
            width_ = map->keysyms_per_keycode;
            keysyms_.assign(keysyms, keysyms + length);
        }
        std::free(map);
        if (width_ == 0) {
            return;
        }
        for (int code = last_; code >= first_; --code) {
            const auto row = keysyms_.begin() + (code - first_) * width_;
            if (std::all_of(row, row + width_, [](KeySym keysym) { return keysym == NoSymbol; })) {
                spares_.push_back(static_cast<KeyCode>(code));
            }
        }
    }
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;
    ~Keyboard() { restore(); }

    /// The key giving `keysym` unmodified, or with Shift when `shiftAllowed`.
    std::optional<Key> find(KeySym keysym, bool shiftAllowed) const {
        const int levels = std::min(width_, shiftAllowed ? 2 : 1);
        for (int level = 0; level < levels; ++level) {
            for (int code = first_; code <= last_; ++code) {
                if (keysyms_[static_cast<std::size_t>((code - first_) * width_ + level)] ==
                    keysym) {
                    return Key{static_cast<KeyCode>(code), level == 1};
                }
            }
        }
        return std::nullopt;
    }

    /// A spare keycode now giving `keysym` at every level, or 0 when there is none.
    KeyCode borrow(KeySym keysym) {
        if (const auto bound = bound_.find(keysym); bound != bound_.end()) {
            return bound->second;
        }
        if (spares_.empty()) {
            return 0;
        }
        if (next_ == spares_.size()) {
            settle(); // every spare is taken; reuse them once clients have read them
            bound_.clear();
            next_ = 0;
        }
        const KeyCode code = spares_[next_++];
        used_ = std::max(used_, next_);
        KeySym keysyms[] = {keysym, keysym};
        xcb_change_keyboard_mapping(x_.get(), 1, code, 2, keysyms);
        x_.sync();
        bound_[keysym] = code;
        return code;
    }

    /// Gives the borrowed keycodes back, once clients have had time to read them.
    void restore() {
        if (used_ == 0) {
            return;
        }
        settle();
        KeySym none[] = {NoSymbol, NoSymbol};
        for (std::size_t index = 0; index < used_; ++index) {
            xcb_change_keyboard_mapping(x_.get(), 1, spares_[index], 2, none);
        }
        x_.sync();
        used_ = next_ = 0;
        bound_.clear();
    }

private:
    void settle() {
        x_.sync();
        std::this_thread::sleep_for(mappingSettle);
    }

    const X11Connection& x_;
    int first_ = 0, last_ = -1, width_ = 0;
    std::vector<KeySym> keysyms_;
    std::vector<KeyCode> spares_;
    std::unordered_map<KeySym, KeyCode> bound_;
    std::size_t next_ = 0, used_ = 0;
};

} // namespace

bool XTestSyntheticInput::post(const Chord& chord) {
    const KeySym keysym = keySymbols::forKeyCode(chord.keyCode);
    const auto display = keysym == NoSymbol ? nullptr : openDisplay();
    if (!display) {
        return false;
    }
    const std::scoped_lock turn(keyboardTurn());
    Keyboard keyboard(*display);
    std::vector<KeyCode> modifiers;
    for (const auto& modifier : keySymbols::modifiers()) {
        if ((chord.modifiers & modifier.flag) != 0) {
            const auto key = keyboard.find(modifier.keysym, false);
            if (!key) {
                return false;
            }
            modifiers.push_back(key->code);
        }
    }
    // A key reached only through Shift (a keypad digit) is borrowed so the chord's own modifiers
    // stay exactly as asked.
    const auto key = keyboard.find(keysym, false);
    const KeyCode code = key ? key->code : keyboard.borrow(keysym);
    if (code == 0) {
        return false;
    }
    for (const KeyCode modifier : modifiers) {
        fakeKey(*display, modifier, true);
    }
    fakeKey(*display, code, true);
    display->sync();
    std::this_thread::sleep_for(keyHold);
    fakeKey(*display, code, false);
    for (auto modifier = modifiers.rbegin(); modifier != modifiers.rend(); ++modifier) {
        fakeKey(*display, *modifier, false);
    }
    display->sync();
    return true;
}

bool XTestSyntheticInput::type(const std::string& utf8) {
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(QByteArrayView(utf8));
    const auto display = decoder.hasError() ? nullptr : openDisplay();
    if (!display) {
        return false;
    }
    const std::scoped_lock turn(keyboardTurn());
    Keyboard keyboard(*display);
    const auto shift = keyboard.find(XK_Shift_L, false);
    std::size_t units = 0;
    for (const char32_t character : text.toUcs4()) {
        const KeySym keysym = keySymbols::forCharacter(character);
        if (keysym == NoSymbol) {
            continue;
        }
        const std::size_t width = character > 0xFFFF ? 2 : 1;
        if (units > 0 && units + width > chunkUnits) {
            display->sync();
            std::this_thread::sleep_for(chunkPause);
            units = 0;
        }
        units += width;
        const auto key = keyboard.find(keysym, shift.has_value());
        const KeyCode code = key ? key->code : keyboard.borrow(keysym);
        if (code == 0) {
            return false; // no spare keycode to type it with
        }
        const bool shifted = key && key->shifted;
        if (shifted) {
            fakeKey(*display, shift->code, true);
        }
        fakeKey(*display, code, true);
        fakeKey(*display, code, false);
        if (shifted) {
            fakeKey(*display, shift->code, false);
        }
    }
    display->sync();
    return true;
}

bool XTestSyntheticInput::available() {
    const char* display = std::getenv("DISPLAY");
    const std::string displayName = display != nullptr ? display : "";
    const std::scoped_lock lock(mutex_);
    if (!displayName.empty() && displayName == xtestDisplay_) {
        return true;
    }
    if (!openDisplay()) {
        return false;
    }
    xtestDisplay_ = displayName;
    return true;
}

} // namespace ruvola::platform

#include "Ruvola/platform/linux/x11/XTestSystemKeys.hpp"

#include <X11/XF86keysym.h>
#include <X11/keysym.h>
#include <cstdlib>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

// Nothing here waits on the server except connecting and reading the keymap, which happen again
// only after the connection broke or the keymap changed.

namespace ruvola::platform {

namespace {

xcb_keysym_t keysymFor(SystemKey key) {
    switch (key) {
    case SystemKey::volumeup:
        return XF86XK_AudioRaiseVolume;
    case SystemKey::volumedown:
        return XF86XK_AudioLowerVolume;
    case SystemKey::brightnessup:
        return XF86XK_MonBrightnessUp;
    case SystemKey::brightnessdown:
        return XF86XK_MonBrightnessDown;
    case SystemKey::mute:
        return XF86XK_AudioMute;
    case SystemKey::playpause:
        return XF86XK_AudioPlay;
    case SystemKey::next:
        return XF86XK_AudioNext;
    case SystemKey::previous:
        return XF86XK_AudioPrev;
    }
    return XCB_NO_SYMBOL;
}

// Held around the key, pressed in this order and released in reverse.
constexpr xcb_keysym_t fineKeysyms[] = {XK_Shift_L, XK_Alt_L};

} // namespace

// The only events that matter are keymap changes, which every client gets.
XTestSystemKeys::XTestSystemKeys()
    : display_([this](const xcb_generic_event_t& event) {
          if ((event.response_type & 0x7F) == XCB_MAPPING_NOTIFY) {
              keymapStale_ = true;
          }
      }) {}

// A server without XTest keeps its connection, so that it isn't asked again at every press.
const X11Connection* XTestSystemKeys::ready() {
    const X11Connection* x = display_.connection();
    if (x != nullptr && x->serial() != serial_) {
        serial_ = x->serial();
        keymapStale_ = true;
        xtest_ = x->offers(xcb_test_id);
    }
    return x != nullptr && xtest_ ? x : nullptr;
}

bool XTestSystemKeys::available() {
    return ready() != nullptr;
}

void XTestSystemKeys::press(SystemKey key, bool fine) {
    const X11Connection* x = ready();
    if (x == nullptr) {
        return;
    }
    if (keymapStale_) {
        readKeymap(*x);
    }
    const auto code = keycodeFor(keysymFor(key), fine);
    std::vector<xcb_keycode_t> modifiers;
    for (const xcb_keysym_t modifier : fineKeysyms) {
        if (const auto modifierCode = keycodeFor(modifier, false); fine && modifierCode) {
            modifiers.push_back(*modifierCode);
        }
    }
    // Without its modifiers a fine step would be a full one, so nothing is better.
    if (!code || (fine && modifiers.size() != std::size(fineKeysyms))) {
        return;
    }
    const auto fake = [x](std::uint8_t type, xcb_keycode_t keycode) {
        xcb_test_fake_input(x->get(), type, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    };
    for (const xcb_keycode_t modifier : modifiers) {
        fake(XCB_KEY_PRESS, modifier);
    }
    fake(XCB_KEY_PRESS, *code);
    fake(XCB_KEY_RELEASE, *code);
    for (auto modifier = modifiers.rbegin(); modifier != modifiers.rend(); ++modifier) {
        fake(XCB_KEY_RELEASE, *modifier);
    }
    xcb_flush(x->get());
}

void XTestSystemKeys::readKeymap(const X11Connection& x) {
    keysyms_.clear();
    const xcb_setup_t* setup = xcb_get_setup(x.get());
    firstKeycode_ = setup->min_keycode;
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    xcb_get_keyboard_mapping_reply_t* reply = xcb_get_keyboard_mapping_reply(
        x.get(), xcb_get_keyboard_mapping(x.get(), firstKeycode_, count), nullptr);
    if (reply == nullptr) {
        return; // the connection broke; the next press makes a new one
    }
    const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(reply);
    keysyms_.assign(keysyms, keysyms + xcb_get_keyboard_mapping_keysyms_length(reply));
    width_ = reply->keysyms_per_keycode;
    std::free(reply);
    keymapStale_ = false;
}

// The first keycode giving `keysym` unmodified. Under Shift, one whose shifted level gives
// the same keysym is preferred: the play key's shifted level is often pause.
std::optional<std::uint8_t> XTestSystemKeys::keycodeFor(std::uint32_t keysym, bool shifted) const {
    std::optional<xcb_keycode_t> found;
    for (std::size_t row = 0; width_ > 0 && row + width_ <= keysyms_.size(); row += width_) {
        if (keysyms_[row] != keysym) {
            continue;
        }
        const auto code = static_cast<xcb_keycode_t>(firstKeycode_ + row / width_);
        const xcb_keysym_t shiftedKeysym = width_ > 1 ? keysyms_[row + 1] : XCB_NO_SYMBOL;
        if (!shifted || shiftedKeysym == XCB_NO_SYMBOL || shiftedKeysym == keysym) {
            return code;
        }
        found = found.value_or(code);
    }
    return found;
}

} // namespace ruvola::platform

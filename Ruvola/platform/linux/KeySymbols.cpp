#include "Ruvola/platform/linux/KeySymbols.hpp"

#include "RuvolaCore/KeySpec.hpp"

#include <algorithm>
#include <array>
#include <linux/input-event-codes.h>
#include <xkbcommon/xkbcommon-keysyms.h>

namespace ruvola::platform::keySymbols {

namespace {

constexpr std::array modifierTable{
    Modifier{modifierFlags::control, XKB_KEY_Control_L, KEY_LEFTCTRL},
    Modifier{modifierFlags::option, XKB_KEY_Alt_L, KEY_LEFTALT},
    Modifier{modifierFlags::shift, XKB_KEY_Shift_L, KEY_LEFTSHIFT},
    Modifier{modifierFlags::command, XKB_KEY_Super_L, KEY_LEFTMETA},
};

// clang-format off
constexpr std::array keyTable{
    Key{0, XKB_KEY_a, KEY_A}, Key{1, XKB_KEY_s, KEY_S}, Key{2, XKB_KEY_d, KEY_D},
    Key{3, XKB_KEY_f, KEY_F}, Key{4, XKB_KEY_h, KEY_H}, Key{5, XKB_KEY_g, KEY_G},
    Key{6, XKB_KEY_z, KEY_Z}, Key{7, XKB_KEY_x, KEY_X}, Key{8, XKB_KEY_c, KEY_C},
    Key{9, XKB_KEY_v, KEY_V}, Key{11, XKB_KEY_b, KEY_B}, Key{12, XKB_KEY_q, KEY_Q},
    Key{13, XKB_KEY_w, KEY_W}, Key{14, XKB_KEY_e, KEY_E}, Key{15, XKB_KEY_r, KEY_R},
    Key{16, XKB_KEY_y, KEY_Y}, Key{17, XKB_KEY_t, KEY_T}, Key{31, XKB_KEY_o, KEY_O},
    Key{32, XKB_KEY_u, KEY_U}, Key{34, XKB_KEY_i, KEY_I}, Key{35, XKB_KEY_p, KEY_P},
    Key{37, XKB_KEY_l, KEY_L}, Key{38, XKB_KEY_j, KEY_J}, Key{40, XKB_KEY_k, KEY_K},
    Key{45, XKB_KEY_n, KEY_N}, Key{46, XKB_KEY_m, KEY_M},
    Key{18, XKB_KEY_1, KEY_1}, Key{19, XKB_KEY_2, KEY_2}, Key{20, XKB_KEY_3, KEY_3},
    Key{21, XKB_KEY_4, KEY_4}, Key{22, XKB_KEY_6, KEY_6}, Key{23, XKB_KEY_5, KEY_5},
    Key{25, XKB_KEY_9, KEY_9}, Key{26, XKB_KEY_7, KEY_7}, Key{28, XKB_KEY_8, KEY_8},
    Key{29, XKB_KEY_0, KEY_0},
    Key{24, XKB_KEY_equal, KEY_EQUAL}, Key{27, XKB_KEY_minus, KEY_MINUS},
    Key{30, XKB_KEY_bracketright, KEY_RIGHTBRACE}, Key{33, XKB_KEY_bracketleft, KEY_LEFTBRACE},
    Key{39, XKB_KEY_apostrophe, KEY_APOSTROPHE}, Key{41, XKB_KEY_semicolon, KEY_SEMICOLON},
    Key{42, XKB_KEY_backslash, KEY_BACKSLASH}, Key{43, XKB_KEY_comma, KEY_COMMA},
    Key{44, XKB_KEY_slash, KEY_SLASH}, Key{47, XKB_KEY_period, KEY_DOT},
    Key{50, XKB_KEY_grave, KEY_GRAVE},
    Key{36, XKB_KEY_Return, KEY_ENTER}, Key{48, XKB_KEY_Tab, KEY_TAB},
    Key{49, XKB_KEY_space, KEY_SPACE}, Key{51, XKB_KEY_BackSpace, KEY_BACKSPACE},
    Key{53, XKB_KEY_Escape, KEY_ESC}, Key{117, XKB_KEY_Delete, KEY_DELETE},
    Key{114, XKB_KEY_Help, KEY_HELP},
    Key{115, XKB_KEY_Home, KEY_HOME}, Key{119, XKB_KEY_End, KEY_END},
    Key{116, XKB_KEY_Prior, KEY_PAGEUP}, Key{121, XKB_KEY_Next, KEY_PAGEDOWN},
    Key{123, XKB_KEY_Left, KEY_LEFT}, Key{124, XKB_KEY_Right, KEY_RIGHT},
    Key{125, XKB_KEY_Down, KEY_DOWN}, Key{126, XKB_KEY_Up, KEY_UP},
    Key{122, XKB_KEY_F1, KEY_F1}, Key{120, XKB_KEY_F2, KEY_F2}, Key{99, XKB_KEY_F3, KEY_F3},
    Key{118, XKB_KEY_F4, KEY_F4}, Key{96, XKB_KEY_F5, KEY_F5}, Key{97, XKB_KEY_F6, KEY_F6},
    Key{98, XKB_KEY_F7, KEY_F7}, Key{100, XKB_KEY_F8, KEY_F8}, Key{101, XKB_KEY_F9, KEY_F9},
    Key{109, XKB_KEY_F10, KEY_F10}, Key{103, XKB_KEY_F11, KEY_F11},
    Key{111, XKB_KEY_F12, KEY_F12}, Key{105, XKB_KEY_F13, KEY_F13},
    Key{107, XKB_KEY_F14, KEY_F14}, Key{113, XKB_KEY_F15, KEY_F15},
    Key{106, XKB_KEY_F16, KEY_F16}, Key{64, XKB_KEY_F17, KEY_F17},
    Key{79, XKB_KEY_F18, KEY_F18}, Key{80, XKB_KEY_F19, KEY_F19},
    Key{90, XKB_KEY_F20, KEY_F20},
    Key{82, XKB_KEY_KP_0, KEY_KP0}, Key{83, XKB_KEY_KP_1, KEY_KP1},
    Key{84, XKB_KEY_KP_2, KEY_KP2}, Key{85, XKB_KEY_KP_3, KEY_KP3},
    Key{86, XKB_KEY_KP_4, KEY_KP4}, Key{87, XKB_KEY_KP_5, KEY_KP5},
    Key{88, XKB_KEY_KP_6, KEY_KP6}, Key{89, XKB_KEY_KP_7, KEY_KP7},
    Key{91, XKB_KEY_KP_8, KEY_KP8}, Key{92, XKB_KEY_KP_9, KEY_KP9},
    Key{65, XKB_KEY_KP_Decimal, KEY_KPDOT}, Key{67, XKB_KEY_KP_Multiply, KEY_KPASTERISK},
    Key{69, XKB_KEY_KP_Add, KEY_KPPLUS}, Key{71, XKB_KEY_Clear, KEY_CLEAR},
    Key{75, XKB_KEY_KP_Divide, KEY_KPSLASH}, Key{76, XKB_KEY_KP_Enter, KEY_KPENTER},
    Key{78, XKB_KEY_KP_Subtract, KEY_KPMINUS}, Key{81, XKB_KEY_KP_Equal, KEY_KPEQUAL},
};
// clang-format on

const Key* find(std::uint16_t keyCode) {
    const auto found = std::find_if(keyTable.begin(), keyTable.end(),
                                    [keyCode](const Key& key) { return key.keyCode == keyCode; });
    return found == keyTable.end() ? nullptr : &*found;
}

} // namespace

std::span<const Modifier> modifiers() {
    return modifierTable;
}

std::span<const Key> keys() {
    return keyTable;
}

KeySym forKeyCode(std::uint16_t keyCode) {
    const Key* key = find(keyCode);
    return key != nullptr ? key->keysym : none;
}

std::uint16_t evdevForKeyCode(std::uint16_t keyCode) {
    const Key* key = find(keyCode);
    return key != nullptr ? key->evdev : 0;
}

KeySym forCharacter(char32_t character) {
    if (character == U'\n') {
        return XKB_KEY_Return;
    }
    if (character == U'\t') {
        return XKB_KEY_Tab;
    }
    if (character < 0x20 || (character >= 0x7F && character < 0xA0) ||
        (character >= 0xD800 && character < 0xE000) || character > 0x10FFFF) {
        return none; // other control characters have no key; the rest are no characters
    }
    // Latin-1 keysyms equal their code points; X and XKB define one for every other code point.
    return character < 0x100 ? character : 0x01000000 | character;
}

} // namespace ruvola::platform::keySymbols

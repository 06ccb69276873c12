#include "Ruvola/platform/linux/wayland/TextKeymap.hpp"

#include "RuvolaCore/KeySpec.hpp"

#include <algorithm>
#include <iterator>
#include <unordered_set>
#include <xkbcommon/xkbcommon.h>

namespace ruvola::platform {

namespace {

// XKB keycodes are Linux input event codes plus 8.
constexpr std::uint32_t evdevOffset = 8;
constexpr std::uint32_t firstKeycode = 9;
constexpr std::uint32_t lastKeycode = 255;

// The XKB modifier each modifier key sets, with its bit: the real modifiers' bits are fixed
// (Shift, Lock, Control, Mod1 … Mod5).
struct XkbModifier {
    std::uint32_t flag;
    const char* name;
    std::uint32_t mask;
};

constexpr XkbModifier xkbModifiers[] = {{modifierFlags::shift, "Shift", 1u << 0},
                                        {modifierFlags::control, "Control", 1u << 2},
                                        {modifierFlags::option, "Mod1", 1u << 3},
                                        {modifierFlags::command, "Mod4", 1u << 6}};

const XkbModifier& xkbModifier(std::uint32_t flag) {
    return *std::find_if(std::begin(xkbModifiers), std::end(xkbModifiers),
                         [flag](const XkbModifier& modifier) { return modifier.flag == flag; });
}

bool isModifierKeycode(std::uint32_t keycode) {
    const auto modifiers = keySymbols::modifiers();
    return std::any_of(modifiers.begin(), modifiers.end(), [keycode](const auto& modifier) {
        return modifier.evdev + evdevOffset == keycode;
    });
}

std::string keysymName(keySymbols::KeySym keysym) {
    char name[64];
    const int length = xkb_keysym_get_name(keysym, name, sizeof name);
    return length > 0 ? std::string(name) : std::string();
}

} // namespace

std::uint32_t TextKeymap::modifierMask(std::uint32_t flags) {
    std::uint32_t mask = 0;
    for (const XkbModifier& modifier : xkbModifiers) {
        mask |= (flags & modifier.flag) != 0 ? modifier.mask : 0;
    }
    return mask;
}

TextKeymap::TextKeymap(std::span<const KeySym> keysyms) {
    std::string keycodes = "xkb_keycodes \"ruvola\" {\n  minimum = 8;\n  maximum = 255;\n";
    std::string symbols = "xkb_symbols \"ruvola\" {\n";
    const auto addKey = [&](std::uint32_t keycode, const std::string& keysym) {
        const std::string name = "<I" + std::to_string(keycode) + ">";
        keycodes += "  " + name + " = " + std::to_string(keycode) + ";\n";
        symbols += "  key " + name + " { [ " + keysym + " ] };\n";
        return name;
    };
    for (const auto& modifier : keySymbols::modifiers()) {
        const std::string name = addKey(modifier.evdev + evdevOffset, keysymName(modifier.keysym));
        symbols += "  modifier_map " + std::string(xkbModifier(modifier.flag).name) + " { " + name +
                   " };\n";
    }
    std::vector<std::pair<KeySym, std::uint32_t>> keys;
    std::uint32_t keycode = firstKeycode;
    for (const KeySym keysym : keysyms) {
        while (isModifierKeycode(keycode)) {
            ++keycode;
        }
        if (keycode > lastKeycode) {
            break;
        }
        addKey(keycode, keysymName(keysym));
        keys.emplace_back(keysym, keycode - evdevOffset);
        ++keycode;
    }
    std::sort(keys.begin(), keys.end());
    for (const auto& [keysym, evdev] : keys) {
        keysyms_.push_back(keysym);
        evdevs_.push_back(evdev);
    }
    // The standard types and interpretations (modifier keys set their modifiers), which every
    // XKB installation has: XWayland's X server refuses a keymap with fewer.
    text_ = "xkb_keymap {\n" + keycodes +
            "};\n"
            "xkb_types \"ruvola\" { include \"complete\" };\n"
            "xkb_compatibility \"ruvola\" { include \"complete\" };\n" +
            symbols + "};\n};\n";
}

std::optional<std::uint32_t> TextKeymap::evdev(KeySym keysym) const {
    const auto found = std::lower_bound(keysyms_.begin(), keysyms_.end(), keysym);
    if (found == keysyms_.end() || *found != keysym) {
        return std::nullopt;
    }
    return evdevs_[static_cast<std::size_t>(found - keysyms_.begin())];
}

bool TextKeymap::holds(std::span<const KeySym> keysyms) const {
    return std::all_of(keysyms.begin(), keysyms.end(),
                       [this](KeySym keysym) { return evdev(keysym).has_value(); });
}

std::vector<std::span<const keySymbols::KeySym>>
keymapRuns(std::span<const keySymbols::KeySym> keysyms) {
    std::vector<std::span<const keySymbols::KeySym>> runs;
    std::unordered_set<keySymbols::KeySym> distinct;
    std::size_t start = 0;
    for (std::size_t index = 0; index < keysyms.size(); ++index) {
        if (distinct.insert(keysyms[index]).second && distinct.size() > TextKeymap::capacity) {
            runs.push_back(keysyms.subspan(start, index - start));
            start = index;
            distinct = {keysyms[index]};
        }
    }
    if (start < keysyms.size()) {
        runs.push_back(keysyms.subspan(start));
    }
    return runs;
}

std::vector<keySymbols::KeySym> distinctKeySyms(std::span<const keySymbols::KeySym> keysyms) {
    std::vector<keySymbols::KeySym> distinct(keysyms.begin(), keysyms.end());
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    return distinct;
}

} // namespace ruvola::platform

#include "PadAction.hpp"

#include "Overloaded.hpp"

namespace ruvola {

std::string_view systemKeys::rawValue(SystemKey key) {
    static constexpr std::array<std::string_view, 8> names{
        "volumeup", "volumedown", "mute",         "playpause",
        "next",     "previous",   "brightnessup", "brightnessdown",
    };
    return names[static_cast<std::size_t>(key)];
}

std::optional<SystemKey> systemKeys::fromRawValue(std::string_view text) {
    for (SystemKey key : allCases) {
        if (rawValue(key) == text) {
            return key;
        }
    }
    return std::nullopt;
}

std::string_view knobTurns::rawValue(KnobTurn turn) {
    return turn == KnobTurn::volume ? "volume" : "brightness";
}

std::optional<KnobTurn> knobTurns::fromRawValue(std::string_view text) {
    if (text == "volume") {
        return KnobTurn::volume;
    }
    if (text == "brightness") {
        return KnobTurn::brightness;
    }
    return std::nullopt;
}

SystemKey knobTurns::down(KnobTurn turn) {
    return turn == KnobTurn::volume ? SystemKey::volumedown : SystemKey::brightnessdown;
}

SystemKey knobTurns::up(KnobTurn turn) {
    return turn == KnobTurn::volume ? SystemKey::volumeup : SystemKey::brightnessup;
}

std::string PadAction::description() const {
    return std::visit(
        Overloaded{
            [](const Shell& shell) { return "$ " + shell.command; },
            [](const Open& open) { return "open " + open.target; },
            [](const Keystroke& keystroke) { return "send " + keystroke.specification; },
            [](const Text& text) { return "type \"" + text.text + "\""; },
            [](const System& system) { return std::string(systemKeys::rawValue(system.key)); },
            [](const Shortcut& shortcut) { return "shortcut " + shortcut.name; },
            [](const Http& http) { return http.request.method + " " + http.request.url; },
            [](const Roku& roku) {
                return (roku.command.kind == RokuCommand::Kind::key ? "Roku " : "Roku app ") +
                       roku.command.value;
            },
            [](const HomeAssistant& homeAssistant) {
                return "Home Assistant " + homeAssistant.webhookID;
            },
            [](const Ntfy& ntfy) { return "ntfy \"" + ntfy.message + "\""; },
        },
        value);
}

} // namespace ruvola

#include "PadInput.hpp"

#include "Overloaded.hpp"

namespace ruvola {
PadControl PadInput::control() const {
    return std::visit(Overloaded{
                          [](const Key& key) { return PadControl::key(key.number); },
                          [](const Button& button) { return PadControl::button(button.number); },
                          [](const KnobTurn& turn) { return PadControl::knob(turn.knob); },
                          [](const KnobPress& press) { return PadControl::knob(press.knob); },
                      },
                      event);
}

std::string PadInput::description() const {
    const auto upOrDown = [](bool pressed) { return pressed ? "down" : "up"; };
    return std::visit(
        Overloaded{
            [&](const Key& key) {
                return "Key " + std::to_string(key.number) + " " + upOrDown(key.pressed);
            },
            [&](const Button& button) {
                return "Button " + std::to_string(button.number) + " " + upOrDown(button.pressed);
            },
            [](const KnobTurn& turn) {
                return knobs::label(turn.knob) + " knob " + (turn.delta < 1 ? "\u2212" : "+");
            },
            [](const KnobPress& press) {
                return knobs::label(press.knob) + " knob " +
                       (press.pressed ? "pressed" : "released");
            },
        },
        event);
}

} // namespace ruvola

#pragma once

#include "PadControl.hpp"

#include <string>
#include <variant>

namespace ruvola {

/// One decoded event from the pad.
struct PadInput {
    /// A screen key went down (pressed) or up.
    struct Key {
        int number;
        bool pressed;
        bool operator==(const Key&) const = default;
    };
    /// A plain button went down or up.
    struct Button {
        int number;
        bool pressed;
        bool operator==(const Button&) const = default;
    };
    /// One detent of rotation: -1 to the left (counter-clockwise), +1 to the right.
    struct KnobTurn {
        Knob knob;
        int delta;
        bool operator==(const KnobTurn&) const = default;
    };
    /// A knob was pushed in (pressed) or let go.
    struct KnobPress {
        Knob knob;
        bool pressed;
        bool operator==(const KnobPress&) const = default;
    };

    std::variant<Key, Button, KnobTurn, KnobPress> event;

    static PadInput key(int number, bool pressed) { return {Key{number, pressed}}; }
    static PadInput button(int number, bool pressed) { return {Button{number, pressed}}; }
    static PadInput knobTurn(Knob knob, int delta) { return {KnobTurn{knob, delta}}; }
    static PadInput knobPress(Knob knob, bool pressed) { return {KnobPress{knob, pressed}}; }

    /// The control that produced the event.
    PadControl control() const;
    /// "Key 4 down", "Left knob +", "Right knob −" (U+2212), "Middle knob released".
    std::string description() const;

    bool operator==(const PadInput&) const = default;
};

} // namespace ruvola

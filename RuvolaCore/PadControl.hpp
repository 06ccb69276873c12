#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace ruvola {

/// The pad's three knobs, in their fixed order.
enum class Knob : std::uint8_t { left, middle, right };

namespace knobs {
inline constexpr std::array<Knob, 3> allCases{Knob::left, Knob::middle, Knob::right};
/// "left", "middle" or "right": the knob's name in the bindings file.
std::string_view rawValue(Knob knob);
/// The raw value with its first letter upper-cased: "Left".
std::string label(Knob knob);
/// Exactly one of the three lower-case raw values, or nothing.
std::optional<Knob> fromRawValue(std::string_view text);
} // namespace knobs

/// One of the pad's twelve controls: a screen key (1–6), a button (1–3) or a knob.
class PadControl {
public:
    enum class Kind : std::uint8_t { key, button, knob };

    static PadControl key(int number) { return PadControl(Kind::key, number, Knob::left); }
    static PadControl button(int number) { return PadControl(Kind::button, number, Knob::left); }
    static PadControl knob(Knob knob) { return PadControl(Kind::knob, 0, knob); }

    /// Parses a bindings-file name such as "key 1" or "Left Knob"; nothing when it names no
    /// control.
    static std::optional<PadControl> fromConfigName(std::string_view text);

    /// The twelve controls in their fixed order: keys, buttons, then the left, middle and right
    /// knob.
    static const std::array<PadControl, 12>& all();

    Kind kind() const { return kind_; }
    /// The key or button number; 0 for a knob.
    int number() const { return number_; }
    /// The knob; meaningful only when `isKnob()`.
    Knob knobValue() const { return knob_; }
    bool isKnob() const { return kind_ == Kind::knob; }

    /// The control's name in the bindings file: "key 1", "button 3", "left knob".
    std::string configName() const;
    /// The name with each word capitalised: "Key 1", "Left Knob".
    std::string description() const;

    bool operator==(const PadControl&) const = default;

private:
    PadControl(Kind kind, int number, Knob knob) : kind_(kind), number_(number), knob_(knob) {}

    Kind kind_;
    int number_;
    Knob knob_;
};

} // namespace ruvola

template <>
struct std::hash<ruvola::PadControl> {
    std::size_t operator()(const ruvola::PadControl& control) const noexcept {
        const auto value =
            control.isKnob() ? static_cast<int>(control.knobValue()) : control.number();
        return (static_cast<std::size_t>(control.kind()) << 8) ^ static_cast<std::size_t>(value);
    }
};

// Any text as a keystroke: a well-formed trigger or an error that can be shown.
#include "FuzzCheck.hpp"
#include "RuvolaCore/KeySpec.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ruvola;
using fuzzing::check;

namespace {

void checkChord(const Chord& chord) {
    check((chord.modifiers & ~modifierFlags::mask) == 0, "a chord holds modifier bits only");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view spec(reinterpret_cast<const char*>(data), size);
    const auto result = KeySpec::parse(spec);
    if (!result.ok()) {
        check(!result.error().description().empty(), "an error describes itself");
        return 0;
    }
    const Trigger& trigger = result.value();
    if (const auto* chord = trigger.singleChord()) {
        checkChord(*chord);
    } else if (const auto* chords = trigger.as<std::vector<Chord>>()) {
        const auto commas = std::count(spec.begin(), spec.end(), ',');
        check(chords->size() >= 2 && chords->size() == static_cast<std::size_t>(commas) + 1,
              "a sequence has one chord per comma-separated step");
        std::for_each(chords->begin(), chords->end(), checkChord);
    } else if (const auto* tap = trigger.as<Trigger::DoubleTap>()) {
        check(std::has_single_bit(tap->modifier) && (tap->modifier & modifierFlags::mask) != 0,
              "a double-tap is of exactly one modifier");
    }
    return 0;
}

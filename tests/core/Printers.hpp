#pragma once

// Readable failure messages for the core's value types.

#include "RuvolaCore/PadAction.hpp"
#include "RuvolaCore/PadControl.hpp"
#include "RuvolaCore/PadInput.hpp"

#include <ostream>

namespace ruvola {

inline void PrintTo(const PadAction& action, std::ostream* out) {
    *out << action.description();
}
inline void PrintTo(const PadControl& control, std::ostream* out) {
    *out << control.configName();
}
inline void PrintTo(const PadInput& input, std::ostream* out) {
    *out << input.description();
}

} // namespace ruvola

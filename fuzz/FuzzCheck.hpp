#pragma once

#include <cstdio>
#include <cstdlib>

namespace ruvola::fuzzing {

/// Stops the run with the broken property; libFuzzer prints the stack and keeps the input.
inline void check(bool holds, const char* property) {
    if (!holds) {
        std::fprintf(stderr, "property broken: %s\n", property);
        std::abort();
    }
}

} // namespace ruvola::fuzzing

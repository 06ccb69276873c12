#pragma once

#include "BindingsFile.hpp"

#include <string_view>

// The layout a new user starts from: written to disk when they first edit their bindings, and in
// effect while no file can be read.
namespace ruvola::starterBindings {

/// The starter file, byte for byte as it is written to disk.
std::string_view text();

/// The starter text parsed: nine bindings, no problems.
const BindingsFile& file();

} // namespace ruvola::starterBindings

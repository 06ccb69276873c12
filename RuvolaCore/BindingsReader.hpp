#pragma once

// The readers behind BindingsFile::parse. Each throws BindingProblem with a message that has no
// label yet; parse catches it and prefixes the binding's label.

#include "BindingsFile.hpp"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace ruvola::bindingsReader {

struct BindingProblem {
    std::string message;
};

/// Reads the one action an object holds.
PadAction action(const nlohmann::json& object);

/// Reads the value of an "http" key; `value` is null when the key is absent.
HTTPRequest httpRequest(const nlohmann::json* value);

/// Reads one binding object.
PadBinding binding(const nlohmann::json& object);

/// Reads the settings object, appending a sentence for each bad value.
LayoutSettings settings(const nlohmann::json& object, std::vector<std::string>& problems);

} // namespace ruvola::bindingsReader

#pragma once

#include "UniversalCLI.hpp"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ruvola {

namespace platform {
class Platform;
}

/// Ruvola's own commands and doctor checks, beside the universal ones.
namespace RuvolaCLI {

/// watch and check, for the help text.
std::span<const CLICommandHelp> commandHelp();

/// The result of one of Ruvola's own commands, or nothing when the first argument is not one.
std::optional<CLIResult> handleCLI(const std::vector<std::string>& arguments,
                                   platform::Platform& platform);

/// Ruvola's checks for doctor: the pad, and access to synthetic input.
std::vector<DiagnosticCheck> diagnosticChecks(platform::Platform& platform);

} // namespace RuvolaCLI

} // namespace ruvola

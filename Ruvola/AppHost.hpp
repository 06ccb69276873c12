#pragma once

#include "Ruvola/cli/UniversalCLI.hpp"

#include <optional>
#include <string>
#include <vector>

namespace ruvola {

namespace platform {
class Platform;
}

/// The process's front door: answers a command line, or launches the application.
namespace AppHost {

/// Answers the arguments (without the program name); only the first one chooses the command. An
/// empty list counts as "help".
CLIResult routeCLI(const AppIdentity& identity, const std::vector<std::string>& arguments,
                   platform::Platform& platform);

/// The refusal to launch an identity that breaks its rules: one "field: message" line per
/// violation on standard error and exit status 2. Nothing for a valid identity.
std::optional<CLIResult> launchRefusal(const AppIdentity& identity);

/// The only argument of a launch by the desktop's autostart entry.
inline constexpr const char* loginLaunchArgument = "--login-launch";

/// Runs the process for `argv` and returns its exit status.
int run(int argc, char** argv);

} // namespace AppHost

} // namespace ruvola

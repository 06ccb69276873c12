#pragma once

#include "UniversalCLI.hpp"

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

/// Runs the process for `argv` and returns its exit status.
int run(int argc, char** argv);

} // namespace AppHost

} // namespace ruvola

#pragma once

#include "UniversalCLI.hpp"

#include <string>
#include <vector>

namespace ruvola {

/// The process's front door: answers a command line, or launches the application.
namespace AppHost {

/// Answers the arguments (without the program name). An empty list counts as "help".
CLIResult routeCLI(const AppIdentity& identity, const std::vector<std::string>& arguments);

/// Runs the process for `argv` and returns its exit status.
int run(int argc, char** argv);

} // namespace AppHost

} // namespace ruvola

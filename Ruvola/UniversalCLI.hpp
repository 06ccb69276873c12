#pragma once

#include "RuvolaCore/AppIdentity.hpp"

#include <span>
#include <string>

namespace ruvola {

/// The answer to one command line.
struct CLIResult {
    int exitCode = 0;
    std::string standardOutput;
    std::string standardError;

    bool operator==(const CLIResult&) const = default;
};

/// One line of help: the word typed and what it does.
struct CLICommandHelp {
    std::string command;
    std::string summary;
};

/// The commands every menu-bar product of this family answers the same way.
namespace UniversalCLI {

/// The help text: the slug and tagline, one aligned line per command (universal ones first), and
/// what happens with no arguments.
std::string help(const AppIdentity& identity, std::span<const CLICommandHelp> domain);

/// "Ruvola 0.4.0 (1)" and a newline.
std::string version(const AppIdentity& identity);

} // namespace UniversalCLI

} // namespace ruvola

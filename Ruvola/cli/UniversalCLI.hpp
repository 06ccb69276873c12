#pragma once

#include "RuvolaCore/AppIdentity.hpp"

#include <optional>
#include <span>
#include <string>
#include <vector>

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

/// One doctor check: what is printed when it passed, and what to do when it failed.
struct DiagnosticCheck {
    std::string name;
    bool passed = false;
    std::string success;
    std::string remedy;
};

/// Where the running copy of the program is, for doctor's bundle check.
struct BundleInfo {
    /// The identifier of the installed application this copy belongs to, if it is one.
    std::optional<std::string> identifier;
    /// What to do when this copy isn't the installed one.
    std::string remedy;
};

/// The commands every menu-bar product of this family answers the same way.
namespace UniversalCLI {

/// The help text: the slug and tagline, one aligned line per command (universal ones first), and
/// what happens with no arguments.
std::string help(const AppIdentity& identity, std::span<const CLICommandHelp> domain);

/// "Ruvola 0.4.0 (1)" and a newline.
std::string version(const AppIdentity& identity);

/// Runs the bundle check, the identity's checks and the product's, one "✓"/"✗" line each; the
/// exit code is 1 when any failed.
CLIResult doctor(const AppIdentity& identity, const std::vector<DiagnosticCheck>& domain,
                 const BundleInfo& bundle);

} // namespace UniversalCLI

} // namespace ruvola

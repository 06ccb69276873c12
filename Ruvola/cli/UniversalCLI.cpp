#include "Ruvola/cli/UniversalCLI.hpp"

#include "RuvolaCore/Unicode.hpp"

#include <algorithm>
#include <vector>

namespace ruvola {

std::string UniversalCLI::help(const AppIdentity& identity,
                               std::span<const CLICommandHelp> domain) {
    std::vector<CLICommandHelp> commands{
        {"version", "print the bundled product version"},
        {"doctor", "check universal and product prerequisites"},
        {"help", "show this help"},
    };
    commands.insert(commands.end(), domain.begin(), domain.end());

    const auto width = [](const std::string& text) { return unicode::decode(text).size(); };
    std::size_t column = 0;
    for (const CLICommandHelp& command : commands) {
        column = std::max(column, width(command.command));
    }
    std::string text = identity.slug + " \u2014 " + identity.tagline + "\n\n";
    for (std::size_t i = 0; i < commands.size(); ++i) {
        const CLICommandHelp& command = commands[i];
        text += (i > 0 ? "\n  " : "  ") + command.command +
                std::string(column - width(command.command), ' ') + "  " + command.summary;
    }
    return text + "\n\nWith no arguments, launches the menubar app.\n";
}

std::string UniversalCLI::version(const AppIdentity& identity) {
    return identity.name + " " + identity.version + " (" + identity.build + ")\n";
}

CLIResult UniversalCLI::doctor(const AppIdentity& identity,
                               const std::vector<DiagnosticCheck>& domain,
                               const BundleInfo& bundle) {
    std::vector<DiagnosticCheck> checks{{
        "bundle",
        bundle.identifier == identity.bundleIdentifier,
        "bundle identifier is " + identity.bundleIdentifier,
        bundle.remedy,
    }};
    for (const ContractViolation& violation : identity.violations()) {
        checks.push_back({violation.field, false, "", violation.description()});
    }
    checks.insert(checks.end(), domain.begin(), domain.end());

    CLIResult result;
    for (const DiagnosticCheck& check : checks) {
        result.standardOutput +=
            check.passed ? "\u2713 " + check.success : "\u2717 " + check.name + ": " + check.remedy;
        result.standardOutput += "\n";
        result.exitCode = check.passed ? result.exitCode : 1;
    }
    return result;
}

} // namespace ruvola

#include "AppHost.hpp"

#include "BuildIdentity.hpp"
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "RuvolaCLI.hpp"

#include <algorithm>
#include <cstdio>

namespace ruvola {
namespace {

// A failed write (a closed pipe, a full disk) never changes the command's outcome.
void write(const std::string& text, std::FILE* stream) {
    if (!text.empty()) {
        std::fwrite(text.data(), 1, text.size(), stream);
        std::fflush(stream);
    }
}

} // namespace

CLIResult AppHost::routeCLI(const AppIdentity& identity, const std::vector<std::string>& arguments,
                            platform::Platform& platform) {
    const std::string first = arguments.empty() ? "help" : arguments.front();
    const std::string helpText = UniversalCLI::help(identity, RuvolaCLI::commandHelp());
    if (first == "help" || first == "--help" || first == "-h") {
        return {0, helpText, {}};
    }
    if (first == "version" || first == "--version" || first == "-v") {
        return {0, UniversalCLI::version(identity), {}};
    }
    if (first == "doctor") {
        const platform::Installation& installation = platform.installation();
        const BundleInfo bundle{installation.bundleIdentifier(), installation.bundleRemedy()};
        return UniversalCLI::doctor(identity, RuvolaCLI::diagnosticChecks(platform), bundle);
    }
    if (auto result = RuvolaCLI::handleCLI(arguments, platform)) {
        return std::move(*result);
    }
    return {2, helpText, "error: unknown command: " + first + "\n"};
}

std::optional<CLIResult> AppHost::launchRefusal(const AppIdentity& identity) {
    const auto violations = identity.violations();
    if (violations.empty()) {
        return std::nullopt;
    }
    CLIResult refusal{2, {}, {}};
    for (const ContractViolation& violation : violations) {
        refusal.standardError += violation.description() + "\n";
    }
    return refusal;
}

int AppHost::run(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    const AppIdentity identity = buildIdentity();
    const auto platform = platform::makePlatform();
    const CLIResult result = [&] {
        if (arguments.empty()) {
            if (auto refusal = launchRefusal(identity)) {
                return std::move(*refusal);
            }
        }
        return routeCLI(identity, arguments, *platform);
    }();
    write(result.standardOutput, stdout);
    write(result.standardError, stderr);
    return result.exitCode;
}

} // namespace ruvola

#include "AppHost.hpp"

#include "BuildIdentity.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

namespace ruvola {
namespace {

const std::array<CLICommandHelp, 2> productCommands{{
    {"watch", "print every key, button and knob by its bindings.json name; ctrl-C stops"},
    {"check", "validate ~/.config/ruvola/bindings.json"},
}};

// A failed write (a closed pipe, a full disk) never changes the command's outcome.
void write(const std::string& text, std::FILE* stream) {
    if (!text.empty()) {
        std::fwrite(text.data(), 1, text.size(), stream);
        std::fflush(stream);
    }
}

} // namespace

CLIResult AppHost::routeCLI(const AppIdentity& identity,
                            const std::vector<std::string>& arguments) {
    const std::string first = arguments.empty() ? "help" : arguments.front();
    const std::string helpText = UniversalCLI::help(identity, productCommands);
    if (first == "help" || first == "--help" || first == "-h") {
        return {0, helpText, {}};
    }
    if (first == "version" || first == "--version" || first == "-v") {
        return {0, UniversalCLI::version(identity), {}};
    }
    return {2, helpText, "error: unknown command: " + first + "\n"};
}

int AppHost::run(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    const CLIResult result = routeCLI(buildIdentity(), arguments);
    write(result.standardOutput, stdout);
    write(result.standardError, stderr);
    return result.exitCode;
}

} // namespace ruvola

#include "RuvolaCLI.hpp"

#include "BindingsStore.hpp"
#include "Logging.hpp"
#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/InputAccess.hpp"
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/Platform.hpp"

#include <array>

namespace ruvola {
namespace {

const std::array<CLICommandHelp, 2> commands{{
    {"watch", "print every key, button and knob by its bindings.json name; ctrl-C stops"},
    {"check", "validate ~/.config/ruvola/bindings.json"},
}};

CLIResult check(platform::Platform& platform) {
    NullLogger silent;
    BindingsStore store(BindingsStore::url(platform.installation().homeDirectory()), silent,
                        nullptr, nullptr);
    std::error_code error;
    if (!std::filesystem::exists(store.url(), error)) {
        return {0, "no " + store.url().string() + "; using the defaults\n", {}};
    }
    store.load();
    const BindingsFile& file = store.file();
    CLIResult result{0, std::to_string(file.bindings.size()) + " bindings\n", {}};
    for (const std::string& problem : file.problems) {
        result.exitCode = 1;
        result.standardError += "\u2717 " + problem + "\n";
    }
    return result;
}

} // namespace

std::span<const CLICommandHelp> RuvolaCLI::commandHelp() {
    return commands;
}

std::optional<CLIResult> RuvolaCLI::handleCLI(const std::vector<std::string>& arguments,
                                              platform::Platform& platform) {
    const std::string& command = arguments.front();
    if (command == "check") {
        return check(platform);
    }
    if (command == "watch") {
        return CLIResult{1, {}, "watch: this build can't talk to the pad yet\n"};
    }
    return std::nullopt;
}

std::vector<DiagnosticCheck> RuvolaCLI::diagnosticChecks(platform::Platform& platform) {
    platform::InputAccess& access = platform.inputAccess();
    return {
        {"pad", false, "a supported pad is plugged in",
         "this build can't look for the pad yet; plug in a Soomfon Stream Controller SE (CN002)"},
        {"input access", access.isTrusted(), "allowed to press system keys and send keystrokes",
         access.remedy()},
    };
}

} // namespace ruvola

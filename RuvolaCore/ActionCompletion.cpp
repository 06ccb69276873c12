#include "ActionCompletion.hpp"

#include "Overloaded.hpp"

#include <array>
#include <utility>

namespace ruvola {
namespace {

std::string signalName(int signal) {
    // The numbers are the same on every system the program runs on.
    static constexpr std::array<std::pair<int, const char*>, 8> names{{
        {1, "SIGHUP"},
        {2, "SIGINT"},
        {3, "SIGQUIT"},
        {6, "SIGABRT"},
        {9, "SIGKILL"},
        {11, "SIGSEGV"},
        {13, "SIGPIPE"},
        {15, "SIGTERM"},
    }};
    for (const auto& [number, name] : names) {
        if (number == signal) {
            return name;
        }
    }
    return "signal " + std::to_string(signal);
}

} // namespace

std::string ActionFailure::description() const {
    return std::visit(
        Overloaded{
            [](const CouldNotLaunch& failure) { return "could not launch: " + failure.reason; },
            [](const Exited& failure) {
                return "exited with status " + std::to_string(failure.status);
            },
            [](const Signaled& failure) { return "terminated by " + signalName(failure.signal); },
            [](const CouldNotPostInput&) {
                return std::string("could not create synthetic input");
            },
        },
        reason);
}

} // namespace ruvola

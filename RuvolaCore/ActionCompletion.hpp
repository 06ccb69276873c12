#pragma once

#include <string>
#include <variant>

namespace ruvola {

/// Why local work failed.
struct ActionFailure {
    /// The process could not be started, and why.
    struct CouldNotLaunch {
        std::string reason;
        bool operator==(const CouldNotLaunch&) const = default;
    };
    /// The process ended with a non-zero status.
    struct Exited {
        int status;
        bool operator==(const Exited&) const = default;
    };
    /// The process was ended by a signal.
    struct Signaled {
        int signal;
        bool operator==(const Signaled&) const = default;
    };

    /// A synthetic keyboard event could not be made or delivered.
    struct CouldNotPostInput {
        bool operator==(const CouldNotPostInput&) const = default;
    };

    std::variant<CouldNotLaunch, Exited, Signaled, CouldNotPostInput> reason;

    /// "could not launch: …", "exited with status 3", "terminated by SIGKILL", "terminated by
    /// signal 30", "could not create synthetic input".
    std::string description() const;

    bool operator==(const ActionFailure&) const = default;
};

/// The outcome of local work: it succeeded, or failed for a reason.
struct ActionCompletion {
    std::variant<std::monostate, ActionFailure> outcome;

    static ActionCompletion succeeded() { return {}; }
    static ActionCompletion failed(ActionFailure failure) { return {std::move(failure)}; }

    bool ok() const { return outcome.index() == 0; }
    const ActionFailure* failure() const { return std::get_if<ActionFailure>(&outcome); }

    bool operator==(const ActionCompletion&) const = default;
};

} // namespace ruvola

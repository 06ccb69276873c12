#pragma once

#include "RuvolaCore/ActionCompletion.hpp"
#include "RuvolaCore/KeySpec.hpp"

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace ruvola {

namespace platform {
class Launcher;
class Processes;
class SyntheticInput;
class Windows;
} // namespace platform

/// Local work an action asks for.
struct HouseAction {
    struct Shell {
        std::string command;
    };
    struct Open {
        std::string target;
    };
    struct Keystroke {
        Chord chord;
    };
    struct Text {
        std::string text;
    };
    std::variant<Shell, Open, Keystroke, Text> value;
};

/// Performs local actions off the main thread: shell commands, opening applications, files and
/// addresses, keystrokes, typed text and shortcuts. Each run gets a thread of its own, so a command
/// that runs for an hour never delays the next press.
class HouseActions final {
public:
    /// Receives one line per finished action; called from the action's own thread.
    using Log = std::function<void(const std::string&)>;
    using Completion = std::function<void(const ActionCompletion&)>;

    HouseActions(platform::Processes& processes, platform::SyntheticInput& input,
                 platform::Windows& applications, platform::Launcher& launcher, Log log);
    /// Actions still running finish, but no longer log or complete.
    ~HouseActions();

    HouseActions(const HouseActions&) = delete;
    HouseActions& operator=(const HouseActions&) = delete;

    /// Starts `action` and returns at once. When it ends, logs "NAME: action completed" or
    /// "NAME: action failed — WHY", then calls `completion` on the same background thread.
    void run(HouseAction action, const std::string& name, Completion completion = {});

    /// Runs the user's shortcut called `shortcut` in the background, then logs
    /// "NAME: shortcut \"SHORTCUT\" ran" or "NAME: shortcut \"SHORTCUT\" failed — WHY".
    void runShortcut(const std::string& shortcut, const std::string& name);

    /// Performs one action synchronously; it may block for as long as a command runs.
    ActionCompletion execute(const HouseAction& action);

    /// Runs one program to its end, with its standard streams on /dev/null.
    ActionCompletion runProcess(const std::string& executable,
                                const std::vector<std::string>& arguments);

    /// Cuts text into chunks of at most 16 UTF-16 units without splitting a user-perceived
    /// character; one longer than 16 units makes a chunk of its own.
    static std::vector<std::u16string> unicodeChunks(const std::string& utf8);

    /// Whether a running application is the one `target` names: by path to its desktop entry, or
    /// by name or desktop-entry id, trimmed and folded for case and accents, with or without
    /// ".desktop". Addresses ("://") never name an application.
    static bool openTarget(const std::string& target, const std::string& name,
                           const std::string& desktopEntry);

private:
    struct Shared;

    // Everything a background run needs, kept alive by the runs themselves.
    std::shared_ptr<Shared> shared_;
};

} // namespace ruvola

#pragma once

#include "Ruvola/platform/Windows.hpp"
#include "RuvolaCore/ActionCompletion.hpp"

#include <string>

namespace ruvola::platform {

/// Starts applications, files, addresses and the user's shortcuts the way every desktop of the
/// operating system does, whichever session is running.
///
/// Contract:
/// - Every call may be made from any thread, and from many at once.
/// - The calls that give an `ActionCompletion` block until the program they start has been
///   started (`launch`, `reopen`) or has ended (`open`, `runShortcut`), never longer.
class Launcher {
public:
    virtual ~Launcher() = default;

    /// Starts the first installed application whose desktop entry `matches` (by its name or id);
    /// failing that, the program called `name` on `PATH`. An application that can't be found or
    /// started gives `CouldNotLaunch` with the reason.
    virtual ActionCompletion launch(const std::string& name, const ApplicationMatch& matches) = 0;

    /// Starts the application's desktop entry again, which asks a running application for a new
    /// window. Success, doing nothing, when it has no desktop entry.
    virtual ActionCompletion reopen(const RunningApplication& application) = 0;

    /// Whether the application is the desktop's file manager (the handler of folders).
    virtual bool isFileManager(const RunningApplication& application) = 0;

    /// Opens an absolute path or an address with its default handler and waits for the opener to
    /// end; its exit status is judged as any process's.
    virtual ActionCompletion open(const std::string& pathOrAddress) = 0;

    /// Runs the user's shortcut `name`, a plain file name, to its end: an executable in the
    /// user's shortcuts folder, run with no arguments. A missing one fails as a launch failure.
    virtual ActionCompletion runShortcut(const std::string& name) = 0;

    /// Starts this program again a second after it has ended; the caller then quits.
    virtual void relaunch() = 0;
};

} // namespace ruvola::platform

#pragma once

#include "RuvolaCore/ActionCompletion.hpp"

#include <string>
#include <vector>

namespace ruvola::platform {

/// Runs programs for actions.
///
/// Contract:
/// - `run` starts `executable` (an absolute path) with `arguments`, with standard input, output
///   and error on /dev/null and the caller's environment, and blocks until the process ends.
/// - It gives success for exit status 0, `Exited` for any other status, `Signaled` with the
///   signal's number when a signal ended it, and `CouldNotLaunch` with the system's reason when it
///   could not be started.
/// - It may be called from any thread, and from many at once; it never touches the event loop.
class Processes {
public:
    virtual ~Processes() = default;

    virtual ActionCompletion run(const std::string& executable,
                                 const std::vector<std::string>& arguments) = 0;
};

} // namespace ruvola::platform

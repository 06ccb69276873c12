#pragma once

#include "Ruvola/platform/Processes.hpp"

namespace ruvola::platform {

/// Processes started with posix_spawn and waited on with waitpid.
class SpawnProcesses final : public Processes {
public:
    ActionCompletion run(const std::string& executable,
                         const std::vector<std::string>& arguments) override;
};

} // namespace ruvola::platform

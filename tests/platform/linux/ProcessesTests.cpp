#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/Processes.hpp"

#include <gtest/gtest.h>

namespace ruvola {
namespace {

// Real processes through /bin/sh, judged and described the way action failures are logged.
TEST(Processes, JudgesHowEachProcessEnded) {
    const auto platform = platform::makePlatform();
    const std::vector<std::pair<std::string, std::string>> cases{
        {"exit 0", ""},
        {"exit 3", "exited with status 3"},
        {"kill -KILL $$", "terminated by SIGKILL"},
        {"kill -TERM $$", "terminated by SIGTERM"},
        {"kill -30 $$", "terminated by signal 30"},
        // Megabytes of output go nowhere instead of filling a pipe.
        {"head -c 20000000 /dev/zero; cat; echo done >&2", ""},
    };
    for (const auto& [command, failure] : cases) {
        const ActionCompletion completion = platform->processes().run("/bin/sh", {"-c", command});
        EXPECT_EQ(completion.failure() ? completion.failure()->description() : "", failure)
            << command;
    }
    EXPECT_EQ(platform->processes().run("/nonexistent/tool", {}).failure()->description(),
              "could not launch: No such file or directory");
}

} // namespace
} // namespace ruvola

#include "Ruvola/platform/linux/SpawnProcesses.hpp"

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>

extern char** environ;

namespace ruvola::platform {
namespace {

// Owns the spawn file actions for one launch.
class FileActions {
public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    posix_spawn_file_actions_t* get() { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

} // namespace

ActionCompletion SpawnProcesses::run(const std::string& executable,
                                     const std::vector<std::string>& arguments) {
    std::vector<std::string> words{executable};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);

    FileActions actions;
    posix_spawn_file_actions_addopen(actions.get(), 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(actions.get(), 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(actions.get(), 2, "/dev/null", O_WRONLY, 0);

    pid_t pid = 0;
    const int error =
        posix_spawn(&pid, executable.c_str(), actions.get(), nullptr, argv.data(), environ);
    if (error != 0) {
        return ActionCompletion::failed(
            {ActionFailure::CouldNotLaunch{std::generic_category().message(error)}});
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            return ActionCompletion::failed(
                {ActionFailure::CouldNotLaunch{std::generic_category().message(errno)}});
        }
    }
    if (WIFSIGNALED(status)) {
        return ActionCompletion::failed({ActionFailure::Signaled{WTERMSIG(status)}});
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0) {
        return ActionCompletion::failed({ActionFailure::Exited{WEXITSTATUS(status)}});
    }
    return ActionCompletion::succeeded();
}

} // namespace ruvola::platform

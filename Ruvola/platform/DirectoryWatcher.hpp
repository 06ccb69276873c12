#pragma once

#include <filesystem>
#include <functional>

namespace ruvola::platform {

/// Reports changes to the entries of one directory.
///
/// Contract:
/// - `start` creates nothing; the directory must exist. It returns false when the directory can't
///   be watched, and the watcher then stays silent.
/// - `onChange` is called on the thread that called `start` (the main event loop), once for each
///   batch of events the system delivers: a file in the directory created, written in place,
///   truncated, renamed in or out, deleted, or its attributes changed. Calls are not debounced.
/// - Atomic saves (write a temporary file, rename it over) and delete-and-recreate are seen, as
///   the directory rather than a file is watched.
/// - When the directory itself is removed, `onChange` is called, and the watch follows it when a
///   directory of the same path is created again (reporting that too).
/// - Destroying the watcher stops the calls and releases every handle.
class DirectoryWatcher {
public:
    virtual ~DirectoryWatcher() = default;

    virtual bool start(const std::filesystem::path& directory, std::function<void()> onChange) = 0;
};

} // namespace ruvola::platform

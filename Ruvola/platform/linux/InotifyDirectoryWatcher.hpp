#pragma once

#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/linux/InotifyQueue.hpp"

#include <string>

namespace ruvola::platform {

/// Watches one directory with inotify, read on the main loop. The parent directory is watched
/// too, for the directory's name only, so that a directory removed and created again is followed.
class InotifyDirectoryWatcher final : public DirectoryWatcher {
public:
    bool start(const std::filesystem::path& directory, std::function<void()> onChange) override;

private:
    bool armDirectory();
    void visit(const inotify_event& event, std::string_view name);
    void batchRead();

    std::filesystem::path directory_;
    std::string name_;
    std::function<void()> onChange_;
    int directoryWatch_ = -1;
    int parentWatch_ = -1;
    bool changed_ = false; // in the batch being read
    bool rearm_ = false;
    InotifyQueue queue_;
};

} // namespace ruvola::platform

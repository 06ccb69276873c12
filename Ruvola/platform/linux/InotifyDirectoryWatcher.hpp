#pragma once

#include "Ruvola/platform/DirectoryWatcher.hpp"

#include <memory>
#include <string>

class QSocketNotifier;

namespace ruvola::platform {

/// Watches one directory with inotify, read on the main loop. The parent directory is watched
/// too, for the directory's name only, so that a directory removed and created again is followed.
class InotifyDirectoryWatcher final : public DirectoryWatcher {
public:
    InotifyDirectoryWatcher();
    ~InotifyDirectoryWatcher() override;

    InotifyDirectoryWatcher(const InotifyDirectoryWatcher&) = delete;
    InotifyDirectoryWatcher& operator=(const InotifyDirectoryWatcher&) = delete;

    bool start(const std::filesystem::path& directory, std::function<void()> onChange) override;

private:
    void stop();
    bool armDirectory();
    void readEvents();

    std::filesystem::path directory_;
    std::string name_;
    std::function<void()> onChange_;
    int descriptor_ = -1;
    int directoryWatch_ = -1;
    int parentWatch_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace ruvola::platform

#include "Ruvola/platform/linux/InotifyDirectoryWatcher.hpp"

#include <cstdint>
#include <utility>

namespace ruvola::platform {

namespace {

constexpr std::uint32_t directoryEvents = IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE | IN_DELETE |
                                          IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB | IN_DELETE_SELF |
                                          IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t parentEvents = IN_CREATE | IN_MOVED_TO | IN_ONLYDIR;

} // namespace

bool InotifyDirectoryWatcher::start(const std::filesystem::path& directory,
                                    std::function<void()> onChange) {
    queue_.close();
    directoryWatch_ = parentWatch_ = -1;
    std::error_code error;
    std::filesystem::path path = std::filesystem::absolute(directory, error).lexically_normal();
    if (error) {
        return false;
    }
    if (!path.has_filename()) {
        path = path.parent_path(); // "/a/b/" names the same directory as "/a/b"
    }

    directory_ = path;
    name_ = path.filename().string();
    const bool opened = queue_.open(
        [this](const inotify_event& event, std::string_view name) { visit(event, name); },
        [this] { batchRead(); });
    if (!opened || !armDirectory()) {
        queue_.close();
        return false;
    }
    if (path.has_relative_path()) {
        // Without the parent's watch only a re-created directory goes unseen, so go on without it.
        parentWatch_ = queue_.addWatch(path.parent_path(), parentEvents);
    }
    onChange_ = std::move(onChange);
    return true;
}

bool InotifyDirectoryWatcher::armDirectory() {
    const int watch = queue_.addWatch(directory_, directoryEvents);
    if (directoryWatch_ >= 0 && watch != directoryWatch_) {
        // The old watch follows a directory that no longer has this path.
        queue_.removeWatch(directoryWatch_);
    }
    directoryWatch_ = watch;
    return watch >= 0;
}

void InotifyDirectoryWatcher::visit(const inotify_event& event, std::string_view name) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        changed_ = rearm_ = true;
    } else if (event.wd == directoryWatch_) {
        changed_ = true;
        if ((event.mask & IN_MOVE_SELF) != 0) {
            queue_.removeWatch(directoryWatch_);
        }
        if ((event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
            directoryWatch_ = -1;
            rearm_ = true;
        }
    } else if (event.wd == parentWatch_ && name == name_) {
        changed_ = rearm_ = true;
    }
}

void InotifyDirectoryWatcher::batchRead() {
    if (std::exchange(rearm_, false)) {
        armDirectory();
    }
    if (std::exchange(changed_, false) && onChange_) {
        // A copy, as the callback may destroy this watcher.
        const auto onChange = onChange_;
        onChange();
    }
}

} // namespace ruvola::platform

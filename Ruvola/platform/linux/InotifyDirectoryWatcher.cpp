#include "Ruvola/platform/linux/InotifyDirectoryWatcher.hpp"

#include "Ruvola/platform/linux/InotifyEvents.hpp"

#include <QSocketNotifier>

#include <cstdint>
#include <string_view>
#include <sys/inotify.h>
#include <unistd.h>

namespace ruvola::platform {

namespace {

constexpr std::uint32_t directoryEvents = IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE | IN_DELETE |
                                          IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB | IN_DELETE_SELF |
                                          IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t parentEvents = IN_CREATE | IN_MOVED_TO | IN_ONLYDIR;

} // namespace

InotifyDirectoryWatcher::InotifyDirectoryWatcher() = default;

InotifyDirectoryWatcher::~InotifyDirectoryWatcher() {
    stop();
}

bool InotifyDirectoryWatcher::start(const std::filesystem::path& directory,
                                    std::function<void()> onChange) {
    stop();

    std::error_code error;
    std::filesystem::path path = std::filesystem::absolute(directory, error).lexically_normal();
    if (error) {
        return false;
    }
    if (!path.has_filename()) {
        path = path.parent_path(); // "/a/b/" names the same directory as "/a/b"
    }

    descriptor_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (descriptor_ < 0) {
        return false;
    }
    directory_ = path;
    name_ = path.filename().string();
    if (!armDirectory()) {
        stop();
        return false;
    }
    if (path.has_relative_path()) {
        // Without the parent's watch only a re-created directory goes unseen, so go on without it.
        parentWatch_ = inotify_add_watch(descriptor_, path.parent_path().c_str(), parentEvents);
    }

    onChange_ = std::move(onChange);
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { readEvents(); });
    return true;
}

void InotifyDirectoryWatcher::stop() {
    notifier_.reset(); // before the descriptor it listens on goes away
    if (descriptor_ >= 0) {
        ::close(descriptor_); // drops every watch made on it
    }
    descriptor_ = directoryWatch_ = parentWatch_ = -1;
    onChange_ = nullptr;
}

bool InotifyDirectoryWatcher::armDirectory() {
    const int watch = inotify_add_watch(descriptor_, directory_.c_str(), directoryEvents);
    if (directoryWatch_ >= 0 && watch != directoryWatch_) {
        // The old watch follows a directory that no longer has this path.
        inotify_rm_watch(descriptor_, directoryWatch_);
    }
    directoryWatch_ = watch;
    return watch >= 0;
}

void InotifyDirectoryWatcher::readEvents() {
    bool changed = false;
    bool rearm = false;

    readInotifyEvents(descriptor_, [&](const inotify_event& event, std::string_view name) {
        if ((event.mask & IN_Q_OVERFLOW) != 0) {
            changed = rearm = true;
        } else if (event.wd == directoryWatch_) {
            changed = true;
            if ((event.mask & IN_MOVE_SELF) != 0) {
                inotify_rm_watch(descriptor_, directoryWatch_);
            }
            if ((event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) != 0) {
                directoryWatch_ = -1;
                rearm = true;
            }
        } else if (event.wd == parentWatch_ && name == name_) {
            changed = rearm = true;
        }
    });

    if (rearm) {
        armDirectory();
    }
    if (changed && onChange_) {
        // A copy, as the callback may destroy this watcher.
        const auto onChange = onChange_;
        onChange();
    }
}

} // namespace ruvola::platform

#include "Ruvola/platform/linux/UinputAccessWatcher.hpp"

#include <cstdint>
#include <string>
#include <utility>

namespace ruvola::platform {

namespace {

// IN_ATTRIB on a directory's watch also covers its entries: chmod, chown and ACLs (xattrs).
constexpr std::uint32_t events =
    IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR;

} // namespace

UinputAccessWatcher::UinputAccessWatcher(std::filesystem::path node) : node_(std::move(node)) {}

bool UinputAccessWatcher::start(std::function<void()> changed) {
    const std::string name = node_.filename().string();
    const bool opened = queue_.open(
        [this, name](const inotify_event& event, std::string_view entry) {
            // An overflow may have dropped the node's events; a directory gone takes the node.
            if ((event.mask & (IN_Q_OVERFLOW | IN_IGNORED)) != 0 ||
                (event.wd == watch_ && entry == name)) {
                seen_ = true;
            }
        },
        [this] {
            if (std::exchange(seen_, false) && changed_) {
                const auto notify = changed_; // a copy, as it may destroy this watcher
                notify();
            }
        });
    watch_ = queue_.addWatch(node_.parent_path(), events);
    if (!opened || watch_ < 0) {
        queue_.close();
        return false;
    }
    changed_ = std::move(changed);
    return true;
}

} // namespace ruvola::platform

#include "Ruvola/platform/linux/UinputAccessWatcher.hpp"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <sys/inotify.h>
#include <unistd.h>

namespace ruvola::platform {

namespace {

// IN_ATTRIB on a directory's watch also covers its entries: chmod, chown and ACLs (xattrs).
constexpr std::uint32_t events =
    IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR;

} // namespace

UinputAccessWatcher::UinputAccessWatcher(std::filesystem::path node) : node_(std::move(node)) {}

UinputAccessWatcher::~UinputAccessWatcher() {
    stop();
}

bool UinputAccessWatcher::start(std::function<void()> changed) {
    stop();
    descriptor_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (descriptor_ < 0) {
        return false;
    }
    watch_ = inotify_add_watch(descriptor_, node_.parent_path().c_str(), events);
    if (watch_ < 0) {
        stop();
        return false;
    }
    changed_ = std::move(changed);
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { readEvents(); });
    return true;
}

void UinputAccessWatcher::stop() {
    notifier_.reset(); // before the descriptor it listens on goes away
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
    descriptor_ = watch_ = -1;
    changed_ = nullptr;
}

void UinputAccessWatcher::readEvents() {
    const std::string name = node_.filename().string();
    bool changed = false;

    alignas(inotify_event) std::array<char, 16 * 1024> buffer;
    for (;;) {
        const ssize_t length = ::read(descriptor_, buffer.data(), buffer.size());
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length <= 0) {
            break; // EAGAIN: drained
        }
        const auto end = static_cast<std::size_t>(length);
        std::size_t offset = 0;
        while (offset + sizeof(inotify_event) <= end) {
            inotify_event event;
            std::memcpy(&event, buffer.data() + offset, sizeof event);
            std::string_view entry(buffer.data() + offset + sizeof event, event.len);
            entry = entry.substr(0, entry.find('\0'));
            offset += sizeof event + event.len;

            // An overflow may have dropped the node's events; a directory gone takes the node
            // along.
            if ((event.mask & (IN_Q_OVERFLOW | IN_IGNORED)) != 0 ||
                (event.wd == watch_ && entry == name)) {
                changed = true;
            }
        }
    }

    if (changed && changed_) {
        // A copy, as the callback may destroy this watcher.
        const auto notify = changed_;
        notify();
    }
}

} // namespace ruvola::platform

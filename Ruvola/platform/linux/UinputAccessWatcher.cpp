#include "Ruvola/platform/linux/UinputAccessWatcher.hpp"

#include "Ruvola/platform/linux/InotifyEvents.hpp"

#include <QSocketNotifier>

#include <cstdint>
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

    readInotifyEvents(descriptor_, [&](const inotify_event& event, std::string_view entry) {
        // An overflow may have dropped the node's events; a directory gone takes the node along.
        if ((event.mask & (IN_Q_OVERFLOW | IN_IGNORED)) != 0 ||
            (event.wd == watch_ && entry == name)) {
            changed = true;
        }
    });

    if (changed && changed_) {
        // A copy, as the callback may destroy this watcher.
        const auto notify = changed_;
        notify();
    }
}

} // namespace ruvola::platform

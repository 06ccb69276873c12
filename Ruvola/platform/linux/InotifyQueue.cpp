#include "Ruvola/platform/linux/InotifyQueue.hpp"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace ruvola::platform {

InotifyQueue::InotifyQueue() = default;

InotifyQueue::~InotifyQueue() {
    close();
}

bool InotifyQueue::open(Visit visit, std::function<void()> batchRead) {
    close();
    descriptor_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (descriptor_ < 0) {
        return false;
    }
    visit_ = std::move(visit);
    batchRead_ = std::move(batchRead);
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { readEvents(); });
    return true;
}

void InotifyQueue::close() {
    notifier_.reset(); // before the descriptor it listens on goes away
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
    descriptor_ = -1;
    visit_ = nullptr;
    batchRead_ = nullptr;
}

int InotifyQueue::addWatch(const std::filesystem::path& path, std::uint32_t events) {
    return descriptor_ < 0 ? -1 : inotify_add_watch(descriptor_, path.c_str(), events);
}

void InotifyQueue::removeWatch(int watch) {
    if (descriptor_ >= 0 && watch >= 0) {
        inotify_rm_watch(descriptor_, watch);
    }
}

void InotifyQueue::readEvents() {
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
            std::string_view name(buffer.data() + offset + sizeof event, event.len);
            name = name.substr(0, name.find('\0'));
            offset += sizeof event + event.len;
            visit_(event, name);
        }
    }
    // A copy, as the callback may destroy the queue's owner and with it the queue.
    const auto batchRead = batchRead_;
    batchRead();
}

} // namespace ruvola::platform

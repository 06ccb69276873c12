#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>
#include <sys/inotify.h>

class QSocketNotifier;

namespace ruvola::platform {

/// One inotify instance, read on the main loop. Each batch of events the system delivers goes to
/// `visit` event by event, with the name of the entry it is about (empty when it is about the
/// watched directory itself), and then `batchRead` is called. Closing drops every watch.
class InotifyQueue {
public:
    using Visit = std::function<void(const inotify_event& event, std::string_view name)>;

    InotifyQueue();
    ~InotifyQueue();

    InotifyQueue(const InotifyQueue&) = delete;
    InotifyQueue& operator=(const InotifyQueue&) = delete;

    /// False when the system has no inotify instance to spare.
    bool open(Visit visit, std::function<void()> batchRead);
    void close();

    /// The watch's descriptor, or -1 when `path` can't be watched.
    int addWatch(const std::filesystem::path& path, std::uint32_t events);
    void removeWatch(int watch);

private:
    void readEvents();

    int descriptor_ = -1;
    Visit visit_;
    std::function<void()> batchRead_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace ruvola::platform

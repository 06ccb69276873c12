#pragma once

#include "Ruvola/platform/Notifier.hpp"
#include "Ruvola/platform/linux/InotifyQueue.hpp"

#include <filesystem>

namespace ruvola::platform {

/// Watches the uinput device node with inotify, read on the main loop: its creation, removal,
/// and changes of owner, mode or access list (udev's rules and logind's seat access make these).
/// The node's directory is what is watched, so a node that is absent, or comes and goes, is
/// followed. Each batch of events the system delivers is one report.
class UinputAccessWatcher final : public Notifier {
public:
    explicit UinputAccessWatcher(std::filesystem::path node = "/dev/uinput");

    /// False when the node's directory can't be watched.
    bool start(std::function<void()> changed) override;

private:
    std::filesystem::path node_;
    std::function<void()> changed_;
    int watch_ = -1;
    bool seen_ = false; // in the batch being read
    InotifyQueue queue_;
};

} // namespace ruvola::platform

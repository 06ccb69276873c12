#pragma once

#include "Ruvola/platform/HidManager.hpp"
#include "Ruvola/platform/linux/UdevHidDiscovery.hpp"

#include <map>
#include <string>

class QObject;
class QSocketNotifier;

namespace ruvola::platform {

class HidrawDevice;

/// Opens the matching hidraw nodes present at start, then follows nodes as they come and go
/// through a udev monitor read on the main loop. Devices are keyed by their sysfs path, the one
/// name a removal event still carries.
class UdevHidManager final : public HidManager {
public:
    UdevHidManager();
    ~UdevHidManager() override;

    UdevHidManager(const UdevHidManager&) = delete;
    UdevHidManager& operator=(const UdevHidManager&) = delete;

    void start(std::vector<HidMatch> matching, std::function<void(HidDevice&)> onMatch,
               std::function<void(HidDevice&)> onRemoval) override;

private:
    void stop();
    void openPresent();
    void readMonitor();
    void open(const HidrawNode& node);
    void remove(const std::string& syspath);

    std::vector<HidMatch> matching_;
    std::function<void(HidDevice&)> onMatch_;
    std::function<void(HidDevice&)> onRemoval_;
    UdevPtr<udev> udev_;
    UdevPtr<udev_monitor> monitor_;
    std::unique_ptr<QSocketNotifier> notifier_;
    // Drops a pending delivery of the present devices when the manager goes or starts again.
    std::unique_ptr<QObject> context_;
    std::map<std::string, std::unique_ptr<HidrawDevice>> devices_;
};

} // namespace ruvola::platform

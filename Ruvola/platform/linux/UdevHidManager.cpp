#include "Ruvola/platform/linux/UdevHidManager.hpp"

#include "Ruvola/platform/linux/HidrawDevice.hpp"

#include <QObject>
#include <QSocketNotifier>

#include <fcntl.h>
#include <libudev.h>
#include <string_view>

namespace ruvola::platform {

UdevHidManager::UdevHidManager() = default;

UdevHidManager::~UdevHidManager() {
    stop();
}

void UdevHidManager::start(std::vector<HidMatch> matching, std::function<void(HidDevice&)> onMatch,
                           std::function<void(HidDevice&)> onRemoval) {
    stop();
    matching_ = std::move(matching);
    onMatch_ = std::move(onMatch);
    onRemoval_ = std::move(onRemoval);

    udev_.reset(udev_new());
    if (!udev_) {
        return;
    }
    // Listening before enumerating, so a node that appears in between is not missed; the one seen
    // both ways is opened once.
    monitor_.reset(udev_monitor_new_from_netlink(udev_.get(), "udev"));
    if (monitor_ &&
        udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), "hidraw", nullptr) >= 0 &&
        udev_monitor_enable_receiving(monitor_.get()) >= 0) {
        notifier_ = std::make_unique<QSocketNotifier>(udev_monitor_get_fd(monitor_.get()),
                                                      QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                         [this] { readMonitor(); });
    }

    context_ = std::make_unique<QObject>();
    QMetaObject::invokeMethod(
        context_.get(), [this] { openPresent(); }, Qt::QueuedConnection);
}

void UdevHidManager::stop() {
    devices_.clear(); // closed without reporting removals
    context_.reset();
    notifier_.reset(); // before the monitor's socket goes away
    monitor_.reset();
    udev_.reset();
}

void UdevHidManager::openPresent() {
    for (const auto& node : enumerateHidraw(udev_.get(), matching_)) {
        if (!devices_.contains(node.syspath)) {
            open(node);
        }
    }
}

void UdevHidManager::readMonitor() {
    while (const UdevPtr<udev_device> device{udev_monitor_receive_device(monitor_.get())}) {
        const char* action = udev_device_get_action(device.get());
        const char* syspath = udev_device_get_syspath(device.get());
        if (action == nullptr || syspath == nullptr) {
            continue;
        }
        const std::string_view kind = action;
        if (kind == "remove") {
            remove(syspath);
        } else if (kind == "add") {
            // A node added under a path still held means its removal was lost (the monitor's
            // buffer overflowed); the held descriptor is dead.
            remove(syspath);
            if (const auto node = matchHidraw(device.get(), matching_)) {
                open(*node);
            }
        }
    }
}

void UdevHidManager::open(const HidrawNode& node) {
    const int descriptor = ::open(node.devnode.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        return; // no permission, or gone already
    }
    auto& device = devices_[node.syspath];
    device = std::make_unique<HidrawDevice>(descriptor, node.vendorID, node.productID);
    if (onMatch_) {
        onMatch_(*device);
    }
}

void UdevHidManager::remove(const std::string& syspath) {
    const auto found = devices_.find(syspath);
    if (found == devices_.end()) {
        return;
    }
    const std::unique_ptr<HidrawDevice> device = std::move(found->second);
    devices_.erase(found);
    if (onRemoval_) {
        onRemoval_(*device);
    }
}

} // namespace ruvola::platform

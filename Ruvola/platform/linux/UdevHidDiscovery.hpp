#pragma once

#include "Ruvola/platform/HidManager.hpp"

#include <string>
#include <string_view>

struct udev;
struct udev_device;
struct udev_enumerate;
struct udev_monitor;

namespace ruvola::platform {

/// Releases a libudev object, so that `UdevPtr` owns one.
struct UdevRelease {
    void operator()(udev* object) const;
    void operator()(udev_device* object) const;
    void operator()(udev_enumerate* object) const;
    void operator()(udev_monitor* object) const;
};

template <typename Object>
using UdevPtr = std::unique_ptr<Object, UdevRelease>;

/// What a HID device's `HID_ID` property names, "BBBB:VVVVVVVV:PPPPPPPP" in hexadecimal.
struct HidIdentity {
    int bus;
    int vendorID;
    int productID;
};

std::optional<HidIdentity> parseHidIdentity(std::string_view property);

/// The page of the first Usage Page item of a report descriptor, which is the page of its first
/// top-level collection; nothing when there is none or the descriptor ends inside an item.
std::optional<int> primaryUsagePage(std::span<const std::uint8_t> descriptor);

/// A hidraw node whose HID device matched.
struct HidrawNode {
    std::string syspath;
    std::string devnode;
    int vendorID;
    int productID;
};

/// `device`, from the hidraw subsystem, when its HID device matches one of `matching`.
std::optional<HidrawNode> matchHidraw(udev_device* device, const std::vector<HidMatch>& matching);

/// The hidraw nodes present now that match one of `matching`.
std::vector<HidrawNode> enumerateHidraw(udev* context, const std::vector<HidMatch>& matching);

/// Finds matching hidraw nodes through udev's view of sysfs; nothing is opened.
class UdevHidDiscovery final : public HidDiscovery {
public:
    std::vector<HidPresence> attached(const std::vector<HidMatch>& matching) const override;
};

} // namespace ruvola::platform

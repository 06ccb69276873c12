#include "Ruvola/platform/linux/UdevHidDiscovery.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <fstream>
#include <iterator>
#include <libudev.h>
#include <unistd.h>

namespace ruvola::platform {

namespace {

std::vector<std::uint8_t> readReportDescriptor(udev_device* hid) {
    const char* syspath = udev_device_get_syspath(hid);
    if (syspath == nullptr) {
        return {};
    }
    // Read as a file: udev's attribute values are strings and the descriptor holds zero bytes.
    std::ifstream file(std::string(syspath) + "/report_descriptor", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

void UdevRelease::operator()(udev* object) const {
    udev_unref(object);
}
void UdevRelease::operator()(udev_device* object) const {
    udev_device_unref(object);
}
void UdevRelease::operator()(udev_enumerate* object) const {
    udev_enumerate_unref(object);
}
void UdevRelease::operator()(udev_monitor* object) const {
    udev_monitor_unref(object);
}

std::optional<HidIdentity> parseHidIdentity(std::string_view property) {
    std::array<int, 3> fields{};
    const char* position = property.data();
    const char* const end = property.data() + property.size();
    for (std::size_t index = 0; index < fields.size(); ++index) {
        if (index > 0) {
            if (position == end || *position != ':') {
                return std::nullopt;
            }
            ++position;
        }
        std::uint32_t value = 0;
        const auto [next, error] = std::from_chars(position, end, value, 16);
        if (error != std::errc{} || value > INT_MAX) {
            return std::nullopt;
        }
        fields[index] = static_cast<int>(value);
        position = next;
    }
    if (position != end) {
        return std::nullopt;
    }
    return HidIdentity{fields[0], fields[1], fields[2]};
}

std::optional<int> primaryUsagePage(std::span<const std::uint8_t> descriptor) {
    constexpr std::uint8_t longItem = 0xFE;
    constexpr std::uint8_t usagePageItem = 0x04; // global item, tag 0, size bits clear
    std::size_t offset = 0;
    while (offset < descriptor.size()) {
        const std::uint8_t prefix = descriptor[offset];
        if (prefix == longItem) {
            if (offset + 1 >= descriptor.size()) {
                return std::nullopt;
            }
            offset += 3 + std::size_t{descriptor[offset + 1]}; // prefix, size, tag, data
            continue;
        }
        const std::size_t size = (prefix & 0x03) == 0x03 ? 4 : prefix & 0x03;
        if (offset + 1 + size > descriptor.size()) {
            return std::nullopt;
        }
        if ((prefix & 0xFC) == usagePageItem) {
            std::uint32_t page = 0;
            for (std::size_t byte = size; byte > 0; --byte) {
                page = (page << 8) | descriptor[offset + byte]; // little-endian
            }
            return static_cast<int>(page & 0xFFFF);
        }
        offset += 1 + size;
    }
    return std::nullopt;
}

std::optional<HidrawNode> matchHidraw(udev_device* device, const std::vector<HidMatch>& matching) {
    const char* syspath = udev_device_get_syspath(device);
    const char* devnode = udev_device_get_devnode(device);
    // Owned by `device`.
    udev_device* hid = udev_device_get_parent_with_subsystem_devtype(device, "hid", nullptr);
    if (syspath == nullptr || devnode == nullptr || hid == nullptr) {
        return std::nullopt;
    }
    const char* property = udev_device_get_property_value(hid, "HID_ID");
    const auto identity = parseHidIdentity(property != nullptr ? property : "");
    if (!identity) {
        return std::nullopt;
    }
    const auto sameDevice = [&](const HidMatch& match) {
        return match.vendorID == identity->vendorID && match.productID == identity->productID;
    };
    if (std::ranges::none_of(matching, sameDevice)) {
        return std::nullopt; // spares reading the descriptors of every other HID device
    }
    const auto page = primaryUsagePage(readReportDescriptor(hid));
    const bool matches = std::ranges::any_of(matching, [&](const HidMatch& match) {
        return sameDevice(match) && page == match.usagePage;
    });
    if (!matches) {
        return std::nullopt;
    }
    return HidrawNode{syspath, devnode, identity->vendorID, identity->productID};
}

std::vector<HidrawNode> enumerateHidraw(udev* context, const std::vector<HidMatch>& matching) {
    std::vector<HidrawNode> nodes;
    const UdevPtr<udev_enumerate> enumerate(context != nullptr ? udev_enumerate_new(context)
                                                               : nullptr);
    if (!enumerate || udev_enumerate_add_match_subsystem(enumerate.get(), "hidraw") < 0 ||
        udev_enumerate_scan_devices(enumerate.get()) < 0) {
        return nodes;
    }
    udev_list_entry* entry = nullptr;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(enumerate.get())) {
        const UdevPtr<udev_device> device(
            udev_device_new_from_syspath(context, udev_list_entry_get_name(entry)));
        if (!device) {
            continue; // gone since the scan
        }
        if (auto node = matchHidraw(device.get(), matching)) {
            nodes.push_back(std::move(*node));
        }
    }
    return nodes;
}

std::vector<HidPresence> UdevHidDiscovery::attached(const std::vector<HidMatch>& matching) const {
    const UdevPtr<udev> context(udev_new());
    std::vector<HidPresence> presences;
    for (const auto& node : enumerateHidraw(context.get(), matching)) {
        presences.push_back(
            {node.vendorID, node.productID, ::access(node.devnode.c_str(), R_OK | W_OK) == 0});
    }
    return presences;
}

} // namespace ruvola::platform

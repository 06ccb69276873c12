#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace ruvola::platform {

/// One opened HID interface of a matched device. Owned by the `HidManager` that reported it; a
/// reference stays valid until the manager's removal callback for it has returned.
class HidDevice {
public:
    virtual ~HidDevice() = default;

    virtual int vendorID() const = 0;
    virtual int productID() const = 0;

    /// Delivers every input report, as read, on the main event loop until the device is removed.
    /// Reports arrive one per call, at most 512 bytes each. Replaces any earlier handler.
    virtual void setInputHandler(std::function<void(std::span<const std::uint8_t>)> handler) = 0;

    /// Writes one output report with report ID 0 followed by `report`. Returns 0 on success, or
    /// the errno of the failed write (never blocks the caller for long).
    virtual int write(std::span<const std::uint8_t> report) = 0;

    /// Reads the feature report `reportID` into a zeroed buffer of `length` bytes, the first of
    /// which is the report ID. Returns the bytes the device gave, or nothing when the read failed.
    virtual std::optional<std::vector<std::uint8_t>> featureReport(std::uint8_t reportID,
                                                                   std::size_t length) = 0;
};

/// What a HID interface must be to be reported: both identifiers and the primary usage page of
/// its report descriptor.
struct HidMatch {
    int vendorID;
    int productID;
    int usagePage;
};

/// Finds matching HID interfaces and follows them as they come and go, without polling.
///
/// Contract:
/// - `start` reports, through `onMatch`, every matching interface present now and each one that
///   appears later, opened and ready; an interface that can't be opened (permission, gone between
///   discovery and open) is skipped. `onRemoval` reports the removal of a device that `onMatch`
///   reported, with the same reference, which is destroyed after the call returns.
/// - All calls arrive on the main event loop, never from inside `start`.
/// - Destroying the manager closes every device without reporting removals.
class HidManager {
public:
    virtual ~HidManager() = default;

    virtual void start(std::vector<HidMatch> matching, std::function<void(HidDevice&)> onMatch,
                       std::function<void(HidDevice&)> onRemoval) = 0;
};

/// A device found by enumeration alone, for diagnostics; nothing is opened.
struct HidPresence {
    int vendorID;
    int productID;
    /// True when this process may open the device's node for reading and writing.
    bool accessible;
};

/// The interfaces matching `matching` that are attached right now, found without opening them,
/// so this works while another process holds them.
class HidDiscovery {
public:
    virtual ~HidDiscovery() = default;

    virtual std::vector<HidPresence> attached(const std::vector<HidMatch>& matching) const = 0;
};

} // namespace ruvola::platform

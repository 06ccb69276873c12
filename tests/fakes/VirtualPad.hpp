#pragma once

#include "Ruvola/platform/HidManager.hpp"

#include <QImage>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ruvola::testing {

/// A stand-in for the CN002 on the HID seam. It checks every output report the way the pad reads
/// it, keeps the six keys' pictures the pad would show, and can be pressed, unplugged, plugged
/// back and made to refuse writes.
///
/// `manager()` makes the HidManager a PadConnection is given; the pad must outlive it.
class VirtualPad {
public:
    VirtualPad();
    ~VirtualPad();

    std::unique_ptr<platform::HidManager> manager();

    // What the pad received, one entry per report, e.g. "DIS", "LIG 0", "LIG 50", "CLE 255",
    // "STP", "CONNECT", "BAT 3 1532" (key and length, once all its chunks arrived), "CLE DC",
    // "HAN", and "feature 1" for a firmware read.
    std::vector<std::string> received;
    /// Reports the pad could not make sense of; a correct host leaves this empty.
    std::vector<std::string> violations;

    /// What a key shows: set by refresh ("STP") from the images and clears before it.
    const std::optional<QImage>& key(int index) const;
    /// The bytes of the last key image that arrived in full, as the pad put them together.
    std::vector<std::uint8_t> lastImage;

    /// The firmware feature report's bytes, or nothing to make the read fail.
    std::optional<std::vector<std::uint8_t>> firmware;
    /// When not 0, the errno every write fails with.
    int refusing = 0;

    /// Sends the input report of a control, e.g. report(0x01, 1) for key 1 down.
    void report(std::uint8_t code, std::uint8_t state = 0);

    void unplug();
    void plugIn(); // does nothing while plugged in

private:
    struct Device;
    struct Manager;

    int take(std::span<const std::uint8_t> report);
    void command(std::span<const std::uint8_t> report);
    void chunk(std::span<const std::uint8_t> report);

    Manager* manager_ = nullptr;
    std::unique_ptr<Device> device_;

    std::array<std::optional<QImage>, 7> pending_;
    std::array<std::optional<QImage>, 7> shown_;

    struct Transfer {
        int key;
        std::size_t length;
        std::vector<std::uint8_t> bytes;
    };
    std::optional<Transfer> transfer_;
};

} // namespace ruvola::testing

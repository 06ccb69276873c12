#pragma once

#include "RuvolaCore/PadInput.hpp"
#include "RuvolaCore/PadModel.hpp"
#include "RuvolaCore/PadProtocol.hpp"

#include <QTimer>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ruvola {

namespace platform {
class HidDevice;
class HidManager;
struct HidMatch;
} // namespace platform

/// The USB link to the pad: finds it, starts it, keeps it awake, decodes its input, sends what it
/// is asked to, and notices when another program takes the pad away and gives it back. Reports
/// through its callbacks and never logs by itself. Lives on the main thread.
class PadConnection final {
public:
    /// A supported pad is attached (with its firmware text when it could be read), or none is.
    struct Status {
        struct Connected {
            PadModel model;
            std::optional<std::string> firmware;
            bool operator==(const Connected&) const = default;
        };
        std::optional<Connected> connected;

        static Status searching() { return {}; }
        bool operator==(const Status&) const = default;
    };

    /// Starts looking for pads through `manager`; nothing is reported during construction.
    /// What the HID side must report for a supported pad: its ids on the command interface.
    static std::vector<platform::HidMatch> supportedPads();

    explicit PadConnection(
        std::unique_ptr<platform::HidManager> manager,
        std::chrono::milliseconds keepaliveInterval = PadProtocol::keepaliveInterval);
    ~PadConnection();

    PadConnection(const PadConnection&) = delete;
    PadConnection& operator=(const PadConnection&) = delete;

    std::function<void(const PadInput&)> onInput;
    std::function<void(const Status&)> onStatus;
    /// Called at the end of every start-up of the pad: whatever the keys showed is gone.
    std::function<void()> onStarted;
    std::function<void(const std::string&)> onLog;

    /// Backlight level used by every start-up.
    int brightness = 50;

    /// Sends the start-up sequence to the attached pad, then calls `onStarted`.
    void restart();
    /// Sends one output report, noticing when the pad refuses it and when it takes reports again.
    void send(std::span<const std::uint8_t> report);
    /// Sends one key's image; the caller sends the refresh after a batch.
    void sendKeyImage(int key, std::span<const std::uint8_t> jpeg);
    /// Blanks the keys and lets the pad go.
    void shutdown();

private:
    void attach(platform::HidDevice& device);
    void detach(platform::HidDevice& device);
    void write(std::span<const std::uint8_t> report);
    std::optional<std::string> firmware();

    std::unique_ptr<platform::HidManager> manager_;
    platform::HidDevice* device_ = nullptr;
    QTimer keepalive_;
    bool lostAccess_ = false;
};

} // namespace ruvola

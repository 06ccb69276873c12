#include "Ruvola/pad/PadConnection.hpp"

#include "Ruvola/platform/HidManager.hpp"

#include <cstdio>

namespace ruvola {
namespace {

constexpr std::uint8_t firmwareReportID = 1;
constexpr std::size_t firmwareReportLength = 20;

std::string refusedCommand(int code) {
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08x", static_cast<unsigned>(code));
    return "The pad refused a command (" + std::string(hex) + "); another app may hold it";
}

} // namespace

PadConnection::PadConnection(std::unique_ptr<platform::HidManager> manager,
                             std::chrono::milliseconds keepaliveInterval)
    : manager_(std::move(manager)) {
    keepalive_.setInterval(keepaliveInterval);
    QObject::connect(&keepalive_, &QTimer::timeout, [this] { send(PadProtocol::keepalive()); });

    manager_->start(
        supportedPads(), [this](platform::HidDevice& device) { attach(device); },
        [this](platform::HidDevice& device) { detach(device); });
}

PadConnection::~PadConnection() = default;

std::vector<platform::HidMatch> PadConnection::supportedPads() {
    std::vector<platform::HidMatch> matching;
    for (const PadModel& model : PadModel::supported()) {
        matching.push_back({model.vendorID, model.productID, PadProtocol::usagePage});
    }
    return matching;
}

void PadConnection::attach(platform::HidDevice& device) {
    const auto model = PadModel::matching(device.vendorID(), device.productID());
    if (!model) {
        return;
    }
    device_ = &device;
    device.setInputHandler([this](std::span<const std::uint8_t> report) {
        if (const auto input = PadProtocol::parse(report); input && onInput) {
            onInput(*input);
        }
    });
    const auto firmwareText = firmware();
    restart();
    keepalive_.start();
    if (onStatus) {
        onStatus(Status{Status::Connected{*model, firmwareText}});
    }
}

void PadConnection::detach(platform::HidDevice& device) {
    if (device_ != &device) {
        return;
    }
    device_ = nullptr;
    lostAccess_ = false;
    keepalive_.stop();
    if (onStatus) {
        onStatus(Status::searching());
    }
}

std::optional<std::string> PadConnection::firmware() {
    const auto report = device_->featureReport(firmwareReportID, firmwareReportLength);
    if (!report) {
        return std::nullopt;
    }
    std::string text;
    for (std::size_t i = 0; i < std::min(report->size(), firmwareReportLength); ++i) {
        const std::uint8_t byte = (*report)[i];
        if (byte >= 0x20 && byte <= 0x7E) {
            text.push_back(static_cast<char>(byte));
        }
    }
    return text.empty() ? std::nullopt : std::optional(text);
}

void PadConnection::restart() {
    if (device_ == nullptr) {
        return;
    }
    // By the same rules as any report: one that gets through after a loss says so and restarts.
    for (const PadProtocol::Report& report : PadProtocol::startup(brightness)) {
        send(report);
    }
    if (onStarted) {
        onStarted();
    }
}

void PadConnection::send(std::span<const std::uint8_t> report) {
    if (device_ == nullptr) {
        return;
    }
    const bool hadLostAccess = lostAccess_;
    write(report);
    if (hadLostAccess && !lostAccess_) {
        if (onLog) {
            onLog("Ruvola has the pad again; restarting it");
        }
        restart();
    }
}

// Writes one report and keeps the lost-access flag, saying so once per loss.
void PadConnection::write(std::span<const std::uint8_t> report) {
    const int code = device_->write(report);
    if (code == 0) {
        lostAccess_ = false;
        return;
    }
    if (!lostAccess_) {
        lostAccess_ = true;
        if (onLog) {
            onLog(refusedCommand(code));
        }
    }
}

void PadConnection::sendKeyImage(int key, std::span<const std::uint8_t> jpeg) {
    if (device_ == nullptr) {
        return;
    }
    for (const PadProtocol::Report& report : PadProtocol::keyImage(key, jpeg)) {
        send(report);
    }
}

void PadConnection::shutdown() {
    for (const PadProtocol::Report& report : PadProtocol::shutdown()) {
        send(report);
    }
}

} // namespace ruvola

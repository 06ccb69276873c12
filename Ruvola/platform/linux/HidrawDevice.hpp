#pragma once

#include "Ruvola/platform/HidManager.hpp"

class QSocketNotifier;

namespace ruvola::platform {

/// An open hidraw node. Input is read on the main loop when the node becomes readable; writes and
/// feature reads go straight to the kernel, which completes them without waiting on the reader.
class HidrawDevice final : public HidDevice {
public:
    /// Takes ownership of `descriptor`, opened non-blocking for reading and writing.
    HidrawDevice(int descriptor, int vendorID, int productID);
    ~HidrawDevice() override;

    HidrawDevice(const HidrawDevice&) = delete;
    HidrawDevice& operator=(const HidrawDevice&) = delete;

    int vendorID() const override { return vendorID_; }
    int productID() const override { return productID_; }
    void setInputHandler(std::function<void(std::span<const std::uint8_t>)> handler) override;
    int write(std::span<const std::uint8_t> report) override;
    std::optional<std::vector<std::uint8_t>> featureReport(std::uint8_t reportID,
                                                           std::size_t length) override;

private:
    void readReports();

    int descriptor_;
    int vendorID_;
    int productID_;
    bool ended_ = false;
    std::function<void(std::span<const std::uint8_t>)> handler_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace ruvola::platform

#include "Ruvola/platform/linux/HidrawDevice.hpp"

#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <cerrno>
#include <linux/hidraw.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace ruvola::platform {

namespace {

constexpr std::size_t inputReportSize = 512;
// The ioctl encodes the length in 14 bits.
constexpr std::size_t largestFeatureReport = (1U << 14) - 1;

} // namespace

HidrawDevice::HidrawDevice(int descriptor, int vendorID, int productID)
    : descriptor_(descriptor), vendorID_(vendorID), productID_(productID),
      notifier_(std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read)) {
    notifier_->setEnabled(false); // until someone takes the reports
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { readReports(); });
}

HidrawDevice::~HidrawDevice() {
    notifier_.reset(); // before the descriptor it listens on goes away
    ::close(descriptor_);
}

void HidrawDevice::setInputHandler(std::function<void(std::span<const std::uint8_t>)> handler) {
    handler_ = std::move(handler);
    notifier_->setEnabled(handler_ && !ended_);
}

int HidrawDevice::write(std::span<const std::uint8_t> report) {
    std::vector<std::uint8_t> buffer(report.size() + 1); // report ID 0 leads
    std::ranges::copy(report, buffer.begin() + 1);
    ssize_t written = 0;
    do {
        written = ::write(descriptor_, buffer.data(), buffer.size());
    } while (written < 0 && errno == EINTR);
    if (written < 0) {
        return errno;
    }
    return static_cast<std::size_t>(written) == buffer.size() ? 0 : EIO;
}

std::optional<std::vector<std::uint8_t>> HidrawDevice::featureReport(std::uint8_t reportID,
                                                                     std::size_t length) {
    if (length == 0 || length > largestFeatureReport) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> buffer(length);
    buffer[0] = reportID;
    const int given = ::ioctl(descriptor_, HIDIOCGFEATURE(length), buffer.data());
    if (given < 0) {
        return std::nullopt;
    }
    buffer.resize(std::min(static_cast<std::size_t>(given), length));
    return buffer;
}

void HidrawDevice::readReports() {
    std::array<std::uint8_t, inputReportSize> report;
    for (;;) {
        const ssize_t length = ::read(descriptor_, report.data(), report.size());
        if (length > 0) {
            // A copy, as the handler may replace itself.
            const auto handler = handler_;
            if (!handler) {
                return;
            }
            handler(std::span(report.data(), static_cast<std::size_t>(length)));
            continue;
        }
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            return;
        }
        // End of file or the node is gone (ENODEV, EIO): the manager hears of the removal from
        // udev; until then a readable descriptor would wake the loop for nothing.
        ended_ = true;
        notifier_->setEnabled(false);
        return;
    }
}

} // namespace ruvola::platform

#include "VirtualPad.hpp"

#include "RuvolaCore/PadProtocol.hpp"

#include <QTimer>

#include <algorithm>
#include <functional>
#include <map>

namespace ruvola::testing {

struct VirtualPad::Device final : platform::HidDevice {
    explicit Device(VirtualPad& pad) : pad_(pad) {}

    int vendorID() const override { return 0x1500; }
    int productID() const override { return 0x3001; }
    void setInputHandler(std::function<void(std::span<const std::uint8_t>)> handler) override {
        handler_ = std::move(handler);
    }
    int write(std::span<const std::uint8_t> report) override { return pad_.take(report); }
    std::optional<std::vector<std::uint8_t>> featureReport(std::uint8_t reportID,
                                                           std::size_t length) override {
        pad_.received.push_back("feature " + std::to_string(reportID));
        auto bytes = pad_.firmware;
        if (bytes && bytes->size() > length) {
            bytes->resize(length);
        }
        return bytes;
    }

    VirtualPad& pad_;
    std::function<void(std::span<const std::uint8_t>)> handler_;
};

struct VirtualPad::Manager final : platform::HidManager {
    explicit Manager(VirtualPad& pad) : pad_(pad) { pad_.manager_ = this; }
    ~Manager() override { pad_.manager_ = nullptr; }

    void start(std::vector<platform::HidMatch> matching,
               std::function<void(platform::HidDevice&)> onMatch,
               std::function<void(platform::HidDevice&)> onRemoval) override {
        matching_ = std::move(matching);
        onMatch_ = std::move(onMatch);
        onRemoval_ = std::move(onRemoval);
        QTimer::singleShot(0, &alive_, [this] { announce(); }); // not after this manager is gone
    }

    // Like the system's manager, reports only devices that match.
    void announce() {
        const bool matches = std::ranges::any_of(matching_, [&](const auto& match) {
            return match.vendorID == 0x1500 && match.productID == 0x3001 &&
                   match.usagePage == PadProtocol::usagePage;
        });
        if (pad_.device_ && onMatch_ && matches) {
            onMatch_(*pad_.device_);
        }
    }

    std::vector<platform::HidMatch> matching_;
    std::function<void(platform::HidDevice&)> onMatch_;
    std::function<void(platform::HidDevice&)> onRemoval_;
    VirtualPad& pad_;
    QObject alive_;
};

VirtualPad::VirtualPad() : device_(std::make_unique<Device>(*this)) {}

VirtualPad::~VirtualPad() = default;

std::unique_ptr<platform::HidManager> VirtualPad::manager() {
    return std::make_unique<Manager>(*this);
}

const std::optional<QImage>& VirtualPad::key(int index) const {
    return shown_.at(static_cast<std::size_t>(index)); // key 0 shows nothing
}

void VirtualPad::report(std::uint8_t code, std::uint8_t state) {
    std::vector<std::uint8_t> bytes(PadProtocol::inputReportSize, 0);
    bytes[0] = 'A', bytes[1] = 'C', bytes[2] = 'K', bytes[9] = code, bytes[10] = state;
    if (device_ && device_->handler_) {
        device_->handler_(bytes);
    }
}

void VirtualPad::unplug() {
    if (!device_) {
        return;
    }
    if (manager_ && manager_->onRemoval_) {
        manager_->onRemoval_(*device_);
    }
    device_.reset();
    transfer_.reset();
}

void VirtualPad::plugIn() {
    if (device_) {
        return;
    }
    device_ = std::make_unique<Device>(*this);
    if (manager_) {
        manager_->announce();
    }
}

int VirtualPad::take(std::span<const std::uint8_t> report) {
    if (refusing != 0) {
        return refusing;
    }
    if (report.size() != PadProtocol::outputReportSize) {
        violations.push_back("report of " + std::to_string(report.size()) + " bytes");
        return 0;
    }
    if (transfer_) {
        chunk(report);
    } else {
        command(report);
    }
    return 0;
}

void VirtualPad::command(std::span<const std::uint8_t> report) {
    // Each command by its name, with where its payload ends: the rest must be zeros.
    static const std::map<std::string, std::ptrdiff_t> ends{
        {"BAT", 13}, {"CLE", 12}, {"CONNECT", 12}, {"DIS", 8}, {"HAN", 8}, {"LIG", 11}, {"STP", 8}};
    const std::string body(report.begin() + 5, report.begin() + 12);
    const auto known = std::find_if(ends.begin(), ends.end(),
                                    [&](const auto& end) { return body.starts_with(end.first); });
    if (!std::equal(report.begin(), report.begin() + 5, "CRT\0\0") || known == ends.end()) {
        violations.push_back("unknown command " + body);
        return;
    }
    const std::string& name = known->first;
    if (!std::all_of(report.begin() + known->second, report.end(), [](auto b) { return b == 0; })) {
        violations.push_back(name + " has bytes after its payload");
    }
    const auto payload = report.subspan(8);
    if (name == "BAT") {
        const std::size_t length = std::size_t{payload[0]} << 24 | std::size_t{payload[1]} << 16 |
                                   std::size_t{payload[2]} << 8 | payload[3];
        transfer_ = Transfer{payload[4], length, {}};
        if (length == 0) {
            chunk({}); // an empty image comes with no chunks
        }
    } else if (name == "LIG") {
        received.push_back("LIG " + std::to_string(payload[2]));
    } else if (name == "CLE" && payload[2] == 'D' && payload[3] == 'C') {
        received.emplace_back("CLE DC");
        pending_.fill(std::nullopt);
        shown_.fill(std::nullopt);
    } else if (name == "CLE") {
        received.push_back("CLE " + std::to_string(payload[3]));
        if (payload[3] == 0xFF) {
            pending_.fill(std::nullopt);
        } else if (payload[3] >= 1 && payload[3] <= 6) {
            pending_[payload[3]].reset();
        }
    } else {
        received.push_back(name);
        if (name == "STP") {
            shown_ = pending_;
        }
    }
}

void VirtualPad::chunk(std::span<const std::uint8_t> report) {
    Transfer& transfer = *transfer_;
    const std::size_t wanted = std::min(report.size(), transfer.length - transfer.bytes.size());
    transfer.bytes.insert(transfer.bytes.end(), report.begin(),
                          report.begin() + static_cast<std::ptrdiff_t>(wanted));
    if (!std::all_of(report.begin() + static_cast<std::ptrdiff_t>(wanted), report.end(),
                     [](std::uint8_t byte) { return byte == 0; })) {
        violations.push_back("image chunk not padded with zeros");
    }
    if (transfer.bytes.size() < transfer.length) {
        return;
    }
    received.push_back("BAT " + std::to_string(transfer.key) + " " +
                       std::to_string(transfer.length));
    QImage picture;
    if (!picture.loadFromData(transfer.bytes.data(), static_cast<int>(transfer.bytes.size()),
                              "JPEG")) {
        violations.push_back("key " + std::to_string(transfer.key) + " image isn't a JPEG");
    } else if (transfer.key >= 1 && transfer.key <= 6) {
        pending_[static_cast<std::size_t>(transfer.key)] = picture;
    } else {
        violations.push_back("image for key " + std::to_string(transfer.key));
    }
    lastImage = std::move(transfer.bytes);
    transfer_.reset();
}

} // namespace ruvola::testing

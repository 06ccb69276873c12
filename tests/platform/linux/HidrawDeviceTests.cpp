#include "Ruvola/platform/linux/HidrawDevice.hpp"
#include "Ruvola/platform/linux/UdevHidDiscovery.hpp"
#include "tests/support/EventLoop.hpp"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <csignal>
#include <numeric>
#include <sys/socket.h>
#include <unistd.h>

using ruvola::platform::HidrawDevice;
using ruvola::testing::waitUntil;

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes pattern(std::size_t size, std::uint8_t seed) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), seed);
    return bytes;
}

// A sequenced-packet socket keeps report boundaries the way a hidraw node does.
TEST(HidrawDeviceTest, CarriesReportsBothWaysUntilThePadGoes) {
    std::signal(SIGPIPE, SIG_IGN); // a write to a closed peer must fail, not end the test
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
    const auto device = std::make_unique<HidrawDevice>(ends[0], 0x1500, 0x3001);
    const int peer = ends[1];
    std::vector<Bytes> reports;
    device->setInputHandler([&](std::span<const std::uint8_t> report) {
        reports.emplace_back(report.begin(), report.end());
    });
    // A write is report ID 0 then the report, in one write.
    const Bytes report = pattern(1024, 7);
    ASSERT_EQ(device->write(report), 0);
    Bytes received(2048);
    ASSERT_EQ(::recv(peer, received.data(), received.size(), 0), 1025);
    EXPECT_EQ(received[0], 0);
    EXPECT_TRUE(std::equal(report.begin(), report.end(), received.begin() + 1));

    // Queued input reports arrive one by one; the end of the node is read in the same pass as the
    // last of them, since a notifier left on would fire at once.
    const std::vector<Bytes> sent = {pattern(1, 1), pattern(64, 2), pattern(512, 3)};
    for (const auto& input : sent) {
        ASSERT_EQ(::send(peer, input.data(), input.size(), 0), std::ssize(input));
    }
    ::close(peer);
    ASSERT_TRUE(waitUntil([&] { return reports.size() >= sent.size(); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(reports, sent) << "no empty report for the end of the node";
    EXPECT_EQ(device->write(pattern(1024, 0)), EPIPE);
    // A socket refuses the feature request the way a node without the report does.
    EXPECT_EQ(device->featureReport(1, 20), std::nullopt);
}

TEST(HidIdentity, ParsesTheHidIDProperty) {
    const auto pad = ruvola::platform::parseHidIdentity("0003:00001500:00003001");
    ASSERT_TRUE(pad.has_value());
    EXPECT_EQ(pad->bus, 3);
    EXPECT_EQ(pad->vendorID, 0x1500);
    EXPECT_EQ(pad->productID, 0x3001);
    EXPECT_EQ(ruvola::platform::parseHidIdentity("0005:0000046D:0000B01a")->productID, 0xB01A);

    for (const char* bad :
         {"", "0003:00001500", "0003:00001500:", "0003:00001500:00003001:1", "0003:00001500:3001x",
          "0003;00001500;00003001", "0003:-1:2", "0003:FFFFFFFF:00003001"}) {
        EXPECT_FALSE(ruvola::platform::parseHidIdentity(bad).has_value()) << bad;
    }
}

TEST(ReportDescriptor, PrimaryUsagePageIsTheFirstUsagePageItem) {
    const std::vector<std::pair<Bytes, std::optional<int>>> cases = {
        {{0x06, 0xA0, 0xFF, 0x09, 0x01, 0xA1, 0x01}, 0xFFA0},
        {{0x05, 0x01, 0x09, 0x06, 0xA1, 0x01, 0x06, 0xA0, 0xFF}, 0x01},
        // Other short items of each size first, then a long item.
        {{0x09, 0x01, 0x15, 0x00, 0x26, 0xFF, 0x00, 0x27, 1, 2, 3, 4, 0xFE, 2, 0x10, 0xAA, 0xBB,
          0x05, 0x0C},
         0x0C},
        {{0x09, 0x01, 0xA1, 0x01, 0xC0}, std::nullopt},
        {{0x06, 0xA0}, std::nullopt},
        {{0xFE, 4, 0x10, 0xAA}, std::nullopt},
        {{0xFE}, std::nullopt},
    };
    for (const auto& [descriptor, page] : cases) {
        EXPECT_EQ(ruvola::platform::primaryUsagePage(descriptor), page)
            << "descriptor of " << descriptor.size() << " bytes";
    }
}

} // namespace

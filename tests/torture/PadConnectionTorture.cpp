#include "Ruvola/pad/PadConnection.hpp"
#include "fakes/VirtualPad.hpp"
#include "support/EventLoop.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>

namespace ruvola {
namespace {

using testing::VirtualPad;
using Strings = std::vector<std::string>;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The sanitizers hold freed blocks back, so resident memory grows without a leak; their own leak
// check stands in for this one.
constexpr bool residentMemoryIsMeaningful = false;
#else
constexpr bool residentMemoryIsMeaningful = true;
#endif

long openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

long residentKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            return std::stol(line.substr(6));
        }
    }
    return -1;
}

struct PadConnectionTorture : ::testing::Test {
    void SetUp() override {
        connection.onStarted = [this] { events.push_back("started"); };
        connection.onLog = [this](const std::string& line) { events.push_back(line); };
        connection.onStatus = [this](const PadConnection::Status& status) {
            events.push_back(status.connected ? "connected" : "searching");
        };
        ASSERT_TRUE(testing::waitUntil([&] { return events.size() == 2; }));
        ASSERT_EQ(events, (Strings{"started", "connected"}));
    }

    // Runs `cycle` 1,000 times after a warm-up, each time comparing what the pad received and
    // what the connection said with the expected lists; returns {descriptors, kB} grown.
    std::pair<long, long> cycles(const std::function<void(int)>& cycle, const Strings& reports,
                                 const std::function<Strings(int)>& said) {
        constexpr int warmUp = 100, count = 1000;
        long descriptors = 0, kilobytes = 0;
        for (int n = -warmUp; n < count; ++n) {
            if (n == 0) {
                descriptors = openDescriptors(), kilobytes = residentKilobytes();
            }
            pad.received.clear();
            events.clear();
            cycle(n);
            if (pad.received != reports || events != said(n)) {
                ADD_FAILURE() << "cycle " << n << ": " << ::testing::PrintToString(pad.received)
                              << " " << ::testing::PrintToString(events);
                break;
            }
        }
        EXPECT_TRUE(pad.violations.empty());
        return {openDescriptors() - descriptors, residentKilobytes() - kilobytes};
    }

    VirtualPad pad;
    PadConnection connection{pad.manager()};
    Strings events;
};

void expectNoGrowth(std::pair<long, long> grown) {
    std::printf("descriptors grown %ld, resident memory grown %ld kB\n", grown.first, grown.second);
    EXPECT_EQ(grown.first, 0);
    if (residentMemoryIsMeaningful) {
        EXPECT_LE(grown.second, 1024) << "kB";
    }
}

TEST_F(PadConnectionTorture, AThousandReplugsEachStartThePadTheSameWayAndLeakNothing) {
    expectNoGrowth(cycles([&](int) { pad.unplug(), pad.plugIn(); },
                          {"feature 1", "DIS", "LIG 0", "LIG 50", "CLE 255", "STP"},
                          [](int) {
                              return Strings{"searching", "started", "connected"};
                          }));
}

TEST_F(PadConnectionTorture, AThousandRefusalsEachSaidOnceAndRecoveredWithARestart) {
    constexpr std::array errors{EBUSY, EACCES, EIO, ENODEV};
    const auto error = [&](int n) { return errors[static_cast<std::size_t>(n + 1000) % 4]; };
    expectNoGrowth(cycles(
        [&](int n) {
            pad.refuseWrites(error(n));
            connection.send(PadProtocol::refresh());
            connection.send(PadProtocol::refresh());
            pad.acceptWrites();
            connection.send(PadProtocol::refresh());
        },
        {"STP", "DIS", "LIG 0", "LIG 50", "CLE 255", "STP"},
        [&](int n) {
            char code[16];
            std::snprintf(code, sizeof code, "0x%08x", static_cast<unsigned>(error(n)));
            return Strings{"The pad refused a command (" + std::string(code) +
                               "); another app may hold it",
                           "Ruvola has the pad again; restarting it", "started"};
        }));
}

} // namespace
} // namespace ruvola

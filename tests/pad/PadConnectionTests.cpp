#include "Ruvola/pad/KeyArt.hpp"
#include "Ruvola/pad/PadConnection.hpp"
#include "RuvolaCore/BindingsFile.hpp"
#include "fakes/VirtualPad.hpp"
#include "support/EventLoop.hpp"
#include "support/Repeat.hpp"

#include <gtest/gtest.h>

#include <cerrno>

namespace ruvola {
namespace {

using testing::VirtualPad;
using testing::waitUntil;
using Strings = std::vector<std::string>;

// Records the connection's callbacks in the order they come.
class PadConnectionTest : public ::testing::Test {
protected:
    void connect(std::chrono::milliseconds keepalive = std::chrono::seconds(10)) {
        connection_ = std::make_unique<PadConnection>(pad_.manager(), keepalive);
        connection_->onStarted = [this] { events_.push_back("started"); };
        connection_->onLog = [this](const std::string& line) { events_.push_back("log " + line); };
        connection_->onStatus = [this](const PadConnection::Status& status) {
            events_.push_back(status.connected
                                  ? "connected " + status.connected->firmware.value_or("?")
                                  : "searching");
        };
    }

    bool attached() {
        return waitUntil(
            [&] { return !events_.empty() && events_.back().starts_with("connected"); });
    }

    // The start-up sequence at `brightness`, after `first`.
    static Strings startup(const std::string& first, int brightness = 50) {
        return {first, "DIS", "LIG 0", "LIG " + std::to_string(brightness), "CLE 255", "STP"};
    }

    VirtualPad pad_;
    std::unique_ptr<PadConnection> connection_;
    Strings events_;
};

TEST_F(PadConnectionTest, StartsThePadInOrderAtEveryAttachAndSaysOnceWhenItIsGone) {
    const std::vector<std::pair<std::optional<std::vector<std::uint8_t>>, std::string>> cases{
        {std::vector<std::uint8_t>{0x01, 'V', '1', '.', '0', 0, 0, 0xFF}, "connected V1.0"},
        {std::vector<std::uint8_t>(20, 0), "connected ?"},
        {std::nullopt, "connected ?"},
        {std::vector<std::uint8_t>(30, 'x'), "connected " + std::string(20, 'x')},
    };
    connect();
    EXPECT_TRUE(events_.empty());
    testing::repeatWithoutGrowth(1000, [&](int n) {
        const auto& [report, connected] = cases[static_cast<std::size_t>(n) % cases.size()];
        pad_.firmware = report; // the first attach is queued, the others follow plugIn()
        connection_->brightness = n % 101;
        pad_.plugIn();
        ASSERT_TRUE(attached());
        ASSERT_EQ(events_, (Strings{"started", connected})) << n;
        ASSERT_EQ(pad_.received, startup("feature 1", n % 101)) << n;
        events_.clear();
        pad_.unplug();
        pad_.unplug();
        ASSERT_EQ(events_, Strings{"searching"}) << n;
        events_.clear();
        pad_.received.clear();
    });
    EXPECT_TRUE(pad_.violations.empty());
}

// The keepalive finds the refusal; the pad is started again on the first command it takes.
TEST_F(PadConnectionTest, SaysOnceWhenThePadIsRefusedAndRestartsItWhenItIsBack) {
    connect(std::chrono::milliseconds(10));
    ASSERT_TRUE(attached());
    ASSERT_TRUE(waitUntil([&] { return pad_.received.back() == "CONNECT"; }));
    events_.clear();
    pad_.refusing = EBUSY;
    ASSERT_TRUE(waitUntil([&] { return !events_.empty(); }));
    connection_->send(PadProtocol::refresh());
    pad_.received.clear();
    pad_.refusing = 0;
    connection_->send(PadProtocol::refresh());
    EXPECT_EQ(events_,
              (Strings{"log The pad refused a command (0x00000010); another app may hold it",
                       "log Ruvola has the pad again; restarting it", "started"}));
    EXPECT_EQ(Strings(pad_.received.begin(), pad_.received.begin() + 6), startup("STP"));

    // A restart whose first report gets through is a report like any other.
    pad_.refusing = EBUSY;
    connection_->send(PadProtocol::refresh());
    pad_.refusing = 0;
    events_.clear();
    connection_->restart();
    EXPECT_EQ(events_.front(), "log Ruvola has the pad again; restarting it");
}

TEST_F(PadConnectionTest, SendsKeyImagesThePadCanShowAndShutsItDown) {
    connect();
    ASSERT_TRUE(attached());
    const auto jpeg =
        KeyArt::jpeg(PadBinding{.control = PadControl::key(3), .name = "R", .color = "#dc1414"}, 0);
    ASSERT_TRUE(jpeg);
    connection_->sendKeyImage(3, *jpeg);
    EXPECT_FALSE(pad_.key(3));
    connection_->send(PadProtocol::refresh());
    ASSERT_TRUE(pad_.key(3));
    const QColor shown = pad_.key(3)->pixelColor(2, 2);
    EXPECT_NEAR(shown.red(), 220, 8);
    connection_->shutdown();
    EXPECT_EQ(Strings(pad_.received.end() - 2, pad_.received.end()), (Strings{"CLE DC", "HAN"}));
    EXPECT_FALSE(pad_.key(3));
    EXPECT_TRUE(pad_.violations.empty()) << pad_.violations.front();
}

} // namespace
} // namespace ruvola

#include "Ruvola/platform/linux/PulseSystemVolume.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/Servers.hpp"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace std::chrono_literals;
using ruvola::platform::PulseSystemVolume;
using ruvola::testing::PulseServer;

namespace {

// A private PulseAudio daemon with one null sink, checked from outside with pactl.
class SystemVolumeTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string missing = PulseServer::missing(); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
        ASSERT_TRUE(server_.start(dir_.path()));
    }

    // How many channels pactl shows at that level.
    static qsizetype channelsAt(const QString& sink, int percent) {
        const QString line = PulseServer::pactl({"get-sink-volume", sink}).section('\n', 0, 0);
        return line.count(QString(" %1% ").arg(percent));
    }

    QTemporaryDir dir_;
    PulseServer server_;
    PulseSystemVolume volume_;
};

TEST_F(SystemVolumeTest, ReadsSetsAndMutesOnlyTheCurrentDefaultSink) {
    for (const auto& [levels, expected] : std::vector<std::pair<QStringList, double>>{
             {{"40%"}, 0.40}, {{"20%", "60%"}, 0.40}, {{"150%"}, 1.0}}) {
        PulseServer::pactl(QStringList{"set-sink-volume", "@DEFAULT_SINK@"} + levels);
        EXPECT_NEAR(volume_.volume().value_or(-1), expected, 0.005)
            << levels.join(' ').toStdString();
    }
    for (const auto& [level, percent] : {std::pair{0.75, 75}, {1.7, 100}, {-0.2, 0}}) {
        EXPECT_TRUE(volume_.setVolume(level)) << level;
        EXPECT_EQ(channelsAt("@DEFAULT_SINK@", percent), 2) << level;
    }

    EXPECT_EQ(volume_.isMuted(), false);
    EXPECT_TRUE(volume_.setMuted(true));
    EXPECT_EQ(PulseServer::pactl({"get-sink-mute", "test"}).trimmed(), "Mute: yes");
    EXPECT_EQ(volume_.isMuted(), true);
    PulseServer::pactl({"set-sink-mute", "test", "0"});
    EXPECT_EQ(volume_.isMuted(), false);

    PulseServer::pactl({"load-module", "module-null-sink", "sink_name=other"});
    PulseServer::pactl({"set-default-sink", "other"});
    EXPECT_TRUE(volume_.setVolume(0.3));
    EXPECT_TRUE(volume_.setMuted(true));
    EXPECT_EQ(channelsAt("other", 30), 2);
    EXPECT_EQ(channelsAt("test", 0), 2);
    EXPECT_EQ(PulseServer::pactl({"get-sink-mute", "test"}).trimmed(), "Mute: no");
}

// The stuck socket stands in for a hung server: connections queue and never get an answer.
TEST(SystemVolume, GivesUpQuicklyWithoutAWorkingServer) {
    QTemporaryDir dir;
    sockaddr_un address{AF_UNIX, {}};
    dir.filePath("stuck.sock").toStdString().copy(address.sun_path, sizeof address.sun_path - 1);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 8), 0);
    setenv("PULSE_SERVER", ("unix:" + std::string(address.sun_path)).c_str(), 1);

    PulseSystemVolume volume(300ms);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(volume.volume(), std::nullopt);
    EXPECT_FALSE(volume.setVolume(0.5));
    EXPECT_EQ(volume.isMuted(), std::nullopt);
    EXPECT_FALSE(volume.setMuted(true));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
    // The default bound keeps to the contract's second.
    const auto again = std::chrono::steady_clock::now();
    EXPECT_EQ(PulseSystemVolume().volume(), std::nullopt);
    EXPECT_LT(std::chrono::steady_clock::now() - again, 1500ms);
    ::close(listener);
}

} // namespace

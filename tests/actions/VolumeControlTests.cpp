// The volume control against a private PulseAudio daemon with a null sink, checked with pactl.
#include "Ruvola/actions/VolumeControl.hpp"
#include "Ruvola/platform/SystemVolume.hpp"
#include "fakes/TestPlatform.hpp"
#include "support/EventLoop.hpp"
#include "support/RecordingLogger.hpp"
#include "support/Servers.hpp"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace ruvola {
namespace {

using testing::waitUntil;
using Key = SystemKey;
using Tap = platform::SystemKeys::Tap;
using Press = testing::RecordingSystemKeys::Press;
using Strings = std::vector<std::string>;

class VolumeControlTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const std::string missing = testing::PulseServer::missing(); !missing.empty()) {
            GTEST_SKIP() << missing;
        }
        ASSERT_TRUE(pulse_.start(home_.path()));
        setLevel("50%");
    }

    bool logged(const std::string& line) {
        return waitUntil([&] { return logger_.contains(line); });
    }

    static void setLevel(const QString& level) {
        testing::PulseServer::pactl({"set-sink-volume", "test", level});
    }
    static QString level() {
        return testing::PulseServer::pactl({"get-sink-volume", "test"})
            .section('/', 1, 1)
            .trimmed();
    }
    static bool muted() {
        return testing::PulseServer::pactl({"get-sink-mute", "test"}).contains("yes");
    }

    QTemporaryDir home_;
    testing::PulseServer pulse_;
    testing::RecordingLogger logger_;
    testing::FakeInputAccess access_;
    testing::RecordingSystemKeys keys_;
    testing::TestPlatform platform_;
};

TEST_F(VolumeControlTest, IgnoredKeysFallBackTapByTapThenStepTheLevelDirectly) {
    if (const std::string missing = testing::XServer::missing(false); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    testing::XServer display;
    ASSERT_TRUE(display.start(false));
    // The real keys, which nothing on this display hears.
    VolumeControl volume(logger_, access_, platform_.systemKeys(), platform_.systemVolume());

    volume.toggleMute();
    EXPECT_TRUE(logged("WARNING The desktop ignored the system mute key; muting directly instead"));
    EXPECT_TRUE(waitUntil(muted));
    volume.changeVolume(true);
    EXPECT_TRUE(logged("WARNING The desktop ignored the system volume keys; setting the level "
                       "directly instead"));
    EXPECT_EQ(logger_.lines(),
              (Strings{"WARNING The desktop ignored the system mute key; muting directly instead",
                       "WARNING The desktop ignored the volume key via the hid tap; trying session",
                       "WARNING The desktop ignored the system volume keys; setting the level "
                       "directly instead"}));
    EXPECT_EQ(volume.volumeKeysWork(), false);
    EXPECT_EQ(level(), "56%"); // 0.5625, and raising it unmuted
    EXPECT_FALSE(muted());

    // Known not to work: each later press steps at once, by a quarter with fine steps.
    volume.setFineVolumeSteps(true);
    volume.changeVolume(false);
    EXPECT_EQ(level(), "55%"); // 0.546875
    volume.toggleMute();
    EXPECT_TRUE(muted());
    EXPECT_EQ(logger_.count(), 3U);
}

TEST_F(VolumeControlTest, AWorkingTapIsLearntAndUsedWithoutFurtherChecks) {
    platform::SystemVolume& sink = platform_.systemVolume();
    keys_.effect = [&](const Press& press) {
        if (press.tap == Tap::session) {
            sink.setVolume(*sink.volume() + (press.key == Key::volumeup ? 0.25 : -0.25));
        }
    };
    VolumeControl volume(logger_, access_, keys_, sink);
    setLevel("100%");
    volume.changeVolume(true); // at the top: nothing to learn from
    setLevel("50%");
    volume.changeVolume(false);
    EXPECT_TRUE(logged("INFO System volume keys work via the session tap: the system's own "
                       "overlay shows"));
    volume.changeVolume(true);
    EXPECT_EQ(logger_.lines(),
              (Strings{"WARNING The desktop ignored the volume key via the hid tap; trying session",
                       "INFO System volume keys work via the session tap: the system's own "
                       "overlay shows"}));
    EXPECT_EQ(keys_.presses, (std::vector<Press>{{Key::volumeup, false, Tap::hid},
                                                 {Key::volumedown, false, Tap::hid},
                                                 {Key::volumedown, false, Tap::session},
                                                 {Key::volumeup, false, Tap::session}}));
    EXPECT_EQ(level(), "50%");
    EXPECT_EQ(volume.tap(), Tap::session);
}

TEST_F(VolumeControlTest, WithoutAccessVolumeAndMuteGoStraightToTheSoundServer) {
    access_.trusted = false;
    VolumeControl volume(logger_, access_, keys_, platform_.systemVolume());
    setLevel("3%");
    volume.changeVolume(false);
    EXPECT_EQ(level(), "0%");
    volume.toggleMute();
    EXPECT_TRUE(muted());
    volume.changeVolume(true);
    EXPECT_EQ(level(), "6%");
    EXPECT_FALSE(muted());
    pulse_.stop(); // a server that has gone: nothing happens, nothing blocks for long
    volume.changeVolume(true);
    volume.toggleMute();
    EXPECT_TRUE(keys_.presses.empty());
    EXPECT_EQ(logger_.count(), 0U);
}

} // namespace
} // namespace ruvola

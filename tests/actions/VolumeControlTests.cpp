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

    static void setLevel(const QString& level) {
        testing::PulseServer::pactl({"set-sink-volume", "test", level});
    }
    static QString level() {
        const QString volume = testing::PulseServer::pactl({"get-sink-volume", "test"});
        return volume.section('/', 1, 1).trimmed();
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
    VolumeControl volume(logger_, access_, keys_, platform_.systemVolume()); // keys nobody hears

    volume.toggleMute();
    EXPECT_TRUE(waitUntil(muted));
    volume.changeVolume(true);
    ASSERT_TRUE(waitUntil([&] { return logger_.count() == 3; }));
    EXPECT_EQ(logger_.lines(),
              (Strings{"WARNING The desktop ignored the system mute key; muting directly instead",
                       "WARNING The desktop ignored the volume key via the hid tap; trying session",
                       "WARNING The desktop ignored the system volume keys; setting the level "
                       "directly instead"}));
    EXPECT_EQ(level(), "56%"); // 0.5625, and raising it unmuted
    EXPECT_FALSE(muted());

    // Known not to work: each later press steps at once, by a quarter with fine steps.
    volume.setFineVolumeSteps(true);
    volume.changeVolume(false);
    EXPECT_EQ(level(), "55%"); // 0.546875
    volume.toggleMute();
    EXPECT_TRUE(muted());
}

TEST_F(VolumeControlTest, AWorkingTapIsLearntAndWithoutAccessTheLevelIsSetDirectly) {
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
    ASSERT_TRUE(waitUntil([&] { return logger_.count() == 2; }));
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

    // Without access, volume and mute go straight to the sound server, down to silence.
    access_.trusted = false;
    setLevel("3%");
    volume.changeVolume(false);
    volume.toggleMute();
    EXPECT_EQ(level(), "0%");
    EXPECT_TRUE(muted());
    EXPECT_EQ(keys_.presses.size(), 4U);
}

} // namespace
} // namespace ruvola

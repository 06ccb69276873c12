#include "Ruvola/actions/ActionRunner.hpp"
#include "fakes/TestPlatform.hpp"
#include "support/EventLoop.hpp"
#include "support/RecordingLogger.hpp"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>

namespace ruvola {
namespace {

using namespace std::chrono_literals;
using testing::waitUntil;
using Key = SystemKey;
using Tap = platform::SystemKeys::Tap;
using Press = testing::RecordingSystemKeys::Press;

class ActionRunnerTest : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("HOME", home_.path().toLocal8Bit().constData(), 1);
        platform_.inputAccessOverride = &access_;
        platform_.systemKeysOverride = &keys_;
    }

    ActionRunner& runner() {
        if (!runner_) {
            runner_ = std::make_unique<ActionRunner>(logger_, platform_, 3s);
        }
        return *runner_;
    }

    void press(const PadAction& action, const std::string& name = "Run") {
        runner().run(action, {PadControl::key(1), name, {}, action}, std::nullopt);
    }

    QTemporaryDir home_;
    testing::RecordingLogger logger_;
    testing::FakeInputAccess access_;
    testing::RecordingSystemKeys keys_;
    testing::TestPlatform platform_;
    std::unique_ptr<ActionRunner> runner_;
};

TEST_F(ActionRunnerTest, LocalWorkLogsEachOutcome) {
    const std::filesystem::path home = home_.path().toStdString(),
                                shortcuts = home / ".local/share/ruvola/shortcuts";
    std::filesystem::create_directories(shortcuts);
    std::ofstream(shortcuts / "Hello") << "#!/bin/sh\ntouch \"$HOME/hello\"\n";
    std::filesystem::permissions(shortcuts / "Hello", std::filesystem::perms::owner_all);

    const std::vector<std::pair<PadAction, std::string>> cases{
        {PadAction::shell("exit 3"), "INFO Key 1 (Run): action failed — exited with status 3"},
        {PadAction::shortcut("Hello"), "INFO Key 1 (Run): shortcut \"Hello\" ran"},
        {PadAction::shortcut("../Hello"), "INFO Key 1 (Run): shortcut \"../Hello\" failed — could "
                                          "not launch: no shortcut can be called \"../Hello\""},
    };
    for (const auto& [action, line] : cases) {
        press(action);
        EXPECT_TRUE(waitUntil([&] { return logger_.contains(line); }, 10s)) << line;
    }
    EXPECT_TRUE(std::filesystem::exists(home / "hello"));
}

TEST_F(ActionRunnerTest, KeysAndTextNeedAccessAndWarnOnlyOnce) {
    access_.trusted = false;
    press(PadAction::keystroke("cmd c"));
    press(PadAction::text("hi"), "Type");
    press(PadAction::system(SystemKey::playpause), "Play");
    EXPECT_EQ(logger_.lines(), std::vector<std::string>{"WARNING Key 1 (Run): needs input access"});
    EXPECT_TRUE(keys_.presses.empty());

    access_.trusted = true;
    press(PadAction::system(SystemKey::playpause), "Play");
    press(PadAction::system(SystemKey::brightnessdown), "Dim");
    EXPECT_EQ(keys_.presses, (std::vector<Press>{{Key::playpause, false, Tap::hid},
                                                 {Key::brightnessdown, false, Tap::hid}}));
}

// Media keys go to a player and brightness to the desktop's service where there is one; else the
// key goes through the first tap that can post, and with none that is said once.
TEST_F(ActionRunnerTest, MediaAndBrightnessKeysGoToTheDesktopElseThroughATapThatPosts) {
    testing::RecordingMediaAndBrightness& services = platform_.desktopServices;
    services.players = 1;
    services.service = true;
    for (const Key key : {Key::playpause, Key::next, Key::brightnessup, Key::brightnessdown}) {
        press(PadAction::system(key));
    }
    EXPECT_EQ(services.told,
              (std::vector<std::string>{"media playpause", "media next", "brighter", "darker"}));
    services.players = 0;
    services.service = false;
    keys_.posting = {Tap::session};
    press(PadAction::system(Key::previous));
    press(PadAction::system(Key::brightnessup));
    EXPECT_EQ(keys_.presses, (std::vector<Press>{{Key::previous, false, Tap::session},
                                                 {Key::brightnessup, false, Tap::session}}));

    runner_.reset();
    keys_.posting = {};
    press(PadAction::system(Key::next));
    press(PadAction::system(Key::volumeup));
    EXPECT_EQ(keys_.presses.size(), 2U);
    EXPECT_EQ(logger_.lines(),
              (std::vector<std::string>{
                  "WARNING No system key can be pressed on this session; grant it"}));
}

TEST(HouseActions, TextIsCutIntoChunksWithoutSplittingACharacter) {
    // One character of 19 units: four people with skin tones, joined.
    const std::string family = "\U0001F468\U0001F3FB\u200D\U0001F469\U0001F3FB\u200D"
                               "\U0001F467\U0001F3FB\u200D\U0001F466\U0001F3FB";
    const std::vector<std::pair<std::string, std::vector<std::size_t>>> cases{
        {std::string(40, 'a'), {16, 16, 8}},
        {std::string(15, 'a') + "🎵", {15, 2}},
        {"ab" + family + "c", {2, 19, 1}},
        {"é\u0301🎵", {4}}};
    for (const auto& [text, sizes] : cases) {
        std::vector<std::size_t> got;
        std::u16string joined;
        for (const std::u16string& chunk : HouseActions::unicodeChunks(text)) {
            got.push_back(chunk.size());
            joined += chunk;
        }
        EXPECT_EQ(got, sizes) << text;
        EXPECT_EQ(QString::fromStdU16String(joined).toStdString(), text);
    }
}

TEST(HouseActions, TargetsNameApplicationsByNameIdOrDesktopEntry) {
    const std::string entry = "/usr/share/applications/org.gnome.gedit.desktop";
    for (const std::string target :
         {"  GEDIT\n", "Gédit", "org.gnome.gedit", "org.gnome.gedit.desktop", entry.c_str(),
          "/usr/share/applications/../applications/org.gnome.gedit.desktop"}) {
        EXPECT_TRUE(HouseActions::openTarget(target, "Gedit", entry)) << target;
    }
    for (const std::string target :
         {"gedit.desktop.desktop", "ged", "https://gedit", "/usr/bin/gedit"}) {
        EXPECT_FALSE(HouseActions::openTarget(target, "Gedit", entry)) << target;
    }
    EXPECT_FALSE(HouseActions::openTarget("/x/a.desktop", "a", ""));
}

} // namespace
} // namespace ruvola

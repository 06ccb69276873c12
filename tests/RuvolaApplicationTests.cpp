#include "Ruvola/RuvolaApplication.hpp"
#include "Ruvola/actions/ActionRunner.hpp"
#include "Ruvola/bindings/BindingsStore.hpp"
#include "Ruvola/platform/Notifier.hpp"
#include "fakes/DriverRig.hpp"
#include "fakes/TestPlatform.hpp"
#include "fakes/VirtualPad.hpp"
#include "support/EventLoop.hpp"
#include "support/RecordingLogger.hpp"

#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>

namespace ruvola {
namespace {

using namespace std::chrono_literals;
using testing::waitUntil;
using Strings = std::vector<std::string>;

// Key 2 has its own binding while "Editor" is in front; key 5 leaves a file behind.
std::string bindings(int brightness = 60, const std::string& keyOne = "Play", int rotation = 90) {
    return R"({"settings": {"brightness": )" + std::to_string(brightness) + R"(, "rotation": )" +
           std::to_string(rotation) + R"(}, "bindings": [
  {"control": "key 1", "name": ")" +
           keyOne + R"(", "icon": "⏯️", "system": "playpause"},
  {"control": "key 2", "name": "Next", "system": "next"},
  {"control": "key 2", "when": ["Editor"], "name": "Save", "keystroke": "cmd s"},
  {"control": "key 3", "name": "Three", "color": "#1db954", "shell": "true"},
  {"control": "key 4", "name": "Four", "shell": "true"},
  {"control": "key 5", "name": "Touch", "shell": "echo pressed >> \"$HOME/presses\""},
  {"control": "left knob", "name": "Count", "left": {"shell": "echo left >> \"$HOME/turns\""},
   "right": {"shell": "echo right >> \"$HOME/turns\""}}
]})";
}

class RuvolaApplicationTest : public ::testing::Test, protected testing::DriverRig {
protected:
    void SetUp() override { save(bindings()); }

    void TearDown() override { application.stop(); }

    void save(const std::string& text) {
        std::filesystem::create_directories(file().parent_path());
        std::ofstream(file().string() + ".tmp") << text;
        std::filesystem::rename(file().string() + ".tmp", file());
    }

    std::filesystem::path file() const {
        return std::filesystem::path(home.path().toStdString()) / ".config/ruvola/bindings.json";
    }

    void start() {
        application.start({AppIdentity{}, &logger, [this] { ++refreshes_; }});
        ASSERT_TRUE(waitUntil([&] { return pad.received.size() >= 12; }));
    }

    // The reports a change makes the pad receive, images without their lengths; once `count`
    // have come, anything beyond them would arrive while the loop runs a little longer.
    Strings next(const std::function<void()>& change, std::size_t count) {
        pad.received.clear();
        change();
        waitUntil([&] { return pad.received.size() >= count; });
        testing::runEventLoop(300ms);
        Strings received;
        for (const std::string& report : pad.received) {
            received.push_back(report.starts_with("BAT") ? report.substr(0, 5) : report);
        }
        return received;
    }

    bool logged(const std::string& line) {
        return waitUntil([&] { return logger.contains(line); });
    }

    int refreshes_ = 0;
};

TEST_F(RuvolaApplicationTest, RedrawsOnlyTheKeysWhoseLookChanged) {
    start();
    // A key without a binding stays as the start-up left it: blank.
    const Strings allKeys{"BAT 1", "BAT 2", "BAT 3", "BAT 4", "BAT 5", "STP"};
    EXPECT_EQ(pad.received.size(), 12U);
    EXPECT_EQ(pad.received.back(), "STP");
    for (int key = 1; key <= 5; ++key) {
        EXPECT_TRUE(pad.key(key).has_value()) << key;
    }
    EXPECT_FALSE(pad.key(6).has_value());
    EXPECT_EQ(application.keyImages()[0].size(), QSize(64, 64));

    EXPECT_EQ(next([&] { save(bindings(60, "Pause")); }, 2), (Strings{"BAT 1", "STP"}));
    EXPECT_EQ(next([&] { save(bindings(80, "Pause")); }, 1), Strings{"LIG 80"});
    EXPECT_EQ(next([&] { save(bindings(80, "Pause")); }, 0), Strings{});
    EXPECT_EQ(next([&] { save(bindings(80, "Pause", 0)); }, 6),
              (Strings{"BAT 1", "BAT 2", "BAT 3", "BAT 4", "BAT 5", "STP"}));

    applications.front.emplace().name = "Editor";
    EXPECT_EQ(next([&] { application.frontmostChanged(); }, 2), (Strings{"BAT 2", "STP"}));
    applications.front.reset();
    EXPECT_EQ(next([&] { application.frontmostChanged(); }, 2), (Strings{"BAT 2", "STP"}));

    Strings restart{"DIS", "LIG 0", "LIG 80", "CLE 255", "STP"};
    restart.insert(restart.end(), allKeys.begin(), allKeys.end());
    EXPECT_EQ(next([&] { application.wokeFromSleep(); }, 11), restart);
    restart.insert(restart.begin(), "feature 1");
    EXPECT_EQ(next([&] { pad.unplug(), pad.plugIn(); }, 12), restart);
    EXPECT_TRUE(pad.violations.empty());
    EXPECT_TRUE(logger.contains("INFO Woke from sleep; restarting the pad"));
}

TEST_F(RuvolaApplicationTest, APressRunsItsActionOnceAndAReleaseRunsNothing) {
    start();
    pad.report(0x05, 1);
    pad.report(0x05, 0);
    EXPECT_TRUE(logged("INFO Key 5 (Touch): action completed"));
    EXPECT_EQ(application.lastControl(), PadControl::key(5));

    application.pad()->onInput(PadInput::knobTurn(Knob::left, 3));
    application.pad()->onInput(PadInput::knobTurn(Knob::left, 0));
    application.pad()->onInput(PadInput::knobPress(Knob::left, true)); // no press slot
    EXPECT_TRUE(waitUntil([&] { return logger.count() >= 5; }));
    testing::runEventLoop(200ms);
    std::ifstream turns(home.filePath("turns").toStdString());
    const std::string both((std::istreambuf_iterator<char>(turns)), {});
    EXPECT_TRUE(both == "right\nleft\n" || both == "left\nright\n") << both;
    std::ifstream presses(home.filePath("presses").toStdString());
    EXPECT_EQ(std::string((std::istreambuf_iterator<char>(presses)), {}), "pressed\n");
}

TEST_F(RuvolaApplicationTest, PanelContentFollowsThePadTheFileAndAccess) {
    const auto texts = [&] {
        Strings lines;
        for (const PanelEntry& entry : application.panelContent()) {
            if (const auto* row = entry.as<PanelRow>()) {
                lines.push_back(row->text + (row->trailing ? " · " + *row->trailing : ""));
            } else if (const auto* text = entry.as<PanelEntry::Text>()) {
                lines.push_back(text->text);
            } else if (const auto* toggle = entry.as<PanelEntry::Toggle>()) {
                lines.push_back(toggle->title + (toggle->isOn ? " on" : " off"));
                toggle->action();
            }
        }
        return lines;
    };
    EXPECT_EQ(application.statusDescription(), "Ruvola, no pad connected");
    start();
    EXPECT_EQ(application.statusDescription(), "Ruvola, Soomfon Stream Controller SE connected");
    EXPECT_EQ(texts(), (Strings{"Soomfon Stream Controller SE", "Controls · 6 Set",
                                "Fine Volume Steps off", "Edit Bindings…"}));
    EXPECT_TRUE(application.runner()->fineVolumeSteps());

    access.trusted = false;
    save(R"({"bindings": [{"control": "key 9"}, {"control": "key 1", "name": "A", "shell": 3}]})");
    ASSERT_TRUE(waitUntil([&] { return !application.store()->file().problems.empty(); }));
    const Strings broken = texts();
    EXPECT_EQ(broken[1], "Access Needed");
    EXPECT_EQ(broken[3], "Controls · 2 to Fix");
    EXPECT_EQ(broken[4], "Fine Volume Steps on");
    EXPECT_FALSE(application.runner()->fineVolumeSteps());
    EXPECT_FALSE(settings.value("fineVolumeSteps").toBool());
}

// Stands in for the watcher of /dev/uinput: the test says when access may have changed.
class ManualNotifier final : public platform::Notifier {
public:
    explicit ManualNotifier(std::function<void()>*& fire) : fire_(fire) {}
    bool start(std::function<void()> notify) override {
        notify_ = std::move(notify);
        fire_ = &notify_;
        return true;
    }

private:
    std::function<void()>*& fire_;
    std::function<void()> notify_;
};

TEST_F(RuvolaApplicationTest, ALostAccessIsLoggedHalfASecondAfterItsNotice) {
    std::function<void()>* accessChanged = nullptr;
    platform.accessWatchers = [&] { return std::make_unique<ManualNotifier>(accessChanged); };
    start();
    EXPECT_TRUE(logger.contains("INFO Input access allowed: system keys and keystrokes on"));
    ASSERT_NE(accessChanged, nullptr);
    (*accessChanged)(); // nothing changed: nothing logged
    access.trusted = false;
    (*accessChanged)();
    EXPECT_TRUE(waitUntil([&] { return logger.contains("INFO Input access removed"); }));
    testing::runEventLoop(600ms);
    const Strings lines = logger.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "INFO Input access removed"), 1);
}

} // namespace
} // namespace ruvola

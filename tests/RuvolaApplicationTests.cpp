#include "Ruvola/RuvolaApplication.hpp"
#include "fakes/DriverRig.hpp"
#include "support/EventLoop.hpp"

#include <gtest/gtest.h>

namespace ruvola {
namespace {

using testing::waitUntil;
using Strings = std::vector<std::string>;

// Key 2 has its own binding while "Editor" is in front; the left knob steps through tracks.
const std::string layout = R"({"settings": {"brightness": 60, "rotation": 90}, "bindings": [
  {"control": "key 1", "name": "Play", "icon": "⏯️", "system": "playpause"},
  {"control": "key 2", "name": "Next", "system": "next"},
  {"control": "key 2", "when": ["Editor"], "name": "Back", "system": "previous"},
  {"control": "key 3", "name": "Three", "color": "#1db954", "shell": "true"},
  {"control": "key 4", "name": "Four", "shell": "true"},
  {"control": "key 5", "name": "TV", "roku": "Home"},
  {"control": "key 6", "name": "Six", "icon": "🎵", "shell": "true"},
  {"control": "left knob", "name": "Tracks", "left": {"system": "previous"},
   "right": {"system": "next"}}
]})";

class RuvolaApplicationTest : public ::testing::Test, protected testing::DriverRig {
protected:
    void SetUp() override {
        save(layout);
        QObject::connect(&application, &RuvolaApplication::changed, [this] { ++changes_; });
    }

    // The reports the driver sends for `change`, images without their lengths, once the driver
    // has announced it.
    Strings next(const std::function<void()>& change) {
        pad.received.clear();
        const int before = changes_;
        change();
        EXPECT_TRUE(waitUntil([&] { return changes_ > before; }));
        return reports();
    }

    int changes_ = 0;
};

TEST_F(RuvolaApplicationTest, SendsOnlyTheKeysWhoseLookChanged) {
    ASSERT_TRUE(start());
    EXPECT_TRUE(pad.key(6).has_value());
    const Strings allKeys{"BAT 1", "BAT 2", "BAT 3", "BAT 4", "BAT 5", "BAT 6", "STP"};
    // Each change is made to the file as the one before left it.
    const struct {
        const char *what, *from, *to;
        Strings reports;
    } cases[] = {
        {"a new name", "Play", "Pause", {"BAT 1", "STP"}},
        {"brightness alone", ": 60", ": 80", {"LIG 80"}},
        {"nothing", "", "", {}},
        {"rotation", ": 90", ": 0", allKeys},
        {"a key unbound",
         R"({"control": "key 4", "name": "Four", "shell": "true"},)",
         "",
         {"CLE 4", "STP"}},
    };
    std::string text = layout;
    for (const auto& c : cases) {
        text.replace(text.find(c.from), std::string_view(c.from).size(), c.to);
        EXPECT_EQ(next([&] { save(text); }), c.reports) << c.what;
    }

    applications.front.emplace().name = "Editor";
    EXPECT_EQ(next([&] { application.frontmostChanged(); }), (Strings{"BAT 2", "STP"}));
    applications.front.reset();
    EXPECT_EQ(next([&] { application.frontmostChanged(); }), (Strings{"BAT 2", "STP"}));

    // A pad that lost its pictures is sent every bound key again, after its own start-up.
    const auto redrawn = [&] {
        const Strings got = reports(), tail{"BAT 1", "BAT 2", "BAT 3", "BAT 5", "BAT 6", "STP"};
        return got.size() > tail.size() && std::equal(tail.rbegin(), tail.rend(), got.rbegin());
    };
    pad.received.clear();
    application.wokeFromSleep();
    EXPECT_TRUE(waitUntil(redrawn)) << ::testing::PrintToString(reports());
    EXPECT_TRUE(pad.violations.empty());
}

TEST_F(RuvolaApplicationTest, InputsRunTheBindingForTheFrontmostApplication) {
    ASSERT_TRUE(start());
    pad.report(0x02, 1);
    pad.report(0x02, 0); // a release runs nothing
    applications.front.emplace().name = "Editor";
    pad.report(0x02, 1); // the frontmost application is read when it changes, not on each press
    application.frontmostChanged();
    pad.report(0x02, 1);
    application.pad()->onInput(PadInput::knobTurn(Knob::left, 3));
    application.pad()->onInput(PadInput::knobTurn(Knob::left, 0));
    application.pad()->onInput(PadInput::knobPress(Knob::left, true)); // no press slot
    Strings pressed;
    for (const auto& press : keys.presses) {
        pressed.push_back(press.key == SystemKey::next ? "next" : "previous");
    }
    EXPECT_EQ(pressed, (Strings{"next", "next", "previous", "next", "previous"}));
    EXPECT_EQ(application.lastControl(), PadControl::knob(Knob::left));

    pad.report(0x05, 1);
    // Network actions are built from the document's settings, which name no Roku here.
    EXPECT_TRUE(logger.contains("WARNING Key 5 (TV): no Roku address in the settings"));
}

} // namespace
} // namespace ruvola

#include "Printers.hpp"
#include "RuvolaCore/BindingsFile.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ruvola {
namespace {

std::string withBindings(const std::string& bindings, const std::string& settings = "") {
    return R"({"bindings": [)" + bindings + "]" +
           (settings.empty() ? "" : R"(, "settings": )" + settings) + "}";
}

struct DocumentCase {
    std::string json;
    std::vector<std::string> problems;
    std::size_t bindings;
};

TEST(BindingsFile, CollectsEveryProblemAsASentenceAndKeepsTheRest) {
    const std::vector<DocumentCase> cases{
        {"", {"bindings.json isn't valid JSON"}, 0},
        {"[]", {"bindings.json isn't valid JSON"}, 0},
        {"{\"bindings\": [", {"bindings.json isn't valid JSON"}, 0},
        {"{\"bindings\": \"\xff\"}", {"bindings.json isn't valid JSON"}, 0},
        {R"({"bindings": {}})", {"bindings.json has no \"bindings\" list"}, 0},
        {R"({"bindings": [1]})", {"bindings.json has no \"bindings\" list"}, 0},
        {R"({"settings": {"rotation": 45}})", {"bindings.json has no \"bindings\" list"}, 0},
        {R"({"bindings": []})", {}, 0},
        {withBindings(R"({"control": "key 9", "shell": "x"})"),
         {"key 9: isn't a control (key 1\u20136, button 1\u20133, left/middle/right knob)"},
         0},
        {withBindings(R"({"shell": "x"}, {"shell": "y"}, {"control": 3, "shell": "z"})"),
         {"entry 1: needs a \"control\"", "entry 2: needs a \"control\"",
          "entry 3: needs a \"control\""},
         0},
        {withBindings(R"({"control": "key 1", "when": [], "shell": "x"})"),
         {"key 1: \"when\" is an app name or a list of them"},
         0},
        {withBindings(R"({"control": "key 1", "when": ["Mail", 3], "shell": "x"})"),
         {"key 1: \"when\" is an app name or a list of them"},
         0},
        {withBindings(R"({"control": "key 1", "color": "#FFF", "shell": "x"})"),
         {"key 1: \"color\" is #rrggbb"},
         0},
        {withBindings(R"({"control": "key 1", "color": "#1DB95G", "shell": "x"})"),
         {"key 1: \"color\" is #rrggbb"},
         0},
        {withBindings(R"({"control": "left knob", "turn": "Volume"})"),
         {"left knob: \"turn\" is volume or brightness"},
         0},
        {withBindings(R"({"control": "left knob", "name": "Nothing"})"),
         {"left knob: a knob needs \"turn\", \"left\", \"right\" or \"press\""},
         0},
        {withBindings(R"({"control": "key 2", "name": "Nothing"})"),
         {"key 2: needs one action: shell, open, keystroke, text, system, shortcut, http, roku, "
          "homeassistant, ntfy"},
         0},
        {withBindings(R"({"control": "key 2", "press": {"shell": "x"}})"),
         {"key 2: needs one action: shell, open, keystroke, text, system, shortcut, http, roku, "
          "homeassistant, ntfy"},
         0},
        {withBindings(R"({"control": "middle knob", "shell": "x", "open": "y"})"),
         {"middle knob: has more than one action (shell, open)"},
         0},
        {withBindings(R"({"control": "key 1", "shell": "a"}, {"control": "KEY 1", "shell": "b"})"),
         {"KEY 1: bound twice; the first one wins"},
         1},
        {withBindings(R"({"control": "key 3", "when": ["Mail", "Notes"], "shell": "a"},
                         {"control": "key 3", "when": "notes", "shell": "b"},
                         {"control": "key 3", "when": "Music", "shell": "c"},
                         {"control": "key 3", "shell": "d"})"),
         {"key 3: bound twice; the first one wins"},
         3},
        {withBindings(R"({"control": "key 9", "enabled": false}, {"enabled": false},
                         {"control": "key 1", "shell": "x", "enabled": true})"),
         {},
         1},
        {withBindings(
             R"({"control": "key 1", "shell": "a"})",
             R"({"brightness": -1, "rotation": 360, "ntfy": 1, "roku": [], "homeassistant": {}})"),
         {"settings: brightness is 0\u2013100", "settings: rotation is 0, 90, 180 or 270",
          "settings: ntfy isn't usable", "settings: roku isn't usable",
          "settings: homeassistant isn't usable"},
         1},
        {withBindings(R"({"control": "key 5", "shell": ""})",
                      R"({"brightness": 50.5, "rotation": 45})"),
         {"settings: brightness is 0\u2013100", "settings: rotation is 0, 90, 180 or 270",
          "key 5: \"shell\" needs a string"},
         0},
    };
    for (const DocumentCase& test : cases) {
        const BindingsFile file = BindingsFile::parse(test.json);
        EXPECT_EQ(file.problems, test.problems) << test.json;
        EXPECT_EQ(file.bindings.size(), test.bindings) << test.json;
    }
}

TEST(BindingsFile, DocumentLevelFailuresIgnoreTheSettings) {
    const BindingsFile file =
        BindingsFile::parse(R"({"settings": {"brightness": 10}, "bindings": 3})");
    EXPECT_EQ(file.settings, LayoutSettings{});
}

TEST(BindingsFile, ReadsSettingsAndTrimsTheHomeAssistantAddress) {
    const BindingsFile file = BindingsFile::parse(withBindings(
        "", R"({"brightness": 0, "rotation": 270, "ntfy": " topic ", "roku": "tv:9000/",
               "homeassistant": "http://ha.local:8123//", "other": 1})"));
    EXPECT_TRUE(file.problems.empty());
    EXPECT_EQ(file.settings,
              (LayoutSettings{0, 270, " topic ", "tv:9000/", "http://ha.local:8123"}));

    EXPECT_EQ(BindingsFile::parse(withBindings("", R"({"brightness": 100.0})")).settings.brightness,
              100);
    EXPECT_EQ(BindingsFile::parse(withBindings("", R"({"rotation": 0})")).settings.rotation, 0);
    EXPECT_EQ(BindingsFile::parse(withBindings("", "[1]")).settings, LayoutSettings{});
}

TEST(BindingsFile, ReadsNamesIconsColoursAndWhenLists) {
    const BindingsFile file = BindingsFile::parse(withBindings(R"(
        {"control": "key 1", "icon": " \t ", "color": "#1DB954", "shell": "a"},
        {"control": "key 2", "name": "", "icon": " 🎵", "when": "Spotify", "shell": "b"},
        {"control": "right knob", "name": 7, "icon": 5, "color": 3, "when": ["ÉCLAIR", "Mail"], "turn": 2,
         "left": {"system": "mute"}}
    )"));
    ASSERT_EQ(file.bindings.size(), 3u) << file.problems.front();
    EXPECT_EQ(file.bindings[0].name, "Key 1");
    EXPECT_EQ(file.bindings[0].icon, std::nullopt);
    EXPECT_EQ(file.bindings[0].color, "#1DB954");
    EXPECT_EQ(file.bindings[1].name, "");
    EXPECT_EQ(file.bindings[1].icon, " 🎵");
    EXPECT_EQ(file.bindings[1].apps, std::vector<std::string>{"spotify"});
    EXPECT_EQ(file.bindings[2].name, "Right Knob");
    EXPECT_EQ(file.bindings[2].color, std::nullopt);
    EXPECT_EQ(file.bindings[2].apps, (std::vector<std::string>{"éclair", "mail"}));
    EXPECT_EQ(file.bindings[2].turnLeft, PadAction::system(SystemKey::mute));
    EXPECT_EQ(file.bindings[2].turnRight, std::nullopt);
}

TEST(BindingsFile, ReadsKnobActionsInPriorityOrder) {
    const BindingsFile file = BindingsFile::parse(withBindings(R"(
        {"control": "left knob", "turn": "volume", "left": {"system": "mute"}},
        {"control": "middle knob", "turn": "brightness", "press": {"open": "Music"}, "shell": "ignored"},
        {"control": "right knob", "press": "not an object", "system": "MUTE", "right": []}
    )"));
    ASSERT_EQ(file.bindings.size(), 3u);
    const PadBinding& left = file.bindings[0];
    EXPECT_EQ(left.turnLeft, PadAction::system(SystemKey::mute));
    EXPECT_EQ(left.turnRight, PadAction::system(SystemKey::volumeup));
    EXPECT_EQ(left.press, std::nullopt);
    const PadBinding& middle = file.bindings[1];
    EXPECT_EQ(middle.turnLeft, PadAction::system(SystemKey::brightnessdown));
    EXPECT_EQ(middle.turnRight, PadAction::system(SystemKey::brightnessup));
    EXPECT_EQ(middle.press, PadAction::open("Music"));
    const PadBinding& right = file.bindings[2];
    EXPECT_EQ(right.press, PadAction::system(SystemKey::mute));
    EXPECT_EQ(right.turnLeft, std::nullopt);

    const BindingsFile broken = BindingsFile::parse(
        withBindings(R"({"control": "left knob", "turn": "volume", "right": {"system": "loud"}})"));
    EXPECT_EQ(broken.problems.size(), 1u);
    EXPECT_TRUE(broken.bindings.empty());
}

TEST(BindingsFile, ChoosesTheWhenBindingOfTheFrontmostApplication) {
    const BindingsFile file = BindingsFile::parse(withBindings(R"(
        {"control": "key 3", "when": ["Spotify"], "shell": "like"},
        {"control": "key 3", "shell": "plain"},
        {"control": "key 3", "when": ["com.apple.Music", "Music"], "shell": "music"},
        {"control": "key 4", "when": "Mail", "shell": "mail only"}
    )"));
    ASSERT_TRUE(file.problems.empty());
    const auto chosen = [&](PadControl control, std::vector<std::string> frontmost) -> std::string {
        const PadBinding* binding = file.binding(control, frontmost);
        return binding == nullptr ? "none" : binding->press->as<PadAction::Shell>()->command;
    };
    EXPECT_EQ(chosen(PadControl::key(3), {"Spotify", "com.spotify.client"}), "like");
    EXPECT_EQ(chosen(PadControl::key(3), {"SPOTIFY"}), "like");
    EXPECT_EQ(chosen(PadControl::key(3), {"Safari", "COM.APPLE.MUSIC"}), "music");
    EXPECT_EQ(chosen(PadControl::key(3), {"Spotify Helper"}), "plain");
    EXPECT_EQ(chosen(PadControl::key(3), {}), "plain");
    EXPECT_EQ(chosen(PadControl::key(4), {}), "none");
    EXPECT_EQ(chosen(PadControl::key(4), {"mail"}), "mail only");
    EXPECT_EQ(chosen(PadControl::key(5), {"mail"}), "none");
}

TEST(BindingsFile, ChoosesTheActionForEachKindOfInput) {
    PadBinding knob{PadControl::knob(Knob::left),
                    "Knob",
                    {},
                    PadAction::shell("press"),
                    PadAction::shell("left"),
                    PadAction::shell("right")};
    PadBinding key{PadControl::key(1), "Key", {}, PadAction::shell("press")};
    EXPECT_EQ(key.action(PadInput::key(1, true)), PadAction::shell("press"));
    EXPECT_EQ(key.action(PadInput::key(1, false)), std::nullopt);
    EXPECT_EQ(key.action(PadInput::button(1, true)), PadAction::shell("press"));
    EXPECT_EQ(key.action(PadInput::button(1, false)), std::nullopt);
    EXPECT_EQ(knob.action(PadInput::knobPress(Knob::left, true)), PadAction::shell("press"));
    EXPECT_EQ(knob.action(PadInput::knobPress(Knob::left, false)), std::nullopt);
    EXPECT_EQ(knob.action(PadInput::knobTurn(Knob::left, -1)), PadAction::shell("left"));
    EXPECT_EQ(knob.action(PadInput::knobTurn(Knob::left, 0)), PadAction::shell("left"));
    EXPECT_EQ(knob.action(PadInput::knobTurn(Knob::left, 3)), PadAction::shell("right"));
}

TEST(BindingsFile, DefaultsTurnTheMiddleKnobIntoAVolumeKnob) {
    const BindingsFile& file = BindingsFile::defaults();
    EXPECT_TRUE(file.problems.empty());
    EXPECT_EQ(file.settings, LayoutSettings{});
    ASSERT_EQ(file.bindings.size(), 1u);
    EXPECT_EQ(file.bindings[0], (PadBinding{PadControl::knob(Knob::middle),
                                            "Volume",
                                            {},
                                            PadAction::system(SystemKey::mute),
                                            PadAction::system(SystemKey::volumedown),
                                            PadAction::system(SystemKey::volumeup)}));
}

} // namespace
} // namespace ruvola

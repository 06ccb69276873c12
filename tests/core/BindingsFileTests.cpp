#include "Printers.hpp"
#include "RuvolaCore/BindingsFile.hpp"

#include <gtest/gtest.h>

namespace ruvola {
namespace {

using namespace std::string_literals;
using Texts = std::vector<std::string>;

// Broken and hostile documents alike give problems and nothing else, and never crash.
TEST(BindingsFile, RefusesABrokenOrHostileDocumentAsAWhole) {
    const std::string invalid = "bindings.json isn't valid JSON";
    const std::string noList = "bindings.json has no \"bindings\" list";
    const std::string deep = std::string(600, '[') + std::string(600, ']');
    const std::pair<std::string, Texts> cases[] = {
        {"[]", {invalid}},
        {R"({"bindings": [)", {invalid}},
        {R"({"bindings": [)" + deep + "]}", {invalid}},
        {"{\"bindings\": []}\0trailing"s, {invalid}},
        {R"({"bindings": [1]})", {noList}},
        {R"({"bindings": [], "settings": {"brightness": 18446744073709551616,
             "rotation": -9223372036854775809}})",
         {"settings: brightness is 0\u2013100", "settings: rotation is 0, 90, 180 or 270"}},
        {"\xEF\xBB\xBF{\"bindings\": []}", {}},
        // Brackets inside a string, even after an escaped quote, don't count as nesting.
        {R"({"bindings": [], "x": "\"[)" + deep + "\"}", {}},
    };
    for (const auto& [json, problems] : cases) {
        EXPECT_EQ(BindingsFile::parse(json), (BindingsFile{{}, problems, {}}))
            << json.substr(0, 80);
    }
}

TEST(BindingsFile, CollectsEveryProblemAsASentenceAndKeepsTheRest) {
    const BindingsFile file = BindingsFile::parse(R"({"bindings": [
        {"control": "key 9", "shell": "x"},
        {"shell": "x"},
        {"control": "key 1", "when": ["Mail", 3], "shell": "x"},
        {"control": "key 1", "color": "#1DB95G", "shell": "x"},
        {"control": "key 1", "color": "#1DB9540", "shell": "x"},
        {"control": "left knob", "turn": "Volume"},
        {"control": "left knob", "name": "Nothing"},
        {"control": "key 2", "name": "Nothing"},
        {"control": "key 2", "press": {"shell": "x"}},
        {"control": "key 9", "enabled": false}, {"enabled": false},
        {"control": "key 1", "shell": "a", "enabled": true},
        {"control": "KEY 1", "shell": "b"},
        {"control": "key 3", "when": ["Mail", "Notes"], "shell": "a"},
        {"control": "key 3", "when": "notes", "shell": "b"},
        {"control": "key 3", "when": "Music", "shell": "c"},
        {"control": "key 3", "shell": "d"}
    ], "settings": {"ntfy": 1}})");
    const std::string noAction = "key 2: needs one action: shell, open, keystroke, text, system, "
                                 "shortcut, http, roku, homeassistant, ntfy";
    const Texts problems{
        "settings: ntfy isn't usable",
        "key 9: isn't a control (key 1\u20136, button 1\u20133, left/middle/right knob)",
        "entry 2: needs a \"control\"",
        "key 1: \"when\" is an app name or a list of them",
        "key 1: \"color\" is #rrggbb",
        "key 1: \"color\" is #rrggbb",
        "left knob: \"turn\" is volume or brightness",
        "left knob: a knob needs \"turn\", \"left\", \"right\" or \"press\"",
        noAction,
        noAction,
        "KEY 1: bound twice; the first one wins",
        "key 3: bound twice; the first one wins",
    };
    EXPECT_EQ(file.problems, problems);
    EXPECT_EQ(file.bindings.size(), 4u);
}

TEST(BindingsFile, ReadsSettingsAndTrimsTheHomeAssistantAddress) {
    const BindingsFile file = BindingsFile::parse(
        R"({"bindings": [], "settings": {"brightness": 0, "rotation": 270, "ntfy": " topic ",
            "roku": "tv:9000/", "homeassistant": "http://ha.local:8123//", "other": 1}})");
    EXPECT_EQ(file,
              (BindingsFile{{}, {}, {0, 270, " topic ", "tv:9000/", "http://ha.local:8123"}}));
    EXPECT_EQ(BindingsFile::parse(R"({"bindings": [], "settings": {"brightness": 100.0}})"),
              (BindingsFile{{}, {}, {100, 90, "", "", ""}}));
    EXPECT_EQ(
        BindingsFile::parse(R"({"bindings": [], "settings": {"brightness": 5.5, "rotation": 45}})")
            .problems,
        (Texts{"settings: brightness is 0\u2013100", "settings: rotation is 0, 90, 180 or 270"}));
}

TEST(BindingsFile, ReadsNamesIconsColoursWhenListsAndKnobActions) {
    const BindingsFile file = BindingsFile::parse(R"({"bindings": [
        {"control": "key 1", "icon": " \t ", "color": "#1DB954", "shell": "a"},
        {"control": "key 2", "name": "", "icon": " 🎵", "when": "Spotify", "shell": "b"},
        {"control": "right knob", "name": 7, "icon": 5, "color": 3, "when": ["ÉCLAIR", "Mail"],
         "turn": 2, "left": {"system": "mute"}},
        {"control": "left knob", "turn": "volume", "left": {"system": "mute"}},
        {"control": "middle knob", "turn": "brightness", "press": {"open": "M"}, "shell": "no"},
        {"control": "right knob", "press": "not an object", "system": "MUTE", "right": []}
    ]})");
    using enum Knob;
    using enum SystemKey;
    const auto key = &PadControl::key;
    const auto knob = &PadControl::knob;
    const auto sk = &PadAction::system;
    const std::vector<PadBinding> expected{
        {key(1), "Key 1", {}, PadAction::shell("a"), {}, {}, {}, "#1DB954"},
        {key(2), "", {"spotify"}, PadAction::shell("b"), {}, {}, " 🎵"},
        {knob(right), "Right Knob", {"éclair", "mail"}, {}, sk(mute)},
        {knob(left), "Left Knob", {}, {}, sk(mute), sk(volumeup)},
        {knob(middle),
         "Middle Knob",
         {},
         PadAction::open("M"),
         sk(brightnessdown),
         sk(brightnessup)},
        {knob(right), "Right Knob", {}, sk(mute)},
    };
    EXPECT_EQ(file, (BindingsFile{expected, {}, {}}));
}

TEST(BindingsFile, ChoosesTheWhenBindingOfTheFrontmostApplication) {
    const BindingsFile file = BindingsFile::parse(R"({"bindings": [
        {"control": "key 3", "when": ["Spotify"], "shell": "like"},
        {"control": "key 3", "shell": "plain"},
        {"control": "key 3", "when": ["com.apple.Music", "Music"], "shell": "music"},
        {"control": "key 4", "when": "Mail", "shell": "mail only"}
    ]})");
    const auto chosen = [&](int key, std::vector<std::string> frontmost) -> std::string {
        const PadBinding* binding = file.binding(PadControl::key(key), frontmost);
        return binding == nullptr ? "none" : binding->press->as<PadAction::Shell>()->command;
    };
    EXPECT_EQ(chosen(3, {"Safari", "SPOTIFY"}), "like");
    EXPECT_EQ(chosen(3, {"COM.APPLE.MUSIC"}), "music");
    EXPECT_EQ(chosen(3, {"Spotify Helper"}), "plain");
    EXPECT_EQ(chosen(4, {}), "none");
    EXPECT_EQ(chosen(4, {"mail"}), "mail only");
    EXPECT_EQ(chosen(5, {"mail"}), "none");
}

} // namespace
} // namespace ruvola

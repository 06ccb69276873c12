#include "Printers.hpp"
#include "RuvolaCore/StarterBindings.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace ruvola {
namespace {

TEST(StarterBindings, IsLaidOutForPeopleToEdit) {
    const std::string text(starterBindings::text());
    EXPECT_TRUE(text.starts_with("{\n  \"_comment\": \"Ruvola reloads this file when you save. "));
    EXPECT_TRUE(text.ends_with("\n  ]\n}\n"));
    EXPECT_EQ(text.find('\t'), std::string::npos);
    EXPECT_NE(
        text.find("\n    { \"control\": \"key 3\", \"when\": [\"Spotify\"], \"name\": \"Like\", "),
        std::string::npos);
    // Blank lines part the knobs, the screen keys and the buttons.
    EXPECT_NE(text.find("\"enabled\": false },\n\n    { \"control\": \"key 1\""),
              std::string::npos);
    EXPECT_NE(text.find("\"roku\": \"Power\" },\n\n    { \"control\": \"button 1\""),
              std::string::npos);
    // The first two icons carry the emoji variation selector.
    EXPECT_NE(text.find("\"icon\": \"\xE2\x8F\xAF\xEF\xB8\x8F\""), std::string::npos);
    EXPECT_NE(text.find("\"icon\": \"\xE2\x8F\xAD\xEF\xB8\x8F\""), std::string::npos);
}

TEST(StarterBindings, KeepsItsMembersInOrder) {
    const auto document = nlohmann::ordered_json::parse(starterBindings::text());
    std::vector<std::string> topLevel;
    for (const auto& [key, value] : document.items()) {
        topLevel.push_back(key);
    }
    EXPECT_EQ(topLevel, (std::vector<std::string>{"_comment", "settings", "bindings"}));
    EXPECT_EQ(document["settings"].dump(),
              R"({"brightness":60,"rotation":90,"roku":"","homeassistant":"","ntfy":""})");
    EXPECT_EQ(
        document["_comment"].get<std::string>(),
        "Ruvola reloads this file when you save. It's the same layout format as Cobbleset, the "
        "standalone pad, so a layout moves between them. Controls: key 1–6 (screen keys: 1 2 3 on "
        "top, 4 5 6 below), button 1–3, left knob, middle knob, right knob; press one with the "
        "Ruvola panel open to see its name. One action per control: open, shell, keystroke, text, "
        "system (volumeup, volumedown, mute, playpause, next, previous, brightnessup, "
        "brightnessdown), shortcut (a Shortcuts.app name), http (a URL, or {url, method, body, "
        "headers}), roku (a remote key like Power, or {launch: app id}; needs settings.roku), "
        "homeassistant (a webhook id; needs settings.homeassistant), ntfy (a message; needs "
        "settings.ntfy). Knobs take turn (volume or brightness), left, right and press. Screen "
        "keys show icon (an emoji) above name, on color (#rrggbb). Give a binding a when list of "
        "app names, like when: [Spotify], to use it only while one of them is in front; enabled: "
        "false switches one off.");

    const std::vector<std::string> expected{
        R"({"control":"middle knob","name":"Volume","turn":"volume","press":{"system":"mute"}})",
        R"({"control":"right knob","name":"Tracks","left":{"system":"previous"},"right":{"system":"next"},"press":{"system":"playpause"}})",
        R"({"control":"left knob","name":"Brightness","turn":"brightness","enabled":false})",
        R"({"control":"key 1","name":"Play","icon":"⏯️","color":"#2c2c2e","system":"playpause"})",
        R"({"control":"key 2","name":"Next","icon":"⏭️","color":"#2c2c2e","system":"next"})",
        R"({"control":"key 3","name":"Spotify","icon":"🎵","color":"#1db954","open":"Spotify"})",
        R"({"control":"key 3","when":["Spotify"],"name":"Like","icon":"💚","color":"#121212","keystroke":"alt shift b"})",
        R"({"control":"key 4","name":"Screenshot","icon":"📸","color":"#0a84ff","keystroke":"cmd shift 4"})",
        R"({"control":"key 5","name":"Lock","icon":"🔒","color":"#3a3a3c","shell":"pmset displaysleepnow"})",
        R"({"control":"key 6","name":"TV","icon":"📺","color":"#6f1ab1","roku":"Power"})",
        R"({"control":"button 1","name":"Lights Off","shortcut":"Lights Off","enabled":false})",
        R"({"control":"button 2","name":"Buzz My Phone","ntfy":"Hello from Ruvola","enabled":false})",
    };
    ASSERT_EQ(document["bindings"].size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(document["bindings"][i].dump(), expected[i]);
    }
}

TEST(StarterBindings, ParsesToNineBindingsWithoutProblems) {
    const BindingsFile& file = starterBindings::file();
    EXPECT_TRUE(file.problems.empty());
    ASSERT_EQ(file.bindings.size(), 9u);
    EXPECT_EQ(file.settings, (LayoutSettings{60, 90, "", "", ""}));
    EXPECT_EQ(file.bindings[0].control, PadControl::knob(Knob::middle));
    EXPECT_EQ(file.bindings[1].press, PadAction::system(SystemKey::playpause));
    EXPECT_EQ(file.bindings[5].apps, std::vector<std::string>{"spotify"});
    EXPECT_EQ(file.bindings[5].press, PadAction::keystroke("alt shift b"));
    EXPECT_EQ(file.bindings[8].press, PadAction::roku(RokuCommand::key("Power")));
    EXPECT_EQ(file.bindings[8].icon, "📺");
}

} // namespace
} // namespace ruvola

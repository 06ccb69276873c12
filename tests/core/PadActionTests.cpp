#include "Printers.hpp"
#include "RuvolaCore/BindingsFile.hpp"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

namespace ruvola {
namespace {

// Reads `members` as the body of a key 1 binding: the action, or the problem it gives.
std::variant<PadAction, std::string> readAction(const std::string& members) {
    const BindingsFile file =
        BindingsFile::parse(R"({"bindings": [{"control": "key 1", )" + members + "}]}");
    if (!file.problems.empty()) {
        return file.problems.front();
    }
    return *file.bindings.at(0).press;
}

struct ActionCase {
    std::string members;
    std::variant<PadAction, std::string> expected;
};

TEST(PadAction, ReadsEachKindAndNamesEveryBadValue) {
    const std::string roku =
        "key 1: \"roku\" is a remote key (\"VolumeUp\") or {\"launch\": app ID}";
    const std::string http = "key 1: \"http\" needs an http(s) URL, or {\"url\": \u2026}";
    HTTPRequest put{"https://example.com/a?b=1", "PUT"};
    HTTPRequest post{"http://localhost:8080/hook",
                     "POST",
                     "{\"on\": true}",
                     {{"Content-Type", "application/json"}}};
    const std::vector<ActionCase> cases{
        {R"("shell": "echo hi")", PadAction::shell("echo hi")},
        {R"("open": "Spotify")", PadAction::open("Spotify")},
        {R"("keystroke": "not parsed here")", PadAction::keystroke("not parsed here")},
        {R"("text": " spaced ")", PadAction::text(" spaced ")},
        {R"("shortcut": "Lights Off")", PadAction::shortcut("Lights Off")},
        {R"("ntfy": "Hello")", PadAction::ntfy("Hello")},
        {R"("homeassistant": "lights")", PadAction::homeAssistant("lights")},
        {R"("system": "MUTE")", PadAction::system(SystemKey::mute)},
        {R"("system": "PlayPause")", PadAction::system(SystemKey::playpause)},
        {R"("roku": "Power")", PadAction::roku(RokuCommand::key("Power"))},
        {R"("roku": {"launch": "12"})", PadAction::roku(RokuCommand::launch("12"))},
        {R"("http": "http://example.com")", PadAction::http(HTTPRequest{"http://example.com"})},
        {R"("http": {"url": "https://example.com/a?b=1", "method": "put", "body": 3,
                     "headers": {"X": "1", "Y": 2}})",
         PadAction::http(put)},
        {R"("http": {"url": "http://localhost:8080/hook", "method": "post", "body": "{\"on\": true}",
                     "headers": {"Content-Type": "application/json"}})",
         PadAction::http(post)},
        {R"("shell": "")", "key 1: \"shell\" needs a string"},
        {R"("open": 3)", "key 1: \"open\" needs a string"},
        {R"("keystroke": ["cmd c"])", "key 1: \"keystroke\" needs a string"},
        {R"("text": {})", "key 1: \"text\" needs a string"},
        {R"("shortcut": null)", "key 1: \"shortcut\" needs a string"},
        {R"("ntfy": false)", "key 1: \"ntfy\" needs a string"},
        {R"("homeassistant": "")", "key 1: \"homeassistant\" needs a string"},
        {R"("homeassistant": "a/b")", "key 1: \"homeassistant\" is a webhook ID"},
        {R"("system": "volume")",
         "key 1: \"system\" is one of volumeup, volumedown, mute, playpause, next, previous, "
         "brightnessup, brightnessdown"},
        {R"("system": 1)", "key 1: \"system\" needs a string"},
        {R"("roku": "")", roku},
        {R"("roku": "a/b")", roku},
        {R"("roku": {"launch": 12})", roku},
        {R"("roku": {"launch": "1/2"})", roku},
        {R"("http": "ftp://example.com")", http},
        {R"("http": "not a url")", http},
        {R"("http": "")", http},
        {R"("http": 80)", http},
        {R"("http": {"method": "POST"})", http},
        {R"("http": {"url": "mailto:someone@example.com"})", http},
        {R"("text": "a", "open": "b")", "key 1: has more than one action (open, text)"},
        {R"("ntfy": 1, "shell": 2, "roku": 3)",
         "key 1: has more than one action (shell, roku, ntfy)"},
    };
    for (const ActionCase& test : cases) {
        EXPECT_EQ(readAction(test.members), test.expected) << test.members;
    }
}

TEST(PadAction, DescribesEachKindOnOneLine) {
    const std::vector<std::pair<PadAction, std::string>> cases{
        {PadAction::shell("pmset displaysleepnow"), "$ pmset displaysleepnow"},
        {PadAction::open("Spotify"), "open Spotify"},
        {PadAction::keystroke("cmd shift 4"), "send cmd shift 4"},
        {PadAction::text("hello"), "type \"hello\""},
        {PadAction::system(SystemKey::brightnessdown), "brightnessdown"},
        {PadAction::shortcut("Lights Off"), "shortcut Lights Off"},
        {PadAction::http(HTTPRequest{"http://example.com/x", "DELETE"}),
         "DELETE http://example.com/x"},
        {PadAction::roku(RokuCommand::key("Power")), "Roku Power"},
        {PadAction::roku(RokuCommand::launch("12")), "Roku app 12"},
        {PadAction::homeAssistant("lights"), "Home Assistant lights"},
        {PadAction::ntfy("Hi there"), "ntfy \"Hi there\""},
    };
    for (const auto& [action, description] : cases) {
        EXPECT_EQ(action.description(), description);
    }
}

TEST(PadAction, KnobTurnsAndSystemKeysMatchTheirRawValuesExactly) {
    EXPECT_EQ(systemKeys::fromRawValue("brightnessup"), SystemKey::brightnessup);
    EXPECT_EQ(systemKeys::fromRawValue("Mute"), std::nullopt);
    EXPECT_EQ(knobTurns::fromRawValue("brightness"), KnobTurn::brightness);
    EXPECT_EQ(knobTurns::fromRawValue("Volume"), std::nullopt);
    EXPECT_EQ(knobTurns::down(KnobTurn::volume), SystemKey::volumedown);
    EXPECT_EQ(knobTurns::up(KnobTurn::brightness), SystemKey::brightnessup);
}

struct RequestCase {
    LayoutSettings settings;
    PadAction action;
    std::variant<HTTPRequest, std::string> expected;
};

TEST(BindingsFileRequest, BuildsEachNetworkActionAgainstTheSettings) {
    const auto with = [](std::string roku, std::string homeAssistant, std::string ntfy) {
        return LayoutSettings{50, 90, std::move(ntfy), std::move(roku), std::move(homeAssistant)};
    };
    const LayoutSettings empty;
    const HTTPRequest stored{"https://example.com", "PUT", "x", {{"A", "b"}}};
    const std::vector<RequestCase> cases{
        {empty, PadAction::http(stored), stored},
        {with("192.168.1.20", "", ""), PadAction::roku(RokuCommand::key("Power")),
         HTTPRequest{"http://192.168.1.20:8060/keypress/Power", "POST"}},
        {with("192.168.1.20:9000", "", ""), PadAction::roku(RokuCommand::launch("12")),
         HTTPRequest{"http://192.168.1.20:9000/launch/12", "POST"}},
        {empty, PadAction::roku(RokuCommand::key("Power")), "no Roku address in the settings"},
        {with("tv room", "", ""), PadAction::roku(RokuCommand::key("Power")),
         "the Roku address isn't usable"},
        {with("", "http://192.168.1.30:8123", ""), PadAction::homeAssistant("lights"),
         HTTPRequest{"http://192.168.1.30:8123/api/webhook/lights", "POST"}},
        {empty, PadAction::homeAssistant("lights"), "no Home Assistant address in the settings"},
        {with("", "http://ha local", ""), PadAction::homeAssistant("lights"),
         "no Home Assistant address in the settings"},
        {with("", "", "my-topic"), PadAction::ntfy("Hello"),
         HTTPRequest{"https://ntfy.sh/my-topic", "POST", "Hello", {{"Title", "Ruvola"}}}},
        {empty, PadAction::ntfy("Hello"), "no ntfy topic in the settings"},
        {with("", "", "a topic"), PadAction::ntfy("Hello"), "no ntfy topic in the settings"},
        {with("tv", "http://ha", "t"), PadAction::keystroke("cmd c"), "isn't a web request"},
        {with("tv", "http://ha", "t"), PadAction::shell("ls"), "isn't a web request"},
        {with("tv", "http://ha", "t"), PadAction::system(SystemKey::mute), "isn't a web request"},
    };
    for (const RequestCase& test : cases) {
        BindingsFile file;
        file.settings = test.settings;
        const auto result = file.request(test.action, "Ruvola");
        if (const auto* request = std::get_if<HTTPRequest>(&test.expected)) {
            ASSERT_TRUE(result.ok()) << result.error().description;
            EXPECT_EQ(result.value(), *request);
        } else {
            ASSERT_FALSE(result.ok()) << result.value().url;
            EXPECT_EQ(result.error().description, std::get<std::string>(test.expected));
        }
    }
}

} // namespace
} // namespace ruvola

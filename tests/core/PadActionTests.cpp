#include "Printers.hpp"
#include "RuvolaCore/BindingsFile.hpp"

#include <gtest/gtest.h>

namespace ruvola {
namespace {

using Outcome = std::variant<PadAction, std::string>;

// Reads `members` as the body of a key 1 binding: the action, or the problem it gives.
Outcome readAction(const std::string& members) {
    const BindingsFile file =
        BindingsFile::parse(R"({"bindings": [{"control": "key 1", )" + members + "}]}");
    return file.problems.empty() ? Outcome(*file.bindings.at(0).press) : file.problems.front();
}

TEST(PadAction, ReadsEachKindAndNamesEveryBadValue) {
    const std::string roku =
        "key 1: \"roku\" is a remote key (\"VolumeUp\") or {\"launch\": app ID}";
    const std::string http = "key 1: \"http\" needs an http(s) URL, or {\"url\": \u2026}";
    const HTTPRequest post{"http://h:8/x", "POST", "{\"on\": 1}", {{"Content-Type", "json"}}};
    const std::pair<std::string, Outcome> cases[] = {
        {R"("shell": "echo hi")", PadAction::shell("echo hi")},
        {R"("text": " spaced ")", PadAction::text(" spaced ")},
        {R"("homeassistant": "lights")", PadAction::homeAssistant("lights")},
        {R"("system": "MUTE")", PadAction::system(SystemKey::mute)},
        {R"("roku": "Power")", PadAction::roku(RokuCommand::key("Power"))},
        {R"("roku": {"launch": "12"})", PadAction::roku(RokuCommand::launch("12"))},
        {R"("http": "http://example.com")", PadAction::http(HTTPRequest{"http://example.com"})},
        // What a URL can't hold as written is percent-encoded, escapes already there kept.
        {R"("http": "https://h/a b|{ü}%41%zz#x#y")",
         PadAction::http(HTTPRequest{"https://h/a%20b%7C%7B%C3%BC%7D%41%25zz#x%23y"})},
        {R"("http": {"url": "http://h:8/x", "method": "post", "body": "{\"on\": 1}",
                     "headers": {"Content-Type": "json"}})",
         PadAction::http(post)},
        {R"("shell": "")", "key 1: \"shell\" needs a string"},
        {R"("homeassistant": "a/b")", "key 1: \"homeassistant\" is a webhook ID"},
        {R"("system": "volume")", "key 1: \"system\" is one of volumeup, volumedown, mute, "
                                  "playpause, next, previous, brightnessup, brightnessdown"},
        {R"("roku": "a/b")", roku},
        {R"("roku": {"launch": "1/2"})", roku},
        {R"("http": "ftp://example.com")", http},
        {R"("http": "http://h:port/")", http},
        {R"("http": {"method": "POST"})", http},
        {R"("ntfy": 1, "shell": 2, "roku": 3)",
         "key 1: has more than one action (shell, roku, ntfy)"},
    };
    for (const auto& [members, expected] : cases) {
        EXPECT_EQ(readAction(members), expected) << members;
    }
}

TEST(BindingsFileRequest, BuildsEachNetworkActionAgainstTheSettings) {
    using Reply = std::variant<HTTPRequest, std::string>;
    const auto post = [](std::string url) { return HTTPRequest{std::move(url), "POST"}; };
    const auto at = [](std::string roku, std::string homeAssistant = "", std::string ntfy = "") {
        return LayoutSettings{50, 90, std::move(ntfy), std::move(roku), std::move(homeAssistant)};
    };
    const auto power = PadAction::roku(RokuCommand::key("Power"));
    const auto launch = PadAction::roku(RokuCommand::launch("12"));
    const auto lights = PadAction::homeAssistant("lights");
    const auto hello = PadAction::ntfy("Hello");
    const HTTPRequest stored{"https://example.com", "PUT", "x", {{"A", "b"}}};
    const struct {
        LayoutSettings settings;
        PadAction action;
        Reply expected;
    } cases[] = {
        {{}, PadAction::http(stored), stored},
        {at("10.0.0.2"), power, post("http://10.0.0.2:8060/keypress/Power")},
        {at("tv:9000"), launch, post("http://tv:9000/launch/12")},
        {{}, power, "no Roku address in the settings"},
        {at("tv:x"), power, "the Roku address isn't usable"},
        {at("tv"), PadAction::roku(RokuCommand::key("Volume Up")),
         post("http://tv:8060/keypress/Volume%20Up")},
        {at("", "http://ha:1"), lights, post("http://ha:1/api/webhook/lights")},
        {{}, lights, "no Home Assistant address in the settings"},
        {at("", "http://ha:x"), lights, "no Home Assistant address in the settings"},
        {at("", "http://ha"), PadAction::homeAssistant("my lights"),
         post("http://ha/api/webhook/my%20lights")},
        {at("", "", "my-topic"), hello,
         HTTPRequest{"https://ntfy.sh/my-topic", "POST", "Hello", {{"Title", "Ruvola"}}}},
        {{}, hello, "no ntfy topic in the settings"},
        {at("tv", "http://ha", "t"), PadAction::shell("ls"), "isn't a web request"},
    };
    for (const auto& test : cases) {
        const BindingsFile file{{}, {}, test.settings};
        const auto result = file.request(test.action, "Ruvola");
        const Reply actual = result.ok() ? Reply(*result) : Reply(result.error().description);
        EXPECT_EQ(actual, test.expected) << test.action.description();
    }
}

} // namespace
} // namespace ruvola

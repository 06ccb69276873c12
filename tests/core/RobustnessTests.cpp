// Hostile and malformed input must give a result or a problem: no crash, no escaping exception.
// Run under the sanitizers, these also catch undefined behaviour.
#include "RuvolaCore/BindingsFile.hpp"
#include "RuvolaCore/KeySpec.hpp"
#include "RuvolaCore/PadProtocol.hpp"
#include "RuvolaCore/StarterBindings.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace ruvola {
namespace {

using namespace std::string_literals;

TEST(Robustness, BindingsParserTurnsHostileDocumentsIntoProblems) {
    const std::vector<std::string> documents{
        std::string(100000, '['),
        std::string(100000, '{'),
        "{\"bindings\": [" + std::string(600, '[') + std::string(600, ']') + "]}",
        R"({"bindings": [{"control": "key 1", "shell": "a"}], "settings": {"brightness": 1e400}})",
        R"({"bindings": [], "settings": {"brightness": 18446744073709551616, "rotation": -9223372036854775809}})",
        R"({"bindings": [{"control": "key 99999999999999999999", "shell": "a"}]})",
        "{\"bindings\": [{\"control\": \"key\u00001\", \"shell\": \"a\"}]}"s,
        "{\"bindings\": []}\0trailing"s,
        "\xEF\xBB\xBF{\"bindings\": []}",
        "{\"bindings\": [{\"control\": \"key 1\", \"shell\": \"\xC3\x28\"}]}",
        R"({"bindings": [{"control": "key 1", "text": "\ud800"}]})",
    };
    for (const std::string& document : documents) {
        EXPECT_NO_THROW(BindingsFile::parse(document)) << document.substr(0, 80);
    }
    EXPECT_EQ(BindingsFile::parse(documents[0]).problems,
              std::vector<std::string>{"bindings.json isn't valid JSON"});
    // A number too large for a double is refused by the JSON reader itself.
    EXPECT_EQ(BindingsFile::parse(documents[3]).problems,
              std::vector<std::string>{"bindings.json isn't valid JSON"});
    EXPECT_EQ(BindingsFile::parse(documents[4]).problems,
              (std::vector<std::string>{"settings: brightness is 0\u2013100",
                                        "settings: rotation is 0, 90, 180 or 270"}));
    EXPECT_EQ(BindingsFile::parse(documents[8]).problems, std::vector<std::string>{});
}

TEST(Robustness, SurvivesRandomBytesAndMutationsOfTheStarter) {
    std::mt19937 random(20261121);
    const std::string starter(starterBindings::text());
    std::uniform_int_distribution<int> byte(0, 255);
    for (int round = 0; round < 2000; ++round) {
        std::string noise(static_cast<std::size_t>(random() % 64), '\0');
        for (char& c : noise) {
            c = static_cast<char>(byte(random));
        }
        std::string mutated = starter;
        for (int edits = 0; edits < 4; ++edits) {
            mutated[random() % mutated.size()] = static_cast<char>(byte(random));
        }
        const std::vector<std::uint8_t> report(noise.begin(), noise.end());
        EXPECT_NO_THROW(BindingsFile::parse(noise));
        EXPECT_NO_THROW(BindingsFile::parse(mutated));
        EXPECT_NO_THROW(KeySpec::parse(noise));
        EXPECT_NO_THROW(PadProtocol::parse(report));
    }
}

TEST(Robustness, KeySpecAndReportParsersRejectMalformedInput) {
    for (const std::string& spec :
         {"\xFF\xFE"s, "cmd\0a"s, "\xE2\x8C"s, std::string(10000, '+'), std::string(10000, ','),
          "\xE2\x8C\x98"s + std::string(5000, 'a')}) {
        EXPECT_FALSE(KeySpec::parse(spec).ok());
    }
    for (std::size_t length = 0; length < 11; ++length) {
        std::vector<std::uint8_t> truncated{'A', 'C', 'K', 0, 0, 0, 0, 0, 0, 0x01, 0x01};
        truncated.resize(length);
        EXPECT_EQ(PadProtocol::parse(truncated), std::nullopt) << length;
    }
}

} // namespace
} // namespace ruvola

#include "RuvolaCore/AppIdentity.hpp"

#include <gtest/gtest.h>

#include <climits>

namespace ruvola {
namespace {

using Texts = std::vector<std::string>;

Texts descriptions(const AppIdentity& identity) {
    Texts out;
    for (const ContractViolation& violation : identity.violations()) {
        out.push_back(violation.description());
    }
    return out;
}

TEST(AppIdentity, EachRuleAndItsMessage) {
    const std::string badName = "name: must begin uppercase and contain letters, digits, or spaces";
    const std::string badBuild = "build: must be a positive integer";
    const std::pair<AppIdentity, Texts> cases[] = {
        {{}, {}},
        {{.name = "Ruvola 2 Go"}, {}},
        {{.name = "Ruvola\n"}, {badName}},
        {{.slug = "ruvola-2", .bundleIdentifier = "ltd.fennick.ruvola-2"}, {}},
        {{.build = "+0"}, {}},
        {{.build = "0"}, {badBuild}},
        {{.build = "-1"}, {badBuild}},
        {{.tagline = " \n\t\u00A0\u2028\r\n "}, {"tagline: must not be empty"}},
    };
    for (const auto& [identity, expected] : cases) {
        EXPECT_EQ(descriptions(identity), expected) << identity.name << identity.build;
    }
    const AppIdentity broken{"", "Ruvola", "", "v1.2.3", "", "14", "", std::nullopt, "ltd"};
    EXPECT_EQ(descriptions(broken),
              (Texts{badName, "slug: must match [a-z][a-z0-9-]*",
                     "bundleIdentifier: must be ltd.Ruvola", "version: must be semantic x.y.z",
                     badBuild, "minimumMacOS: must look like 12.0", "tagline: must not be empty"}));
}

TEST(AppIdentity, VersionParsers) {
    using Parts = std::optional<std::vector<int>>;
    const auto parts = [](const auto& v) {
        return v ? Parts({v->major, v->minor, v->patch}) : Parts();
    };
    const struct {
        const char* text;
        Parts semantic, system;
    } cases[] = {
        {"1.2.3", {{1, 2, 3}}, {{1, 2, 3}}},
        {"+1.-0.3", {{1, 0, 3}}, {{1, 0, 3}}},
        {"2147483647.0.0", {{INT_MAX, 0, 0}}, {{INT_MAX, 0, 0}}},
        {"12.0", {}, {{12, 0, 0}}},
        {"99999999999999999999.0.0", {}, {}},
        {"1.2.3.4", {}, {}},
        {"1..3", {}, {}},
        {"-1.2.3", {}, {}},
        {"1.2.3\n", {}, {}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parts(SemanticVersion::parse(c.text)), c.semantic) << '"' << c.text << '"';
        EXPECT_EQ(parts(OperatingSystemVersion::parse(c.text)), c.system) << '"' << c.text << '"';
    }
}

} // namespace
} // namespace ruvola

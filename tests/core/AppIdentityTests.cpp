#include "RuvolaCore/AppIdentity.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace ruvola {
namespace {

std::vector<std::string> descriptions(const AppIdentity& identity) {
    std::vector<std::string> out;
    for (const ContractViolation& violation : identity.violations()) {
        out.push_back(violation.description());
    }
    return out;
}

TEST(AppIdentity, EachRuleAndItsMessage) {
    using Texts = std::vector<std::string>;
    const std::string badName = "name: must begin uppercase and contain letters, digits, or spaces";
    const std::string badSlug = "slug: must match [a-z][a-z0-9-]*";
    const std::string badBuild = "build: must be a positive integer";
    const struct {
        std::string AppIdentity::*field;
        std::string value;
        Texts expected;
    } cases[] = {
        {&AppIdentity::name, "Ruvola 2 Go", {}},
        {&AppIdentity::name, "ruvola", {badName}},
        {&AppIdentity::name, "", {badName}},
        {&AppIdentity::name, "Ruvola\n", {badName}},
        {&AppIdentity::name, "Ruv\u00F6la", {badName}},
        {&AppIdentity::slug, "Ruvola", {badSlug, "bundleIdentifier: must be ltd.fennick.Ruvola"}},
        {&AppIdentity::bundleIdentifier,
         "ltd.fennick.Ruvola",
         {"bundleIdentifier: must be ltd.fennick.ruvola"}},
        {&AppIdentity::version, "1.2.3", {}},
        {&AppIdentity::version, "v1.2.3", {"version: must be semantic x.y.z"}},
        {&AppIdentity::build, "00", {}},
        {&AppIdentity::build, "+0", {}},
        {&AppIdentity::build, "99999999999999999999999", {}},
        {&AppIdentity::build, "0", {badBuild}},
        {&AppIdentity::build, "", {badBuild}},
        {&AppIdentity::build, "-1", {badBuild}},
        {&AppIdentity::build, "1.0", {badBuild}},
        {&AppIdentity::build, "+", {badBuild}},
        {&AppIdentity::build, " 1", {badBuild}},
        {&AppIdentity::minimumMacOS, "13.5.1", {}},
        {&AppIdentity::minimumMacOS, "14", {"minimumMacOS: must look like 12.0"}},
        {&AppIdentity::tagline, " \n\t\u00A0\u2028\r\n ", {"tagline: must not be empty"}},
    };
    EXPECT_EQ(descriptions(AppIdentity{}), Texts{});
    for (const auto& c : cases) {
        AppIdentity identity;
        identity.*c.field = c.value;
        EXPECT_EQ(descriptions(identity), c.expected) << '"' << c.value << '"';
    }

    AppIdentity renamed;
    renamed.slug = "ruvola-2";
    renamed.bundleIdentifier = "ltd.fennick.ruvola-2";
    EXPECT_EQ(descriptions(renamed), Texts{});

    const AppIdentity broken{"", "", "", "", "", "", "", std::nullopt, "ltd"};
    const Texts inRuleOrder{badName,
                            badSlug,
                            "bundleIdentifier: must be ltd.",
                            "version: must be semantic x.y.z",
                            badBuild,
                            "minimumMacOS: must look like 12.0",
                            "tagline: must not be empty"};
    EXPECT_EQ(descriptions(broken), inRuleOrder);
}

TEST(AppIdentity, EqualityCoversEveryField) {
    AppIdentity other;
    EXPECT_EQ(AppIdentity{}, other);
    other.repositoryURL = "https://example.org/ruvola";
    EXPECT_NE(AppIdentity{}, other);
}

TEST(AppIdentity, VersionParsers) {
    using Parts = std::optional<std::vector<int>>;
    const auto semantic = [](std::string_view text) -> Parts {
        const auto v = SemanticVersion::parse(text);
        return v ? Parts({v->major, v->minor, v->patch}) : std::nullopt;
    };
    const auto system = [](std::string_view text) -> Parts {
        const auto v = OperatingSystemVersion::parse(text);
        return v ? Parts({v->major, v->minor, v->patch}) : std::nullopt;
    };
    const struct {
        const char* text;
        Parts semantic;
        Parts system;
    } cases[] = {
        {"1.2.3", {{1, 2, 3}}, {{1, 2, 3}}},
        {"01.2.3", {{1, 2, 3}}, {{1, 2, 3}}},
        {"+1.-0.3", {{1, 0, 3}}, {{1, 0, 3}}},
        {"2147483647.0.0", {{INT_MAX, 0, 0}}, {{INT_MAX, 0, 0}}},
        {"12.0", std::nullopt, {{12, 0, 0}}},
        {"99999999999999999999.0.0", std::nullopt, std::nullopt},
        {"1.2.3.4", std::nullopt, std::nullopt},
        {"1..3", std::nullopt, std::nullopt},
        {"1.2.x", std::nullopt, std::nullopt},
        {"1.2.+", std::nullopt, std::nullopt},
        {"-1.2.3", std::nullopt, std::nullopt},
        {"v1.2.3", std::nullopt, std::nullopt},
        {"1.2.3\n", std::nullopt, std::nullopt},
        {" 1.2.3", std::nullopt, std::nullopt},
        {"12.", std::nullopt, std::nullopt},
        {".1.2", std::nullopt, std::nullopt},
        {"14", std::nullopt, std::nullopt},
        {"", std::nullopt, std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(semantic(c.text), c.semantic) << '"' << c.text << '"';
        EXPECT_EQ(system(c.text), c.system) << '"' << c.text << '"';
    }
}

} // namespace
} // namespace ruvola

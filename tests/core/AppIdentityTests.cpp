#include "RuvolaCore/AppIdentity.hpp"

#include <gtest/gtest.h>

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

// Versions are read part by part: an optional sign, digits worth zero or more, fitting an int.
TEST(AppIdentity, EachRuleAndItsMessage) {
    const std::string badName = "name: must begin uppercase and contain letters, digits, or spaces";
    const std::string badVersion = "version: must be semantic x.y.z";
    const std::string badBuild = "build: must be a positive integer";
    const std::pair<AppIdentity, Texts> cases[] = {
        {{.name = "Ruvola 2 Go"}, {}},
        {{.name = "Ruvola\n"}, {badName}},
        {{.slug = "ruvola-2", .bundleIdentifier = "ltd.fennick.ruvola-2"}, {}},
        {{.version = "+1.-0.2147483647"}, {}},
        {{.version = "2147483648.0.0"}, {badVersion}},
        {{.version = "1.2.3.4"}, {badVersion}},
        {{.version = "-1.2.3"}, {badVersion}},
        {{.build = "+0"}, {}},
        {{.build = "0"}, {badBuild}},
        {{.build = "-1"}, {badBuild}},
        {{.minimumMacOS = "13.5.1"}, {}},
        {{.tagline = " \n\t\u00A0\u2028\r\n "}, {"tagline: must not be empty"}},
    };
    for (const auto& [identity, expected] : cases) {
        EXPECT_EQ(descriptions(identity), expected) << identity.name << identity.version;
    }
    const AppIdentity broken{"", "Ruvola", "", "v1.2.3", "", "14", "", std::nullopt, "ltd"};
    EXPECT_EQ(descriptions(broken),
              (Texts{badName, "slug: must match [a-z][a-z0-9-]*",
                     "bundleIdentifier: must be ltd.Ruvola", badVersion, badBuild,
                     "minimumMacOS: must look like 12.0", "tagline: must not be empty"}));
}

} // namespace
} // namespace ruvola

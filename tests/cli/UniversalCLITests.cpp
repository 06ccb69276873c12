#include "Ruvola/AppHost.hpp"
#include "Ruvola/host/BuildIdentity.hpp"
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/Platform.hpp"

#include <gtest/gtest.h>

namespace ruvola {
namespace {

TEST(AppHost, TreatsNoArgumentsAsHelpAndRefusesABrokenIdentity) {
    const auto platform = platform::makePlatform();
    const AppIdentity identity = buildIdentity();
    EXPECT_EQ(AppHost::routeCLI(identity, {}, *platform),
              AppHost::routeCLI(identity, {"help"}, *platform));
    EXPECT_EQ(logURL(identity, platform->installation()),
              platform->installation().logDirectory() / "Ruvola.log");
    EXPECT_EQ(AppHost::launchRefusal(identity), std::nullopt);
    EXPECT_EQ(AppHost::launchRefusal(AppIdentity{.tagline = " "}),
              (CLIResult{2, "", "tagline: must not be empty\n"}));
}

TEST(UniversalCLI, AlignsHelpByCharactersAndListsEveryDoctorCheck) {
    const AppIdentity identity{.slug = "x", .tagline = "T."};
    // The whole text is pinned where the program prints it; here, the columns with wide letters.
    const std::string help = UniversalCLI::help(
        identity, std::vector<CLICommandHelp>{{"reticulate", "s"}, {"ünï", "3"}});
    EXPECT_TRUE(help.starts_with("x \u2014 T.\n\n  version     print")) << help;
    EXPECT_NE(help.find("\n  reticulate  s\n  ünï         3\n\n"), std::string::npos) << help;
    const BundleInfo installed{"ltd.fennick.ruvola", "x"};
    const std::string bundle = "\u2713 bundle identifier is ltd.fennick.ruvola\n";
    EXPECT_EQ(UniversalCLI::doctor(AppIdentity{}, {{"pad", true, "here", ""}}, installed),
              (CLIResult{0, bundle + "\u2713 here\n", ""}));
    EXPECT_EQ(
        UniversalCLI::doctor(AppIdentity{.version = "v1"}, {{"pad", true, "here", ""}}, installed),
        (CLIResult{1, bundle + "\u2717 version: version: must be semantic x.y.z\n\u2713 here\n",
                   ""}));
}

} // namespace
} // namespace ruvola

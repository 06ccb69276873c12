#include "Ruvola/AppHost.hpp"
#include "Ruvola/BuildIdentity.hpp"
#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/Platform.hpp"

#include <gtest/gtest.h>

namespace ruvola {
namespace {

TEST(AppHost, RoutesOnlyTheFirstArgument) {
    const auto platform = platform::makePlatform();
    const AppIdentity identity = buildIdentity();
    const CLIResult help = AppHost::routeCLI(identity, {"help"}, *platform);
    EXPECT_EQ(AppHost::routeCLI(identity, {}, *platform), help);
    EXPECT_EQ(AppHost::routeCLI(identity, {"-h", "version"}, *platform), help);
    EXPECT_EQ(AppHost::routeCLI(identity, {"-v", "help"}, *platform),
              (CLIResult{0, "Ruvola " + identity.version + " (" + identity.build + ")\n", ""}));
    EXPECT_EQ(AppHost::routeCLI(identity, {"VERSION"}, *platform),
              (CLIResult{2, help.standardOutput, "error: unknown command: VERSION\n"}));
}

TEST(AppHost, RefusesToLaunchAnIdentityThatBreaksItsRules) {
    EXPECT_EQ(AppHost::launchRefusal(buildIdentity()), std::nullopt);
    AppIdentity broken;
    broken.name = "ruvola";
    broken.tagline = " \n ";
    EXPECT_EQ(AppHost::launchRefusal(broken),
              (CLIResult{2, "",
                         "name: must begin uppercase and contain letters, digits, or spaces\n"
                         "tagline: must not be empty\n"}));
}

TEST(BuildIdentity, NamesTheLogAfterTheProductInThePlatformsLogFolder) {
    const auto platform = platform::makePlatform();
    EXPECT_EQ(logURL(buildIdentity(), platform->installation()),
              platform->installation().logDirectory() / "Ruvola.log");
}

TEST(UniversalCLI, PadsCommandsToTheWidestOne) {
    AppIdentity identity;
    identity.slug = "x";
    identity.tagline = "T.";
    const std::vector<CLICommandHelp> domain{{"reticulate", "splines"},
                                             {"ünï", "counted by character"}};
    EXPECT_EQ(UniversalCLI::help(identity, domain),
              "x \u2014 T.\n\n  version     print the bundled product version\n"
              "  doctor      check universal and product prerequisites\n"
              "  help        show this help\n  reticulate  splines\n"
              "  ünï         counted by character\n\n"
              "With no arguments, launches the menubar app.\n");
}

TEST(UniversalCLI, DoctorListsTheBundleTheIdentityAndTheProductChecks) {
    AppIdentity identity;
    identity.version = "v1";
    identity.build = "0";
    const std::vector<DiagnosticCheck> domain{{"pad", true, "a pad is here", "plug one in"},
                                              {"access", false, "allowed", "grant it"}};
    EXPECT_EQ(
        UniversalCLI::doctor(identity, domain, {"ltd.fennick.ruvola", "run the installed one"}),
        (CLIResult{1,
                   "\u2713 bundle identifier is ltd.fennick.ruvola\n"
                   "\u2717 version: version: must be semantic x.y.z\n"
                   "\u2717 build: build: must be a positive integer\n"
                   "\u2713 a pad is here\n"
                   "\u2717 access: grant it\n",
                   ""}));
    EXPECT_EQ(UniversalCLI::doctor(AppIdentity{}, {}, {std::nullopt, "run the installed one"}),
              (CLIResult{1, "\u2717 bundle: run the installed one\n", ""}));
    EXPECT_EQ(UniversalCLI::doctor(AppIdentity{}, {}, {"LTD.fennick.ruvola", "x"}).exitCode, 1);
    EXPECT_EQ(UniversalCLI::doctor(AppIdentity{}, {}, {"ltd.fennick.ruvola", "x"}),
              (CLIResult{0, "\u2713 bundle identifier is ltd.fennick.ruvola\n", ""}));
}

} // namespace
} // namespace ruvola

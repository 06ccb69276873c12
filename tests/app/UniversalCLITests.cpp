#include "Ruvola/AppHost.hpp"
#include "Ruvola/BuildIdentity.hpp"

#include <gtest/gtest.h>

namespace ruvola {
namespace {

const std::string helpText =
    "ruvola \u2014 Drive a Soomfon control pad from the menu bar, no vendor software.\n"
    "\n"
    "  version  print the bundled product version\n"
    "  doctor   check universal and product prerequisites\n"
    "  help     show this help\n"
    "  watch    print every key, button and knob by its bindings.json name; "
    "ctrl-C stops\n"
    "  check    validate ~/.config/ruvola/bindings.json\n"
    "\n"
    "With no arguments, launches the menubar app.\n";

TEST(AppHost, AnswersHelpAndVersionByEveryAlias) {
    const AppIdentity identity = buildIdentity();
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{}, {"help"}, {"--help"}, {"-h", "extra"}}) {
        EXPECT_EQ(AppHost::routeCLI(identity, arguments), (CLIResult{0, helpText, ""}));
    }
    const std::string version = "Ruvola " + identity.version + " (" + identity.build + ")\n";
    for (const char* alias : {"version", "--version", "-v"}) {
        EXPECT_EQ(AppHost::routeCLI(identity, {alias, "--ignored"}), (CLIResult{0, version, ""}));
    }
}

TEST(AppHost, RefusesUnknownCommandsWithTheHelp) {
    EXPECT_EQ(AppHost::routeCLI(buildIdentity(), {"Help"}),
              (CLIResult{2, helpText, "error: unknown command: Help\n"}));
}

TEST(UniversalCLI, PadsCommandsToTheWidestOne) {
    AppIdentity identity;
    identity.slug = "x";
    identity.tagline = "T.";
    const std::vector<CLICommandHelp> domain{{"reticulate", "splines"}};
    EXPECT_EQ(UniversalCLI::help(identity, domain),
              "x \u2014 T.\n\n  version     print the bundled product version\n"
              "  doctor      check universal and product prerequisites\n"
              "  help        show this help\n  reticulate  splines\n\n"
              "With no arguments, launches the menubar app.\n");
}

} // namespace
} // namespace ruvola

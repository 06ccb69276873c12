// Runs the real ruvola executable, as a user would, in a temporary home with no display; and,
// in process, the help, version and doctor texts.
#include "Ruvola/AppHost.hpp"
#include "Ruvola/cli/RuvolaCLI.hpp"
#include "Ruvola/cli/UniversalCLI.hpp"
#include "Ruvola/host/BuildIdentity.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "RuvolaCore/StarterBindings.hpp"
#include "fakes/TestPlatform.hpp"
#include "support/EventLoop.hpp"
#include "support/Servers.hpp"

#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace ruvola {
namespace {

namespace fs = std::filesystem;
using namespace std::literals;

// Exit code, standard output and standard error of a run.
std::tuple<int, std::string, std::string> run(const QStringList& arguments,
                                              const QString& program = RUVOLA_EXECUTABLE) {
    QProcess process;
    process.start(program, arguments);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(30000));
    return {process.exitCode(), process.readAllStandardOutput().toStdString(),
            process.readAllStandardError().toStdString()};
}

struct CommandLine : ::testing::Test {
    CommandLine() { setenv("HOME", home.path().toLocal8Bit().constData(), 1), unsetenv("DISPLAY"); }

    QTemporaryDir home;
    fs::path bindings = fs::path(home.path().toStdString()) / ".config/ruvola/bindings.json";
};

TEST_F(CommandLine, AnswersEveryCommand) {
    const auto platform = platform::makePlatform();
    const std::string help = AppHost::routeCLI(buildIdentity(), {}, *platform).standardOutput;
    const std::string version = UniversalCLI::version(buildIdentity());
    const std::string broken = R"({"bindings": [
        {"control": "key 1", "shell": "ok"}, {"control": "key 2", "keystroke": "cmd c, cmd v"}]})";
    const std::string problem = "\u2717 key 2: \"cmd c, cmd v\" isn't a single key chord\n";
    // Each row's bindings file is written first: "" leaves it, "/" puts a folder in its place.
    const std::vector<std::tuple<QStringList, std::string, int, std::string, std::string>> rows{
        {{"help"}, "", 0, help, ""},
        {{"-h", "version"}, "", 0, help, ""},
        {{"version", "x"}, "", 0, version, ""},
        {{"-v", "help"}, "", 0, version, ""},
        {{"Help"}, "", 2, help, "error: unknown command: Help\n"},
        {{"check"}, "", 0, "no " + bindings.string() + "; using the defaults\n", ""},
        {{"check", "x"}, std::string(starterBindings::text()), 0, "9 bindings\n", ""},
        {{"check"}, broken, 1, "1 bindings\n", problem},
        {{"check"}, "/", 0, "9 bindings\n", ""},
    };
    for (const auto& [arguments, file, exitCode, out, err] : rows) {
        fs::create_directories(bindings.parent_path());
        if (file == "/") {
            fs::remove(bindings), fs::create_directory(bindings);
        } else if (!file.empty()) {
            std::ofstream(bindings, std::ios::binary) << file;
        }
        EXPECT_EQ(run(arguments), std::tie(exitCode, out, err))
            << arguments.join(' ').toStdString();
    }
}

TEST_F(CommandLine, DoctorFailsOutsideTheInstalledCopyAndPassesTheBundleCheckInIt) {
    const auto [exitCode, out, err] = run({"doctor"});
    // No pad, display, uinput or tray is offered here.
    EXPECT_TRUE(out.starts_with("\u2717 bundle: install Ruvola with cmake --install")) << out;
    EXPECT_NE(out.find("\n\u2717 pad: "), std::string::npos) << out;
    EXPECT_NE(out.find("\n\u2717 desktop: no graphical session"), std::string::npos) << out;
    EXPECT_NE(out.find("\n\u2717 system keys: "), std::string::npos) << out;
    EXPECT_NE(out.find("\n\u2717 tray: "), std::string::npos) << out;
    EXPECT_EQ(std::tuple(exitCode, err, std::ranges::count(out, '\n')), std::tuple(1, ""s, 7L));

    QTemporaryDir prefix;
    const auto install =
        run({"--install", RUVOLA_BUILD_DIR, "--prefix", prefix.path()}, CMAKE_COMMAND);
    ASSERT_EQ(std::get<0>(install), 0) << std::get<2>(install);
    // Run through a link from elsewhere: the copy it runs is the installed one.
    fs::create_symlink(prefix.filePath("bin/ruvola").toStdString(),
                       home.filePath("rv").toStdString());
    EXPECT_TRUE(std::get<1>(run({"doctor"}, home.filePath("rv")))
                    .starts_with("\u2713 bundle identifier is ltd.fennick.ruvola\n"));
}

TEST_F(CommandLine, TheTrayApplicationNeedsADesktopRunsOnceAndStopsCleanly) {
    const auto [code, out, error] = run({});
    EXPECT_EQ(code, 1);
    EXPECT_EQ(out, "");
    EXPECT_TRUE(error.starts_with("ruvola: the tray application needs a desktop session")) << error;

    if (const std::string missing = testing::XServer::missing(false); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    testing::XServer display;
    ASSERT_TRUE(display.start(false));
    setenv("XDG_STATE_HOME", home.path().toLocal8Bit().constData(), 1);
    QProcess tray;
    tray.start(RUVOLA_EXECUTABLE, {});
    const fs::path log = fs::path(home.path().toStdString()) / "ruvola/Ruvola.log";
    const auto logText = [&] {
        std::ifstream file(log);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    ASSERT_TRUE(
        testing::waitUntil([&] { return logText().find("Starting") != std::string::npos; }, 10s));
    // Later launches hand over to the running one and leave at once.
    EXPECT_EQ(std::get<0>(run({})), 0);

    ::kill(static_cast<pid_t>(tray.processId()), SIGTERM);
    ASSERT_TRUE(tray.waitForFinished(10000));
    EXPECT_EQ(tray.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(tray.exitCode(), 0) << tray.readAllStandardError().toStdString();
    EXPECT_TRUE(logText().ends_with("[INFO] Stopped Ruvola\n")) << logText();
    unsetenv("XDG_STATE_HOME");
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
}

// What becomes of a media or brightness key: the desktop's service, else the key, else nothing.
TEST(Doctor, SaysWhatMediaAndBrightnessKeysGoThrough) {
    testing::TestPlatform platform;
    testing::FakeInputAccess access;
    testing::RecordingSystemKeys keys;
    platform.inputAccessOverride = &access;
    platform.systemKeysOverride = &keys;
    testing::RecordingMediaAndBrightness& services = platform.desktopServices;
    const auto lines = [&] {
        std::vector<std::string> out;
        for (const DiagnosticCheck& check : RuvolaCLI::keyRouteChecks(platform)) {
            out.push_back(check.passed ? "+ " + check.success
                                       : "- " + check.name + ": " + check.remedy);
        }
        return out;
    };
    services.players = 2;
    services.service = true;
    keys.posting = {platform::SystemKeys::Tap::session};
    EXPECT_EQ(lines(), (std::vector<std::string>{"+ system keys: through session keys",
                                                 "+ media keys: MPRIS \u2014 2 players",
                                                 "+ brightness: the desktop's service"}));
    services.players = 0;
    services.service = false;
    EXPECT_EQ(lines(),
              (std::vector<std::string>{
                  "+ system keys: through session keys",
                  "+ media keys: no player now; keys through session keys",
                  "+ brightness: no desktop service or backlight; keys through session keys"}));
    keys.posting = {};
    EXPECT_EQ(lines(), (std::vector<std::string>{
                           "- system keys: grant it",
                           "- media keys: no player now, and no way to press keys: start a "
                           "media player, or grant it",
                           "- brightness: no backlight and no desktop service, and no way to "
                           "press keys: grant it"}));
}

} // namespace
} // namespace ruvola

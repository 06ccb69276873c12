#include "Ruvola/platform/Installation.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "tests/platform/ScopedEnvironment.hpp"

#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>
#include <pwd.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string run(const fs::path& program) {
    QProcess process;
    process.start(QString::fromStdString(program.string()), {});
    if (!process.waitForFinished(10'000)) {
        return "did not finish";
    }
    return process.readAllStandardOutput().toStdString();
}

TEST(Installation, RecognisesTheInstalledCopyByTheDesktopEntryInItsPrefix) {
    EXPECT_EQ(ruvola::platform::makePlatform()->installation().bundleIdentifier(), std::nullopt)
        << "the build tree's copy is not installed";

    QTemporaryDir root;
    const fs::path prefix = fs::path(root.path().toStdString()) / "usr";
    const fs::path installed = prefix / "bin" / "ruvola";
    fs::create_directories(installed.parent_path());
    fs::copy_file(RUVOLA_PLATFORM_PROBE, installed);
    EXPECT_EQ(run(installed), "none\nruvola\n");

    fs::create_directories(prefix / "share" / "applications");
    std::ofstream(prefix / "share" / "applications" / "ltd.fennick.ruvola.desktop") << "";
    EXPECT_EQ(run(installed), "ltd.fennick.ruvola\nruvola\n");

    // A link elsewhere still runs the installed copy.
    const fs::path link = fs::path(root.path().toStdString()) / "bin" / "rv";
    fs::create_directories(link.parent_path());
    fs::create_symlink(installed, link);
    EXPECT_EQ(run(link), "ltd.fennick.ruvola\nruvola\n");
}

TEST(Installation, FindsTheUsersFoldersFromTheEnvironment) {
    const auto platform = ruvola::platform::makePlatform();
    const auto& installation = platform->installation();
    ruvola::testing::ScopedEnvironment environment;
    environment.set("HOME", "/home/tester");

    const std::vector<std::pair<std::optional<std::string>, fs::path>> cases = {
        {std::nullopt, "/home/tester/.local/state/ruvola"},
        {"/var/state", "/var/state/ruvola"},
        {"relative/state", "/home/tester/.local/state/ruvola"},
        {"", "/home/tester/.local/state/ruvola"},
    };
    for (const auto& [stateHome, expected] : cases) {
        environment.set("XDG_STATE_HOME", stateHome);
        EXPECT_EQ(installation.logDirectory(), expected) << stateHome.value_or("unset");
    }
    EXPECT_EQ(installation.homeDirectory(), "/home/tester");

    environment.set("HOME", std::nullopt);
    const passwd* entry = getpwuid(getuid());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(installation.homeDirectory(), entry->pw_dir);
}

} // namespace

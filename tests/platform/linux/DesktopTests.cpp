#include "Ruvola/platform/Desktop.hpp"
#include "Ruvola/platform/Launcher.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/PrivateDesktop.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <unistd.h>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace ruvola {
namespace {

using platform::RunningApplication;

const fs::path& desktop = testing::privateDesktop(RUVOLA_TEST_WINDOW);

/// The ID of each application started so far, marked "here" when its parent is this process.
std::multiset<std::string> started() {
    std::ifstream log(desktop / "started.log");
    std::multiset<std::string> lines;
    for (std::string line; std::getline(log, line);) {
        lines.insert(line.substr(0, line.find(' ')) +
                     (line.ends_with(" " + std::to_string(getpid())) ? " here" : ""));
    }
    return lines;
}

std::string reasonOf(const ActionCompletion& completion) {
    const ActionFailure* failure = completion.failure();
    return failure != nullptr ? failure->description() : "succeeded";
}

TEST(Launcher, StartsByDesktopEntryElseFromPathAndReopensByEntry) {
    const auto platform = platform::makePlatform();
    platform::Launcher& launcher = platform->launcher();
    const auto none = [](const std::string&, const std::string&) { return false; };
    const RunningApplication files{"Files", "files",
                                   (desktop / "applications/files.desktop").string(), 0, ""};
    RunningApplication uninstalled = files;
    uninstalled.desktopEntry = (desktop / "applications/uninstalled.desktop").string();
    fs::remove(desktop / "started.log");

    const std::vector<std::pair<ActionCompletion, std::string>> cases{
        {launcher.launch(
             "Files", [](const std::string& name, const std::string&) { return name == "Files"; }),
         "succeeded"},
        // The id reaches the match without ".desktop".
        {launcher.launch("beta", [](const std::string&,
                                    const std::string& id) { return id == "org.example.Beta"; }),
         "succeeded"},
        {launcher.launch("ruvola-path-app", none), "succeeded"},
        {launcher.reopen(files), "succeeded"},
        {launcher.reopen({"Delta", "delta", "", 0, ""}), "succeeded"}, // no entry: nothing to do
        {launcher.launch("nothing-here", none),
         "could not launch: no application called \"nothing-here\""},
    };
    for (const auto& [completion, reason] : cases) {
        EXPECT_EQ(reasonOf(completion), reason);
    }
    EXPECT_NE(reasonOf(launcher.reopen(uninstalled)).find(uninstalled.desktopEntry),
              std::string::npos);
    ASSERT_TRUE(testing::waitUntil([] { return started().size() == 4; }, 10s));
    // The program on PATH is detached from this process, not its child.
    EXPECT_EQ(started(), (std::multiset<std::string>{"beta", "delta", "files", "files"}));

    EXPECT_TRUE(launcher.isFileManager(files));
    EXPECT_FALSE(launcher.isFileManager({"Files", "files", "", 0, ""}));
    EXPECT_FALSE(launcher.isFileManager({"Beta", "org.example.Beta", "/b.desktop", 0, ""}));
}

TEST(Desktop, OpensAFileWithTheApplicationForItsTypeElseThePlainTextOne) {
    for (const std::string editor : {"plain", "json"}) {
        if (editor == "json" && !fs::exists("/usr/share/mime/mime.cache")) {
            GTEST_SKIP() << "no MIME database to tell a file's type by its name (shared-mime-info)";
        }
        // Binary, so that only the editor fallback, not a look at the contents, finds plain text.
        const fs::path file =
            desktop / (editor == "json" ? "bindings.json" : "layout.ruvola-layout");
        std::ofstream(file) << "\1\2";
        platform::makePlatform()->desktop().openInEditor(file);
        EXPECT_TRUE(testing::waitUntil(
            [&] {
                std::ifstream record(desktop / ("record." + editor));
                std::string opened;
                return std::getline(record, opened) && opened == file.string();
            },
            10s))
            << editor;
    }
}

} // namespace
} // namespace ruvola

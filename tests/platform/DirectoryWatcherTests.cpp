#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "tests/support/EventLoop.hpp"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>

using namespace std::chrono_literals;
using ruvola::testing::runEventLoop;
using ruvola::testing::waitUntil;
namespace fs = std::filesystem;

namespace {

void writeFile(const fs::path& file, const std::string& text,
               std::ios::openmode mode = std::ios::trunc) {
    std::ofstream(file, std::ios::out | mode) << text;
}

int openInotifyDescriptors() {
    int count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        count += fs::read_symlink(entry.path(), error).string() == "anon_inode:inotify" ? 1 : 0;
    }
    return count;
}

class DirectoryWatcherTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(root.isValid());
        fs::create_directory(directory);
        inotifyBefore = openInotifyDescriptors();
        ASSERT_TRUE(watcher->start(directory, [this] { ++calls; }));
    }

    /// Runs `change`, then waits for the watcher to report it.
    bool reports(const std::function<void()>& change) {
        calls = 0;
        change();
        return waitUntil([this] { return calls > 0; });
    }

    QTemporaryDir root;
    fs::path directory = fs::path(root.path().toStdString()) / "ruvola";
    fs::path file = directory / "bindings.json";
    std::unique_ptr<ruvola::platform::Platform> platform = ruvola::platform::makePlatform();
    std::unique_ptr<ruvola::platform::DirectoryWatcher> watcher = platform->makeDirectoryWatcher();
    int calls = 0;
    int inotifyBefore = 0;
};

TEST_F(DirectoryWatcherTest, ReportsEveryKindOfChangeToAnEntry) {
    const fs::path temporary = directory / ".bindings.json.tmp";
    const std::vector<std::pair<const char*, std::function<void()>>> changes = {
        {"create", [&] { writeFile(file, "{}"); }},
        {"write in place", [&] { writeFile(file, " ", std::ios::app); }},
        {"truncate", [&] { fs::resize_file(file, 0); }},
        {"atomic save",
         [&] {
             writeFile(temporary, R"({"bindings": []})");
             fs::rename(temporary, file);
         }},
        {"attributes", [&] { fs::permissions(file, fs::perms::owner_read); }},
        {"rename out", [&] { fs::rename(file, directory.parent_path() / "moved.json"); }},
        {"rename in", [&] { fs::rename(directory.parent_path() / "moved.json", file); }},
        {"delete", [&] { fs::remove(file); }},
        {"recreate", [&] { writeFile(file, "{}"); }},
    };
    for (const auto& [name, change] : changes) {
        EXPECT_TRUE(reports(change)) << name;
    }
}

TEST_F(DirectoryWatcherTest, ReportsABurstAsOneBatch) {
    // Enough events to take several reads of the descriptor.
    for (int i = 0; i < 300; ++i) {
        writeFile(directory / ("file-" + std::to_string(i) + ".json"), "{}");
    }
    ASSERT_TRUE(waitUntil([this] { return calls > 0; }));
    runEventLoop(100ms);
    EXPECT_EQ(calls, 1);
}

TEST_F(DirectoryWatcherTest, FollowsTheDirectoryWhenItIsCreatedAgain) {
    EXPECT_TRUE(reports([&] { fs::remove_all(directory); }));
    EXPECT_TRUE(reports([&] { fs::create_directory(directory); }));
    EXPECT_TRUE(reports([&] { writeFile(file, "{}"); }));

    // Moved away, the old directory is no longer the one watched.
    const fs::path old = directory.parent_path() / "old";
    const auto writeInOld = [&] {
        calls = 0;
        writeFile(old / "bindings.json", "{}");
        runEventLoop(100ms);
        return calls;
    };
    EXPECT_TRUE(reports([&] { fs::rename(directory, old); }));
    EXPECT_EQ(writeInOld(), 0);
    EXPECT_TRUE(reports([&] { fs::create_directory(directory); }));
    EXPECT_EQ(writeInOld(), 0);
    EXPECT_TRUE(reports([&] { writeFile(file, "[]"); }));
}

TEST_F(DirectoryWatcherTest, IgnoresOtherEntriesOfTheParent) {
    calls = 0;
    writeFile(directory.parent_path() / "ruvola-other", "{}");
    fs::create_directory(directory.parent_path() / "ruvolas");
    runEventLoop(100ms);
    EXPECT_EQ(calls, 0);
}

TEST_F(DirectoryWatcherTest, DestroyingStopsTheCallsAndReleasesTheDescriptor) {
    writeFile(file, "{}"); // queued but not yet read
    watcher.reset();
    runEventLoop(100ms);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(openInotifyDescriptors(), inotifyBefore);
}

TEST(DirectoryWatcher, RefusesWhatIsNotAnExistingDirectory) {
    QTemporaryDir root;
    const fs::path base = root.path().toStdString();
    writeFile(base / "file", "");
    const auto platform = ruvola::platform::makePlatform();
    const int inotifyBefore = openInotifyDescriptors();
    for (const fs::path& path : {base / "missing", base / "file"}) {
        int calls = 0;
        EXPECT_FALSE(platform->makeDirectoryWatcher()->start(path, [&] { ++calls; })) << path;
    }
    EXPECT_EQ(openInotifyDescriptors(), inotifyBefore);
}

} // namespace

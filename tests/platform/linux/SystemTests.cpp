#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "Ruvola/platform/linux/LinuxInputAccess.hpp"
#include "Ruvola/platform/linux/x11/XTestSyntheticInput.hpp"
#include "tests/support/EventLoop.hpp"
#include "tests/support/Servers.hpp"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

TEST(InputAccess, IsGrantedOnceTheDisplayOffersXTest) {
    if (const std::string missing = ruvola::testing::XServer::missing(false); !missing.empty()) {
        GTEST_SKIP() << missing;
    }
    ruvola::platform::XTestSyntheticInput xtest;
    const bool uinput = ::access("/dev/uinput", W_OK) == 0; // grants access whatever the display
    ruvola::platform::LinuxInputAccess access([&] { return xtest.available(); });
    unsetenv("DISPLAY");
    EXPECT_EQ(access.isTrusted(), uinput);
    ruvola::testing::XServer server;
    ASSERT_TRUE(server.start(false));
    const std::string display = server.display();
    // The same object sees the display that appeared after it said no, and one that went away.
    EXPECT_TRUE(access.isTrusted());
    server.stop();
    setenv("DISPLAY", display.c_str(), 1);
    EXPECT_TRUE(access.isTrusted()) << "a display once seen with XTest is not asked again";
    setenv("DISPLAY", ":nothing", 1);
    EXPECT_EQ(access.isTrusted(), uinput);
    unsetenv("DISPLAY");
}

// Saves in their usual styles and a removed directory are followed through the bindings store.
TEST(DirectoryWatcher, ReportsChangesInTheDirectoryItHasTheNameOf) {
    const auto descriptors = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), {});
    };
    QTemporaryDir root;
    const fs::path parent = root.path().toStdString(), directory = parent / "ruvola",
                   old = parent / "old";
    const auto platform = ruvola::platform::makePlatform();
    const auto before = descriptors();
    std::ofstream(parent / "file") << "";
    for (const fs::path& path : {parent / "missing", parent / "file"}) {
        EXPECT_FALSE(platform->makeDirectoryWatcher()->start(path, [] {})) << path;
    }
    EXPECT_EQ(descriptors(), before);

    fs::create_directory(directory);
    auto watcher = platform->makeDirectoryWatcher();
    int calls = 0;
    ASSERT_TRUE(watcher->start(directory, [&] { ++calls; }));
    const std::vector<std::tuple<const char*, std::function<void()>, bool>> changes{
        {"create", [&] { std::ofstream(directory / "a") << "{}"; }, true},
        {"attributes", [&] { fs::permissions(directory / "a", fs::perms::owner_read); }, true},
        {"rename out", [&] { fs::rename(directory / "a", parent / "a"); }, true},
        // An atomic save from another folder.
        {"rename in", [&] { fs::rename(parent / "a", directory / "a"); }, true},
        {"a sibling", [&] { fs::create_directory(parent / "ruvolas"); }, false},
        {"moved away", [&] { fs::rename(directory, old); }, true},
        {"write in the old", [&] { std::ofstream(old / "a") << "{}"; }, false},
        {"another moved in",
         [&] { fs::create_directory(parent / "new"), fs::rename(parent / "new", directory); },
         true},
        {"write in the old", [&] { std::ofstream(old / "b") << "{}"; }, false},
        {"write in the new", [&] { std::ofstream(directory / "b") << "{}"; }, true},
        {"removed", [&] { fs::remove_all(directory); }, true},
        {"created again", [&] { fs::create_directory(directory); }, true},
    };
    for (const auto& [name, change, reported] : changes) {
        calls = 0;
        change();
        EXPECT_EQ(ruvola::testing::waitUntil([&] { return calls > 0; }, reported ? 5s : 100ms),
                  reported)
            << name;
    }
    calls = 0;
    std::ofstream(directory / "c") << "{}"; // queued but not yet read
    watcher.reset();
    ruvola::testing::runEventLoop(100ms);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(descriptors(), before);
}

} // namespace

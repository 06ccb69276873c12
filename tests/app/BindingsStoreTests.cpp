#include "Ruvola/BindingsStore.hpp"
#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "RuvolaCore/StarterBindings.hpp"
#include "fakes/RecordingDesktop.hpp"
#include "fakes/RecordingLogger.hpp"
#include "support/EventLoop.hpp"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>

namespace ruvola {
namespace {

using testing::RecordingDesktop;
using testing::RecordingLogger;
using testing::runEventLoop;
using testing::waitUntil;

namespace fs = std::filesystem;
using namespace std::string_literals;

const std::string oneBinding = R"({"bindings": [{"control": "key 1", "shell": "one"}]})";
const std::string twoBindings =
    R"({"bindings": [{"control": "key 1", "shell": "a"}, {"control": "key 2", "shell": "b"}]})";

void write(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

class BindingsStoreTest : public ::testing::Test {
protected:
    BindingsStoreTest() : home_(fs::path(folder_.path().toStdString())) {}

    std::unique_ptr<BindingsStore> makeStore(bool watched = false) {
        auto watcher = watched ? platform_->makeDirectoryWatcher() : nullptr;
        auto store = std::make_unique<BindingsStore>(BindingsStore::url(home_), logger_,
                                                     std::move(watcher), &desktop_);
        store->onChange = [this] { ++reloads_; };
        return store;
    }

    fs::path url() const { return BindingsStore::url(home_); }

    QTemporaryDir folder_;
    fs::path home_;
    std::unique_ptr<platform::Platform> platform_ = platform::makePlatform();
    RecordingLogger logger_;
    RecordingDesktop desktop_;
    int reloads_ = 0;
};

TEST_F(BindingsStoreTest, LivesUnderTheHomeFolder) {
    EXPECT_EQ(BindingsStore::url("/home/ada"), fs::path("/home/ada/.config/ruvola/bindings.json"));
}

TEST_F(BindingsStoreTest, PutsTheStarterInEffectWhileTheFileCannotBeRead) {
    const std::vector<std::pair<std::string, std::function<void()>>> unreadable{
        {"missing", [] {}},
        {"a folder", [&] { fs::create_directories(url()); }},
        {"a dangling link",
         [&] {
             fs::create_directories(url().parent_path());
             fs::create_symlink(home_ / "nowhere", url());
         }},
    };
    for (const auto& [what, arrange] : unreadable) {
        fs::remove_all(home_ / ".config");
        arrange();
        auto store = makeStore();
        store->load();
        EXPECT_EQ(store->file(), starterBindings::file()) << what;
        EXPECT_TRUE(logger_.lines().empty()) << what;
    }
}

TEST_F(BindingsStoreTest, LogsWhatItLoadedAndEveryProblem) {
    fs::create_directories(url().parent_path());
    auto store = makeStore();
    const std::string path = url().string();

    write(url(), oneBinding);
    store->load();
    EXPECT_EQ(store->file().bindings.size(), 1u);
    EXPECT_EQ(logger_.lines(), std::vector<std::string>{"INFO Loaded 1 bindings from " + path});

    const std::vector<std::string> garbage{"\x00\xFF\xFE garbage"s,
                                           "{\"bindings\": [\"\xC3\x28\"]}",
                                           std::string(50 * 1024 * 1024, '[')};
    for (const std::string& bytes : garbage) {
        logger_.clear();
        write(url(), bytes);
        store->load();
        EXPECT_TRUE(store->file().bindings.empty());
        EXPECT_EQ(logger_.lines(), (std::vector<std::string>{
                                       "INFO Loaded 0 bindings from " + path,
                                       "WARNING bindings.json: bindings.json isn't valid JSON"}));
    }
}

TEST_F(BindingsStoreTest, DropsKeystrokesThatAreNotOneChord) {
    fs::create_directories(url().parent_path());
    write(url(), R"({"bindings": [
        {"control": "key 1", "keystroke": "cmd c, cmd v"},
        {"control": "key 2", "keystroke": "cmd cmd"},
        {"control": "key 3", "keystroke": "cmd zz"},
        {"control": "key 4", "keystroke": "cmd shift 4"},
        {"control": "left knob", "left": {"keystroke": "cmd a"}, "right": {"keystroke": "b c"},
         "press": {"keystroke": "cmd"}},
        {"control": "key 5", "shell": "x"}
    ]})");
    auto store = makeStore();
    store->load();
    EXPECT_EQ(store->file().problems, (std::vector<std::string>{
                                          "key 1: \"cmd c, cmd v\" isn't a single key chord",
                                          "key 2: \"cmd cmd\" isn't a single key chord",
                                          "key 3: \"cmd zz\" isn't a single key chord",
                                          "left knob: \"cmd\" isn't a single key chord",
                                      }));
    ASSERT_EQ(store->file().bindings.size(), 2u);
    EXPECT_EQ(store->file().bindings[0].control, PadControl::key(4));
    EXPECT_EQ(store->file().bindings[1].control, PadControl::key(5));
    EXPECT_EQ(logger_.lines().back(),
              "WARNING bindings.json: left knob: \"cmd\" isn't a single key chord");
}

TEST_F(BindingsStoreTest, EditWritesTheStarterOnceAndOpensIt) {
    auto store = makeStore();
    store->edit();
    std::ifstream written(url(), std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(written)),
                           std::istreambuf_iterator<char>());
    EXPECT_EQ(text, starterBindings::text());
    EXPECT_EQ(logger_.lines(), std::vector<std::string>{"INFO Wrote a starter " + url().string()});
    EXPECT_EQ(desktop_.opened, std::vector<fs::path>{url()});

    write(url(), oneBinding);
    store->edit();
    EXPECT_EQ(logger_.lines().size(), 1u);
    EXPECT_EQ(desktop_.opened.size(), 2u);
    store->load();
    EXPECT_EQ(store->file().bindings.size(), 1u);
}

TEST_F(BindingsStoreTest, EditThatCannotWriteLeavesTheEditorClosed) {
    write(home_ / ".config", "a file where the folder should be");
    auto store = makeStore();
    store->edit();
    ASSERT_EQ(logger_.lines().size(), 1u);
    EXPECT_TRUE(logger_.lines()[0].starts_with("WARNING Couldn't write " + url().string() + ": "));
    EXPECT_TRUE(desktop_.opened.empty());
}

TEST_F(BindingsStoreTest, WarnsWhenItCannotWatch) {
    auto store = makeStore(false);
    store->startWatching();
    EXPECT_TRUE(fs::is_directory(url().parent_path()));
    EXPECT_EQ(logger_.lines(),
              std::vector<std::string>{"WARNING Can't watch " + url().parent_path().string() +
                                       " for changes"});
}

TEST_F(BindingsStoreTest, ReloadsOnceAfterABurstOfSaves) {
    auto store = makeStore(true);
    store->load();
    store->startWatching();
    write(url(), oneBinding);
    write(url(), "{ not yet");
    write(url(), twoBindings);
    ASSERT_TRUE(waitUntil([&] { return reloads_ == 1; }));
    EXPECT_EQ(store->file().bindings.size(), 2u);
    runEventLoop(std::chrono::milliseconds(400));
    EXPECT_EQ(reloads_, 1);
}

TEST_F(BindingsStoreTest, FollowsEverySaveStyleAndARecreatedFolder) {
    auto store = makeStore(true);
    store->startWatching();
    const auto reloadsAfter = [&](const std::function<void()>& save, std::size_t bindings) {
        const int before = reloads_;
        save();
        return waitUntil(
            [&] { return reloads_ > before && store->file().bindings.size() == bindings; });
    };
    EXPECT_TRUE(reloadsAfter([&] { store->edit(); }, 9));
    EXPECT_TRUE(reloadsAfter([&] { write(url(), oneBinding); }, 1));
    EXPECT_TRUE(reloadsAfter(
        [&] {
            write(url().string() + ".tmp", twoBindings);
            fs::rename(url().string() + ".tmp", url());
        },
        2));
    EXPECT_TRUE(reloadsAfter([&] { fs::remove(url()); }, 9));
    EXPECT_EQ(store->file(), starterBindings::file());
    EXPECT_TRUE(reloadsAfter([&] { write(url(), oneBinding); }, 1));
    EXPECT_TRUE(reloadsAfter([&] { fs::remove_all(url().parent_path()); }, 9));
    EXPECT_TRUE(reloadsAfter(
        [&] {
            fs::create_directories(url().parent_path());
            write(url(), twoBindings);
        },
        2));
}

} // namespace
} // namespace ruvola

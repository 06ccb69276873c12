#include "Ruvola/bindings/BindingsStore.hpp"
#include "Ruvola/host/Logging.hpp"
#include "Ruvola/platform/Desktop.hpp"
#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "RuvolaCore/StarterBindings.hpp"
#include "support/EventLoop.hpp"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fstream>

namespace ruvola {
namespace {

namespace fs = std::filesystem;
using namespace std::literals;
using testing::runEventLoop;
using Lines = std::vector<std::string>;

const std::string one = R"({"bindings": [{"control": "key 1", "shell": "one"}]})";
const std::string starter(starterBindings::text());

// The fixture is the store's log and desktop: it records lines and opened files.
struct BindingsStoreTest : ::testing::Test, Logging, platform::Desktop {
    void log(LogLevel level, std::string_view text) override {
        lines.push_back(std::string(name(level)) + " " + std::string(text));
    }
    void openInEditor(const fs::path& file) override { opened.push_back(file); }
    bool sessionAvailable() const override { return false; }

    std::unique_ptr<BindingsStore> makeStore(bool watched = false) {
        auto store = std::make_unique<BindingsStore>(
            url, *this, watched ? platform::makePlatform()->makeDirectoryWatcher() : nullptr, this);
        store->onChange = [this] { ++reloads; };
        return store;
    }
    static void write(const fs::path& path, const std::string& text) {
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    }

    QTemporaryDir home;
    fs::path url = BindingsStore::url(home.path().toStdString());
    Lines lines;
    std::vector<fs::path> opened;
    int reloads = 0;
};

TEST_F(BindingsStoreTest, LogsWhatItLoadedAndEveryProblemButNotAnUnreadableFile) {
    const auto store = makeStore();
    store->startWatching();
    EXPECT_EQ(lines, Lines{"WARNING Can't watch " + url.parent_path().string() + " for changes"});
    const std::string loaded = " bindings from " + url.string(),
                      problem = "WARNING bindings.json: ";
    const auto file = [&](const std::string& bytes) { return [&, bytes] { write(url, bytes); }; };
    const std::vector<std::pair<std::function<void()>, Lines>> rows{
        {[] {}, {}},
        {[&] { fs::create_directory(url); }, {}},
        {file(std::string(100'000, ' ') + one), {"INFO Loaded 1" + loaded}},
        {file(R"({"bindings": [{"control": "key 1", "keystroke": "cmd cmd"},
          {"control": "key 2", "keystroke": "cmd 4"}, {"control": "key 4", "shell": "x"},
          {"control": "left knob", "left": {"keystroke": "cmd zz"}, "right": {"keystroke": "b"}},
          {"control": "right knob", "left": {"keystroke": "a"}, "right": {"keystroke": "cmd b, c"}}]})"),
         {"INFO Loaded 2" + loaded, problem + R"(key 1: "cmd cmd" isn't a single key chord)",
          problem + R"(left knob: "cmd zz" isn't a single key chord)",
          problem + R"(right knob: "cmd b, c" isn't a single key chord)"}},
    };
    for (const auto& [arrange, expected] : rows) {
        lines.clear();
        fs::remove(url);
        arrange();
        store->load();
        EXPECT_EQ(lines, expected);
        EXPECT_TRUE(!expected.empty() || store->file() == starterBindings::file());
    }
}

TEST_F(BindingsStoreTest, EditWritesTheStarterOnceAndOpensIt) {
    const auto store = makeStore();
    store->edit();
    std::ifstream written(url, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(written), {}), starter);
    EXPECT_EQ(lines, Lines{"INFO Wrote a starter " + url.string()});
    write(url, one);
    store->edit();
    store->load();
    EXPECT_EQ(lines.back(), "INFO Loaded 1 bindings from " + url.string());
    EXPECT_EQ(opened, (std::vector<fs::path>{url, url}));
    fs::remove_all(home.path().toStdString());
    write(url.parent_path().parent_path(), "a file where the folder should be");
    store->edit();
    EXPECT_TRUE(lines.back().starts_with("WARNING Couldn't write " + url.string() + ": "));
    EXPECT_EQ(opened.size(), 2u);
}

// Bursts outlast the delay many times over, so only a store that waits for a quiet spell after
// the last save, rather than reloading at most once per delay, reloads once and with the last.
// Each save is an atomic rename, as most editors make; the watcher's own test follows the folder's
// other changes.
TEST_F(BindingsStoreTest, ReloadsOnlyOnceABurstOfSavesIsOver) {
    const auto store = makeStore(true);
    write(url, "{}");
    store->startWatching();
    const fs::path elsewhere = url.parent_path() / ".bindings.json.part";
    // Save n names key 1 "save n", padded to vary its length.
    const auto document = [](int n) {
        return R"({"bindings": [{"control": "key 1", "name": "save )" + std::to_string(n) +
               R"(", "shell": "true"}]})" + std::string(static_cast<std::size_t>(n % 7 * 40), ' ');
    };
    int n = 0;
    for (int burst = 1; burst <= 3; ++burst) {
        const int before = reloads;
        // Every 50 ms for 0.6 s, twenty saves at once. A loaded machine may hold this loop up for
        // longer than the delay, and then a reload during the burst is right.
        bool steady = true;
        QElapsedTimer sinceSaves;
        sinceSaves.start();
        for (const QDeadlineTimer end(600ms); !end.hasExpired(); runEventLoop(50ms)) {
            steady = steady && sinceSaves.restart() < 150;
            for (int save = 0; save < 20; ++save, ++n) {
                write(elsewhere, document(n));
                fs::rename(elsewhere, url);
            }
        }
        EXPECT_TRUE(!steady || reloads == before) << "reloaded during burst " << burst;
        const int during = reloads;
        ASSERT_TRUE(testing::waitUntil([&] { return reloads > during; }));
        runEventLoop(300ms); // past the delay: no second reload
        ASSERT_EQ(reloads, during + 1);
        ASSERT_EQ(store->file().bindings.size(), 1u);
        EXPECT_EQ(store->file().bindings[0].name, "save " + std::to_string(n - 1));
        EXPECT_EQ(store->file().problems, Lines{});
    }
}

} // namespace
} // namespace ruvola

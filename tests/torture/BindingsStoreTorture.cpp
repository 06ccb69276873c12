#include "Ruvola/bindings/BindingsStore.hpp"
#include "Ruvola/host/Logging.hpp"
#include "Ruvola/platform/DirectoryWatcher.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "support/EventLoop.hpp"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>

namespace ruvola {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// Save n names key 1 "save n"; the padding varies the length, so an in-place rewrite that
// forgot to cut the file's end would leave the previous save's tail behind.
std::string document(int n) {
    return R"({"bindings": [{"control": "key 1", "name": "save )" + std::to_string(n) +
           R"(", "shell": "true"}]})" + std::string(static_cast<std::size_t>(n % 7 * 40), ' ');
}

TEST(BindingsStoreTorture, AThousandSavesOfEveryStyleEndWithTheLastOneInEffect) {
    QTemporaryDir home;
    const fs::path url = BindingsStore::url(home.path().toStdString());
    const fs::path elsewhere = url.parent_path() / ".bindings.json.part";
    NullLogger logger;
    BindingsStore store(url, logger, platform::makePlatform()->makeDirectoryWatcher(), nullptr);
    int reloads = 0;
    store.onChange = [&] { ++reloads; };
    store.startWatching();

    // How editors and tools save: renamed over, rewritten in place then cut, truncated then
    // written, and deleted then made anew.
    const std::array<std::function<void(const std::string&)>, 4> styles{
        [&](const std::string& text) {
            std::ofstream(elsewhere, std::ios::binary) << text;
            fs::rename(elsewhere, url);
        },
        [&](const std::string& text) {
            std::fstream(url, std::ios::binary | std::ios::in | std::ios::out) << text;
            fs::resize_file(url, text.size());
        },
        [&](const std::string& text) {
            fs::resize_file(url, 0);
            std::ofstream(url, std::ios::binary | std::ios::app) << text;
        },
        [&](const std::string& text) {
            fs::remove(url);
            std::ofstream(url, std::ios::binary) << text;
        },
    };
    const auto inEffect = [&](int n) {
        const auto& bindings = store.file().bindings;
        return bindings.size() == 1 && bindings[0].name == "save " + std::to_string(n) &&
               store.file().problems.empty();
    };

    std::ofstream(url, std::ios::binary) << "{}";
    QElapsedTimer storm;
    storm.start();
    int checked = 0;
    for (int n = 0; n < 1000; ++n) {
        styles[static_cast<std::size_t>(n) % styles.size()](document(n));
        QCoreApplication::processEvents(); // the watcher hears the storm as it happens
        if (n % 250 == 249) {
            // A pause: the store settles on this save, then the storm goes on.
            ASSERT_TRUE(testing::waitUntil([&] { return inEffect(n); })) << n;
            ++checked;
        }
    }
    testing::runEventLoop(400ms); // past the delay: no late reload brings back an older save
    EXPECT_TRUE(inEffect(999));
    // Each reload needs 0.2 s without a change; a few more can come from the pauses' own events.
    const auto bound = 1 + storm.elapsed() / 200;
    std::printf("%d reloads in %lld ms\n", reloads, static_cast<long long>(storm.elapsed()));
    EXPECT_GE(reloads, checked);
    EXPECT_LE(reloads, bound);
}

} // namespace
} // namespace ruvola

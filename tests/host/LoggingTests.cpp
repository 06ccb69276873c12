#include "Ruvola/host/Logging.hpp"

#include <QDateTime>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <thread>

namespace ruvola {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

std::string read(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

struct FileLoggerTest : ::testing::Test {
    // The file's lines as "LEVEL message", each time stamp checked; other lines as "raw: text".
    Lines logged() const {
        static const std::regex format(R"((\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ) \[([A-Z]+)\] (.*))");
        std::istringstream in(read(path));
        Lines lines;
        std::smatch match;
        for (std::string text; std::getline(in, text);) {
            const bool stamped = std::regex_match(text, match, format);
            const auto time = QDateTime::fromString(QString::fromStdString(match[1]), Qt::ISODate);
            EXPECT_TRUE(!stamped || (start <= time && time <= QDateTime::currentDateTimeUtc()));
            lines.push_back(stamped ? match[2].str() + " " + match[3].str() : "raw: " + text);
        }
        return lines;
    }

    const QDateTime start = QDateTime::currentDateTimeUtc().addSecs(-1);
    QTemporaryDir folder;
    fs::path path = fs::path(folder.path().toStdString()) / "state" / "Ruvola.log";
};

TEST_F(FileLoggerTest, AppendsOneUtcTimeStampedLinePerMessageToThePreparedFileOnly) {
    FileLogger logger(path);
    logger.prepareFile();
    ASSERT_TRUE(fs::is_regular_file(path) && fs::is_empty(path));
    std::ofstream(path) << "earlier\n";
    logger.prepareFile();
    logger.info("Pad disconnected.");
    logger.warning("Key 3 \u2014 no binding");
    logger.log(LogLevel::debug, "");
    logger.log(LogLevel::error, "[x] ] y");
    EXPECT_EQ(logged(), (Lines{"raw: earlier", "INFO Pad disconnected.",
                               "WARNING Key 3 \u2014 no binding", "DEBUG ", "ERROR [x] ] y"}));
    fs::remove(path);
    logger.info("lost");
    EXPECT_FALSE(fs::exists(path));
    logger.prepareFile();
    logger.info("after");
    EXPECT_EQ(logged(), Lines{"INFO after"});
}

// Line n of thread t: a level of its own and a message naming both; every fiftieth runs past a
// page, every third is in two-byte characters.
LogLevel level(int t, int n) {
    constexpr std::array levels{LogLevel::debug, LogLevel::info, LogLevel::warning,
                                LogLevel::error};
    return levels[static_cast<std::size_t>(t + n) % levels.size()];
}
std::string message(int t, int n) {
    const std::string filler = n % 3 == 0 ? "\u00e9" : std::string(1, static_cast<char>('a' + t));
    std::string text = std::to_string(t) + ":" + std::to_string(n) + " ";
    for (int i = n % 50 == 0 ? 2500 : n * 7919 % 100; i > 0; --i) {
        text += filler;
    }
    return text;
}

TEST_F(FileLoggerTest, KeepsLinesWholeAndInOrderAcrossThreadsAndCuts) {
    constexpr int threads = 8, perThread = 10'000;
    constexpr std::size_t limit = 256 * 1024; // cut a hundred times or so
    FileLogger logger(path, limit);
    logger.prepareFile();
    // The first bad line, or nothing. A cut may fall inside the first line and, while threads
    // write, the last may be on its way; after the first, each thread's lines run on in order.
    const auto bad = [&](const Lines& lines, bool finished) -> std::string {
        std::map<int, int> next;
        for (std::size_t i = 1; i + (finished ? 0 : 1) < lines.size(); ++i) {
            int t = -1, n = -1;
            std::sscanf(lines[i].c_str(), "%*s %d:%d", &t, &n);
            const auto [thread, first] = next.try_emplace(t, n);
            if (t < 0 || t >= threads || thread->second++ != n ||
                lines[i] != std::string(name(level(t, n))) + " " + message(t, n)) {
                return lines[i].substr(0, 200);
            }
        }
        for (const auto& [thread, reached] : next) {
            if (finished && reached != perThread) {
                return "thread " + std::to_string(thread) + " ends at " + std::to_string(reached);
            }
        }
        return finished && next.empty() ? "no lines" : "";
    };
    // A reader looks at the file while it is written and cut, to see far more than the last cut
    // keeps.
    std::atomic<bool> writing = true;
    std::string seen;
    std::jthread reader([&] {
        while (writing && seen.empty()) {
            seen = bad(logged(), false);
        }
    });
    {
        std::vector<std::jthread> writers;
        for (int t = 0; t < threads; ++t) {
            writers.emplace_back([&logger, t] {
                for (int n = 0; n < perThread; ++n) {
                    logger.log(level(t, n), message(t, n));
                }
            });
        }
    }
    writing = false;
    reader.join();
    EXPECT_EQ(seen, "");
    EXPECT_EQ(bad(logged(), true), "");
    EXPECT_TRUE(read(path).ends_with('\n'));
    EXPECT_LE(fs::file_size(path), limit + 6000); // over only by the line after the last cut
}

TEST_F(FileLoggerTest, CutsTheFileToItsNewerHalfOnlyOnceOverTheLimit) {
    constexpr std::size_t limit = FileLogger::defaultMaximumBytes, half = limit / 2;
    fs::create_directories(path.parent_path());
    for (const std::size_t size : {limit, limit + 1}) {
        // A two-byte character across the cut marks it, and shows it counts bytes, not characters.
        std::string before(size, 'x');
        before.replace(size - half - 1, 2, "\u00e9");
        std::ofstream(path, std::ios::binary) << before;
        FileLogger(path).info("next");
        std::ifstream in(path, std::ios::binary);
        const std::string after(std::istreambuf_iterator<char>(in), {});
        const std::string kept = size > limit ? before.substr(size - half) : before;
        EXPECT_TRUE(after.starts_with(kept)) << size;
        EXPECT_TRUE(
            std::regex_match(after.substr(kept.size()), std::regex(R"(\S+ \[INFO\] next\n)")));
    }
}

TEST_F(FileLoggerTest, LosesLinesItCannotWriteAndTouchesNothingElse) {
    const fs::path root = path.parent_path();
    fs::create_directories(path);                // a folder where the file should be
    std::ofstream(root / "blocker") << "keep\n"; // a file where its folder should be
    // A limit of one byte sends every line through the cut too.
    for (const fs::path& file : {path, root / "blocker" / "Ruvola.log"}) {
        FileLogger logger(file, 1);
        logger.prepareFile();
        logger.info("lost");
    }
    EXPECT_TRUE(fs::is_empty(path));
    EXPECT_EQ(fs::file_size(root / "blocker"), 5u);
    EXPECT_EQ(std::distance(fs::directory_iterator(root), {}), 2);
}

} // namespace
} // namespace ruvola

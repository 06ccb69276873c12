#include "Ruvola/host/Logging.hpp"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <thread>

namespace ruvola {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

struct FileLoggerTest : ::testing::Test {
    // The file's lines as "LEVEL message" after a UTC time stamp; other lines as "raw: text".
    Lines logged() const {
        static const std::regex format(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ \[([A-Z]+)\] (.*))");
        std::ifstream in(path);
        Lines lines;
        std::smatch match;
        for (std::string text; std::getline(in, text);) {
            const bool stamped = std::regex_match(text, match, format);
            lines.push_back(stamped ? match[1].str() + " " + match[2].str() : "raw: " + text);
        }
        return lines;
    }

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

// Line n of thread t names both; every fiftieth runs past a page.
std::string message(int t, int n) {
    const int filler = n % 50 == 0 ? 2500 : n * 7919 % 100;
    return std::to_string(t) + ":" + std::to_string(n) + " " +
           std::string(static_cast<std::size_t>(filler), static_cast<char>('a' + t));
}

TEST_F(FileLoggerTest, KeepsLinesWholeAndInOrderAcrossThreadsAndCuts) {
    constexpr int threads = 8, perThread = 10'000;
    constexpr std::size_t limit = 256 * 1024; // cut a hundred times or so
    FileLogger logger(path, limit);
    logger.prepareFile();
    // The first bad line, or nothing. A cut may fall inside the first line; after it, each
    // thread's lines run on in order.
    const auto bad = [&](const Lines& lines) -> std::string {
        std::map<int, int> next;
        for (std::size_t i = 1; i < lines.size(); ++i) {
            int t = -1, n = -1;
            std::sscanf(lines[i].c_str(), "INFO %d:%d", &t, &n);
            if (t < 0 || next.try_emplace(t, n).first->second++ != n ||
                lines[i] != "INFO " + message(t, n)) {
                return lines[i].substr(0, 200);
            }
        }
        return "";
    };
    {
        std::vector<std::jthread> writers;
        for (int t = 0; t < threads; ++t) {
            writers.emplace_back([&logger, t] {
                for (int n = 0; n < perThread; ++n) {
                    logger.info(message(t, n));
                }
            });
        }
    }
    const Lines lines = logged();
    EXPECT_EQ(bad(lines), "");
    EXPECT_EQ(lines.back(), "INFO " + message(std::stoi(lines.back().substr(5)), perThread - 1));
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

} // namespace
} // namespace ruvola

#include "Ruvola/host/Logging.hpp"

#include <QDateTime>
#include <QTemporaryDir>
#include <gtest/gtest.h>

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
    // The file's lines as "LEVEL message", each time stamp checked; other lines as "raw: text".
    Lines logged() const {
        static const std::regex format(R"((\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ) \[([A-Z]+)\] (.*))");
        std::ifstream in(path, std::ios::binary);
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

TEST_F(FileLoggerTest, KeepsLinesWholeAcrossThreadsAndCuts) {
    constexpr int threads = 8, perThread = 2000;
    constexpr std::size_t limit = 256 * 1024; // crossed while every thread writes
    FileLogger logger(path, limit);
    logger.prepareFile();
    std::vector<std::jthread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([&logger, t] {
            for (int n = 0; n < perThread; ++n) {
                logger.info(std::to_string(t * perThread + n));
            }
        });
    }
    writers.clear();
    // The cut may fall inside the first line. Each thread's lines after it run on to its last.
    const Lines lines = logged();
    std::map<int, int> next;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const int line = std::stoi(lines[i].substr(5));
        ASSERT_EQ(lines[i], "INFO " + std::to_string(line));
        const auto [thread, first] = next.try_emplace(line / perThread, line % perThread);
        ASSERT_EQ(thread->second++, line % perThread) << lines[i];
    }
    ASSERT_FALSE(next.empty());
    for (const auto& [thread, reached] : next) {
        EXPECT_EQ(reached, perThread) << thread;
    }
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

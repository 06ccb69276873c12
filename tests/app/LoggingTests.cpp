#include "Ruvola/Logging.hpp"

#include <QDateTime>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <latch>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace ruvola {
namespace {

namespace fs = std::filesystem;

fs::path folder(const QTemporaryDir& dir) {
    return fs::path(dir.path().toStdString());
}

std::string contentsOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeFile(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

// The text split at each newline; the text is expected to end with one.
std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        EXPECT_NE(end, std::string::npos) << "unterminated line at byte " << start;
        if (end == std::string::npos) {
            break;
        }
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

struct Line {
    QDateTime time;
    std::string level;
    std::string message;
};

// One log line without its newline, or nothing when the text isn't one.
std::optional<Line> parse(const std::string& text) {
    static const QRegularExpression format(QRegularExpression::anchoredPattern(
        R"((\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ) \[([A-Z]+)\] (.*))"));
    const QRegularExpressionMatch match = format.match(QString::fromStdString(text));
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    return Line{QDateTime::fromString(match.captured(1), Qt::ISODate),
                match.captured(2).toStdString(), match.captured(3).toStdString()};
}

bool isLine(const std::string& text, std::string_view level, std::string_view message) {
    const std::optional<Line> line = parse(text);
    return line && line->level == level && line->message == message;
}

TEST(FileLogger, WritesOneUtcTimeStampedLinePerMessage) {
    QTemporaryDir dir;
    const fs::path path = folder(dir) / "Ruvola.log";
    FileLogger logger(path);
    logger.prepareFile();

    const QDateTime before = QDateTime::currentDateTimeUtc();
    Logging& logging = logger;
    logging.info("Pad disconnected.");
    logging.warning("Key 3 \xE2\x80\x94 no binding");
    logging.log(LogLevel::debug, "");
    logging.log(LogLevel::error, "[x] ] y");
    const QDateTime after = QDateTime::currentDateTimeUtc();

    const std::vector<std::pair<std::string, std::string>> expected{
        {"INFO", "Pad disconnected."},
        {"WARNING", "Key 3 \xE2\x80\x94 no binding"},
        {"DEBUG", ""},
        {"ERROR", "[x] ] y"},
    };
    const std::vector<std::string> lines = linesOf(contentsOf(path));
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::optional<Line> line = parse(lines[i]);
        ASSERT_TRUE(line) << lines[i];
        EXPECT_EQ(line->level, expected[i].first);
        EXPECT_EQ(line->message, expected[i].second);
        EXPECT_GE(line->time, before.addMSecs(-before.time().msec())) << lines[i];
        EXPECT_LE(line->time, after) << lines[i];
    }
}

TEST(FileLogger, PrepareFileCreatesMissingFoldersAndKeepsAnExistingFile) {
    QTemporaryDir dir;
    const fs::path path = folder(dir) / "state" / "ruvola" / "Ruvola.log";
    FileLogger(path).prepareFile();
    ASSERT_TRUE(fs::is_regular_file(path));
    EXPECT_EQ(fs::file_size(path), 0u);

    writeFile(path, "earlier\n");
    FileLogger logger(path);
    logger.prepareFile();
    logger.info("later");
    const std::vector<std::string> lines = linesOf(contentsOf(path));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "earlier");
    EXPECT_TRUE(isLine(lines[1], "INFO", "later")) << lines[1];
}

TEST(FileLogger, KeepsLinesWholeAndInOrderAcrossThreads) {
    constexpr int threads = 8;
    constexpr int linesPerThread = 2000;
    // The first limit holds every line; the second is crossed several times while every thread is
    // still writing, where a cut racing an append would lose lines.
    for (const std::size_t maximumBytes :
         {FileLogger::defaultMaximumBytes, std::size_t{256 * 1024}}) {
        SCOPED_TRACE(maximumBytes);
        QTemporaryDir dir;
        const fs::path path = folder(dir) / "Ruvola.log";
        FileLogger logger(path, maximumBytes);
        logger.prepareFile();

        std::latch start(threads);
        std::vector<std::thread> writers;
        for (int t = 0; t < threads; ++t) {
            writers.emplace_back([&logger, &start, t] {
                start.arrive_and_wait();
                for (int n = 0; n < linesPerThread; ++n) {
                    const std::string message =
                        "thread " + std::to_string(t) + " line " + std::to_string(n);
                    t % 2 == 0 ? logger.info(message) : logger.warning(message);
                }
            });
        }
        for (std::thread& writer : writers) {
            writer.join();
        }

        const std::string text = contentsOf(path);
        std::vector<std::string> lines = linesOf(text);
        const bool rotated = maximumBytes < FileLogger::defaultMaximumBytes;
        if (rotated) {
            EXPECT_LE(text.size(), maximumBytes + 64) << "over the limit by more than one line";
            // The cut may fall inside the first line.
            ASSERT_FALSE(lines.empty());
            lines.erase(lines.begin());
        }
        const QRegularExpression numbers(
            QRegularExpression::anchoredPattern(R"(thread (\d) line (\d+))"));
        std::vector<int> next(threads, rotated ? -1 : 0);
        for (const std::string& line : lines) {
            const std::optional<Line> parsed = parse(line);
            ASSERT_TRUE(parsed) << "torn line: " << line;
            const QRegularExpressionMatch match =
                numbers.match(QString::fromStdString(parsed->message));
            ASSERT_TRUE(match.hasMatch()) << "torn line: " << line;
            const int t = match.captured(1).toInt();
            const int n = match.captured(2).toInt();
            ASSERT_EQ(parsed->level, t % 2 == 0 ? "INFO" : "WARNING") << line;
            // After a cut, a thread's surviving lines start anywhere; from there none is missing.
            if (next[static_cast<std::size_t>(t)] >= 0) {
                ASSERT_EQ(n, next[static_cast<std::size_t>(t)]) << line;
            }
            next[static_cast<std::size_t>(t)] = n + 1;
        }
        for (int t = 0; t < threads; ++t) {
            const int reached = next[static_cast<std::size_t>(t)];
            // A thread that finished early may have been cut away entirely.
            if (!rotated || reached >= 0) {
                EXPECT_EQ(reached, linesPerThread) << "thread " << t;
            }
        }
    }
}

TEST(FileLogger, CutsTheFileToItsNewerHalfOnlyOnceOverTheLimit) {
    constexpr std::size_t limit = FileLogger::defaultMaximumBytes;
    constexpr std::size_t half = limit / 2;
    QTemporaryDir dir;
    const fs::path path = folder(dir) / "Ruvola.log";
    for (const std::size_t size : {limit, limit + 1}) {
        SCOPED_TRACE(size);
        std::string before;
        for (int n = 0; before.size() < size; ++n) {
            before += "line " + std::to_string(n) + "\n";
        }
        before.resize(size);
        // A two-byte character across the cut: the cut counts bytes, not characters.
        before.replace(size - half - 1, 2, "\xC3\xA9");
        writeFile(path, before);

        FileLogger(path).info("next");
        const std::string kept = size > limit ? before.substr(size - half) : before;
        const std::string after = contentsOf(path);
        ASSERT_GE(after.size(), kept.size());
        EXPECT_TRUE(after.compare(0, kept.size(), kept) == 0) << "wrong bytes kept";
        const std::string line = after.substr(kept.size());
        EXPECT_TRUE(line.ends_with('\n') && isLine(line.substr(0, line.size() - 1), "INFO", "next"))
            << line;
    }
}

TEST(FileLogger, DoesNotRecreateADeletedFileUntilPreparedAgain) {
    QTemporaryDir dir;
    const fs::path path = folder(dir) / "Ruvola.log";
    FileLogger logger(path);
    logger.prepareFile();
    logger.info("before");
    fs::remove(path);

    logger.info("lost");
    EXPECT_FALSE(fs::exists(path));

    logger.prepareFile();
    logger.info("after");
    const std::vector<std::string> lines = linesOf(contentsOf(path));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(isLine(lines[0], "INFO", "after")) << lines[0];
}

TEST(FileLogger, LosesLinesItCannotWriteAndTouchesNothingElse) {
    QTemporaryDir dir;
    const fs::path root = folder(dir);
    fs::create_directory(root / "Ruvola.log");
    writeFile(root / "blocker", "keep\n");
    // A folder where the file should be, and a file where its folder should be. A limit of one
    // byte sends every line through the rotation too.
    for (const fs::path& path : {root / "Ruvola.log", root / "blocker" / "Ruvola.log"}) {
        FileLogger logger(path, 1);
        logger.prepareFile();
        logger.info("lost");
        logger.warning("lost too");
    }
    EXPECT_TRUE(fs::is_directory(root / "Ruvola.log"));
    EXPECT_TRUE(fs::is_empty(root / "Ruvola.log"));
    EXPECT_EQ(contentsOf(root / "blocker"), "keep\n");
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(root)) {
        names.insert(entry.path().filename().string());
    }
    EXPECT_EQ(names, (std::set<std::string>{"Ruvola.log", "blocker"}));
}

TEST(NullLogger, AcceptsEveryLevel) {
    NullLogger logger;
    Logging& logging = logger;
    logging.info("a");
    logging.warning("");
    for (const LogLevel level : {LogLevel::debug, LogLevel::error}) {
        logging.log(level, "b");
    }
}

} // namespace
} // namespace ruvola

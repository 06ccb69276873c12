#include "Ruvola/host/Logging.hpp"

#include <QDateTime>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>
#include <thread>

namespace ruvola {
namespace {

namespace fs = std::filesystem;
using Seen = std::set<std::pair<int, int>>;

constexpr int threads = 8, perThread = 10'000;
constexpr std::array levels{LogLevel::debug, LogLevel::info, LogLevel::warning, LogLevel::error};

// Line n of thread t: its level and a message that names both, with a tail that only that line
// carries; every fiftieth runs past a page, some in two-byte characters.
LogLevel level(int t, int n) {
    return levels[static_cast<std::size_t>(t + n) % levels.size()];
}
std::string message(int t, int n) {
    const auto length = static_cast<std::size_t>(n % 50 == 0 ? 2500 : n * 7919 % 100);
    const std::string filler = n % 3 == 0 ? "\u00e9" : std::string(1, static_cast<char>('a' + t));
    std::string text = std::to_string(t) + ":" + std::to_string(n) + " ";
    for (std::size_t i = 0; i < length; ++i) {
        text += filler;
    }
    return text + " end";
}

// Thread and line number of "t:n " at the start of `text`, if it has them.
std::optional<std::pair<int, int>> numbers(std::string_view text) {
    int t = 0, n = 0;
    const char* end = text.data() + text.size();
    const auto [colon, first] = std::from_chars(text.data(), end, t);
    if (first != std::errc() || colon == end || *colon != ':') {
        return std::nullopt;
    }
    const auto [space, second] = std::from_chars(colon + 1, end, n);
    if (second != std::errc() || space == end || *space != ' ' || t < 0 || t >= threads || n < 0 ||
        n >= perThread) {
        return std::nullopt;
    }
    return std::pair(t, n);
}

// The first line of `contents` that isn't one a thread wrote, whole, stamped after `start`, and
// there once. A cut may begin the file mid-line, and a line may be on its way at the end: both
// are passed over unless `finished`. Good lines go to `seen`.
std::optional<std::string> badLine(const std::string& contents, const QDateTime& start,
                                   bool finished, Seen& seen) {
    if (finished && !contents.ends_with('\n')) {
        return "no newline at the end";
    }
    std::istringstream in(contents);
    std::string line;
    std::getline(in, line);
    Seen here;
    while (std::getline(in, line) && !in.eof()) {
        // "2026-01-01T12:00:00Z [LEVEL] t:n ..."
        const QString stamp = QString::fromStdString(line.substr(0, 20));
        const auto time = QDateTime::fromString(stamp, Qt::ISODate);
        const std::size_t close = line.find("] ", 22);
        const auto number = close == std::string::npos
                                ? std::nullopt
                                : numbers(std::string_view(line).substr(close + 2));
        if (line.size() < 22 || !time.isValid() || time.toString(Qt::ISODate) != stamp ||
            time < start || time > QDateTime::currentDateTimeUtc() ||
            line.compare(20, 2, " [") != 0 || !number ||
            line.substr(22, close - 22) != name(level(number->first, number->second)) ||
            line.substr(close + 2) != message(number->first, number->second) ||
            !here.insert(*number).second) {
            return line;
        }
    }
    seen.merge(here);
    return std::nullopt;
}

std::string read(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(FileLoggerTorture, EightThreadsAcrossManyCutsLeaveOnlyWholeLinesTheyWrote) {
    QTemporaryDir folder;
    const fs::path path = fs::path(folder.path().toStdString()) / "Ruvola.log";
    constexpr std::size_t limit = 256 * 1024; // cut a hundred times or so
    const QDateTime start = QDateTime::currentDateTimeUtc().addSecs(-1);
    FileLogger logger(path, limit);
    logger.prepareFile();

    // A reader looks at the file while it is written and cut, to see far more lines than the
    // last cut keeps.
    std::atomic<bool> writing = true;
    Seen seen;
    std::optional<std::string> bad;
    std::jthread reader([&] {
        while (writing && !bad) {
            bad = badLine(read(path), start, false, seen);
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
    ASSERT_FALSE(bad) << bad->substr(0, 200);

    const std::string last = read(path);
    EXPECT_EQ(badLine(last, start, true, seen), std::nullopt);
    // Over the limit only by the line written after the last cut.
    EXPECT_LE(last.size(), limit + 6000);
    std::printf("%zu distinct lines checked\n", seen.size());
    EXPECT_GE(seen.size(), 1000u);
}

} // namespace
} // namespace ruvola

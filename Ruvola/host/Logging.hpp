#pragma once

#include <cstddef>
#include <filesystem>
#include <mutex>
#include <string_view>

namespace ruvola {

enum class LogLevel { debug, info, warning, error };

/// "DEBUG", "INFO", "WARNING" or "ERROR".
std::string_view name(LogLevel level);

/// Where the program reports what it did. The one object called from several threads.
class Logging {
public:
    virtual ~Logging() = default;

    virtual void log(LogLevel level, std::string_view message) = 0;

    void info(std::string_view message) { log(LogLevel::info, message); }
    void warning(std::string_view message) { log(LogLevel::warning, message); }
};

/// Discards every message: for command-line paths that must stay silent.
class NullLogger final : public Logging {
public:
    void log(LogLevel, std::string_view) override {}
};

/// Appends one line per message to a file, "2026-01-01T12:00:00Z [INFO] message", opening and
/// closing the file for every line so it is always complete and may be moved or deleted at any
/// time. Before each line, a file over `maximumBytes` is cut to its newer half.
class FileLogger final : public Logging {
public:
    static constexpr std::size_t defaultMaximumBytes = 1'048'576;

    explicit FileLogger(std::filesystem::path file, std::size_t maximumBytes = defaultMaximumBytes);

    /// Creates the file's folder and an empty file if they are missing. Called once at launch; a
    /// file deleted later is not recreated by `log`.
    void prepareFile();

    /// Writes one whole line under the lock; a line that can't be written is lost, silently.
    void log(LogLevel level, std::string_view message) override;

    const std::filesystem::path& file() const { return file_; }

private:
    void rotateIfNeeded();

    const std::filesystem::path file_;
    const std::size_t maximumBytes_;
    std::mutex lock_;
};

} // namespace ruvola

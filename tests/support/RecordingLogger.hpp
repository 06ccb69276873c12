#pragma once

#include "Ruvola/host/Logging.hpp"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

namespace ruvola::testing {

/// Keeps every line as "LEVEL message"; safe to log to from any thread.
class RecordingLogger final : public Logging {
public:
    void log(LogLevel level, std::string_view message) override {
        const std::scoped_lock lock(mutex_);
        lines_.push_back(std::string(name(level)) + " " + std::string(message));
    }

    std::vector<std::string> lines() const {
        const std::scoped_lock lock(mutex_);
        return lines_;
    }

    std::size_t count() const { return lines().size(); }

    bool contains(const std::string& line) const { return std::ranges::count(lines(), line) > 0; }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

} // namespace ruvola::testing

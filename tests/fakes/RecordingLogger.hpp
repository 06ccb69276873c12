#pragma once

#include "Ruvola/Logging.hpp"

#include <mutex>
#include <string>
#include <vector>

namespace ruvola::testing {

/// Keeps every message as "INFO message" / "WARNING message", safe to call from any thread.
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

    void clear() {
        const std::scoped_lock lock(mutex_);
        lines_.clear();
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

} // namespace ruvola::testing

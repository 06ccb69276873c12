#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace ruvola::testing {

/// Sets or unsets environment variables for one test and restores them afterwards.
class ScopedEnvironment {
public:
    ScopedEnvironment() = default;
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

    ~ScopedEnvironment() {
        for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
            apply(it->first, it->second);
        }
    }

    void set(const std::string& name, std::optional<std::string> value) {
        const char* old = std::getenv(name.c_str());
        saved_.emplace_back(name, old != nullptr ? std::optional<std::string>(old) : std::nullopt);
        apply(name, value);
    }

private:
    static void apply(const std::string& name, const std::optional<std::string>& value) {
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
    }

    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

} // namespace ruvola::testing

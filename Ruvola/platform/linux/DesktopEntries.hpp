#pragma once

#include "Ruvola/platform/Windows.hpp"
#include "RuvolaCore/ActionCompletion.hpp"

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace ruvola::platform {

/// The installed desktop entries as GIO finds them: which one a window class belongs to, and the
/// starting of applications. Safe to use from many threads at once.
class DesktopEntries {
public:
    struct Entry {
        std::string id; ///< without ".desktop"
        std::string path;
        bool operator==(const Entry&) const = default;
    };

    /// The entry of windows with this WM_CLASS: one named after the class or instance (as is or
    /// lower-cased), else one whose StartupWMClass names it. Remembered for a while, as the
    /// frontmost application is asked for on every press.
    std::optional<Entry> forWindowClass(const std::string& instance,
                                        const std::string& windowClass);

    /// The id (without ".desktop") of the entry that opens folders; empty when there is none.
    std::string fileManagerId() const;

    /// Starts the first shown entry that `matches`, else the program `name` on PATH.
    ActionCompletion launch(const std::string& name, const ApplicationMatch& matches) const;

    /// Starts the entry at `path`.
    ActionCompletion launchFile(const std::string& path) const;

private:
    using Clock = std::chrono::steady_clock;
    struct Lookup {
        std::optional<Entry> entry;
        Clock::time_point made;
    };

    std::optional<Entry> lookUp(const std::string& instance, const std::string& windowClass);
    void indexStartupClasses(Clock::time_point now);

    std::mutex mutex_;
    std::map<std::pair<std::string, std::string>, Lookup> lookups_;
    std::map<std::string, Entry> byStartupClass_;
    std::optional<Clock::time_point> indexed_;
};

} // namespace ruvola::platform

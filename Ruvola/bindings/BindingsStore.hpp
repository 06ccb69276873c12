#pragma once

#include "RuvolaCore/BindingsFile.hpp"

#include <QTimer>

#include <filesystem>
#include <functional>
#include <memory>

namespace ruvola {

class Logging;

namespace platform {
class Desktop;
class DirectoryWatcher;
} // namespace platform

/// Owns the bindings file on disk: reads and checks it, reloads it shortly after every save, and
/// gives the user the starter layout to edit. Lives on the main thread.
class BindingsStore final {
public:
    /// `watcher` and `desktop` may be null for a store that is only loaded (the command line).
    BindingsStore(std::filesystem::path url, Logging& logger,
                  std::unique_ptr<platform::DirectoryWatcher> watcher, platform::Desktop* desktop);
    ~BindingsStore();

    BindingsStore(const BindingsStore&) = delete;
    BindingsStore& operator=(const BindingsStore&) = delete;

    /// `home`/.config/ruvola/bindings.json.
    static std::filesystem::path url(const std::filesystem::path& home);

    const std::filesystem::path& url() const { return url_; }
    /// The document in effect: the file's, or the starter while no file can be read.
    const BindingsFile& file() const { return file_; }

    /// Called after each reload the watcher triggers.
    std::function<void()> onChange;

    /// Reads and checks the file and puts it in effect. Does not call `onChange`.
    void load();

    /// Creates the file's folder if needed and reloads 0.2 s after the last change in it.
    void startWatching();

    /// Writes the starter file if there is none, then opens the file in the user's editor.
    void edit();

private:
    void scheduleReload();

    const std::filesystem::path url_;
    Logging& logger_;
    std::unique_ptr<platform::DirectoryWatcher> watcher_;
    platform::Desktop* desktop_;
    BindingsFile file_;
    QTimer pendingReload_;
};

} // namespace ruvola

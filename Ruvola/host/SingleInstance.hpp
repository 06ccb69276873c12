#pragma once

#include <functional>
#include <memory>
#include <string>

class QLocalServer;
class QLockFile;

namespace ruvola {

/// Keeps to one running copy of the program per user. The first launch claims the name and listens
/// on a local socket; a later one asks it, through that socket, to reopen (show itself) and then
/// leaves.
///
/// Who is first is settled by a lock file next to the socket, which counts for nothing once the
/// process that made it has ended; a socket found while holding it is a crashed instance's.
class SingleInstance {
public:
    /// `name` is the program's; the user's id is added to it.
    explicit SingleInstance(std::string name);
    ~SingleInstance();

    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// True when this is the only instance; it then holds the name until destroyed. False when
    /// another instance holds it, which has been asked to reopen (unless it didn't answer within
    /// seconds, e.g. while hung). Blocks until then.
    bool claim();

    /// Called on the main thread each time a later launch asks this instance to reopen.
    std::function<void()> onReopen;

    /// Where later launches find this instance.
    std::string socketPath() const;

private:
    void listen();

    std::string name_;
    std::unique_ptr<QLockFile> lock_;
    std::unique_ptr<QLocalServer> server_;
};

} // namespace ruvola

#include "Ruvola/SingleInstance.hpp"

#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace ruvola {

namespace {

constexpr char reopenRequest[] = "reopen\n";

// A refusal is tried again for `patience`: the holder of the lock may still be setting up its
// server.
bool askToReopen(const QString& path, std::chrono::milliseconds patience) {
    const QDeadlineTimer deadline(patience);
    const auto remaining = [&] { return static_cast<int>(deadline.remainingTime()); };
    QLocalSocket socket;
    for (;;) {
        socket.connectToServer(path);
        if (socket.waitForConnected(remaining())) {
            break;
        }
        if (deadline.hasExpired()) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    // No answer is awaited: the first instance may be this very thread.
    socket.write(reopenRequest);
    const bool sent = socket.waitForBytesWritten(remaining());
    socket.disconnectFromServer();
    return sent;
}

} // namespace

SingleInstance::SingleInstance(std::string name) : name_(std::move(name)) {}

SingleInstance::~SingleInstance() {
    server_.reset(); // removes the socket while the lock still says it is ours
    if (lock_ >= 0) {
        ::close(lock_);
    }
}

std::string SingleInstance::socketPath() const {
    return QDir::tempPath().toStdString() + "/" + name_ + "-" + std::to_string(::getuid());
}

bool SingleInstance::claim() {
    if (lock_ >= 0) {
        return true;
    }
    const QString path = QString::fromStdString(socketPath());
    lock_ =
        ::open((socketPath() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (lock_ >= 0 && ::flock(lock_, LOCK_EX | LOCK_NB) != 0) {
        const bool held = errno == EWOULDBLOCK;
        ::close(lock_);
        lock_ = -1;
        if (held) {
            askToReopen(path, std::chrono::seconds(3));
            return false;
        }
    }
    // Without a lock file (one another user made, say) a live instance is told by its answer.
    if (lock_ < 0 && askToReopen(path, std::chrono::milliseconds(100))) {
        return false;
    }
    listen();
    return true;
}

void SingleInstance::listen() {
    const QString path = QString::fromStdString(socketPath());
    QLocalServer::removeServer(path);
    server_ = std::make_unique<QLocalServer>();
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    // Should this fail, later launches still defer to this one; they just can't bring it forward.
    server_->listen(path);
    QObject::connect(server_.get(), &QLocalServer::newConnection, server_.get(), [this] {
        while (QLocalSocket* socket = server_->nextPendingConnection()) {
            QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            QObject::connect(socket, &QLocalSocket::readyRead, socket, [this, socket] {
                if (!socket->canReadLine()) {
                    return;
                }
                const bool reopen = socket->readLine() == reopenRequest;
                socket->disconnectFromServer();
                if (reopen && onReopen) {
                    const auto callback = onReopen; // a copy, in case it destroys this
                    callback();
                }
            });
        }
    });
}

} // namespace ruvola

#include "Ruvola/host/SingleInstance.hpp"

#include <QDeadlineTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>

#include <chrono>
#include <thread>

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
}

std::string SingleInstance::socketPath() const {
    // The runtime folder is the user's own, so each user has an instance of their own.
    return (QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) + "/" +
            QString::fromStdString(name_))
        .toStdString();
}

bool SingleInstance::claim() {
    if (server_) {
        return true;
    }
    const QString path = QString::fromStdString(socketPath());
    auto lock = std::make_unique<QLockFile>(path + ".lock");
    // Only a holder that has ended gives the lock up, however long it has been running.
    lock->setStaleLockTime(0);
    if (lock->tryLock(0)) {
        lock_ = std::move(lock);
    } else if (lock->error() == QLockFile::LockFailedError) {
        askToReopen(path, std::chrono::seconds(3));
        return false;
    } else if (askToReopen(path, std::chrono::milliseconds(100))) {
        return false; // without a lock file a live instance is told by its answer
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

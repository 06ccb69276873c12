#pragma once

#include <QTcpServer>
#include <QTcpSocket>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace ruvola::testing {

struct Received {
    std::string method, path, body;
    std::map<std::string, std::string> headers; // names lower-cased
};

/// A loopback HTTP/1.1 server that records each complete request and answers `status`, or never
/// answers when `status` is 0.
struct HttpRecorder {
    explicit HttpRecorder(int status) {
        server.listen(QHostAddress::LocalHost);
        QObject::connect(&server, &QTcpServer::newConnection, &server, [this, status] {
            QTcpSocket* socket = server.nextPendingConnection();
            auto buffer = std::make_shared<QByteArray>();
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [=, this] {
                buffer->append(socket->readAll());
                if (record(*buffer) && status != 0) {
                    socket->write("HTTP/1.1 " + QByteArray::number(status) +
                                  " X\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
                    socket->disconnectFromHost();
                }
            });
        });
    }

    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(server.serverPort()) + path;
    }

    // Records the request in `data` once all of it has arrived.
    bool record(const QByteArray& data) {
        const qsizetype end = data.indexOf("\r\n\r\n");
        if (end < 0) {
            return false;
        }
        QList<QByteArray> lines = data.left(end).split('\n');
        const QList<QByteArray> first = lines.takeFirst().trimmed().split(' ');
        Received got{first.value(0).toStdString(), first.value(1).toStdString(), {}, {}};
        for (const QByteArray& line : lines) {
            got.headers[line.left(line.indexOf(':')).toLower().toStdString()] =
                line.mid(line.indexOf(':') + 1).trimmed().toStdString();
        }
        const qsizetype size = QByteArray::fromStdString(got.headers["content-length"]).toInt();
        if (data.size() < end + 4 + size) {
            return false;
        }
        got.body = data.mid(end + 4, size).toStdString();
        received.push_back(std::move(got));
        return true;
    }

    QTcpServer server;
    std::vector<Received> received;
};

} // namespace ruvola::testing

#pragma once

#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>

#include <map>
#include <memory>
#include <optional>
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
                std::optional<Received> got = parse(*buffer);
                if (got) {
                    received.push_back(std::move(*got));
                }
                if (got && status != 0) {
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

    /// The request in `data`, once all of it has arrived.
    static std::optional<Received> parse(const QByteArray& data) {
        const qsizetype end = data.indexOf("\r\n\r\n");
        if (end < 0) {
            return std::nullopt;
        }
        QList<QByteArray> lines = data.left(end).split('\n');
        const QList<QByteArray> first = lines.takeFirst().trimmed().split(' ');
        Received got{first.value(0).toStdString(), first.value(1).toStdString(), {}, {}};
        for (const QByteArray& line : lines) {
            got.headers[line.left(line.indexOf(':')).toLower().toStdString()] =
                line.mid(line.indexOf(':') + 1).trimmed().toStdString();
        }
        const auto length = got.headers.find("content-length");
        const qsizetype size = length == got.headers.end() ? 0 : std::stoi(length->second);
        if (data.size() < end + 4 + size) {
            return std::nullopt;
        }
        got.body = data.mid(end + 4, size).toStdString();
        return got;
    }

    QTcpServer server;
    std::vector<Received> received;
};

/// An HTTP proxy on loopback that accepts every CONNECT tunnel, plays the far server itself with
/// `certificate`, and records the requests sent through it; they are answered 200.
class TlsTunnelRecorder final : public QTcpServer {
public:
    TlsTunnelRecorder(QSslCertificate certificate, QSslKey key)
        : certificate_(std::move(certificate)), key_(std::move(key)) {
        listen(QHostAddress::LocalHost);
    }

    std::vector<std::string> tunnels; // "host:port" of each CONNECT
    std::vector<Received> received;

protected:
    void incomingConnection(qintptr descriptor) override {
        auto* socket = new QSslSocket(this);
        socket->setSocketDescriptor(descriptor);
        socket->setLocalCertificate(certificate_);
        socket->setPrivateKey(key_);
        auto buffer = std::make_shared<QByteArray>();
        QObject::connect(socket, &QSslSocket::readyRead, socket, [=, this] {
            buffer->append(socket->readAll());
            if (!socket->isEncrypted()) {
                const qsizetype end = buffer->indexOf("\r\n\r\n");
                if (end >= 0 && buffer->startsWith("CONNECT ")) {
                    tunnels.push_back(buffer->split(' ').value(1).toStdString());
                    buffer->clear();
                    socket->write("HTTP/1.1 200 Connection established\r\n\r\n");
                    socket->startServerEncryption();
                }
                return;
            }
            if (std::optional<Received> got = HttpRecorder::parse(*buffer)) {
                received.push_back(std::move(*got));
                socket->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
                socket->disconnectFromHost();
            }
        });
    }

private:
    QSslCertificate certificate_;
    QSslKey key_;
};

} // namespace ruvola::testing

#include "Ruvola/Logging.hpp"
#include "Ruvola/NetworkActions.hpp"
#include "RuvolaCore/PadAction.hpp"
#include "support/EventLoop.hpp"

#include <QTcpServer>
#include <QTcpSocket>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace ruvola {
namespace {

using namespace std::chrono_literals;
using testing::waitUntil;

struct RecordingLogger final : Logging {
    void log(LogLevel level, std::string_view message) override {
        lines.push_back(std::string(name(level)) + " " + std::string(message));
    }
    std::vector<std::string> lines;
};

struct Received {
    std::string method, path, body;
    std::map<std::string, std::string> headers; // names lower-cased
};

/// A loopback HTTP/1.1 server that records each complete request and answers `status`, or never
/// answers when `status` is 0.
struct RecordingServer {
    explicit RecordingServer(int status) {
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
        const auto length = got.headers.find("content-length");
        const qsizetype size = length == got.headers.end() ? 0 : std::stoi(length->second);
        if (data.size() < end + 4 + size) {
            return false;
        }
        got.body = data.mid(end + 4, size).toStdString();
        received.push_back(got);
        return true;
    }

    QTcpServer server;
    std::vector<Received> received;
};

TEST(NetworkActions, SendsExactlyTheGivenRequestAndLogsEveryStatusAtInfo) {
    const std::vector<std::tuple<int, std::string, HTTPRequest>> cases = {
        {200,
         "/api/webhook/abc",
         {"", "POST", "{\"m\":\"h\u00e9\"}", {{"Content-Type", "text/x"}}}},
        {404, "/keypress/Home?x=%20", {"", "PUT"}},
        {500, "/", {"", "GET", std::nullopt, {{"X-Key", "v"}}}},
    };
    RecordingLogger logger;
    NetworkActions actions(logger);
    for (auto [status, path, request] : cases) {
        SCOPED_TRACE(status);
        RecordingServer server(status);
        request.url = server.url(path);
        actions.send(request, "Name");
        ASSERT_TRUE(waitUntil([&, n = logger.lines.size()] { return logger.lines.size() > n; }));
        EXPECT_EQ(logger.lines.back(),
                  "INFO Name: " + request.method + " 127.0.0.1 \u2192 " + std::to_string(status));
        ASSERT_EQ(server.received.size(), 1U);
        Received got = server.received.front();
        EXPECT_EQ(got.method + " " + got.path + " " + got.body,
                  request.method + " " + path + " " + request.body.value_or(""));
        EXPECT_EQ(got.headers.count("content-length"), request.body ? 1U : 0U);
        // Qt adds these when a request lacks them; nothing else may appear.
        for (const char* field : {"host", "connection", "accept-encoding", "user-agent",
                                  "accept-language", "content-length"}) {
            got.headers.erase(field);
        }
        std::map<std::string, std::string> expected;
        for (const auto& [field, value] : request.headers) {
            expected[QByteArray::fromStdString(field).toLower().toStdString()] = value;
        }
        EXPECT_EQ(got.headers, expected);
    }
}

TEST(NetworkActions, TransportFailuresWarnWithQtsDescriptionWithoutBlockingOtherRequests) {
    RecordingServer hung(0), healthy(200), refused(200);
    refused.server.close();

    RecordingLogger logger;
    NetworkActions actions(logger, 200ms);
    actions.send({hung.url("/"), "GET"}, "Hung");
    actions.send({healthy.url("/"), "POST", "x"}, "Healthy");
    ASSERT_TRUE(waitUntil([&] { return logger.lines.size() == 2; }));
    EXPECT_EQ(hung.received.size(), 1U);
    actions.send({refused.url("/"), "DELETE"}, "Off");
    ASSERT_TRUE(waitUntil([&] { return logger.lines.size() == 3; }));
    EXPECT_EQ(logger.lines, (std::vector<std::string>{
                                "INFO Healthy: POST 127.0.0.1 \u2192 200",
                                "WARNING Hung: GET 127.0.0.1 failed \u2014 Operation canceled",
                                "WARNING Off: DELETE 127.0.0.1 failed \u2014 Connection refused",
                            }));
}

} // namespace
} // namespace ruvola

#include "Ruvola/Logging.hpp"
#include "Ruvola/NetworkActions.hpp"
#include "RuvolaCore/PadAction.hpp"
#include "support/EventLoop.hpp"

#include <QTcpServer>
#include <QTcpSocket>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ruvola {
namespace {

using namespace std::chrono_literals;
using testing::waitUntil;

class RecordingLogger final : public Logging {
public:
    void log(LogLevel level, std::string_view message) override {
        const std::lock_guard guard(lock_);
        lines_.push_back(std::string(name(level)) + " " + std::string(message));
    }
    std::vector<std::string> lines() const {
        const std::lock_guard guard(lock_);
        return lines_;
    }

private:
    mutable std::mutex lock_;
    std::vector<std::string> lines_;
};

struct Received {
    std::string method;
    std::string path;
    std::map<std::string, std::string> headers; // names lower-cased
    std::string body;
};

/// A loopback HTTP/1.1 server that records each request and answers `status`, or never answers
/// when `status` is 0.
class RecordingServer {
public:
    explicit RecordingServer(int status) : status_(status) {
        server_.listen(QHostAddress::LocalHost);
        QObject::connect(&server_, &QTcpServer::newConnection, &server_, [this] {
            while (QTcpSocket* socket = server_.nextPendingConnection()) {
                auto buffer = std::make_shared<QByteArray>();
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, buffer] {
                    buffer->append(socket->readAll());
                    if (parse(*buffer) && status_ != 0) {
                        socket->write("HTTP/1.1 " + QByteArray::number(status_) +
                                      " X\r\nContent-Length: 2\r\nConnection: close\r\n\r\nok");
                        socket->disconnectFromHost();
                    }
                });
            }
        });
    }

    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(server_.serverPort()) + path;
    }
    /// Stops listening, so that connections to its port are refused.
    void close() { server_.close(); }

    std::vector<Received> received;

private:
    // Records the request once it is complete.
    bool parse(const QByteArray& data) {
        const qsizetype end = data.indexOf("\r\n\r\n");
        if (end < 0) {
            return false;
        }
        const QList<QByteArray> lines = data.left(end).split('\n');
        Received request;
        const QList<QByteArray> first = lines.front().trimmed().split(' ');
        request.method = first.value(0).toStdString();
        request.path = first.value(1).toStdString();
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const qsizetype colon = lines[i].indexOf(':');
            request.headers[lines[i].left(colon).toLower().toStdString()] =
                lines[i].mid(colon + 1).trimmed().toStdString();
        }
        const auto length = request.headers.find("content-length");
        const qsizetype size = length == request.headers.end() ? 0 : std::stoi(length->second);
        if (data.size() < end + 4 + size) {
            return false;
        }
        request.body = data.mid(end + 4, size).toStdString();
        received.push_back(request);
        return true;
    }

    const int status_;
    QTcpServer server_;
};

TEST(NetworkActions, SendsExactlyTheGivenRequestAndLogsEveryStatusAtInfo) {
    struct Case {
        int status;
        std::string path;
        HTTPRequest request; // its address is the server's and `path`
    };
    const std::vector<Case> cases = {
        {200,
         "/api/webhook/abc",
         {"", "POST", "{\"m\":\"h\u00e9\"}", {{"Content-Type", "text/x"}}}},
        {404, "/keypress/Home?x=%20", {"", "PUT"}},
        {500, "/", {"", "GET", std::nullopt, {{"X-Key", "v"}}}},
    };
    // Qt adds these when a request lacks them; nothing else may appear.
    const std::vector<std::string> addedByQt = {"host",       "connection",      "accept-encoding",
                                                "user-agent", "accept-language", "content-length"};

    RecordingLogger logger;
    NetworkActions actions(logger);
    for (Case c : cases) {
        SCOPED_TRACE(c.status);
        RecordingServer server(c.status);
        c.request.url = server.url(c.path);
        const std::size_t logged = logger.lines().size();
        actions.send(c.request, "Name");
        ASSERT_TRUE(waitUntil([&] { return logger.lines().size() > logged; }));
        EXPECT_EQ(logger.lines().back(), "INFO Name: " + c.request.method + " 127.0.0.1 \u2192 " +
                                             std::to_string(c.status));
        ASSERT_EQ(server.received.size(), 1U);
        const Received& got = server.received.front();
        EXPECT_EQ(got.method + " " + got.path + " " + got.body,
                  c.request.method + " " + c.path + " " + c.request.body.value_or(""));
        std::map<std::string, std::string> extra = got.headers;
        for (const auto& [field, value] : c.request.headers) {
            const auto lower = QByteArray::fromStdString(field).toLower().toStdString();
            EXPECT_EQ(extra[lower], value);
            extra.erase(lower);
        }
        for (const std::string& field : addedByQt) {
            extra.erase(field);
        }
        EXPECT_TRUE(extra.empty()) << extra.begin()->first;
        EXPECT_EQ(got.headers.count("content-length"), c.request.body ? 1U : 0U);
    }
}

TEST(NetworkActions, TransportFailuresWarnWithQtsDescriptionWithoutBlockingOtherRequests) {
    RecordingServer hung(0);
    RecordingServer healthy(200);
    RecordingServer refused(200);
    refused.close();

    RecordingLogger logger;
    NetworkActions actions(logger, 200ms);
    actions.send({hung.url("/"), "GET"}, "Hung");
    actions.send({healthy.url("/"), "POST", "x"}, "Healthy");
    ASSERT_TRUE(waitUntil([&] { return logger.lines().size() == 2; }));
    EXPECT_EQ(logger.lines(), (std::vector<std::string>{
                                  "INFO Healthy: POST 127.0.0.1 \u2192 200",
                                  "WARNING Hung: GET 127.0.0.1 failed \u2014 Operation canceled",
                              }));
    EXPECT_EQ(hung.received.size(), 1U);

    actions.send({refused.url("/"), "DELETE"}, "Off");
    ASSERT_TRUE(waitUntil([&] { return logger.lines().size() == 3; }));
    EXPECT_EQ(logger.lines().back(),
              "WARNING Off: DELETE 127.0.0.1 failed \u2014 Connection refused");
}

} // namespace
} // namespace ruvola

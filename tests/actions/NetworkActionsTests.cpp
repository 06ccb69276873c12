#include "Ruvola/actions/NetworkActions.hpp"
#include "RuvolaCore/PadAction.hpp"
#include "support/EventLoop.hpp"
#include "support/HttpRecorder.hpp"
#include "support/RecordingLogger.hpp"

#include <gtest/gtest.h>

#include <tuple>

namespace ruvola {
namespace {

using namespace std::chrono_literals;
using testing::HttpRecorder;
using testing::RecordingLogger;
using testing::waitUntil;

TEST(NetworkActions, SendsExactlyTheGivenRequestAndLogsEveryStatusAtInfo) {
    // An empty body is said to be empty, except where a request has none.
    const std::vector<std::tuple<int, std::string, HTTPRequest, std::string>> cases = {
        {200, "/api/webhook/abc", {"", "POST", "{\"m\":\"h\u00e9\"}", {{"X-Key", "v"}}}, "11"},
        {404, "/keypress/Home?x=%20", {"", "PUT"}, "0"},
        {200, "/a%20b", {"", "GET"}, ""},
    };
    RecordingLogger logger;
    NetworkActions actions(logger);
    for (auto [status, path, request, length] : cases) {
        HttpRecorder server(status);
        request.url = server.url(path);
        actions.send(request, "Name");
        ASSERT_TRUE(waitUntil([&, n = logger.count()] { return logger.count() > n; }));
        EXPECT_EQ(logger.lines().back(),
                  "INFO Name: " + request.method + " 127.0.0.1 \u2192 " + std::to_string(status));
        ASSERT_EQ(server.received.size(), 1U);
        testing::Received got = server.received.front();
        EXPECT_EQ(got.method + " " + got.path + " " + got.body + " " + got.headers["x-key"] + " " +
                      got.headers["content-length"],
                  request.method + " " + path + " " + request.body.value_or("") + " " +
                      (request.headers.empty() ? "" : "v") + " " + length);
    }
}

TEST(NetworkActions, TransportFailuresWarnWithQtsDescriptionWithoutBlockingOtherRequests) {
    HttpRecorder hung(0), healthy(200), refused(200);
    refused.server.close();

    RecordingLogger logger;
    NetworkActions actions(logger, 200ms);
    actions.send({hung.url("/"), "GET"}, "Hung");
    actions.send({healthy.url("/"), "POST", "x"}, "Healthy");
    ASSERT_TRUE(waitUntil([&] { return logger.count() == 2; }));
    EXPECT_EQ(hung.received.size(), 1U);
    actions.send({refused.url("/"), "DELETE"}, "Off");
    ASSERT_TRUE(waitUntil([&] { return logger.count() == 3; }));
    EXPECT_EQ(logger.lines(),
              (std::vector<std::string>{
                  "INFO Healthy: POST 127.0.0.1 \u2192 200",
                  "WARNING Hung: GET 127.0.0.1 failed \u2014 The request timed out.",
                  "WARNING Off: DELETE 127.0.0.1 failed \u2014 Connection refused",
              }));
}

} // namespace
} // namespace ruvola

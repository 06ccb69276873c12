#include "Ruvola/host/SingleInstance.hpp"
#include "support/EventLoop.hpp"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace ruvola {
namespace {

using namespace std::chrono_literals;
using testing::waitUntil;

constexpr const char* childVariable = "RUVOLA_SINGLE_INSTANCE_CHILD";

// Sockets and locks go to the temporary folder, a fresh one here so no run meets another's.
struct SingleInstanceTest : ::testing::Test {
    void SetUp() override {
        if (std::getenv(childVariable) == nullptr) {
            qputenv("TMPDIR", temporary.path().toLocal8Bit());
        }
    }

    QTemporaryDir temporary;
    const std::string name = "ruvola-test";
};

TEST_F(SingleInstanceTest, TakesOverAStaleSocketAndLaterLaunchesDeferAndAskItToReopen) {
    auto first = std::make_unique<SingleInstance>(name);
    // A bound socket nobody listens on, as a crashed instance leaves behind.
    const int stale = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, first->socketPath().c_str(), sizeof(address.sun_path) - 1);
    ASSERT_EQ(::bind(stale, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ::close(stale);

    int reopens = 0;
    first->onReopen = [&] { ++reopens; };
    ASSERT_TRUE(first->claim());
    for (int launch = 1; launch <= 2; ++launch) {
        EXPECT_FALSE(SingleInstance(name).claim()) << launch;
        EXPECT_TRUE(waitUntil([&] { return reopens == launch; })) << launch;
    }
    first.reset();
    EXPECT_TRUE(SingleInstance(name).claim()) << "the name is free once the first has ended";
}

// Copies of this test binary, started together, each run this test as a child.
TEST_F(SingleInstanceTest, ExactlyOneOfThreeLaunchesAtOnceClaims) {
    if (std::getenv(childVariable) != nullptr) {
        SingleInstance instance(name);
        int reopens = 0;
        instance.onReopen = [&] { ++reopens; };
        if (instance.claim()) {
            waitUntil([&] { return reopens >= 2; }, 20s);
            std::printf("single instance: claimed, %d reopens\n", reopens);
        } else {
            std::printf("single instance: deferred\n");
        }
        return;
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(childVariable, "1");
    std::vector<std::unique_ptr<QProcess>> launches;
    for (int i = 0; i < 3; ++i) {
        auto& launch = launches.emplace_back(std::make_unique<QProcess>());
        launch->setProcessEnvironment(environment);
        launch->start(QCoreApplication::applicationFilePath(),
                      {"--gtest_filter=SingleInstanceTest.ExactlyOneOfThreeLaunchesAtOnceClaims"});
    }
    std::vector<std::string> outcomes;
    for (const auto& launch : launches) {
        ASSERT_TRUE(launch->waitForFinished(30000));
        EXPECT_EQ(launch->exitCode(), 0) << launch->readAllStandardError().toStdString();
        const QString output = QString::fromLocal8Bit(launch->readAllStandardOutput());
        const qsizetype start = output.indexOf("single instance: ");
        outcomes.push_back(start < 0 ? output.toStdString()
                                     : output.mid(start).section('\n', 0, 0).toStdString());
    }
    std::sort(outcomes.begin(), outcomes.end());
    EXPECT_EQ(outcomes,
              (std::vector<std::string>{"single instance: claimed, 2 reopens",
                                        "single instance: deferred", "single instance: deferred"}));
}

} // namespace
} // namespace ruvola

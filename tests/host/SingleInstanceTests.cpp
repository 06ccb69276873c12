#include "Ruvola/host/SingleInstance.hpp"
#include "support/EventLoop.hpp"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>

namespace ruvola {
namespace {

using namespace std::chrono_literals;
using testing::waitUntil;

constexpr const char* childVariable = "RUVOLA_SINGLE_INSTANCE_CHILD";

// Copies of this test binary, started together, each run this test as a child; a child's exit
// code is its count of reopen requests once it has claimed, 9 when it deferred. A file left in
// the socket's place, as by a crashed instance, is taken over, and the name is free again after.
TEST(SingleInstanceTest, ExactlyOneOfThreeLaunchesAtOnceClaimsAndTheOthersAskItToReopen) {
    const std::string name = "ruvola-test";
    if (std::getenv(childVariable) != nullptr) {
        SingleInstance instance(name);
        int reopens = 0;
        instance.onReopen = [&] { ++reopens; };
        const bool claimed = instance.claim();
        if (claimed) {
            waitUntil([&] { return reopens >= 2; }, 20s);
        }
        std::_Exit(claimed ? reopens : 9);
    }
    // Sockets and locks go to the temporary folder, a fresh one here so no run meets another's;
    // the children inherit it.
    QTemporaryDir temporary;
    qputenv("TMPDIR", temporary.path().toLocal8Bit());
    std::ofstream(SingleInstance(name).socketPath()) << "";
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(childVariable, "1");
    std::vector<std::unique_ptr<QProcess>> launches;
    for (int i = 0; i < 3; ++i) {
        auto& launch = launches.emplace_back(std::make_unique<QProcess>());
        launch->setProcessEnvironment(environment);
        launch->start(QCoreApplication::applicationFilePath(),
                      {"--gtest_filter=SingleInstanceTest.*"});
    }
    std::multiset<int> exitCodes;
    for (const auto& launch : launches) {
        ASSERT_TRUE(launch->waitForFinished(30000));
        exitCodes.insert(launch->exitCode());
    }
    EXPECT_EQ(exitCodes, (std::multiset{2, 9, 9}));
    EXPECT_TRUE(SingleInstance(name).claim());
}

} // namespace
} // namespace ruvola

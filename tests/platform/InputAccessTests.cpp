#include "Ruvola/platform/InputAccess.hpp"
#include "Ruvola/platform/Platform.hpp"
#include "tests/platform/ScopedEnvironment.hpp"
#include "tests/support/EventLoop.hpp"

#include <QProcess>
#include <QStandardPaths>
#include <gtest/gtest.h>

#include <filesystem>
#include <unistd.h>

using namespace std::chrono_literals;
using ruvola::testing::waitUntil;

namespace {

int unusedDisplayNumber() {
    int number = 90;
    while (std::filesystem::exists("/tmp/.X11-unix/X" + std::to_string(number)) ||
           std::filesystem::exists("/tmp/.X" + std::to_string(number) + "-lock")) {
        ++number;
    }
    return number;
}

TEST(InputAccess, IsGrantedOnceTheDisplayOffersXTest) {
    if (::access("/dev/uinput", W_OK) == 0) {
        GTEST_SKIP() << "/dev/uinput is writable here, which grants access whatever the display";
    }
    const auto platform = ruvola::platform::makePlatform();
    auto& inputAccess = platform->inputAccess();
    ruvola::testing::ScopedEnvironment environment;

    environment.set("DISPLAY", std::nullopt);
    EXPECT_FALSE(inputAccess.isTrusted());
    const QString display = QString(":%1").arg(unusedDisplayNumber());
    environment.set("DISPLAY", display.toStdString());
    EXPECT_FALSE(inputAccess.isTrusted());

    const QString xvfb = QStandardPaths::findExecutable("Xvfb");
    if (xvfb.isEmpty()) {
        GTEST_SKIP() << "Xvfb is not installed";
    }
    QProcess server;
    server.start(xvfb, {display, "-nolisten", "tcp", "-screen", "0", "320x240x24"});
    ASSERT_TRUE(server.waitForStarted());
    // The same object sees the display that appeared after it said no.
    EXPECT_TRUE(waitUntil(
        [&] { return inputAccess.isTrusted() || server.state() == QProcess::NotRunning; }, 10s));
    EXPECT_TRUE(inputAccess.isTrusted()) << server.readAllStandardError().toStdString();
    server.terminate();
    server.waitForFinished();
}

} // namespace

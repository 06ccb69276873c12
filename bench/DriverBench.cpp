// The driver with a virtual pad on its HID seam and the starter layout on disk: how long a press
// takes to reach its action, and what keeping the keys' pictures current costs.
#include "Ruvola/RuvolaApplication.hpp"
#include "Ruvola/bindings/BindingsStore.hpp"
#include "Ruvola/host/Logging.hpp"
#include "RuvolaCore/StarterBindings.hpp"
#include "fakes/TestPlatform.hpp"
#include "fakes/VirtualPad.hpp"
#include "support/EventLoop.hpp"

#include <QSettings>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace ruvola {
namespace {

std::string starterWithRotation(int rotation) {
    std::string text(starterBindings::text());
    const std::string from = R"("rotation": 90)";
    text.replace(text.find(from), from.size(), R"("rotation": )" + std::to_string(rotation));
    return text;
}

// The starter file in a home of its own, the pad attached and showing its six keys. Key 1 is
// "playpause", so a press ends at the recording system keys and nothing leaves the process.
class Driver {
public:
    Driver() {
        if (const char* home = std::getenv("HOME")) {
            formerHome_ = home;
        }
        setenv("HOME", home_.path().toLocal8Bit().constData(), 1);
        save(starterWithRotation(90));
        applications_.front.emplace().name = "Terminal";
        platform_.emplace();
        platform_->hidManagers = [this] { return pad.manager(); };
        platform_->windowsOverride = &applications_;
        platform_->inputAccessOverride = &access_;
        platform_->systemKeysOverride = &keys;
        application.emplace(*platform_, settings_);
        application->start({AppIdentity{}, &logger_, {}});
        ready_ = testing::waitUntil([&] {
            return std::count_if(
                       pad.received.begin(), pad.received.end(),
                       [](const std::string& report) { return report.starts_with("BAT"); }) == 6 &&
                   pad.received.back() == "STP";
        });
        pad.received.clear();
    }

    ~Driver() {
        application->stop();
        application.reset();
        platform_.reset();
        if (formerHome_) {
            setenv("HOME", formerHome_->c_str(), 1);
        }
    }

    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

    bool ready() const { return ready_ && pad.violations.empty(); }

    void save(const std::string& text) {
        const std::filesystem::path file =
            BindingsStore::url(std::filesystem::path(home_.path().toStdString()));
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

    testing::VirtualPad pad;
    testing::RecordingSystemKeys keys;
    std::optional<RuvolaApplication> application;

private:
    std::optional<std::string> formerHome_;
    QTemporaryDir home_;
    QSettings settings_{home_.filePath("settings.ini"), QSettings::IniFormat};
    testing::FakeWindows applications_;
    testing::FakeInputAccess access_;
    NullLogger logger_;
    std::optional<testing::TestPlatform> platform_;
    bool ready_ = false;
};

void inputToAction(benchmark::State& state) {
    Driver driver;
    if (!driver.ready()) {
        state.SkipWithError("the pad did not start");
        return;
    }
    std::int64_t dispatched = 0;
    for (auto _ : state) {
        driver.pad.report(0x01, 1); // key 1 down
        dispatched += static_cast<std::int64_t>(driver.keys.presses.size());
        driver.keys.presses.clear();
    }
    if (dispatched != state.iterations()) {
        state.SkipWithError("a press did not reach the system keys");
    }
}
BENCHMARK(inputToAction);

void updateScreensUnchanged(benchmark::State& state) {
    Driver driver;
    if (!driver.ready()) {
        state.SkipWithError("the pad did not start");
        return;
    }
    for (auto _ : state) {
        driver.application->frontmostChanged();
    }
    state.counters["reports"] = static_cast<double>(driver.pad.received.size());
}
BENCHMARK(updateScreensUnchanged)->Unit(benchmark::kMicrosecond);

// Every key redrawn at the other rotation. Includes the virtual pad checking the reports and
// decoding each JPEG it receives.
void updateScreensAfterRotation(benchmark::State& state) {
    Driver driver;
    if (!driver.ready()) {
        state.SkipWithError("the pad did not start");
        return;
    }
    const std::string upright = starterWithRotation(0);
    const std::string turned = starterWithRotation(90);
    bool turn = false;
    for (auto _ : state) {
        state.PauseTiming();
        driver.save(turn ? turned : upright);
        driver.application->store()->load();
        turn = !turn;
        state.ResumeTiming();
        driver.application->frontmostChanged();
    }
    state.counters["reports"] = benchmark::Counter(static_cast<double>(driver.pad.received.size()),
                                                   benchmark::Counter::kAvgIterations);
    if (!driver.pad.violations.empty()) {
        state.SkipWithError(driver.pad.violations.front().c_str());
    }
}
BENCHMARK(updateScreensAfterRotation)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace ruvola

// The driver with a virtual pad on its HID seam and the starter layout on disk: how long a press
// takes to reach its action, and what keeping the keys' pictures current costs.
#include "Ruvola/bindings/BindingsStore.hpp"
#include "RuvolaCore/StarterBindings.hpp"
#include "fakes/DriverRig.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
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
class Driver : public testing::DriverRig {
public:
    Driver() : formerHome_(std::getenv("HOME") ? std::getenv("HOME") : "") {
        save(starterWithRotation(90));
        applications.front.emplace().name = "Terminal";
        ready_ = start();
        pad.received.clear();
    }
    ~Driver() { setenv("HOME", formerHome_.c_str(), 1); }

    bool ready() const { return ready_ && pad.violations.empty(); }

private:
    std::string formerHome_;
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
        driver.application.frontmostChanged();
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
        driver.application.store()->load();
        turn = !turn;
        state.ResumeTiming();
        driver.application.frontmostChanged();
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

// Two windows on a headless sway: how long a focus change takes to reach the frontmost watcher.
#include "Ruvola/platform/linux/DesktopEntries.hpp"
#include "Ruvola/platform/linux/wayland/SwayIpc.hpp"
#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"
#include "Ruvola/platform/linux/wayland/WlrWindows.hpp"
#include "tests/support/Compositor.hpp"

#include <benchmark/benchmark.h>

#include <chrono>

namespace ruvola {
namespace {

using namespace std::chrono_literals;
using platform::SwayIpc;
using testing::Compositor;
using testing::waitUntil;

bool showWindow(Compositor& compositor, const QString& appId) {
    QProcessEnvironment environment;
    environment.insert("QT_QPA_PLATFORM", "wayland");
    QProcess& window =
        compositor.client(RUVOLA_WAYLAND_TEST_WINDOW, {"--app-id", appId}, environment);
    QByteArray output;
    return waitUntil([&] { return (output += window.readAllStandardOutput()).contains("window"); },
                     20s);
}

void focusToWatcher(benchmark::State& state) {
    Compositor compositor;
    if (const std::string missing = Compositor::missing(Compositor::Kind::sway); !missing.empty()) {
        state.SkipWithError(missing.c_str());
        return;
    }
    if (!compositor.start(Compositor::Kind::sway)) {
        state.SkipWithError(("sway can't start: " + compositor.why()).c_str());
        return;
    }
    compositor.enter("sway");
    platform::DesktopEntries entries;
    const std::shared_ptr connection = platform::WaylandConnection::open();
    const auto windows =
        connection ? platform::WlrWindows::make(connection, entries, "ruvola") : nullptr;
    const auto sway = SwayIpc::fromEnvironment();
    if (!windows || !sway || !showWindow(compositor, "bench.a") ||
        !showWindow(compositor, "bench.b")) {
        state.SkipWithError("the windows did not come up");
        return;
    }
    int reports = 0;
    const auto watcher = windows->makeWatcher();
    watcher->start([&] { ++reports; });
    sway->run("[app_id=bench.b] focus");
    waitUntil([&] {
        const auto front = windows->frontmost();
        return front && front->key == "bench.b";
    });
    bool toA = true;
    for (auto _ : state) {
        const int before = reports;
        sway->run(toA ? "[app_id=bench.a] focus" : "[app_id=bench.b] focus");
        if (!waitUntil([&] { return reports > before; }, 2s)) {
            state.SkipWithError("a focus change was not reported");
            break;
        }
        toA = !toA;
    }
}
BENCHMARK(focusToWatcher)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace
} // namespace ruvola

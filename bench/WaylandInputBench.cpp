// How long a chord takes to reach a native Wayland window through the compositor's virtual
// keyboard: from the call to the window printing the key, on a headless sway.
#include "Ruvola/platform/linux/wayland/VirtualKeyboardInput.hpp"
#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"
#include "tests/support/Compositor.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <future>

namespace ruvola {
namespace {

using Clock = std::chrono::steady_clock;

// Whether a line starting with `prefix` arrives on the window's output within `bound` ms.
bool readLine(QProcess& window, const QByteArray& prefix, int bound = 2000) {
    const QDeadlineTimer deadline(bound);
    while (!deadline.hasExpired()) {
        while (window.canReadLine()) {
            if (window.readLine().startsWith(prefix)) {
                return true;
            }
        }
        window.waitForReadyRead(static_cast<int>(deadline.remainingTime()));
    }
    return false;
}

void chordToWaylandWindow(benchmark::State& state) {
    testing::Compositor compositor;
    if (const std::string missing = testing::Compositor::missing(testing::Compositor::Kind::sway);
        !missing.empty() || !compositor.start(testing::Compositor::Kind::sway)) {
        state.SkipWithError(missing.empty() ? compositor.why().c_str() : missing.c_str());
        return;
    }
    compositor.enter("sway");
    QProcessEnvironment environment;
    environment.insert("QT_QPA_PLATFORM", "wayland");
    QProcess& window = compositor.client(RUVOLA_WAYLAND_TEST_WINDOW, {}, environment);
    const std::shared_ptr<platform::WaylandConnection> connection =
        platform::WaylandConnection::open();
    auto input = connection ? platform::VirtualKeyboardInput::make(connection) : nullptr;
    if (!input || !readLine(window, "window", 20000)) {
        state.SkipWithError("no window or no virtual keyboard on sway");
        return;
    }
    // The window is shown a little before it has the focus.
    bool focused = false;
    for (int attempt = 0; attempt < 10 && !focused; ++attempt) {
        focused = input->post({17, 0}) && readLine(window, "key", 500);
    }
    if (!focused) {
        state.SkipWithError("the window never got the keyboard");
        return;
    }
    for (auto _ : state) {
        const auto start = Clock::now();
        // On another thread, as post() holds the key 12 ms before it returns.
        auto posted = std::async(std::launch::async, [&] {
            return input->post({17, modifierFlags::control});
        });
        const bool arrived = readLine(window, "key Ctrl+T");
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        if (!posted.get() || !arrived) {
            state.SkipWithError("a chord did not arrive");
            return;
        }
    }
}
BENCHMARK(chordToWaylandWindow)->Unit(benchmark::kMicrosecond)->UseManualTime()->Iterations(200);

} // namespace
} // namespace ruvola

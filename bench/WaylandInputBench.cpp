// How long keys take to reach a native Wayland window through the compositor's virtual keyboard,
// on a headless sway: a chord from the call to the window printing it, and a text of 1,000
// characters from the call to the window printing its last key.
#include "Ruvola/platform/linux/wayland/VirtualKeyboardInput.hpp"
#include "Ruvola/platform/linux/wayland/WaylandConnection.hpp"
#include "tests/support/Compositor.hpp"

#include <benchmark/benchmark.h>

#include <chrono>
#include <future>

namespace ruvola {
namespace {

using Clock = std::chrono::steady_clock;

// Whether `count` lines starting with `prefix` arrive on the window's output within `bound` ms.
bool readLines(QProcess& window, const QByteArray& prefix, int count = 1, int bound = 2000) {
    const QDeadlineTimer deadline(bound);
    while (!deadline.hasExpired()) {
        while (window.canReadLine()) {
            if (window.readLine().startsWith(prefix) && --count == 0) {
                return true;
            }
        }
        window.waitForReadyRead(static_cast<int>(deadline.remainingTime()));
    }
    return false;
}

/// A headless sway with a focused test window and a virtual keyboard; `why` says what failed.
struct Session {
    testing::Compositor compositor;
    QProcess* window = nullptr;
    std::unique_ptr<platform::VirtualKeyboardInput> input;
    std::string why;

    Session() {
        if (why = testing::Compositor::missing(testing::Compositor::Kind::sway); !why.empty()) {
            return;
        }
        if (!compositor.start(testing::Compositor::Kind::sway)) {
            why = compositor.why();
            return;
        }
        compositor.enter("sway");
        QProcessEnvironment environment;
        environment.insert("QT_QPA_PLATFORM", "wayland");
        window = &compositor.client(RUVOLA_WAYLAND_TEST_WINDOW, {}, environment);
        const std::shared_ptr<platform::WaylandConnection> connection =
            platform::WaylandConnection::open();
        input = connection ? platform::VirtualKeyboardInput::make(connection) : nullptr;
        if (!input || !readLines(*window, "window", 1, 20000)) {
            why = "no window or no virtual keyboard on sway";
            return;
        }
        // The window is shown a little before it has the focus.
        bool focused = false;
        for (int attempt = 0; attempt < 10 && !focused; ++attempt) {
            focused = input->post({17, 0}) && readLines(*window, "key", 1, 500);
        }
        why = focused ? "" : "the window never got the keyboard";
    }
};

void chordToWaylandWindow(benchmark::State& state) {
    Session session;
    if (!session.why.empty()) {
        state.SkipWithError(session.why.c_str());
        return;
    }
    for (auto _ : state) {
        const auto start = Clock::now();
        // On another thread, as post() holds the key 12 ms before it returns.
        auto posted = std::async(std::launch::async, [&] {
            return session.input->post({17, modifierFlags::control});
        });
        const bool arrived = readLines(*session.window, "key Ctrl+T");
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        if (!posted.get() || !arrived) {
            state.SkipWithError("a chord did not arrive");
            return;
        }
    }
}
BENCHMARK(chordToWaylandWindow)->Unit(benchmark::kMicrosecond)->UseManualTime()->Iterations(200);

void textToWaylandWindow(benchmark::State& state) {
    Session session;
    if (!session.why.empty()) {
        state.SkipWithError(session.why.c_str());
        return;
    }
    std::string text;
    for (int index = 0; index < 1000; ++index) {
        text += "abcdefghijklmnopqrstuvwxyz0123456789"[(index * 7919) % 36];
    }
    for (auto _ : state) {
        if (!session.input->type(text) || !readLines(*session.window, "key", 1000)) {
            state.SkipWithError("the text did not arrive");
            return;
        }
    }
}
BENCHMARK(textToWaylandWindow)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);

} // namespace
} // namespace ruvola

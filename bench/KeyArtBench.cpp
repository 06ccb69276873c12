// How long a key's picture takes, drawn and encoded; the driver redraws all six on every change
// of layout or front application.
#include "Ruvola/pad/KeyArt.hpp"
#include "RuvolaCore/BindingsFile.hpp"
#include "RuvolaCore/StarterBindings.hpp"

#include <QGuiApplication>
#include <benchmark/benchmark.h>

#include <vector>

namespace ruvola {
namespace {

PadBinding key(std::optional<std::string> icon, std::string name) {
    return PadBinding{.control = PadControl::key(1),
                      .name = std::move(name),
                      .icon = std::move(icon),
                      .color = "#2c2c2e"};
}

void keyWithEmojiAndName(benchmark::State& state) {
    const PadBinding binding = key("\U0001F3B5", "Spotify");
    benchmark::DoNotOptimize(KeyArt::jpeg(binding, 90)); // loads the emoji font
    for (auto _ : state) {
        benchmark::DoNotOptimize(KeyArt::jpeg(binding, 90));
    }
}
BENCHMARK(keyWithEmojiAndName)->Unit(benchmark::kMicrosecond);

void keyWithTextOnly(benchmark::State& state) {
    const PadBinding binding = key(std::nullopt, "Lights Off");
    for (auto _ : state) {
        benchmark::DoNotOptimize(KeyArt::jpeg(binding, 90));
    }
}
BENCHMARK(keyWithTextOnly)->Unit(benchmark::kMicrosecond);

void starterKeys(benchmark::State& state) {
    const BindingsFile& starter = starterBindings::file();
    std::vector<const PadBinding*> keys;
    for (const PadBinding& binding : starter.bindings) {
        if (binding.control.kind() == PadControl::Kind::key && binding.apps.empty()) {
            keys.push_back(&binding);
        }
    }
    for (const PadBinding* binding : keys) {
        benchmark::DoNotOptimize(KeyArt::jpeg(*binding, starter.settings.rotation));
    }
    for (auto _ : state) {
        for (const PadBinding* binding : keys) {
            benchmark::DoNotOptimize(KeyArt::jpeg(*binding, starter.settings.rotation));
        }
    }
    state.counters["keys"] = static_cast<double>(keys.size());
    // Seconds per key: the figure the per-key target is stated in.
    state.counters["perKey"] = benchmark::Counter(static_cast<double>(keys.size()),
                                                  benchmark::Counter::kIsIterationInvariantRate |
                                                      benchmark::Counter::kInvert);
}
BENCHMARK(starterKeys)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace ruvola

int main(int argc, char** argv) {
    // Fonts need a GUI application; no display is needed to draw into images.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

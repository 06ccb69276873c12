// The core's hot paths: reading the bindings file on every save, parsing keystroke texts on every
// keystroke press, and framing and decoding the pad's reports.
#include "RuvolaCore/BindingsFile.hpp"
#include "RuvolaCore/KeySpec.hpp"
#include "RuvolaCore/PadProtocol.hpp"
#include "RuvolaCore/StarterBindings.hpp"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ruvola {
namespace {

void parseStarterBindings(benchmark::State& state) {
    const std::string_view text = starterBindings::text();
    for (auto _ : state) {
        benchmark::DoNotOptimize(BindingsFile::parse(text));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(parseStarterBindings)->Unit(benchmark::kMicrosecond);

// `count` valid bindings spread over every control, each with its own "when" application so none
// is bound twice, and every kind of action and look a user writes.
std::string generatedBindings(int count) {
    static constexpr std::array<std::string_view, 15> controls{
        "key 1",       "key 2",      "key 3",    "key 4",    "key 5",
        "key 6",       "button 1",   "button 2", "button 3", "left knob",
        "middle knob", "right knob", "key 1",    "key 2",    "key 3"};
    static constexpr std::array<std::string_view, 6> actions{
        R"("shell": "notify-send 'pressed'")",
        R"("keystroke": "cmd shift 4")",
        R"("system": "playpause")",
        R"("open": "Firefox")",
        R"("text": "Hello, world")",
        R"("http": {"url": "http://localhost:8123/api", "method": "POST", "body": "{}"})"};
    std::string text = R"({"settings": {"brightness": 60, "rotation": 90}, "bindings": [)";
    for (int index = 0; index < count; ++index) {
        const auto at = static_cast<std::size_t>(index);
        const std::string_view control = controls[at % controls.size()];
        text += index == 0 ? "\n" : ",\n";
        text += R"(  {"control": ")" + std::string(control) + R"(", "when": ["App )" +
                std::to_string(index) + R"("], "name": "Binding )" + std::to_string(index) + '"';
        if (control.find("knob") != std::string_view::npos) {
            text += R"(, "left": {"system": "previous"}, "right": {"system": "next"})";
        } else {
            text += R"(, "icon": "🎵", "color": "#1db954", )" + std::string(actions[at % 6]);
        }
        text += '}';
    }
    return text + "\n]}\n";
}

void parseGeneratedBindings(benchmark::State& state) {
    const std::string text = generatedBindings(static_cast<int>(state.range(0)));
    const BindingsFile parsed = BindingsFile::parse(text);
    if (!parsed.problems.empty() ||
        parsed.bindings.size() != static_cast<std::size_t>(state.range(0))) {
        state.SkipWithError(parsed.problems.empty() ? "bindings missing"
                                                    : parsed.problems.front().c_str());
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(BindingsFile::parse(text));
    }
    state.SetComplexityN(state.range(0));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(parseGeneratedBindings)
    ->Arg(1'000)
    ->Arg(2'500)
    ->Arg(5'000)
    ->Arg(10'000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

void parseKeystroke(benchmark::State& state, std::string_view text) {
    if (!KeySpec::parse(text).ok()) {
        state.SkipWithError("refused");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(KeySpec::parse(text));
    }
}
BENCHMARK_CAPTURE(parseKeystroke, chord, std::string_view("cmd shift 4"));
BENCHMARK_CAPTURE(parseKeystroke, namedKey, std::string_view("ctrl alt delete"));
BENCHMARK_CAPTURE(parseKeystroke, functionKey, std::string_view("f5"));
BENCHMARK_CAPTURE(parseKeystroke, sequence, std::string_view("cmd c, cmd v"));
BENCHMARK_CAPTURE(parseKeystroke, doubleTap, std::string_view("shift shift"));
BENCHMARK_CAPTURE(parseKeystroke, symbols, std::string_view("⌘⇧4"));

void frameKeyImage(benchmark::State& state) {
    std::vector<std::uint8_t> jpeg(2048);
    for (std::size_t index = 0; index < jpeg.size(); ++index) {
        jpeg[index] = static_cast<std::uint8_t>(index * 31 + 7);
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(PadProtocol::keyImage(3, jpeg));
    }
}
BENCHMARK(frameKeyImage);

void parseInputReport(benchmark::State& state) {
    std::vector<std::uint8_t> report(PadProtocol::inputReportSize, 0);
    report[0] = 'A', report[1] = 'C', report[2] = 'K', report[9] = 0x05, report[10] = 1;
    for (auto _ : state) {
        benchmark::DoNotOptimize(report.data());
        benchmark::DoNotOptimize(PadProtocol::parse(report));
    }
}
BENCHMARK(parseInputReport);

} // namespace
} // namespace ruvola

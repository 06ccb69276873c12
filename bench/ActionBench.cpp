// How long a press waits before its shell command starts: from handing the action over to the
// command's first instruction, here a write into a pipe the benchmark reads.
#include "Ruvola/actions/HouseActions.hpp"
#include "Ruvola/platform/Platform.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace ruvola {
namespace {

void runToShellStart(benchmark::State& state) {
    const auto platform = platform::makePlatform();
    HouseActions house(platform->processes(), platform->syntheticInput(), platform->windows(),
                       platform->launcher(), {});
    const std::filesystem::path fifo =
        std::filesystem::temp_directory_path() / ("ruvola-bench-" + std::to_string(getpid()));
    mkfifo(fifo.c_str(), 0600);
    // Held open for writing too, so the reader never sees end-of-file between runs.
    const int reader = open(fifo.c_str(), O_RDWR);
    const HouseAction action{HouseAction::Shell{"printf x > '" + fifo.string() + "'"}};
    char byte = 0;
    for (auto _ : state) {
        house.run(action, "bench");
        benchmark::DoNotOptimize(read(reader, &byte, 1));
    }
    close(reader);
    std::filesystem::remove(fifo);
}
BENCHMARK(runToShellStart)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace
} // namespace ruvola

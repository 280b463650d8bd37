// Confetti and Fly Apart at 1920x1080 late in the leaves' flight (progress
// 0.75; the catalogue benchmark has every row at 0.5 and 0.25), beside a plain
// frame copy (the floor); also Confetti with Random rotation, whose tumble
// reads both pictures under every leaf. Read the ratios from one run: the
// machines are shared and noisy.
#include "BenchSupport.h"

namespace {

using namespace halcyra;
using namespace halcyra::bench;

constexpr int32_t kConfettiRow = 19;
constexpr int32_t kConfettiRandom = 10;

void ConfettiRandomRotation(benchmark::State& state) {
    RenderCatalogueRow(state, kConfettiRow, 0.5, 0.0,
                       [](DefaultsHost& host) { host.values[kConfettiRandom].flag = 1; });
}

}  // namespace

BENCHMARK(FrameCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(halcyra::bench::CatalogueRow)
    ->ArgNames({"index", "progress%"})
    ->Args({19, 75})  // Confetti
    ->Args({33, 75})  // Fly Apart
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ConfettiRandomRotation)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();

// Box Explode, Confetti and Fly Apart at 1920x1080, default parameters,
// progress 0.5 (and a second point of each: the whole box before its burst,
// the leaves late in their flight), beside a plain frame copy (the floor);
// also Confetti with Random rotation, whose tumble reads both pictures under
// every leaf. Read the ratios from one run: the machines are shared and noisy.
#include "BenchSupport.h"

namespace {

using namespace halcyra;
using namespace halcyra::bench;

constexpr int32_t kConfettiRow = 19;
constexpr int32_t kConfettiRandom = 10;

void ConfettiRandomRotation(benchmark::State& state) {
    IVideoEffect* effect = CreateCatalogueEffect(kConfettiRow);
    if (effect == nullptr) {
        state.SkipWithError("row not built");
        return;
    }
    DefaultsHost host(effect);
    host.values[kConfettiRandom].flag = 1;
    FrameBuffer first(3), second(4), output(5);
    RenderInfo info{};
    info.progress = 0.5;
    info.fieldMode = 3;
    for (auto _ : state) {
        effect->Render(&host, &first.desc, &second.desc, &output.desc, &info);
        benchmark::DoNotOptimize(output.bytes.data());
    }
    CountFrames(state);
    effect->Release();
}

}  // namespace

BENCHMARK(FrameCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(halcyra::bench::CatalogueRow)
    ->ArgNames({"index", "progress%"})
    ->Args({8, 50})   // Box Explode, burst
    ->Args({8, 25})   // Box Explode, whole
    ->Args({19, 50})  // Confetti
    ->Args({19, 75})
    ->Args({33, 50})  // Fly Apart
    ->Args({33, 75})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ConfettiRandomRotation)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();

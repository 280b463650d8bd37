// Wave, Earthquake, Colorize and Motion Blur: one 1920x1080 frame at default
// parameters and progress 0.5 beside a frame copy in the same run. The
// effects are built directly, so rows the catalogue does not offer yet are
// measured too. The earthquake advances one frame per iteration, as in
// playback, so each render walks one step. Read the ratios from one run: the
// machines are shared and noisy.
#include "bench/BenchSupport.h"
#include "effects/Colorize.h"
#include "effects/Wave.h"
#include "frame/Wrappers.h"

namespace {

using namespace halcyra;

using bench::DefaultsHost;

template <class Effect>
void Render(benchmark::State& state, double progress, bool advanceTime, int32_t floatIndex,
            float floatValue) {
    auto* effect = new Effect();
    DefaultsHost host(effect);
    if (floatIndex >= 0) host.values[static_cast<size_t>(floatIndex)].number = floatValue;
    bench::RenderPerIteration(state, effect, host, progress, 1.0, advanceTime);
    effect->Release();
}

// Plain names for the benchmark macros.
const auto RenderWave = &Render<CWave>;
const auto RenderEarthquake = &Render<CWrapEarthquake>;
const auto RenderColorize = &Render<CWrapColorize>;
const auto RenderColorizeInner = &Render<CColorize>;
const auto RenderMotionblur = &Render<CWrapMotionblur>;

BENCHMARK(bench::FrameCopy)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RenderWave, Wave, 0.5, false, -1, 0.0f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RenderWave, WaveBeforeFade, 0.25, false, -1, 0.0f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RenderEarthquake, Earthquake, 0.5, true, -1, 0.0f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RenderColorize, Colorize, 0.5, false, -1, 0.0f)->Unit(benchmark::kMillisecond);
// The inner effect with all 13 passes of hue smoothing.
BENCHMARK_CAPTURE(RenderColorizeInner, ColorizeSmoothed, 0.5, false, 6, 1.0f)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RenderMotionblur, Motionblur, 0.5, false, -1, 0.0f)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

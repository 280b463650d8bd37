// Twist with its glow on at 1920x1080, progress 0.5, beside a plain frame
// copy (the floor; the catalogue benchmark has the defaults), and the dream
// glow alone on a whole frame, which is what it costs a face that fills the
// picture. Read the ratios from one run: the machines are shared and noisy.
#include "BenchSupport.h"
#include "picture/MemoryAllocator.h"
#include "picture/Picture.h"
#include "transitions/DreamGlow.h"

namespace {

using namespace halcyra;
using namespace halcyra::bench;

constexpr int32_t kTwistRow = 9;
constexpr int32_t kTwistGlow = 4;

void TwistWithGlow(benchmark::State& state) {
    const float glow = static_cast<float>(state.range(0)) / 100.0f;
    RenderCatalogueRow(state, kTwistRow, 0.5, 0.0,
                       [glow](DefaultsHost& host) { host.values[kTwistGlow].number = glow; });
}

// The glow of a twist at mid-transition with Glow 0.3: g = 1 - 0.7 * 0.7.
void DreamGlowFrame(benchmark::State& state) {
    MemoryAllocator allocator;
    FrameBuffer source(6);
    Picture picture;
    picture.Allocate(kWidth, kHeight, 4, &allocator);
    const float g = 1.0f - 0.7f * 0.7f;
    for (auto _ : state) {
        state.PauseTiming();
        for (int32_t y = 0; y < kHeight; ++y)
            std::memcpy(picture.Row(y), source.bytes.data() + static_cast<size_t>(y) * kWidth * 4,
                        kWidth * 4);
        state.ResumeTiming();
        PRDreamGlowEffect(0xFFFFFF, g, g, &allocator).ProcessPicture(picture);
        benchmark::DoNotOptimize(picture.data);
    }
    CountFrames(state);
}

// The glow's own pixel rule over a whole frame, without the blur.
void DreamGlowPixels(benchmark::State& state) {
    FrameBuffer blurred(7), source(8), out(9);
    for (auto _ : state) {
        for (int32_t y = 0; y < kHeight; ++y) {
            const size_t row = static_cast<size_t>(y) * kWidth * 4;
            KernelDreamGlowRow(blurred.bytes.data() + row, source.bytes.data() + row, out.bytes.data() + row,
                               kWidth, 349, 0xFFFFFF);
        }
        benchmark::DoNotOptimize(out.bytes.data());
    }
    CountFrames(state);
}

}  // namespace

BENCHMARK(halcyra::bench::FrameCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(TwistWithGlow)->ArgName("glow%")->Arg(30)->Unit(benchmark::kMillisecond);
BENCHMARK(DreamGlowFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(DreamGlowPixels)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();

// Twist, Spiral, Spiral Rotation and Box Fold at 1920x1080, default
// parameters, progress 0.5, beside a plain frame copy (the floor); also Twist
// with its glow on and the dream glow alone on a whole frame, which is what
// it costs a face that fills the picture. Read the ratios from one run: the
// machines are shared and noisy.
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
    IVideoEffect* effect = CreateCatalogueEffect(kTwistRow);
    if (effect == nullptr) {
        state.SkipWithError("row not built");
        return;
    }
    DefaultsHost host(effect);
    host.values[kTwistGlow].number = static_cast<float>(state.range(0)) / 100.0f;
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
BENCHMARK(halcyra::bench::CatalogueRow)
    ->ArgNames({"index", "progress%"})
    ->Args({9, 50})   // Twist
    ->Args({13, 50})  // Spiral
    ->Args({14, 50})  // Spiral Rotation
    ->Args({15, 50})  // Box Fold
    ->Unit(benchmark::kMillisecond);
BENCHMARK(TwistWithGlow)->ArgName("glow%")->Arg(30)->Unit(benchmark::kMillisecond);
BENCHMARK(DreamGlowFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(DreamGlowPixels)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();

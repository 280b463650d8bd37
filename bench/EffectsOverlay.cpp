// Star at 1920x1080, defaults, progress 0.5 (Road Sign and Wedding are in
// the catalogue benchmark), beside a frame copy (the floor) and beside the
// bare resize of each overlay picture, which every frame pays before its one
// pass over the frame. The star's
// overlay is the frame's width and more than one and a half times its height,
// resized by the cubic rule, so its resize is most of its frame.
#include <benchmark/benchmark.h>

#include <vector>

#include "BenchSupport.h"
#include "effects/Overlay.h"
#include "picture/kernels/Resize.h"
#include "picture/kernels/Warp.h"

namespace {

using namespace halcyra;
using namespace halcyra::bench;

// The star is run directly as well, whether or not its catalogue row is on.
void Star(benchmark::State& state) {
    CStar effect;
    DefaultsHost host(&effect);
    RenderPerIteration(state, &effect, host, 0.5, 0.0);
}

// The overlay's resize alone, at the size a 1920x1080 frame gives it.
void OverlayResize(benchmark::State& state, OverlayBitmap bitmap, bool sideways, uint32_t interpolation) {
    const int32_t bw = bitmap.header->width, bh = bitmap.header->height;
    const int32_t extent = sideways ? static_cast<int32_t>(static_cast<double>(bw) / bh * kHeight)
                                    : static_cast<int32_t>(static_cast<double>(bh) / bw * kWidth);
    const double f = static_cast<double>(extent + 1) / (sideways ? bw : bh);
    const KernelSize size = sideways ? KernelSize{extent, kHeight} : KernelSize{kWidth, extent};
    std::vector<uint8_t> overlay(static_cast<size_t>(size.width) * size.height * 4);
    for (auto _ : state) {
        KernelResize4(static_cast<const uint8_t*>(bitmap.pixels), {bw, bh}, bw * 4, {0, 0, bw, bh},
                      overlay.data(), size.width * 4, size, f, f, interpolation);
        benchmark::DoNotOptimize(overlay.data());
    }
}

}  // namespace

BENCHMARK(bench::FrameCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(Star)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(OverlayResize, Sign, SignBitmap(), true, kInterpolationBilinear)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(OverlayResize, Ribbon, RibbonBitmap(), false, kInterpolationBilinear)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(OverlayResize, Star, StarBitmap(), false, kInterpolationCubic)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();

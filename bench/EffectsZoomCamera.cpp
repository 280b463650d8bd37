// The bare sequences of picture operations that the Zoom and Zoom Blur
// pipelines run, beside a frame copy: Zoom and Zoom Blur are many warps by
// construction, so bench/Effects (rows 6 and 31) is judged against these
// sums rather than against the copy.
// Read the ratios from one run: the machines are shared and noisy.
#include "bench/BenchSupport.h"
#include "effects/Zoom.h"
#include "picture/PictureOps.h"

namespace {

using namespace halcyra;

using bench::FrameBuffer;
using bench::kHeight;
using bench::kWidth;

BENCHMARK(bench::FrameCopy)->Unit(benchmark::kMillisecond);

// The picture operations of a pipeline, run bare in the effect's order: the
// floor for an effect that is a sequence of whole-frame warps and blends.
struct PassCounts {
    int fills;
    int warps;
    int averages;  // BlendPictures with equal weights
    int blends;    // BlendPictures with unequal weights
    int copies;
};

void KernelPasses(benchmark::State& state, PassCounts counts) {
    FrameBuffer a, b, out;
    Picture source, scratch, target;
    source.AttachImage(a.desc);
    scratch.AttachImage(b.desc);
    target.AttachImage(out.desc);
    const PictureTransform zoom = ZoomStep(1.01f, 0.5f, 0.5f, kWidth, kHeight);
    for (auto _ : state) {
        for (int i = 0; i < counts.fills; ++i) PictureOps::FillPicture(scratch, 0);
        for (int i = 0; i < counts.warps; ++i) zoom.Warp(source, target);
        for (int i = 0; i < counts.averages; ++i) PictureOps::BlendPictures(scratch, target, 128, 128);
        for (int i = 0; i < counts.blends; ++i) PictureOps::BlendPictures(scratch, target, 200, 55);
        for (int i = 0; i < counts.copies; ++i)
            PictureOps::CopyPictureRect(source, 0, 0, kWidth, kHeight, target, 0, 0);
        benchmark::DoNotOptimize(out.bytes.data());
    }
    bench::CountFrames(state);
}
// Zoom at progress 0.5: two clips of one warp and 7 passes, then the cross-fade.
BENCHMARK_CAPTURE(KernelPasses, Zoom, PassCounts{16, 16, 14, 1, 1})->Unit(benchmark::kMillisecond);
// Zoom Blur behind its wrapper: 9 passes on a copy, the sharp warp and the blend.
BENCHMARK_CAPTURE(KernelPasses, Zoomblur, PassCounts{9, 10, 9, 1, 1})->Unit(benchmark::kMillisecond);
// Single operations, for reading the others.
BENCHMARK_CAPTURE(KernelPasses, Fill, PassCounts{1, 0, 0, 0, 0})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(KernelPasses, Warp, PassCounts{0, 1, 0, 0, 0})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(KernelPasses, Average, PassCounts{0, 0, 1, 0, 0})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(KernelPasses, Blend, PassCounts{0, 0, 0, 1, 0})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(KernelPasses, Copy, PassCounts{0, 0, 0, 0, 1})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

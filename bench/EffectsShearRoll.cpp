// The bare operations of one smear pass at 1920x1080 beside a plain frame
// copy (the floor), for reading Shear, Shear Energy, Roll, Spin and Smear
// (rows 2, 30, 0, 4, 3 of the catalogue benchmark) as a number of passes.
// The smears are whole-frame warps by construction: about 2 log2 of the
// smear length per clip. Read the ratios from one run: the machines are
// shared and noisy.
#include "bench/BenchSupport.h"
#include "effects/Shear.h"
#include "picture/PictureOps.h"

namespace {

using namespace halcyra;

// The three operations of one smear pass, bare, for reading an effect as a
// number of passes: fill the scratch, warp by a shear step, average back.
enum PassOperation { kFill, kWarp, kAverage };

void PassOperationCost(benchmark::State& state) {
    bench::FrameBuffer a(1), b(2);
    Picture source, scratch;
    source.AttachImage(a.desc);
    scratch.AttachImage(b.desc);
    const PictureTransform step = ShearStep(0.01f, 0.02f, 0.0f, 0.5f, 0.5f, bench::kWidth, bench::kHeight);
    for (auto _ : state) {
        switch (state.range(0)) {
            case kFill:
                PictureOps::FillPicture(scratch, 0);
                break;
            case kWarp:
                step.Warp(source, scratch);
                break;
            default:
                PictureOps::BlendPictures(scratch, source, 128, 128);
                break;
        }
        benchmark::DoNotOptimize(b.bytes.data());
    }
    bench::CountFrames(state);
}

void RegisterRows() {
    benchmark::RegisterBenchmark("FrameCopy", bench::FrameCopy)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("PassOperation", PassOperationCost)
        ->ArgNames({"fill0_warp1_average2"})
        ->DenseRange(kFill, kAverage)
        ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
    RegisterRows();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

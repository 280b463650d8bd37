// Speed of the warps and the resize on a full 1920x1080 frame, in pixels per
// second, beside a plain copy of the same frame (the floor). Each routine runs
// with the reference rows and with the best class this machine supports; the
// face warps also with a shading folded into their reads.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "picture/kernels/CpuClass.h"
#include "picture/kernels/Warp.h"
#include "picture/kernels/WarpRows.h"

namespace halcyra {
namespace {

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;
constexpr int32_t kPitch = kWidth * 4;

struct Frames {
    std::vector<uint8_t> source = std::vector<uint8_t>(static_cast<size_t>(kPitch) * kHeight);
    std::vector<uint8_t> destination = std::vector<uint8_t>(static_cast<size_t>(kPitch) * kHeight);
    Frames() {
        uint32_t x = 12345;
        for (uint8_t& v : source) v = static_cast<uint8_t>((x = x * 214013u + 2531011u) >> 16);
    }
};

Frames& SharedFrames() {
    static Frames frames;
    return frames;
}

// Argument 0: the reference rows; 1: the best class here; 2: AVX2 (if supported).
CpuClass ClassOf(const benchmark::State& state) {
    if (state.range(0) == 0) return CpuClass::Reference;
    if (state.range(0) == 2 && CpuClassSupported(CpuClass::Avx2)) return CpuClass::Avx2;
    return DetectCpuClass();
}

void SetCounters(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kWidth) * kHeight);
    static const char* const labels[] = {"reference", "best class", "avx2"};
    state.SetLabel(labels[state.range(0)]);
}

void BM_FrameCopy(benchmark::State& state) {
    Frames& f = SharedFrames();
    for (auto _ : state) {
        std::memcpy(f.destination.data(), f.source.data(), f.source.size());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kWidth) * kHeight);
}
BENCHMARK(BM_FrameCopy);

// A zoom by 1.2 with a turn of 0.3 radians about the centre: the image covers the whole frame.
void BM_WarpAffineBilinear(benchmark::State& state) {
    Frames& f = SharedFrames();
    const double angle = 0.3, scale = 1.2, cx = (kWidth - 1) / 2.0, cy = (kHeight - 1) / 2.0;
    const double c00 = std::cos(angle) * scale, c01 = -std::sin(angle) * scale;
    const double c10 = std::sin(angle) * scale, c11 = std::cos(angle) * scale;
    const double coefficients[6] = {c00, c01, cx - c00 * cx - c01 * cy, c10, c11, cy - c10 * cx - c11 * cy};
    const warp::WarpTable& table = warp::WarpTableFor(ClassOf(state));
    for (auto _ : state) {
        warp::WarpAffineWithTable(table, f.source.data(), {kWidth, kHeight}, kPitch, {0, 0, kWidth, kHeight},
                                  f.destination.data(), kPitch, {0, 0, kWidth, kHeight}, coefficients,
                                  kInterpolationBilinear);
        benchmark::ClobberMemory();
    }
    SetCounters(state);
}
BENCHMARK(BM_WarpAffineBilinear)->Arg(0)->Arg(1)->Arg(2);

// A face of a w x h source warped into quad, unshaded (range(1) < 0) or with
// its shading folded into the reads (range(1) the factor).
void WarpFace(benchmark::State& state, int32_t w, int32_t h, const double quad[8]) {
    Frames& f = SharedFrames();
    const KernelRect whole{0, 0, w, h};
    double matrix[9];
    KernelPerspectiveFromQuad(&whole, quad, matrix);
    const warp::WarpTable& table = warp::WarpTableFor(ClassOf(state));
    const int32_t factor = state.range(1) < 0 ? warp::kUnshaded : static_cast<int32_t>(state.range(1));
    for (auto _ : state) {
        warp::WarpPerspectiveIntoQuadWithTable(table, f.source.data(), {w, h}, kPitch, whole,
                                               f.destination.data(), kPitch, {0, 0, kWidth, kHeight}, quad,
                                               matrix, kInterpolationBilinear, factor);
        benchmark::ClobberMemory();
    }
    SetCounters(state);
}

// A face seen at an angle that covers most of the frame.
void BM_WarpPerspectiveBilinear(benchmark::State& state) {
    const double quad[8] = {-40, -30, kWidth + 60, 20, kWidth - 20, kHeight + 50, 10, kHeight - 10};
    WarpFace(state, kWidth, kHeight, quad);
}
BENCHMARK(BM_WarpPerspectiveBilinear)->ArgsProduct({{0, 1, 2}, {-1, 200}});

// A whole frame shrunk about four times and turned, as the squares of a sunk
// and tilted board: each source row is crossed by many destination rows.
void BM_WarpPerspectiveShrunk(benchmark::State& state) {
    const double quad[8] = {700, 300, 1190, 420, 1100, 700, 610, 580};
    WarpFace(state, kWidth, kHeight, quad);
}
BENCHMARK(BM_WarpPerspectiveShrunk)->ArgsProduct({{0, 1, 2}, {-1, 200}});

// A small tile grown to cover most of the frame.
void BM_WarpPerspectiveGrown(benchmark::State& state) {
    const double quad[8] = {-40, -30, kWidth + 60, 20, kWidth - 20, kHeight + 50, 10, kHeight - 10};
    WarpFace(state, kWidth / 8, kHeight / 8, quad);
}
BENCHMARK(BM_WarpPerspectiveGrown)->ArgsProduct({{0, 1, 2}, {-1, 200}});

// Half a frame up to a whole one.
void BM_Resize4Bilinear(benchmark::State& state) {
    Frames& f = SharedFrames();
    const warp::WarpTable& table = warp::WarpTableFor(ClassOf(state));
    for (auto _ : state) {
        warp::Resize4WithTable(table, f.source.data(), {kWidth, kHeight}, kPitch,
                               {0, 0, kWidth / 2, kHeight / 2}, f.destination.data(), kPitch,
                               {kWidth, kHeight}, 2.0, 2.0, kInterpolationBilinear);
        benchmark::ClobberMemory();
    }
    SetCounters(state);
}
BENCHMARK(BM_Resize4Bilinear)->Arg(0)->Arg(1)->Arg(2);

// Rule C on the same half frame up to a whole one.
void BM_Resize4Cubic(benchmark::State& state) {
    Frames& f = SharedFrames();
    const warp::WarpTable& table = warp::WarpTableFor(ClassOf(state));
    for (auto _ : state) {
        warp::Resize4WithTable(table, f.source.data(), {kWidth, kHeight}, kPitch,
                               {0, 0, kWidth / 2, kHeight / 2}, f.destination.data(), kPitch,
                               {kWidth, kHeight}, 2.0, 2.0, kInterpolationCubic);
        benchmark::ClobberMemory();
    }
    SetCounters(state);
}
BENCHMARK(BM_Resize4Cubic)->Arg(0)->Arg(1)->Arg(2);

// The star's overlay: a 305 x 475 ornament grown to 1920 x 2990, of which a
// frame's height of rows is produced (the rows the sweep reads at most).
void BM_Resize4CubicStar(benchmark::State& state) {
    Frames& f = SharedFrames();
    const warp::WarpTable& table = warp::WarpTableFor(ClassOf(state));
    const int32_t bw = 305, bh = 475;
    const double factor = static_cast<double>(2990 + 1) / bh;
    for (auto _ : state) {
        warp::Resize4WithTable(table, f.source.data(), {bw, bh}, kPitch, {0, 0, bw, bh}, f.destination.data(),
                               kPitch, {kWidth, kHeight}, factor, factor, kInterpolationCubic);
        benchmark::ClobberMemory();
    }
    SetCounters(state);
}
BENCHMARK(BM_Resize4CubicStar)->Arg(0)->Arg(1)->Arg(2);

}  // namespace
}  // namespace halcyra

BENCHMARK_MAIN();

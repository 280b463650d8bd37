// Pixel routines at 1920x1080, in megapixels per second, each beside a plain
// copy of the same frame (the floor) and run both as the reference and as the
// best class this machine has. Compare ratios within one run; the machine is shared.
#include "picture/kernels/Kernels.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "picture/kernels/KernelTable.h"

namespace {

using namespace halcyra;

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;
constexpr int32_t kMargin = 128;  // valid pixels around the frame for the kernels that read beyond it

struct Frame {
    explicit Frame(int32_t bytes) : pitch((kWidth + 2 * kMargin) * bytes), bytes(bytes) {
        storage.resize(static_cast<size_t>(pitch) * (kHeight + 2 * kMargin));
        uint32_t x = 12345;
        for (auto& b : storage) {
            x = x * 214013 + 2531011;
            b = static_cast<uint8_t>(x >> 16);
        }
    }
    uint8_t* Origin() { return storage.data() + static_cast<size_t>(pitch) * kMargin + kMargin * bytes; }
    int32_t pitch, bytes;
    std::vector<uint8_t> storage;
};

Frame& A() {
    static Frame f(4);
    return f;
}
Frame& B() {
    static Frame f(4);
    return f;
}
Frame& C() {
    static Frame f(4);
    return f;
}
Frame& M1() {
    static Frame f(1);
    return f;
}
Frame& M2() {
    static Frame f(1);
    return f;
}

std::vector<int32_t> Triangle(int32_t length) {
    std::vector<int32_t> k(static_cast<size_t>(length));
    const int32_t half = (length + 1) >> 1;
    for (int32_t i = 0; i < length; ++i) k[i] = i < half ? i + 1 : length - i;
    return k;
}

int32_t Sum(const std::vector<int32_t>& k) {
    int32_t s = 0;
    for (int32_t v : k) s += v;
    return s;
}

void Run(benchmark::State& state, const std::function<void()>& body) {
    for (auto _ : state) {
        body();
        benchmark::ClobberMemory();
    }
    state.counters["Mpix/s"] = benchmark::Counter(
        static_cast<double>(kWidth) * kHeight * 1e-6 * static_cast<double>(state.iterations()),
        benchmark::Counter::kIsRate);
}

void Register(const std::string& name, CpuClass cpuClass, std::function<void(const KernelTable&)> body) {
    const KernelTable* table = &KernelTableFor(cpuClass);
    const char* suffix = cpuClass == CpuClass::Reference ? "/reference"
                         : cpuClass == CpuClass::Avx2    ? "/avx2"
                                                         : "/avx512";
    benchmark::RegisterBenchmark((name + suffix).c_str(), [table, body](benchmark::State& state) {
        Run(state, [&] { body(*table); });
    })->Unit(benchmark::kMillisecond);
}

void RegisterAll(CpuClass cpuClass, bool reference) {
    const int32_t w = kWidth, h = kHeight;
    Register("FrameCopy", cpuClass, [=](const KernelTable&) {
        for (int32_t y = 0; y < h; ++y)
            std::memcpy(B().Origin() + static_cast<size_t>(y) * B().pitch,
                        A().Origin() + static_cast<size_t>(y) * A().pitch, static_cast<size_t>(w) * 4);
    });
    Register("Set4", cpuClass, [=](const KernelTable& t) {
        static const uint8_t value[4] = {1, 2, 3, 4};
        t.set4(value, B().Origin(), B().pitch, w, h);
    });
    Register("Copy4", cpuClass,
             [=](const KernelTable& t) { t.copy4(A().Origin(), A().pitch, B().Origin(), B().pitch, w, h); });
    Register("ScaleBytes4", cpuClass, [=](const KernelTable& t) {
        static const uint8_t factors[4] = {200, 201, 202, 255};
        t.scaleBytes4(factors, B().Origin(), B().pitch, w, h);
    });
    for (int32_t shift = 0; shift < 2; ++shift)
        Register("AddBytes4/shift" + std::to_string(shift), cpuClass, [=](const KernelTable& t) {
            t.addBytes4(A().Origin(), A().pitch, B().Origin(), B().pitch, w, h, shift);
        });
    for (int32_t mode : {0, 6})
        Register("AlphaComposite/mode" + std::to_string(mode), cpuClass, [=](const KernelTable& t) {
            t.alphaComposite(A().Origin(), A().pitch, B().Origin(), B().pitch, C().Origin(), C().pitch, w, h,
                             mode);
        });
    Register("MixBytes4", cpuClass, [=](const KernelTable& t) {
        t.mixBytes4(A().Origin(), A().pitch, B().Origin(), B().pitch, C().Origin(), C().pitch, w, h, 100,
                    155);
    });
    // An unequal blend as three passes (scale, scale, add) and as the fused one.
    Register("Blend/threePasses", cpuClass, [=](const KernelTable& t) {
        static const uint8_t fa[4] = {100, 100, 100, 100}, fb[4] = {155, 155, 155, 155};
        t.scaleBytes4(fa, B().Origin(), B().pitch, w, h);
        t.scaleBytes4(fb, C().Origin(), C().pitch, w, h);
        t.addBytes4(B().Origin(), B().pitch, C().Origin(), C().pitch, w, h, 0);
    });
    Register("BlendBytes4", cpuClass, [=](const KernelTable& t) {
        t.blendBytes4(B().Origin(), B().pitch, C().Origin(), C().pitch, w, h, 100, 155);
    });
    // 127 is the shading of a half-lit face; -3000 takes the 32-bit path.
    for (int32_t factor : {127, -3000})
        Register("ScaleAlpha4/factor" + std::to_string(factor), cpuClass, [=](const KernelTable& t) {
            t.scaleAlpha4(A().Origin(), A().pitch, C().Origin(), C().pitch, w, h, factor);
        });
    Register("RgbToHsv", cpuClass, [=](const KernelTable& t) {
        t.rgbToHsv(A().Origin(), A().pitch, C().Origin(), C().pitch, w, h);
    });
    Register("HsvToRgb", cpuClass, [=](const KernelTable& t) {
        t.hsvToRgb(A().Origin(), A().pitch, C().Origin(), C().pitch, w, h);
    });
    Register("Convolve3x3", cpuClass, [=](const KernelTable& t) {
        static const float kernel[9] = {-1, -1, -1, -1, 8.5f, -1, -1, -1, -1};
        t.convolve(A().Origin(), A().pitch, C().Origin(), C().pitch, w, h, kernel, 3, 3, 1, 1);
    });
    Register("Convolve3x3/wholeNumbers", cpuClass, [=](const KernelTable& t) {
        static const float kernel[9] = {1, 1, 1, 1, -7, 1, 1, 1, 1};
        t.convolve(A().Origin(), A().pitch, C().Origin(), C().pitch, w, h, kernel, 3, 3, 1, 1);
    });
    for (int32_t length : {21, 201}) {
        const std::vector<int32_t> k = Triangle(length);
        const FilterDivisor divisor = FilterDivisorRule(Sum(k));
        Register("FilterColumns/triangle" + std::to_string(length), cpuClass, [=](const KernelTable& t) {
            t.filterColumns(A().Origin(), A().pitch, C().Origin(), C().pitch, w, h, k.data(), length,
                            length >> 1, divisor);
        });
        Register("FilterRows/triangle" + std::to_string(length), cpuClass, [=](const KernelTable& t) {
            t.filterRows(A().Origin(), A().pitch, C().Origin(), C().pitch, w, h, k.data(), length,
                         length >> 1, divisor);
        });
    }
    Register("Mean5x5", cpuClass, [=](const KernelTable& t) {
        t.mean(M1().Origin(), M1().pitch, M2().Origin(), M2().pitch, w, h, 55);
    });
    for (int32_t diameter : {11, 21, 51, 75, 101}) {
        if (reference && diameter > 21) continue;  // the direct form takes seconds per frame there
        std::vector<uint8_t> mask(static_cast<size_t>(diameter) * diameter);
        const int32_t r = diameter >> 1;
        for (int32_t y = 0; y < diameter; ++y)
            for (int32_t x = 0; x < diameter; ++x)
                mask[y * diameter + x] = (x - r) * (x - r) + (y - r) * (y - r) <= r * r;
        DilateState* state = nullptr;
        KernelDilateCreate(w, mask.data(), {diameter, diameter}, {r, r}, &state);
        Register("DilateDisc" + std::to_string(diameter), cpuClass, [=](const KernelTable& t) {
            t.dilate(A().Origin(), A().pitch, {w, h}, C().Origin(), C().pitch, {0, 0}, {w, h}, *state);
        });
    }
}

// Routines with one implementation for every class, through their entry points.
void RegisterSingle() {
    const int32_t w = kWidth, h = kHeight;
    auto single = [](const std::string& name, std::function<void()> body) {
        benchmark::RegisterBenchmark((name + "/all").c_str(), [body](benchmark::State& state) {
            Run(state, body);
        })->Unit(benchmark::kMillisecond);
    };
    single("CopyChannelOut", [=] {
        KernelCopyChannelOut(A().Origin() + 1, A().pitch, M1().Origin(), M1().pitch, {w, h});
    });
    single("CopyChannelIn", [=] {
        KernelCopyChannelIn(M1().Origin(), M1().pitch, C().Origin() + 1, C().pitch, {w, h});
    });
    // The frame as the interior of a picture with a 64-pixel border all round.
    single("Replicate4/border64", [=] {
        KernelReplicate4(C().Origin(), C().pitch, {w - 128, h - 128}, C().Origin() - 64 * C().pitch - 256,
                         C().pitch, {w, h}, 64, 64);
    });
}

}  // namespace

int main(int argc, char** argv) {
    RegisterAll(CpuClass::Reference, true);
    RegisterSingle();
    const CpuClass best = DetectCpuClass();
    if (best != CpuClass::Reference) RegisterAll(best, false);
    if (best == CpuClass::Avx512) RegisterAll(CpuClass::Avx2, false);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

// Glow, Halo and the three sketch looks at 1920x1080, default parameters,
// progress 0.5, beside a plain frame copy (the floor) and the kernel passes
// each effect is built from, so that the effect's own overhead shows. The
// library is used through the catalogue, as a host would. Read the ratios
// from one run: the machines are shared and noisy.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "frame/Catalogue.h"
#include "frame/EffectInterfaces.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/CpuClass.h"
#include "picture/kernels/Kernels.h"

namespace {

using namespace halcyra;

// What the library does at process attach, which a static link does not run:
// the best kernel variants for this processor.
const bool kKernelsChosen = (SelectCpuClass(DetectCpuClass()), true);

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;

struct FrameBuffer {
    explicit FrameBuffer(uint32_t seed = 0) : bytes(static_cast<size_t>(kWidth) * kHeight * 4) {
        // Smooth shapes with some texture: what video looks like, roughly.
        for (int32_t y = 0; y < kHeight; ++y)
            for (int32_t x = 0; x < kWidth; ++x) {
                uint8_t* p = &bytes[(static_cast<size_t>(y) * kWidth + x) * 4];
                p[0] = static_cast<uint8_t>(x / 8 + seed);
                p[1] = static_cast<uint8_t>(y / 5);
                p[2] = static_cast<uint8_t>((((x + seed) / 64 + y / 64) & 1) ? 230 : 20);
                p[3] = 255;
            }
        desc.data = bytes.data();
        desc.width = kWidth;
        desc.height = kHeight;
        desc.pitch = kWidth * 4;
        desc.bytesPerPixel = 4;
    }
    std::vector<uint8_t> bytes;
    ImageDesc desc{};
};

// A host's memory service that keeps freed pictures for reuse, as editors
// do: with it the figures show the effect's own work without the page faults
// of fresh heap blocks every frame.
class PoolingAllocator final : public IHostAllocator {
public:
    ~PoolingAllocator() {
        for (Block& b : blocks) std::free(b.memory);
    }
    int32_t QueryInterface(const Guid&, void** out) override {
        *out = nullptr;
        return kStatusNoInterface;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    int32_t Allocate(void** out, uint32_t size) override {
        *out = Take(size);
        return 0;
    }
    void Free(void* memory) override { Give(memory); }
    int32_t AllocatePicture(void** out, int32_t width, int32_t height, int32_t channels,
                            int32_t* pitch) override {
        *pitch = (width * channels + 63) & ~63;
        *out = Take(static_cast<size_t>(*pitch) * height);
        return 0;
    }
    void FreePicture(void* memory) override { Give(memory); }

private:
    struct Block {
        void* memory;
        size_t size;
        bool inUse;
    };
    void* Take(size_t size) {
        for (Block& b : blocks)
            if (!b.inUse && b.size == size) {
                b.inUse = true;
                return b.memory;
            }
        blocks.push_back({std::aligned_alloc(64, (size + 63) & ~size_t{63}), size, true});
        return blocks.back().memory;
    }
    void Give(void* memory) {
        for (Block& b : blocks)
            if (b.memory == memory) b.inUse = false;
    }
    std::vector<Block> blocks;
};

class DefaultsHost final : public IVideoHost {
public:
    explicit DefaultsHost(IVideoEffect* effect, bool pooling = false) : pooling(pooling) {
        ParameterInfo info{};
        for (int32_t i = 0; effect->GetParameterInfo(i, &info); ++i) values.push_back(info.value);
    }
    int32_t QueryInterface(const Guid& iid, void** out) override {
        if (pooling && SameGuid(iid, IID_IHostAllocator)) {
            *out = &pool;
            return kStatusOk;
        }
        *out = nullptr;
        return kStatusNoInterface;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    bool GetParameterValue(int32_t index, ParameterValue* value, int32_t type) override {
        if (index < 0 || static_cast<size_t>(index) >= values.size()) return false;
        value->value = values[static_cast<size_t>(index)];
        value->type = type;
        return true;
    }
    bool HostReservedA(int32_t, void*, uint8_t) override { return false; }
    intptr_t HostReservedB(void*, void*) override { return 0; }
    bool HostReservedC(void*, void*) override { return false; }
    void HostReservedD(void*) override {}
    std::vector<ParameterData> values;
    bool pooling;
    PoolingAllocator pool;
};

void SetCounters(benchmark::State& state) {
    // Iterations per second, inverted: the time of one frame.
    state.counters["per_frame"] = benchmark::Counter(
        static_cast<double>(state.iterations()), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void FrameCopy(benchmark::State& state) {
    FrameBuffer in, out;
    for (auto _ : state) {
        for (int32_t y = 0; y < kHeight; ++y)
            std::memcpy(out.bytes.data() + static_cast<size_t>(y) * kWidth * 4,
                        in.bytes.data() + static_cast<size_t>(y) * kWidth * 4, kWidth * 4);
        benchmark::DoNotOptimize(out.bytes.data());
    }
    SetCounters(state);
}
BENCHMARK(FrameCopy)->Unit(benchmark::kMillisecond);

// Rows 20 Glow, 21 Halo, 23 Airbrush HY, 25 Linedrawing HY, 27 Pastelsketch HY.
void Effect(benchmark::State& state) {
    const auto index = static_cast<int32_t>(state.range(0));
    IVideoEffect* effect = CreateCatalogueEffect(index);
    if (effect == nullptr) {
        state.SkipWithError("row not built");
        return;
    }
    state.SetLabel(effect->GetName());
    DefaultsHost host(effect, state.range(1) != 0);
    FrameBuffer a(0), b(37), out;
    RenderInfo info{};
    info.progress = 0.5;
    info.time = 1.0;
    info.fieldMode = 3;
    for (auto _ : state) {
        effect->Render(&host, &a.desc, &b.desc, &out.desc, &info);
        benchmark::DoNotOptimize(out.bytes.data());
    }
    SetCounters(state);
    effect->Release();
}
// Second argument: 0 the heap, 1 a host's pooling memory service.
BENCHMARK(Effect)
    ->ArgsProduct({{20, 21, 23, 25, 27}, {0, 1}})
    ->ArgNames({"row", "pool"})
    ->Unit(benchmark::kMillisecond);

// The kernel passes the effects are built from, on frames of the sizes they see.
struct WorkPictures {
    WorkPictures(int32_t margin) {
        in.Attach(source.bytes.data(), kWidth, kHeight, kWidth * 4, 4);
        out.Attach(output.bytes.data(), kWidth, kHeight, kWidth * 4, 4);
        a.Allocate(kWidth + margin, kHeight + margin, 4, nullptr);
        b.Allocate(kWidth + margin, kHeight + margin, 4, nullptr);
        PictureOps::FillPicture(a, 0x40302010);
        PictureOps::FillPicture(b, 0x40302010);
    }
    FrameBuffer source{0}, output;
    Picture in, out, a, b;
};

// The separable triangular blur of Glow (K = 204 at 1080 rows).
void TriangularPasses(benchmark::State& state) {
    const auto taps = static_cast<int32_t>(state.range(0));
    const int32_t m = taps >> 1;
    WorkPictures w(taps);
    std::vector<int32_t> kernel(static_cast<size_t>(taps));
    int32_t sum = 0;
    for (int32_t i = 0; i < taps; ++i) sum += kernel[static_cast<size_t>(i)] = std::min(i + 1, taps - i);
    const KernelSize size{kWidth, kHeight};
    for (auto _ : state) {
        FilterPictureColumns(w.a.PixelAddress(m, m), w.a.pitch, w.b.PixelAddress(m, m), w.b.pitch, size,
                             kernel.data(), taps, m, sum);
        FilterPictureRows(w.b.PixelAddress(m, m), w.b.pitch, w.out.data, w.out.pitch, size, kernel.data(),
                          taps, m, sum);
        benchmark::DoNotOptimize(w.out.data);
    }
    SetCounters(state);
}
BENCHMARK(TriangularPasses)->Arg(204)->Arg(134)->Unit(benchmark::kMillisecond);

// Halo's disc dilation (diameter 75 at 1080 rows) on its margined picture.
void DiscDilation(benchmark::State& state) {
    const auto diameter = static_cast<int32_t>(state.range(0));
    WorkPictures w(2 * diameter);
    for (auto _ : state) {
        PictureOps::MorphPicture(w.b, w.a, diameter, nullptr);
        benchmark::DoNotOptimize(w.a.data);
    }
    SetCounters(state);
}
BENCHMARK(DiscDilation)->Arg(75)->Unit(benchmark::kMillisecond);

// A 3x3 float convolution over the frame (the edge map; Halo runs two on its margined picture).
void Convolve3x3(benchmark::State& state) {
    WorkPictures w(0);
    const float kernel[9] = {1, 1, 1, 1, -8, 1, 1, 1, 1};
    for (auto _ : state) {
        PictureOps::ConvolvePicture(w.in, w.out, kernel, 3);
        benchmark::DoNotOptimize(w.out.data);
    }
    SetCounters(state);
}
BENCHMARK(Convolve3x3)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

// Glow, Halo and the three sketch looks at 1920x1080, default parameters,
// progress 0.5, beside a plain frame copy (the floor) and the kernel passes
// each effect is built from, so that the effect's own share shows. Each row
// runs twice: on the heap, and with a host memory service that reuses freed
// pictures as editors do, which leaves out the page faults of fresh heap
// blocks every frame. Read the ratios from one run: the machines are shared
// and noisy.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "BenchSupport.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Kernels.h"

namespace halcyra::bench {
namespace {

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

// The defaults of an effect, and the pooling memory service.
class PoolingHost final : public IVideoHost {
public:
    explicit PoolingHost(IVideoEffect* effect) : defaults(effect) {}
    int32_t QueryInterface(const Guid& iid, void** out) override {
        if (SameGuid(iid, IID_IHostAllocator)) {
            *out = &pool;
            return kStatusOk;
        }
        *out = nullptr;
        return kStatusNoInterface;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    bool GetParameterValue(int32_t index, ParameterValue* value, int32_t type) override {
        return defaults.GetParameterValue(index, value, type);
    }
    bool HostReservedA(int32_t, void*, uint8_t) override { return false; }
    intptr_t HostReservedB(void*, void*) override { return 0; }
    bool HostReservedC(void*, void*) override { return false; }
    void HostReservedD(void*) override {}

private:
    DefaultsHost defaults;
    PoolingAllocator pool;
};

void CatalogueRowPooled(benchmark::State& state) {
    IVideoEffect* effect = CreateCatalogueEffect(static_cast<int32_t>(state.range(0)));
    if (effect == nullptr) {
        state.SkipWithError("row not built");
        return;
    }
    state.SetLabel(effect->GetName());
    PoolingHost host(effect);
    FrameBuffer first(3), second(4), output(5);
    RenderInfo info{};
    info.progress = 0.5;
    info.time = 1.0;
    info.fieldMode = 3;
    for (auto _ : state) {
        effect->Render(&host, &first.desc, &second.desc, &output.desc, &info);
        benchmark::DoNotOptimize(output.bytes.data());
    }
    CountFrames(state);
    effect->Release();
}

// Rows 20 Glow, 21 Halo, 23 Airbrush HY, 25 Linedrawing HY, 27 Pastelsketch HY.
BENCHMARK(FrameCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(CatalogueRow)
    ->ArgsProduct({{20, 21, 23, 25, 27}, {50}})
    ->ArgNames({"row", "progress%"})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(CatalogueRowPooled)
    ->Arg(20)
    ->Arg(21)
    ->Arg(23)
    ->Arg(25)
    ->Arg(27)
    ->ArgName("row")
    ->Unit(benchmark::kMillisecond);

// The kernel passes the effects are built from, on pictures of the sizes they see.
struct WorkPictures {
    explicit WorkPictures(int32_t margin) {
        in.Attach(source.bytes.data(), kWidth, kHeight, kWidth * 4, 4);
        out.Attach(output.bytes.data(), kWidth, kHeight, kWidth * 4, 4);
        a.Allocate(kWidth + margin, kHeight + margin, 4, nullptr);
        b.Allocate(kWidth + margin, kHeight + margin, 4, nullptr);
        PictureOps::FillPicture(a, 0x40302010);
        PictureOps::FillPicture(b, 0x40302010);
    }
    FrameBuffer source{0}, output{1};
    Picture in, out, a, b;
};

// The separable triangular blur of Glow (K = 204 at 1080 rows) and Airbrush HY (134).
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
    CountFrames(state);
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
    CountFrames(state);
}
BENCHMARK(DiscDilation)->Arg(75)->Unit(benchmark::kMillisecond);

// One 3x3 float convolution over the frame: the edge map (Halo runs two on its margined picture).
void Convolve3x3(benchmark::State& state) {
    WorkPictures w(0);
    const float kernel[9] = {1, 1, 1, 1, -8, 1, 1, 1, 1};
    for (auto _ : state) {
        PictureOps::ConvolvePicture(w.in, w.out, kernel, 3);
        benchmark::DoNotOptimize(w.out.data);
    }
    CountFrames(state);
}
BENCHMARK(Convolve3x3)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace halcyra::bench

BENCHMARK_MAIN();

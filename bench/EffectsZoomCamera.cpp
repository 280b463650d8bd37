// Zoom, Zoom Blur, Shake and Active Camera at 1920x1080 with default
// parameters, through the catalogue as a host reaches them, beside a frame
// copy (the floor) and beside the bare sequence of picture operations each
// effect's pipeline runs. Zoom and Zoom Blur are many warps by construction,
// so they are judged against that sequence rather than against the copy.
// Read the ratios from one run: the machines are shared and noisy.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "effects/Zoom.h"
#include "frame/Catalogue.h"
#include "frame/EffectInterfaces.h"
#include "picture/PictureOps.h"

namespace {

using namespace halcyra;

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;

struct FrameBuffer {
    FrameBuffer() : bytes(static_cast<size_t>(kWidth) * kHeight * 4) {
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
        desc.data = bytes.data();
        desc.width = kWidth;
        desc.height = kHeight;
        desc.pitch = kWidth * 4;
        desc.bytesPerPixel = 4;
    }
    std::vector<uint8_t> bytes;
    ImageDesc desc{};
};

class DefaultsHost final : public IVideoHost {
public:
    explicit DefaultsHost(IVideoEffect* effect) {
        ParameterInfo info{};
        for (int32_t i = 0; effect->GetParameterInfo(i, &info); ++i) values.push_back(info.value);
    }
    int32_t QueryInterface(const Guid&, void** out) override {
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
};

// Frames per second of processor time; the Time column already reads as ms/frame.
void SetCounters(benchmark::State& state) {
    state.counters["frames/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
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

// One frame of a catalogue row at progress 0.5 and time 1 s.
void Effect(benchmark::State& state) {
    IVideoEffect* effect = CreateCatalogueEffect(static_cast<int32_t>(state.range(0)));
    if (effect == nullptr) {
        state.SkipWithError("row not built");
        return;
    }
    state.SetLabel(effect->GetName());
    DefaultsHost host(effect);
    FrameBuffer a, b, out;
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
BENCHMARK(Effect)->Arg(6)->Arg(31)->Arg(1)->Arg(32)->Unit(benchmark::kMillisecond);

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
    SetCounters(state);
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

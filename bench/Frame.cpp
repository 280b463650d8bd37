// The spine's benchmarks: a 1920x1080 frame copy, the floor every effect is
// measured against, beside both forms of Metallic, through the same entry a
// host uses. Read the ratios from one run: the machines are shared and noisy.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "frame/Catalogue.h"
#include "frame/EffectInterfaces.h"
#include "picture/kernels/CpuClass.h"

namespace {

using namespace halcyra;

// As at process attach: the best kernels this processor has.
const bool kernelsSelected = (SelectCpuClass(DetectCpuClass()), true);

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

void SetRate(benchmark::State& state) {
    state.counters["Mpix/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kWidth * kHeight / 1e6,
                                                  benchmark::Counter::kIsRate);
}

void FrameCopy(benchmark::State& state) {
    FrameBuffer in, out;
    for (auto _ : state) {
        for (int32_t y = 0; y < kHeight; ++y)
            std::memcpy(out.bytes.data() + static_cast<size_t>(y) * kWidth * 4,
                        in.bytes.data() + static_cast<size_t>(y) * kWidth * 4, kWidth * 4);
        benchmark::DoNotOptimize(out.bytes.data());
    }
    SetRate(state);
}
BENCHMARK(FrameCopy)->Unit(benchmark::kMillisecond);

void Effect(benchmark::State& state) {
    const auto index = static_cast<int32_t>(state.range(0));
    IVideoEffect* effect = CreateCatalogueEffect(index);
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
    SetRate(state);
    effect->Release();
}
BENCHMARK(Effect)->Arg(22)->Arg(26)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

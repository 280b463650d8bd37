// The 3D transitions of the scene kit at 1920x1080 with default parameters,
// at progress 0.25 and 0.5, beside a plain frame copy, the floor. Read the
// ratios from one run: the machines are shared and noisy.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "frame/Catalogue.h"
#include "frame/EffectInterfaces.h"
#include "picture/kernels/CpuClass.h"

namespace {

using namespace halcyra;

constexpr int32_t kWidth = 1920;
constexpr int32_t kHeight = 1080;

struct FrameBuffer {
    explicit FrameBuffer(uint32_t seed) : bytes(static_cast<size_t>(kWidth) * kHeight * 4) {
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<uint8_t>((i + seed) * 2654435761u >> 13);
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

void FrameCopy(benchmark::State& state) {
    FrameBuffer in(1), out(2);
    for (auto _ : state) {
        for (int32_t y = 0; y < kHeight; ++y)
            std::memcpy(out.bytes.data() + static_cast<size_t>(y) * kWidth * 4,
                        in.bytes.data() + static_cast<size_t>(y) * kWidth * 4, kWidth * 4);
        benchmark::DoNotOptimize(out.bytes.data());
    }
}
BENCHMARK(FrameCopy)->Unit(benchmark::kMillisecond);

// range(0): catalogue index; range(1): progress in hundredths.
void Transition(benchmark::State& state) {
    IVideoEffect* effect = CreateCatalogueEffect(static_cast<int32_t>(state.range(0)));
    if (effect == nullptr) {
        state.SkipWithError("row not built");
        return;
    }
    FrameBuffer first(3), second(4), output(5);
    DefaultsHost host(effect);
    RenderInfo info{};
    info.progress = static_cast<double>(state.range(1)) / 100.0;
    info.fieldMode = 3;
    for (auto _ : state) {
        effect->Render(&host, &first.desc, &second.desc, &output.desc, &info);
        benchmark::DoNotOptimize(output.bytes.data());
    }
    effect->Release();
}
BENCHMARK(Transition)
    ->ArgNames({"index", "progress%"})
    ->Args({12, 25})  // Bouncing Cubes
    ->Args({12, 50})
    ->Args({11, 25})  // Checker Board
    ->Args({11, 50})
    ->Args({11, 5})
    ->Unit(benchmark::kMillisecond);

}  // namespace

// The kernel class is chosen as at process attach, which the static archive
// does not run on its own.
int main(int argc, char** argv) {
    halcyra::SelectCpuClass(halcyra::DetectCpuClass());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

// What every benchmark program shares: 1920x1080 frames, a host that answers
// an effect's defaults, the frame copy that is the floor, one catalogue row
// rendered per iteration, and the choice of kernels as at process attach
// (the static archive the benchmarks link does not run that step itself).
#pragma once

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "frame/Catalogue.h"
#include "frame/EffectInterfaces.h"
#include "picture/kernels/CpuClass.h"

namespace halcyra::bench {

inline constexpr int32_t kWidth = 1920;
inline constexpr int32_t kHeight = 1080;

inline const bool kernelsSelected = (SelectCpuClass(DetectCpuClass()), true);

struct FrameBuffer {
    explicit FrameBuffer(uint32_t seed = 0) : bytes(static_cast<size_t>(kWidth) * kHeight * 4) {
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<uint8_t>((i + seed * 7919u) * 2654435761u >> 13);
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
        for (int32_t i = 0; effect->GetParameterInfo(i, &info); ++i, info = ParameterInfo{})
            values.push_back(info.value);
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

inline void CountFrames(benchmark::State& state) {
    state.counters["frames/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["Mpix/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kWidth * kHeight / 1e6, benchmark::Counter::kIsRate);
}

// The floor: a plain copy of one frame, row by row.
inline void FrameCopy(benchmark::State& state) {
    FrameBuffer in(1), out(2);
    for (auto _ : state) {
        for (int32_t y = 0; y < kHeight; ++y)
            std::memcpy(out.bytes.data() + static_cast<size_t>(y) * kWidth * 4,
                        in.bytes.data() + static_cast<size_t>(y) * kWidth * 4, kWidth * 4);
        benchmark::DoNotOptimize(out.bytes.data());
    }
    CountFrames(state);
}

// One frame per iteration of an effect the caller owns, on patterned
// inputs; with advanceTime the time moves on by a frame at 30 fps each time,
// as in playback.
inline void RenderPerIteration(benchmark::State& state, IVideoEffect* effect, IVideoHost& host,
                               double progress, double time = 1.0, bool advanceTime = false) {
    FrameBuffer first(3), second(4), output(5);
    RenderInfo info{};
    info.progress = progress;
    info.time = time;
    info.fieldMode = 3;
    for (auto _ : state) {
        effect->Render(&host, &first.desc, &second.desc, &output.desc, &info);
        if (advanceTime) info.time += 1.0 / 30.0;
        benchmark::DoNotOptimize(output.bytes.data());
    }
    CountFrames(state);
}

// One frame per iteration of a catalogue row, its defaults changed first by
// adjust(host); a row this build leaves out is reported, not run.
template <class Adjust>
void RenderCatalogueRow(benchmark::State& state, int32_t index, double progress, double time, Adjust adjust) {
    IVideoEffect* effect = CreateCatalogueEffect(index);
    if (effect == nullptr) {
        state.SkipWithError("row not built");
        return;
    }
    state.SetLabel(effect->GetName());
    DefaultsHost host(effect);
    adjust(host);
    RenderPerIteration(state, effect, host, progress, time);
    effect->Release();
}

// One frame of catalogue row range(0) at progress range(1)/100 and time 1 s.
inline void CatalogueRow(benchmark::State& state) {
    RenderCatalogueRow(state, static_cast<int32_t>(state.range(0)),
                       static_cast<double>(state.range(1)) / 100.0, 1.0, [](DefaultsHost&) {});
}

}  // namespace halcyra::bench

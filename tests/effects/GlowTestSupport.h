// Test support shared by the glow, halo and sketch tests: a host whose memory
// service hands out blocks pre-filled with a chosen byte (so that a render that
// reads memory nothing wrote shows it), and a patterned test picture with
// edges, gradients and alpha.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "TestHost.h"
#include "frame/EffectInterfaces.h"
#include "picture/kernels/CpuClass.h"

namespace halcyra::test {

class FilledAllocator final : public IHostAllocator {
public:
    explicit FilledAllocator(uint8_t fill) : fill(fill) {}
    int32_t QueryInterface(const Guid&, void** out) override {
        *out = nullptr;
        return kStatusNoInterface;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    int32_t Allocate(void** out, uint32_t size) override {
        *out = std::malloc(size);
        if (*out != nullptr) std::memset(*out, fill, size);
        return 0;
    }
    void Free(void* block) override { std::free(block); }
    int32_t AllocatePicture(void** out, int32_t width, int32_t height, int32_t channels,
                            int32_t* pitch) override {
        *pitch = width * channels + 8;
        const size_t size = static_cast<size_t>(*pitch) * height;
        *out = std::malloc(size);
        if (*out != nullptr) std::memset(*out, fill, size);
        return 0;
    }
    void FreePicture(void* block) override { std::free(block); }
    uint8_t fill;
};

// Parameters from an array, memory from a FilledAllocator.
class FilledMemoryHost final : public IVideoHost {
public:
    FilledMemoryHost(IVideoEffect* effect, uint8_t fill) : allocator(fill) {
        ParameterInfo info{};
        for (int32_t i = 0; effect->GetParameterInfo(i, &info); ++i) {
            values.push_back(info.value);
            info = ParameterInfo{};
        }
    }
    int32_t QueryInterface(const Guid& iid, void** out) override {
        if (SameGuid(iid, IID_IHostAllocator)) {
            *out = &allocator;
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
    FilledAllocator allocator;
};

// Runs body once under every kernel class this machine supports, so that the
// SIMD variants are held to the same bytes, then restores the class in force.
template <class Body>
void ForEachCpuClass(Body body) {
    const CpuClass saved = ActiveCpuClass();
    for (int k = 0; k < kCpuClassCount; ++k) {
        const auto cpuClass = static_cast<CpuClass>(k);
        if (!CpuClassSupported(cpuClass)) continue;
        SelectCpuClass(cpuClass);
        SCOPED_TRACE(testing::Message() << "kernel class " << k);
        body();
    }
    SelectCpuClass(saved);
}

// Checkerboard squares over two gradients, alpha falling to the right: edges
// for the sketch looks, bright and dark areas for the glow.
inline void FillShapes(GuardedFrame& frame, int32_t phase = 0) {
    for (int32_t y = 0; y < frame.height; ++y)
        for (int32_t x = 0; x < frame.width; ++x) {
            uint8_t* p = frame.Pixel(x, y);
            const bool square = (((x + phase) / 8 + y / 8) & 1) != 0;
            p[0] = static_cast<uint8_t>(x * 4 + phase);
            p[1] = static_cast<uint8_t>(y * 5);
            p[2] = static_cast<uint8_t>(square ? 220 : 30);
            p[3] = static_cast<uint8_t>(255 - x);
        }
}

}  // namespace halcyra::test

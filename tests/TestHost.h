// A small in-process host for unit tests: answers parameters from an array,
// optionally offers a counting allocation service, and builds frames with
// guard bytes around them. Also a CRC-32 for regression checksums.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "frame/EffectInterfaces.h"

namespace halcyra::test {

inline uint32_t Crc32(const uint8_t* bytes, size_t size, uint32_t crc = 0) {
    crc = ~crc;
    for (size_t i = 0; i < size; ++i) {
        crc ^= bytes[i];
        for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

class CountingAllocator final : public IHostAllocator {
public:
    int32_t QueryInterface(const Guid&, void** out) override {
        *out = nullptr;
        return kStatusNoInterface;
    }
    uint32_t AddRef() override { return ++references; }
    uint32_t Release() override { return --references; }
    int32_t Allocate(void** out, uint32_t size) override {
        *out = std::malloc(size);
        if (*out != nullptr && fill >= 0) std::memset(*out, fill, size);
        ++blocks;
        return 0;
    }
    void Free(void* block) override {
        std::free(block);
        --blocks;
    }
    int32_t AllocatePicture(void** out, int32_t width, int32_t height, int32_t channels,
                            int32_t* pitch) override {
        *pitch = width * channels + 16;  // deliberately not the heap route's pitch
        *out = std::malloc(static_cast<size_t>(*pitch) * height);
        if (*out != nullptr && fill >= 0) std::memset(*out, fill, static_cast<size_t>(*pitch) * height);
        ++pictures;
        return 0;
    }
    void FreePicture(void* block) override {
        std::free(block);
        --pictures;
    }
    int32_t references = 0;
    int32_t blocks = 0;
    int32_t pictures = 0;
    // A byte to pre-fill every block with, so that a render reading memory
    // nothing wrote shows it; -1 leaves blocks as malloc gives them.
    int fill = -1;
};

class TestHost final : public IVideoHost {
public:
    int32_t QueryInterface(const Guid& iid, void** out) override {
        ++queries;
        if (offerAllocator && SameGuid(iid, IID_IHostAllocator)) {
            *out = &allocator;
            allocator.AddRef();
            return kStatusOk;
        }
        *out = nullptr;
        return kStatusNoInterface;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    bool GetParameterValue(int32_t index, ParameterValue* value, int32_t type) override {
        requested.push_back(index);
        if (index < 0 || static_cast<size_t>(index) >= values.size()) return false;
        value->value = values[static_cast<size_t>(index)];
        value->type = type;
        return true;
    }
    bool HostReservedA(int32_t, void*, uint8_t) override {
        ++reservedCalls;
        return true;
    }
    intptr_t HostReservedB(void*, void*) override {
        ++reservedCalls;
        return 7;
    }
    bool HostReservedC(void*, void*) override { return true; }
    void HostReservedD(void*) override {}

    // Fills the values with the effect's own defaults.
    void UseDefaults(IVideoEffect* effect) {
        values.clear();
        ParameterInfo info{};
        for (int32_t i = 0; effect->GetParameterInfo(i, &info); ++i) {
            values.push_back(info.value);
            info = ParameterInfo{};
        }
    }
    void SetFloat(size_t index, float v) { values.at(index).number = v; }

    std::vector<ParameterData> values;
    std::vector<int32_t> requested;
    bool offerAllocator = false;
    CountingAllocator allocator;
    int queries = 0;
    int reservedCalls = 0;
};

// A BGRA frame inside a larger block with guard bytes on every side.
class GuardedFrame {
public:
    static constexpr size_t kGuard = 64;
    static constexpr uint8_t kGuardByte = 0xA5;

    GuardedFrame(int32_t width, int32_t height, int32_t padding = 0, bool negativePitch = false)
        : width(width), height(height), pitch(width * 4 + padding) {
        block.assign(kGuard * 2 + static_cast<size_t>(pitch) * height, kGuardByte);
        desc.width = width;
        desc.height = height;
        desc.bytesPerPixel = 4;
        uint8_t* base = block.data() + kGuard;
        if (negativePitch) {
            desc.data = base + static_cast<size_t>(pitch) * (height - 1);
            desc.pitch = -pitch;
        } else {
            desc.data = base;
            desc.pitch = pitch;
        }
    }
    // Pixel (x, y) in the frame's own row order.
    uint8_t* Pixel(int32_t x, int32_t y) {
        return static_cast<uint8_t*>(desc.data) + static_cast<intptr_t>(desc.pitch) * y + x * 4;
    }
    void FillPattern(uint32_t seed) {
        std::mt19937 random(seed);
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                for (int c = 0; c < 4; ++c) Pixel(x, y)[c] = static_cast<uint8_t>(random());
    }
    void Fill(uint8_t value) {
        for (int32_t y = 0; y < height; ++y) std::memset(Pixel(0, y), value, static_cast<size_t>(width) * 4);
    }
    bool GuardsIntact() const {
        for (size_t i = 0; i < kGuard; ++i)
            if (block[i] != kGuardByte || block[block.size() - 1 - i] != kGuardByte) return false;
        // Row padding is outside the frame too.
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = width * 4; x < pitch; ++x)
                if (block[kGuard + static_cast<size_t>(y) * pitch + x] != kGuardByte) return false;
        return true;
    }
    // The frame's pixels in row order, for comparisons and checksums.
    std::vector<uint8_t> Pixels() {
        std::vector<uint8_t> out;
        for (int32_t y = 0; y < height; ++y) out.insert(out.end(), Pixel(0, y), Pixel(0, y) + width * 4);
        return out;
    }
    uint32_t Crc() {
        auto p = Pixels();
        return Crc32(p.data(), p.size());
    }

    int32_t width, height, pitch;
    ImageDesc desc{};
    std::vector<uint8_t> block;
};

inline RenderInfo MakeRenderInfo(double progress, double time = 0.0) {
    RenderInfo info{};
    info.progress = progress;
    info.time = time;
    info.fieldMode = 3;
    return info;
}

// The fixed frames of the effects' regression checksums: 64 x 48 patterned
// inputs with padded rows, the second input and the output bottom-up.
struct ChecksumFrames {
    ChecksumFrames() : a(64, 48, 12), b(64, 48, 12, true), out(64, 48, 0, true) {
        a.FillPattern(11);
        b.FillPattern(12);
    }
    // One frame into a cleared output; the output's checksum. second is
    // &b.desc, or null for a one-input effect.
    uint32_t Render(IVideoEffect* effect, IVideoHost* host, ImageDesc* second, RenderInfo info) {
        out.Fill(0);
        effect->Render(host, &a.desc, second, &out.desc, &info);
        return out.Crc();
    }
    GuardedFrame a, b, out;
};

}  // namespace halcyra::test

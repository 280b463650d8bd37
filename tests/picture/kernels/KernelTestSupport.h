// Shared pieces of the kernel tests: a seeded generator with bytes biased to
// the edges, and pictures with padded pitches, misaligned starts and a margin
// of valid pixels around the area a routine works on.
#pragma once

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "picture/kernels/CpuClass.h"

namespace halcyra::test {

class Random {
public:
    explicit Random(uint64_t seed) : engine(seed) {}
    int32_t Int(int32_t lo, int32_t hi) { return std::uniform_int_distribution<int32_t>(lo, hi)(engine); }
    bool Chance(int32_t percent) { return Int(0, 99) < percent; }
    // Half the bytes are 0x00 or 0xFF or next to them; the rest uniform.
    uint8_t Byte() {
        switch (Int(0, 7)) {
            case 0:
                return 0x00;
            case 1:
                return 0xFF;
            case 2:
                return static_cast<uint8_t>(Int(0, 2));
            case 3:
                return static_cast<uint8_t>(Int(253, 255));
            default:
                return static_cast<uint8_t>(Int(0, 255));
        }
    }
    // Bulk bytes with the same bias as Byte, eight from each pair of draws.
    void Fill(std::vector<uint8_t>& bytes) {
        static constexpr uint8_t kEdge[8] = {0x00, 0xFF, 0x01, 0xFE, 0x00, 0xFF, 0x02, 0xFD};
        for (size_t i = 0; i < bytes.size(); i += 8) {
            const uint64_t values = engine(), modes = engine();
            for (size_t k = 0; k < 8 && i + k < bytes.size(); ++k) {
                const uint8_t value = static_cast<uint8_t>(values >> (8 * k));
                const uint32_t mode = static_cast<uint32_t>(modes >> (8 * k)) & 0xFF;
                bytes[i + k] = mode < 128 ? kEdge[mode & 7] : value;
            }
        }
    }
    // Widths 1 to 67 mostly, sometimes a long row.
    int32_t Width() { return Chance(8) ? Int(68, 700) : Int(1, 67); }
    std::mt19937_64 engine;
};

// A picture of width x height pixels inside a margin of `margin` pixels on
// every side, rows `pitch` bytes apart, starting at a random misalignment.
struct TestPicture {
    TestPicture(Random& random, int32_t width, int32_t height, int32_t bytesPerPixel, int32_t margin = 0)
        : width(width), height(height), bytes(bytesPerPixel), margin(margin) {
        pitch = (width + 2 * margin) * bytesPerPixel + random.Int(0, 3) * random.Int(0, 37);
        offset = random.Int(0, 63);
        storage.resize(static_cast<size_t>(offset) + static_cast<size_t>(pitch) * (height + 2 * margin) + 64);
        random.Fill(storage);
    }
    // Pixel (0, 0) of the working area.
    uint8_t* Origin() {
        return storage.data() + offset + static_cast<size_t>(pitch) * margin + margin * bytes;
    }
    int32_t width, height, bytes, margin, pitch, offset;
    std::vector<uint8_t> storage;
};

// The classes this machine can run, other than the reference.
inline std::vector<CpuClass> VariantClasses() {
    std::vector<CpuClass> classes;
    for (int c = 1; c < kCpuClassCount; ++c)
        if (CpuClassSupported(static_cast<CpuClass>(c))) classes.push_back(static_cast<CpuClass>(c));
    return classes;
}

inline const char* ClassName(CpuClass cpuClass) {
    switch (cpuClass) {
        case CpuClass::Avx2:
            return "avx2";
        case CpuClass::Avx512:
            return "avx512";
        default:
            return "reference";
    }
}

}  // namespace halcyra::test

// The per-class table of pixel routine bodies. The public entry points check
// their arguments, take the table of the active class once per call and run
// the body on arguments that are already known to be valid. Tests reach every
// class through KernelTableFor to compare each variant with the reference.
#pragma once

#include <cstdint>
#include <vector>

#include "picture/kernels/CpuClass.h"
#include "picture/kernels/KernelTypes.h"

namespace halcyra {

// The mask of a dilation in two forms: the plain member list that the
// reference walks, and, when every mask row is one run and the runs nest, the
// run groups from the widest to the narrowest that the fast form chains, with
// that form's rows. A state serves one dilation at a time.
struct DilateState {
    struct RunGroup {
        int32_t lo;                       // first member column minus the anchor column
        int32_t hi;                       // last member column minus the anchor column
        std::vector<int32_t> rowOffsets;  // mask row minus the anchor row
    };
    int32_t width = 0;
    std::vector<KernelPoint> members;  // (column - anchor x, row - anchor y)
    bool nestedRuns = false;
    std::vector<RunGroup> groups;
    int32_t reachLeft = 0;   // columns the widest run reaches left of the anchor (>= 0)
    int32_t reachRight = 0;  // and right of it (>= 0)
    int32_t firstRow = 0;    // offsets of the first and last member rows from the anchor row
    int32_t lastRow = 0;
    size_t rowBytes = 0;                    // one row of the fast form, room for whole vectors included
    std::vector<uint8_t> work;              // two work rows (see DilateRowStart)
    std::vector<uint8_t> ring;              // (lastRow - firstRow + 1) extended source rows
    std::vector<const uint8_t*> groupRows;  // the rows of one group, as many as the largest has
};

// Pixel 0 of the first row of a fast-form block: cache-line aligned, one
// line into the row, so that a whole vector may start up to 16 pixels early.
inline constexpr size_t kDilateRowFront = 64;
inline uint8_t* DilateRowStart(uint8_t* block) {
    const uintptr_t at = reinterpret_cast<uintptr_t>(block);
    return block + (((at + 63) & ~uintptr_t{63}) - at) + kDilateRowFront;
}

// Divisor rule of the separable filters, decided once per call.
struct FilterDivisor {
    enum Kind : int32_t { kOne, kShift, kFloat } kind;
    uint32_t shift;
    float inverse;
};

// The rule for a divisor that is not 0.
inline FilterDivisor FilterDivisorRule(int32_t divisor) {
    if (divisor == 1) return {FilterDivisor::kOne, 0, 1.0f};
    if (divisor > 0 && (divisor & (divisor - 1)) == 0)
        return {FilterDivisor::kShift, static_cast<uint32_t>(__builtin_ctz(static_cast<uint32_t>(divisor))),
                1.0f};
    return {FilterDivisor::kFloat, 0, 1.0f / static_cast<float>(divisor)};
}

struct KernelTable {
    void (*set4)(const uint8_t* value, uint8_t* destination, int32_t pitch, int32_t width, int32_t height);
    void (*set1)(uint8_t value, uint8_t* destination, int32_t pitch, int32_t width, int32_t height);
    void (*copy4)(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
                  int32_t width, int32_t height);
    void (*scaleBytes4)(const uint8_t* factors, uint8_t* picture, int32_t pitch, int32_t width,
                        int32_t height);
    void (*addBytes4)(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                      int32_t destinationPitch, int32_t width, int32_t height, int32_t shift);
    void (*alphaComposite)(const uint8_t* first, int32_t firstPitch, const uint8_t* second,
                           int32_t secondPitch, uint8_t* destination, int32_t destinationPitch, int32_t width,
                           int32_t height, int32_t mode);
    void (*rgbToHsv)(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                     int32_t destinationPitch, int32_t width, int32_t height);
    void (*hsvToRgb)(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                     int32_t destinationPitch, int32_t width, int32_t height);
    void (*convolve)(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                     int32_t destinationPitch, int32_t width, int32_t height, const float* kernel,
                     int32_t kernelWidth, int32_t kernelHeight, int32_t anchorX, int32_t anchorY);
    // A false answer means the temporary rows could not be had; nothing was written.
    bool (*filterColumns)(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                          int32_t destinationPitch, int32_t width, int32_t height, const int32_t* kernel,
                          int32_t length, int32_t anchor, FilterDivisor divisor);
    bool (*filterRows)(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                       int32_t destinationPitch, int32_t width, int32_t height, const int32_t* kernel,
                       int32_t length, int32_t anchor, FilterDivisor divisor);
    void (*mean)(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
                 int32_t width, int32_t height, int32_t maskCode);
    // third = (first * a + second * b) >> 8 per byte, saturated when a + b > 255.
    void (*mixBytes4)(const uint8_t* first, int32_t firstPitch, const uint8_t* second, int32_t secondPitch,
                      uint8_t* third, int32_t thirdPitch, int32_t width, int32_t height, int32_t weightA,
                      int32_t weightB);
    // first = d(first * a) and second = min(255, that + d(second * b)) per
    // byte, both in place, in one pass; the pictures must not overlap.
    void (*blendBytes4)(uint8_t* first, int32_t firstPitch, uint8_t* second, int32_t secondPitch,
                        int32_t width, int32_t height, int32_t weightA, int32_t weightB);
    void (*scaleAlpha4)(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                        int32_t destinationPitch, int32_t width, int32_t height, int32_t factor);
    // Destination pixel (x, y) is the dilation at source position origin + (x, y);
    // source positions outside sourceSize read the nearest source pixel.
    // The glow's colour-bounded bloom: destination holds the blurred picture and
    // receives the bloomed one; see KernelBoundedBloom4.
    void (*boundedBloom4)(const uint8_t* mixed, int32_t mixedPitch, uint8_t* destination,
                          int32_t destinationPitch, int32_t width, int32_t height,
                          const BloomParameters& bloom);
    void (*dilate)(const uint8_t* source, int32_t sourcePitch, KernelSize sourceSize, uint8_t* destination,
                   int32_t destinationPitch, KernelPoint origin, KernelSize size, DilateState& state);
};

// The table of a class; a class the build has no variants for gets the
// nearest lower one. Only classes that CpuClassSupported accepts may be run.
const KernelTable& KernelTableFor(CpuClass cpuClass);

// The bodies of each class, defined in the class's own file.
namespace reference {
extern const KernelTable kTable;
}
namespace avx2 {
extern const KernelTable kTable;
}
namespace avx512 {
extern const KernelTable kTable;
}

}  // namespace halcyra

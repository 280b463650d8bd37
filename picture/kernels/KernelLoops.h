// The portable loops of the pixel routines. The reference table is made of
// them, and the SIMD files compile the same loops again under their own
// instruction-set flags for the routines they do not write by hand, so one
// source gives every class. The fast forms of the mean and of the separable
// filters (sliding sums) live here too; the tests hold them byte for byte
// against the direct forms. Internal linkage, as KernelPixel.h.
#pragma once

#include <algorithm>
#include <cstring>
#include <new>

#include "picture/kernels/KernelPixel.h"

// The 8-lane vector types are generic GCC vectors: a file without AVX splits
// them into two halves, which is correct, only slower.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace halcyra {
namespace {
namespace loops {

inline void Set4(const uint8_t* value, uint8_t* destination, int32_t pitch, int32_t width, int32_t height) {
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = RowAt(destination, pitch, y);
        for (int32_t x = 0; x < width; ++x) std::memcpy(row + 4 * x, value, 4);
    }
}

inline void Set1(uint8_t value, uint8_t* destination, int32_t pitch, int32_t width, int32_t height) {
    for (int32_t y = 0; y < height; ++y) std::memset(RowAt(destination, pitch, y), value, width);
}

inline void Copy4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
                  int32_t width, int32_t height) {
    for (int32_t y = 0; y < height; ++y)
        std::memmove(RowAt(destination, destinationPitch, y), RowAt(source, sourcePitch, y),
                     static_cast<size_t>(width) * 4);
}

inline void ScaleBytes4(const uint8_t* factors, uint8_t* picture, int32_t pitch, int32_t width,
                        int32_t height) {
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = RowAt(picture, pitch, y);
        for (int32_t x = 0; x < width * 4; ++x)
            row[x] = static_cast<uint8_t>(Div255(row[x] * factors[x & 3]));
    }
}

inline void AddBytes4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                      int32_t destinationPitch, int32_t width, int32_t height, int32_t shift) {
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        for (int32_t x = 0; x < width * 4; ++x) out[x] = AddBytePixel(in[x], out[x], shift);
    }
}

inline void AlphaComposite(const uint8_t* first, int32_t firstPitch, const uint8_t* second,
                           int32_t secondPitch, uint8_t* destination, int32_t destinationPitch, int32_t width,
                           int32_t height, int32_t mode) {
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* a = RowAt(first, firstPitch, y);
        const uint8_t* b = RowAt(second, secondPitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        for (int32_t x = 0; x < width; ++x) AlphaCompositePixel(a + 4 * x, b + 4 * x, out + 4 * x, mode);
    }
}

inline void MixBytes4(const uint8_t* first, int32_t firstPitch, const uint8_t* second, int32_t secondPitch,
                      uint8_t* third, int32_t thirdPitch, int32_t width, int32_t height, int32_t weightA,
                      int32_t weightB) {
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* a = RowAt(first, firstPitch, y);
        const uint8_t* b = RowAt(second, secondPitch, y);
        uint8_t* out = RowAt(third, thirdPitch, y);
        for (int32_t x = 0; x < width * 4; ++x) out[x] = MixBytePixel(a[x], b[x], weightA, weightB);
    }
}

inline void BlendBytes4(uint8_t* first, int32_t firstPitch, uint8_t* second, int32_t secondPitch,
                        int32_t width, int32_t height, int32_t weightA, int32_t weightB) {
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* a = RowAt(first, firstPitch, y);
        uint8_t* b = RowAt(second, secondPitch, y);
        for (int32_t x = 0; x < width * 4; ++x) b[x] = BlendBytePixel(a[x], b[x], weightA, weightB, a[x]);
    }
}

inline void ScaleAlpha4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                        int32_t destinationPitch, int32_t width, int32_t height, int32_t factor) {
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        for (int32_t x = 0; x < width; ++x) ScaleAlphaPixel(in + 4 * x, out + 4 * x, factor);
    }
}

template <void (*Pixel)(const uint8_t*, uint8_t*)>
inline void PerPixel(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                     int32_t destinationPitch, int32_t width, int32_t height) {
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        for (int32_t x = 0; x < width; ++x) Pixel(in + 4 * x, out + 4 * x);
    }
}

inline void Convolve(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                     int32_t destinationPitch, int32_t width, int32_t height, const float* kernel,
                     int32_t kernelWidth, int32_t kernelHeight, int32_t anchorX, int32_t anchorY) {
    const int32_t left = kernelWidth - anchorX - 1;
    const int32_t top = kernelHeight - anchorY - 1;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* window = RowAt(source, sourcePitch, y - top) - static_cast<intptr_t>(left) * 4;
        uint8_t* out = RowAt(destination, destinationPitch, y);
        for (int32_t x = 0; x < width; ++x)
            ConvolvePixel(window + 4 * x, sourcePitch, kernel, kernelWidth, kernelHeight, out + 4 * x);
    }
}

// The direct sum: kernel element k - 1 - j on the j-th pixel of the window.
// The arithmetic wraps in 32 bits, as the sums of the filters do.
template <bool kAlongRows>
inline bool Filter(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
                   int32_t width, int32_t height, const int32_t* kernel, int32_t length, int32_t anchor,
                   FilterDivisor divisor) {
    const intptr_t step = kAlongRows ? 4 : sourcePitch;
    const intptr_t back = static_cast<intptr_t>(length - anchor - 1) * step;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, y) - back;
        uint8_t* out = RowAt(destination, destinationPitch, y);
        for (int32_t x = 0; x < width; ++x) {
            for (int c = 0; c < 3; ++c) {
                const uint8_t* p = in + 4 * x + c;
                uint32_t sum = 0;
                for (int32_t j = 0; j < length; ++j)
                    sum += p[j * step] * static_cast<uint32_t>(kernel[length - 1 - j]);
                out[4 * x + c] = FilterFinish(sum, divisor);
            }
        }
    }
    return true;
}

inline void Mean(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
                 int32_t width, int32_t height, int32_t maskCode) {
    const int32_t radius = maskCode == 55 ? 2 : 1;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* out = RowAt(destination, destinationPitch, y);
        for (int32_t x = 0; x < width; ++x) {
            uint32_t sum = 0;
            for (int32_t j = -radius; j <= radius; ++j) {
                const uint8_t* in = RowAt(source, sourcePitch, y + j);
                for (int32_t i = -radius; i <= radius; ++i) sum += in[x + i];
            }
            out[x] = MeanFinish(sum, maskCode);
        }
    }
}

inline void Dilate(const uint8_t* source, int32_t sourcePitch, KernelSize sourceSize, uint8_t* destination,
                   int32_t destinationPitch, KernelPoint origin, KernelSize size, DilateState& state) {
    for (int32_t y = 0; y < size.height; ++y) {
        uint8_t* out = RowAt(destination, destinationPitch, y);
        for (int32_t x = 0; x < size.width; ++x) {
            uint8_t best[4] = {0, 0, 0, 0};
            for (const KernelPoint& m : state.members) {
                const int32_t row = ClampInt(origin.y + y + m.y, 0, sourceSize.height - 1);
                const int32_t column = ClampInt(origin.x + x + m.x, 0, sourceSize.width - 1);
                const uint8_t* p = RowAt(source, sourcePitch, row) + 4 * column;
                for (int c = 0; c < 4; ++c) best[c] = std::max(best[c], p[c]);
            }
            std::memcpy(out + 4 * x, best, 4);
        }
    }
}

// The bloom on whole pixel words, branch-free so that the loop vectorises
// under each class's flags; integer arithmetic makes every class the same.
inline uint32_t BloomPixel(uint32_t sp, uint32_t op, const BloomParameters& bloom) {
    const int32_t s0 = sp & 0xff, s1 = (sp >> 8) & 0xff, s2 = (sp >> 16) & 0xff;
    const int32_t bright =
        ((static_cast<int32_t>((((op & 0xff) + ((op >> 8) & 0xff) + ((op >> 16) & 0xff)) * 85) >> 8)) *
         bloom.gain) >>
        8;
    const int32_t base = ((s0 + s1 + s2) * 85) >> 8;
    const bool brightEnough = base + bloom.threshold < bright;
    const int32_t d = bright - base;
    int32_t v0 = brightEnough ? s0 + ((d * bloom.bound[0]) >> 8) : s0 + bloom.threshold;
    int32_t v1 = brightEnough ? s1 + ((d * bloom.bound[1]) >> 8) : s1 + bloom.threshold;
    int32_t v2 = brightEnough ? s2 + ((d * bloom.bound[2]) >> 8) : s2 + bloom.threshold;
    // The colour bounds the result from above, 0 from below.
    v0 = std::max(std::min(v0, bloom.bound[0]), 0);
    v1 = std::max(std::min(v1, bloom.bound[1]), 0);
    v2 = std::max(std::min(v2, bloom.bound[2]), 0);
    const int32_t alpha = std::min(255, std::max(bright, static_cast<int32_t>(sp >> 24)));
    return static_cast<uint32_t>(v0) | static_cast<uint32_t>(v1) << 8 | static_cast<uint32_t>(v2) << 16 |
           static_cast<uint32_t>(alpha) << 24;
}

inline void BoundedBloom4(const uint8_t* mixed, int32_t mixedPitch, uint8_t* destination,
                          int32_t destinationPitch, int32_t width, int32_t height,
                          const BloomParameters& bloom) {
    using Word = uint32_t __attribute__((may_alias, aligned(1)));
    const BloomParameters constants = bloom;  // a local copy the stores cannot alias
    for (int32_t y = 0; y < height; ++y) {
        const Word* __restrict s = reinterpret_cast<const Word*>(RowAt(mixed, mixedPitch, y));
        Word* __restrict o = reinterpret_cast<Word*>(RowAt(destination, destinationPitch, y));
        for (int32_t x = 0; x < width; ++x) o[x] = BloomPixel(s[x], o[x], constants);
    }
}

// The mean as column sums then a row sum of them: the same integer sum in
// another order, with loops that vectorise.
inline void MeanSeparable(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                          int32_t destinationPitch, int32_t width, int32_t height, int32_t maskCode) {
    const int32_t radius = maskCode == 55 ? 2 : 1;
    const int32_t span = width + 2 * radius;
    uint16_t* columns = new (std::nothrow) uint16_t[static_cast<size_t>(span)];
    if (columns == nullptr) {
        Mean(source, sourcePitch, destination, destinationPitch, width, height, maskCode);
        return;
    }
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* top = RowAt(source, sourcePitch, y - radius) - radius;
        for (int32_t x = 0; x < span; ++x) columns[x] = top[x];
        for (int32_t j = 1; j <= 2 * radius; ++j) {
            const uint8_t* in = RowAt(top, sourcePitch, j);
            for (int32_t x = 0; x < span; ++x) columns[x] = static_cast<uint16_t>(columns[x] + in[x]);
        }
        uint8_t* out = RowAt(destination, destinationPitch, y);
        if (radius == 2) {
            for (int32_t x = 0; x < width; ++x) {
                const uint32_t sum =
                    columns[x] + columns[x + 1] + columns[x + 2] + columns[x + 3] + columns[x + 4];
                out[x] = static_cast<uint8_t>(((sum + 13) * 10485) >> 18);
            }
        } else {
            for (int32_t x = 0; x < width; ++x) {
                const uint32_t sum = columns[x] + columns[x + 1] + columns[x + 2];
                out[x] = static_cast<uint8_t>(((sum + 4) * 7282) >> 16);
            }
        }
    }
    delete[] columns;
}

// ---- Fast forms -------------------------------------------------------------

using U32x8 = uint32_t __attribute__((vector_size(32)));
using I32x8 = int32_t __attribute__((vector_size(32)));
using F32x8 = float __attribute__((vector_size(32)));

// Rule R on eight lanes, written like the scalar RoundRuleR (truncation of
// f + 0.5, then the step back from an odd half) so that no rounding mode enters.
inline I32x8 RuleRLanes(F32x8 f) {
    const I32x8 v = __builtin_convertvector(f + 0.5f, I32x8);
    const F32x8 back = __builtin_convertvector(v, F32x8);
    const I32x8 odd = (back - f == 0.5f) & ((v & 1) != 0);
    const I32x8 r = v + odd;  // odd is -1 where the step back applies
    return f >= 255.0f ? I32x8{} + 255 : (f > 0.5f ? r : I32x8{});
}

// FilterFinish on eight wrapped sums.
inline I32x8 FilterFinishLanes(U32x8 sums, const FilterDivisor& divisor) {
    const I32x8 s = reinterpret_cast<I32x8>(sums);
    switch (divisor.kind) {
        case FilterDivisor::kOne:
            return s < 0 ? I32x8{} : (s > 255 ? I32x8{} + 255 : s);
        case FilterDivisor::kShift: {
            const int32_t n = static_cast<int32_t>(divisor.shift);
            const I32x8 q = s >> n;
            const I32x8 rest = s & ((1 << n) - 1);
            const int32_t half = 1 << (n - 1);
            const I32x8 up = (rest > half) | ((rest == half) & ((q & 1) != 0));
            const I32x8 r = q - up;
            return s <= 0 ? I32x8{} : (r > 255 ? I32x8{} + 255 : r);
        }
        default:
            return RuleRLanes(__builtin_convertvector(s, F32x8) * divisor.inverse);
    }
}

// The kernel's second difference, when it is sparse enough that the sliding
// form is cheaper than the direct sum. Every step of the sliding form is a ring
// identity modulo 2^32, so it gives the direct form's wrapped sums exactly.
struct SparseSecondDifference {
    static constexpr int32_t kMaxTerms = 16;
    int32_t count = 0;
    int32_t offset[kMaxTerms];
    uint32_t weight[kMaxTerms];
};

inline bool SecondDifference(const int32_t* kernel, int32_t length, SparseSecondDifference& out) {
    out.count = 0;
    auto at = [&](int32_t t) { return t >= 0 && t < length ? static_cast<uint32_t>(kernel[t]) : 0u; };
    for (int32_t t = 0; t <= length + 1; ++t) {
        const uint32_t d = at(t) - 2u * at(t - 1) + at(t - 2);
        if (d == 0) continue;
        if (out.count == SparseSecondDifference::kMaxTerms) return false;
        out.offset[out.count] = t;
        out.weight[out.count] = d;
        ++out.count;
    }
    return 2 * out.count + 2 < length;
}

// out[n] = sum over t of kernel[t] * s[n + anchor - t]. With s taken as 0 below
// first = anchor - length + 1 and P the running sum of s from there:
// out[n] - out[n - 1] = sum_i d2_i * P[n + anchor - t_i], and each P term grows
// by one source value per step. The first output comes from the direct sum.

// Columns: the lanes are the bytes of a row (alpha lanes ride along unused).
inline bool SlidingColumns(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                           int32_t destinationPitch, int32_t width, int32_t height, const int32_t* kernel,
                           int32_t length, int32_t anchor, FilterDivisor divisor) {
    SparseSecondDifference d2;
    if (!SecondDifference(kernel, length, d2))
        return Filter<false>(source, sourcePitch, destination, destinationPitch, width, height, kernel,
                             length, anchor, divisor);
    const int32_t lanes = width * 4;
    const int32_t paddedLanes = (lanes + 7) & ~7;
    uint32_t* block = new (std::nothrow) uint32_t[static_cast<size_t>(paddedLanes) * (d2.count + 1)];
    if (block == nullptr) return false;
    uint32_t* acc = block;
    uint32_t* running = block + paddedLanes;
    const int32_t first = anchor - length + 1;
    std::fill(block, block + static_cast<size_t>(paddedLanes) * (d2.count + 1), 0u);
    for (int32_t t = 0; t < length; ++t) {
        const uint8_t* in = RowAt(source, sourcePitch, anchor - t);
        const uint32_t w = static_cast<uint32_t>(kernel[t]);
        for (int32_t l = 0; l < lanes; ++l) acc[l] += in[l] * w;
    }
    for (int32_t i = 0; i < d2.count; ++i) {
        uint32_t* p = running + static_cast<size_t>(i) * paddedLanes;
        for (int32_t n = first; n <= anchor - d2.offset[i]; ++n) {
            const uint8_t* in = RowAt(source, sourcePitch, n);
            for (int32_t l = 0; l < lanes; ++l) p[l] += in[l];
        }
    }
    for (int32_t y = 0;; ++y) {
        uint8_t* out = RowAt(destination, destinationPitch, y);
        int32_t l = 0;
        for (; l + 8 <= lanes; l += 8) {
            U32x8 sums;
            std::memcpy(&sums, acc + l, sizeof(sums));
            const I32x8 r = FilterFinishLanes(sums, divisor);
            for (int k = 0; k < 8; ++k)
                if (((l + k) & 3) != 3) out[l + k] = static_cast<uint8_t>(r[k]);
        }
        for (; l < lanes; ++l)
            if ((l & 3) != 3) out[l] = FilterFinish(acc[l], divisor);
        if (y + 1 == height) break;
        for (int32_t i = 0; i < d2.count; ++i) {
            const int32_t n = y + 1 + anchor - d2.offset[i];
            uint32_t* p = running + static_cast<size_t>(i) * paddedLanes;
            const uint32_t w = d2.weight[i];
            if (n >= first) {
                const uint8_t* in = RowAt(source, sourcePitch, n);
                for (int32_t k = 0; k < lanes; ++k) {
                    p[k] += in[k];
                    acc[k] += w * p[k];
                }
            } else {
                for (int32_t k = 0; k < lanes; ++k) acc[k] += w * p[k];
            }
        }
    }
    delete[] block;
    return true;
}

// Rows: the recurrence runs along x, so the lanes are the four channels of a
// pixel, kept in one small vector.
inline bool SlidingRows(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                        int32_t destinationPitch, int32_t width, int32_t height, const int32_t* kernel,
                        int32_t length, int32_t anchor, FilterDivisor divisor) {
    using U32x4 = uint32_t __attribute__((vector_size(16)));
    SparseSecondDifference d2;
    if (!SecondDifference(kernel, length, d2))
        return Filter<true>(source, sourcePitch, destination, destinationPitch, width, height, kernel, length,
                            anchor, divisor);
    const int32_t first = anchor - length + 1;
    auto pixel = [](const uint8_t* p) { return U32x4{p[0], p[1], p[2], p[3]}; };
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        U32x4 acc{};
        for (int32_t t = 0; t < length; ++t)
            acc += pixel(in + 4 * (anchor - t)) * static_cast<uint32_t>(kernel[t]);
        U32x4 running[SparseSecondDifference::kMaxTerms];
        for (int32_t i = 0; i < d2.count; ++i) {
            running[i] = U32x4{};
            for (int32_t n = first; n <= anchor - d2.offset[i]; ++n) running[i] += pixel(in + 4 * n);
        }
        // Each term starts reading at the first x where its position reaches `first`.
        for (int32_t x = 0;; ++x) {
            U32x8 sums{acc[0], acc[1], acc[2], 0, 0, 0, 0, 0};
            const I32x8 r = FilterFinishLanes(sums, divisor);
            out[4 * x] = static_cast<uint8_t>(r[0]);
            out[4 * x + 1] = static_cast<uint8_t>(r[1]);
            out[4 * x + 2] = static_cast<uint8_t>(r[2]);
            if (x + 1 == width) break;
            for (int32_t i = 0; i < d2.count; ++i) {
                const int32_t n = x + 1 + anchor - d2.offset[i];
                if (n >= first) running[i] += pixel(in + 4 * n);
                acc += running[i] * d2.weight[i];
            }
        }
    }
    return true;
}

}  // namespace loops
}  // namespace
}  // namespace halcyra

// Hand-written 256-bit bodies of the hot pixel routines. Each loop runs a
// vector body and finishes the row with the same per-pixel function the
// reference uses. Included by the AVX2 and the AVX-512 files, which compile it
// under their own flags (the 512-bit class measured no gain from wider
// registers on these memory-bound loops). Internal linkage, as KernelPixel.h.
#pragma once

#include <immintrin.h>

#include "picture/kernels/KernelLoops.h"

namespace halcyra {
namespace {
namespace simd256 {

inline __m256i Load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void Store(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

// d(x) = (x + (x >> 8) + 1) >> 8 on 16-bit lanes holding x <= 255 * 255.
inline __m256i Div255Lanes(__m256i x) {
    return _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(x, _mm256_set1_epi16(1)), _mm256_srli_epi16(x, 8)),
                             8);
}

// d(a * b) per byte of two byte vectors, back to bytes.
inline __m256i MulDiv255Bytes(__m256i a, __m256i b) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i lo = Div255Lanes(_mm256_mullo_epi16(_mm256_unpacklo_epi8(a, zero), _mm256_unpacklo_epi8(b, zero)));
    const __m256i hi = Div255Lanes(_mm256_mullo_epi16(_mm256_unpackhi_epi8(a, zero), _mm256_unpackhi_epi8(b, zero)));
    return _mm256_packus_epi16(lo, hi);
}

inline void ScaleBytes4(const uint8_t* factors, uint8_t* picture, int32_t pitch, int32_t width, int32_t height) {
    uint32_t pattern;
    std::memcpy(&pattern, factors, 4);
    const __m256i f = _mm256_set1_epi32(static_cast<int32_t>(pattern));
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = RowAt(picture, pitch, y);
        int32_t x = 0;
        for (; x + 32 <= width * 4; x += 32) Store(row + x, MulDiv255Bytes(Load(row + x), f));
        for (; x < width * 4; ++x) row[x] = static_cast<uint8_t>(Div255(row[x] * factors[x & 3]));
    }
}

// (s + ((s >> 1) & 1)) >> 1 with s = a + b: the floor k of s / 2 plus one when
// s is odd and k is odd.
inline __m256i AverageHalfEvenBytes(__m256i a, __m256i b) {
    const __m256i odd = _mm256_and_si256(_mm256_xor_si256(a, b), _mm256_set1_epi8(1));
    const __m256i floor = _mm256_sub_epi8(_mm256_avg_epu8(a, b), odd);
    return _mm256_add_epi8(floor, _mm256_and_si256(odd, floor));
}

inline void AddBytes4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
                      int32_t width, int32_t height, int32_t shift) {
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        int32_t x = 0;
        if (shift == 0) {
            for (; x + 32 <= width * 4; x += 32) Store(out + x, _mm256_adds_epu8(Load(in + x), Load(out + x)));
        } else {
            for (; x + 32 <= width * 4; x += 32) Store(out + x, AverageHalfEvenBytes(Load(in + x), Load(out + x)));
        }
        for (; x < width * 4; ++x) out[x] = AddBytePixel(in[x], out[x], shift);
    }
}

inline void AlphaComposite(const uint8_t* first, int32_t firstPitch, const uint8_t* second, int32_t secondPitch,
                           uint8_t* destination, int32_t destinationPitch, int32_t width, int32_t height,
                           int32_t mode) {
    const __m256i alphaOf = _mm256_setr_epi8(3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15, 3, 3, 3, 3, 7,
                                             7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15);
    const __m256i alphaLanes = _mm256_set1_epi32(static_cast<int32_t>(0xFF000000u));
    const __m256i ones = _mm256_set1_epi8(-1);
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* a = RowAt(first, firstPitch, y);
        const uint8_t* b = RowAt(second, secondPitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        int32_t x = 0;
        for (; x + 8 <= width; x += 8) {
            const __m256i va = Load(a + 4 * x);
            const __m256i vb = Load(b + 4 * x);
            const __m256i aa = _mm256_shuffle_epi8(va, alphaOf);
            const __m256i ab = _mm256_shuffle_epi8(vb, alphaOf);
            const __m256i inverse = _mm256_xor_si256(aa, ones);  // 255 - Aa
            // Alpha: Aa + d(Ab (255 - Aa)); never above 255.
            const __m256i alpha = _mm256_add_epi8(aa, MulDiv255Bytes(ab, inverse));
            __m256i colour;
            if (mode == 0) {
                colour = _mm256_add_epi8(MulDiv255Bytes(va, aa), MulDiv255Bytes(MulDiv255Bytes(vb, ab), inverse));
            } else {
                colour = _mm256_adds_epu8(va, MulDiv255Bytes(vb, inverse));
            }
            Store(out + 4 * x, _mm256_blendv_epi8(colour, alpha, alphaLanes));
        }
        for (; x < width; ++x) AlphaCompositePixel(a + 4 * x, b + 4 * x, out + 4 * x, mode);
    }
}

// Rule R on eight float lanes, as the scalar RoundRuleR: truncation of f + 0.5,
// the step back from an odd half, 255 from 255.0 up, 0 up to 0.5 and for NaN.
inline __m256i RuleR(__m256 f) {
    const __m256i v = _mm256_cvttps_epi32(_mm256_add_ps(f, _mm256_set1_ps(0.5f)));
    const __m256 back = _mm256_sub_ps(_mm256_cvtepi32_ps(v), f);
    const __m256i half = _mm256_castps_si256(_mm256_cmp_ps(back, _mm256_set1_ps(0.5f), _CMP_EQ_OQ));
    const __m256i odd = _mm256_and_si256(v, _mm256_set1_epi32(1));
    __m256i r = _mm256_sub_epi32(v, _mm256_and_si256(half, odd));
    const __m256i above = _mm256_castps_si256(_mm256_cmp_ps(f, _mm256_set1_ps(0.5f), _CMP_GT_OQ));
    const __m256i top = _mm256_castps_si256(_mm256_cmp_ps(f, _mm256_set1_ps(255.0f), _CMP_GE_OQ));
    r = _mm256_and_si256(r, above);
    return _mm256_blendv_epi8(r, _mm256_set1_epi32(255), top);
}

// Eight 32-bit lanes holding 0..255 to eight bytes.
inline __m128i NarrowToBytes(__m256i v) {
    const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    return _mm_packus_epi16(words, words);
}

inline __m256 BytesToFloats(const uint8_t* p) {
    return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
}

// Two pixels a vector, four vectors at a time so that the serial float sums of
// different pixels overlap; every lane adds its products in the reference order.
inline void Convolve(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
                     int32_t width, int32_t height, const float* kernel, int32_t kernelWidth, int32_t kernelHeight,
                     int32_t anchorX, int32_t anchorY) {
    const int32_t left = kernelWidth - anchorX - 1;
    const int32_t top = kernelHeight - anchorY - 1;
    const int32_t taps = kernelWidth * kernelHeight;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* window = RowAt(source, sourcePitch, y - top) - static_cast<intptr_t>(left) * 4;
        uint8_t* out = RowAt(destination, destinationPitch, y);
        int32_t x = 0;
        for (; x + 8 <= width; x += 8) {
            __m256 s0 = _mm256_setzero_ps(), s1 = s0, s2 = s0, s3 = s0;
            int32_t k = taps - 1;
            for (int32_t j = 0; j < kernelHeight; ++j) {
                const uint8_t* row = RowAt(window, sourcePitch, j) + 4 * x;
                for (int32_t i = 0; i < kernelWidth; ++i, --k) {
                    const __m256 w = _mm256_set1_ps(kernel[k]);
                    const uint8_t* p = row + 4 * i;
                    s0 = _mm256_add_ps(s0, _mm256_mul_ps(BytesToFloats(p), w));
                    s1 = _mm256_add_ps(s1, _mm256_mul_ps(BytesToFloats(p + 8), w));
                    s2 = _mm256_add_ps(s2, _mm256_mul_ps(BytesToFloats(p + 16), w));
                    s3 = _mm256_add_ps(s3, _mm256_mul_ps(BytesToFloats(p + 24), w));
                }
            }
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 4 * x), NarrowToBytes(RuleR(s0)));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 4 * x + 8), NarrowToBytes(RuleR(s1)));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 4 * x + 16), NarrowToBytes(RuleR(s2)));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 4 * x + 24), NarrowToBytes(RuleR(s3)));
        }
        for (; x < width; ++x)
            ConvolvePixel(window + 4 * x, sourcePitch, kernel, kernelWidth, kernelHeight, out + 4 * x);
    }
}

// FilterFinish on eight wrapped sums, for one divisor kind.
template <FilterDivisor::Kind kKind>
inline __m256i FinishLanes(__m256i s, const FilterDivisor& divisor) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i top = _mm256_set1_epi32(255);
    if constexpr (kKind == FilterDivisor::kOne) {
        return _mm256_min_epi32(_mm256_max_epi32(s, zero), top);
    } else if constexpr (kKind == FilterDivisor::kShift) {
        const __m128i n = _mm_cvtsi32_si128(static_cast<int32_t>(divisor.shift));
        const __m256i half = _mm256_set1_epi32(1 << (divisor.shift - 1));
        const __m256i q = _mm256_srl_epi32(s, n);
        const __m256i rest = _mm256_and_si256(s, _mm256_set1_epi32((1 << divisor.shift) - 1));
        const __m256i tie = _mm256_and_si256(_mm256_cmpeq_epi32(rest, half),
                                             _mm256_cmpeq_epi32(_mm256_and_si256(q, _mm256_set1_epi32(1)),
                                                                _mm256_set1_epi32(1)));
        const __m256i up = _mm256_or_si256(_mm256_cmpgt_epi32(rest, half), tie);
        const __m256i r = _mm256_min_epu32(_mm256_sub_epi32(q, up), top);
        return _mm256_andnot_si256(_mm256_cmpgt_epi32(_mm256_set1_epi32(1), s), r);  // s <= 0 gives 0
    } else {
        return RuleR(_mm256_mul_ps(_mm256_cvtepi32_ps(s), _mm256_set1_ps(divisor.inverse)));
    }
}

// Eight result bytes into a row, keeping the alpha bytes (3 and 7) as they were.
inline void StoreColourBytes(uint8_t* out, __m128i bytes) {
    const __m128i keep = _mm_setr_epi8(0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m128i old = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(out));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_blendv_epi8(bytes, old, keep));
}

// The sliding column filter in one pass per row: finish row y from the sums,
// then move every running sum and the sums on to row y + 1.
template <FilterDivisor::Kind kKind>
inline bool SlidingColumnsKind(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                               int32_t destinationPitch, int32_t width, int32_t height, const int32_t* kernel,
                               int32_t length, int32_t anchor, FilterDivisor divisor,
                               const loops::SparseSecondDifference& d2) {
    const int32_t lanes = width * 4;
    const int32_t paddedLanes = (lanes + 7) & ~7;
    const size_t total = static_cast<size_t>(paddedLanes) * (d2.count + 1);
    uint32_t* block = new (std::nothrow) uint32_t[total];
    if (block == nullptr) return false;
    std::fill(block, block + total, 0u);
    uint32_t* acc = block;
    uint32_t* running = block + paddedLanes;
    const int32_t first = anchor - length + 1;
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
    const uint8_t* rows[loops::SparseSecondDifference::kMaxTerms];
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* out = RowAt(destination, destinationPitch, y);
        const bool last = y + 1 == height;
        for (int32_t i = 0; i < d2.count && !last; ++i) {
            const int32_t n = y + 1 + anchor - d2.offset[i];
            rows[i] = n >= first ? RowAt(source, sourcePitch, n) : nullptr;
        }
        int32_t l = 0;
        for (; l + 8 <= lanes; l += 8) {
            __m256i sums = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(acc + l));
            StoreColourBytes(out + l, NarrowToBytes(FinishLanes<kKind>(sums, divisor)));
            if (last) continue;
            for (int32_t i = 0; i < d2.count; ++i) {
                __m256i* p = reinterpret_cast<__m256i*>(running + static_cast<size_t>(i) * paddedLanes + l);
                __m256i value = _mm256_loadu_si256(p);
                if (rows[i] != nullptr) {
                    value = _mm256_add_epi32(
                        value, _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(rows[i] + l))));
                    _mm256_storeu_si256(p, value);
                }
                sums = _mm256_add_epi32(sums, _mm256_mullo_epi32(value, _mm256_set1_epi32(static_cast<int32_t>(d2.weight[i]))));
            }
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(acc + l), sums);
        }
        for (; l < lanes; ++l) {
            if ((l & 3) != 3) out[l] = FilterFinish(acc[l], divisor);
            if (last) continue;
            for (int32_t i = 0; i < d2.count; ++i) {
                uint32_t& p = running[static_cast<size_t>(i) * paddedLanes + l];
                if (rows[i] != nullptr) p += rows[i][l];
                acc[l] += d2.weight[i] * p;
            }
        }
    }
    delete[] block;
    return true;
}

inline bool FilterColumns(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                          int32_t destinationPitch, int32_t width, int32_t height, const int32_t* kernel,
                          int32_t length, int32_t anchor, FilterDivisor divisor) {
    loops::SparseSecondDifference d2;
    if (!loops::SecondDifference(kernel, length, d2))
        return loops::Filter<false>(source, sourcePitch, destination, destinationPitch, width, height, kernel,
                                    length, anchor, divisor);
    switch (divisor.kind) {
        case FilterDivisor::kOne:
            return SlidingColumnsKind<FilterDivisor::kOne>(source, sourcePitch, destination, destinationPitch,
                                                           width, height, kernel, length, anchor, divisor, d2);
        case FilterDivisor::kShift:
            return SlidingColumnsKind<FilterDivisor::kShift>(source, sourcePitch, destination, destinationPitch,
                                                             width, height, kernel, length, anchor, divisor, d2);
        default:
            return SlidingColumnsKind<FilterDivisor::kFloat>(source, sourcePitch, destination, destinationPitch,
                                                             width, height, kernel, length, anchor, divisor, d2);
    }
}

}  // namespace simd256
}  // namespace
}  // namespace halcyra

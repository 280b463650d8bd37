// Hand-written 256-bit bodies of the hot pixel routines. Each loop runs a
// vector body and finishes the row with the same per-pixel function the
// reference uses. Included by the AVX2 and the AVX-512 files, which compile it
// under their own flags; the AVX-512 file replaces a body only where a wider
// one measured faster. Internal linkage, as KernelPixel.h.
#pragma once

#include <immintrin.h>

#include "picture/kernels/KernelLoops.h"

namespace halcyra {
namespace {
namespace simd256 {

inline __m256i Load(const uint8_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
inline void Store(uint8_t* p, __m256i v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

// d(x) = (x + (x >> 8) + 1) >> 8 on 16-bit lanes holding x <= 255 * 255.
inline __m256i Div255Lanes(__m256i x) {
    return _mm256_srli_epi16(
        _mm256_add_epi16(_mm256_add_epi16(x, _mm256_set1_epi16(1)), _mm256_srli_epi16(x, 8)), 8);
}

// d(a * b) per byte of two byte vectors, back to bytes.
inline __m256i MulDiv255Bytes(__m256i a, __m256i b) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i lo =
        Div255Lanes(_mm256_mullo_epi16(_mm256_unpacklo_epi8(a, zero), _mm256_unpacklo_epi8(b, zero)));
    const __m256i hi =
        Div255Lanes(_mm256_mullo_epi16(_mm256_unpackhi_epi8(a, zero), _mm256_unpackhi_epi8(b, zero)));
    return _mm256_packus_epi16(lo, hi);
}

inline void ScaleBytes4(const uint8_t* factors, uint8_t* picture, int32_t pitch, int32_t width,
                        int32_t height) {
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

inline void AddBytes4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                      int32_t destinationPitch, int32_t width, int32_t height, int32_t shift) {
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        int32_t x = 0;
        if (shift == 0) {
            for (; x + 32 <= width * 4; x += 32)
                Store(out + x, _mm256_adds_epu8(Load(in + x), Load(out + x)));
        } else {
            for (; x + 32 <= width * 4; x += 32)
                Store(out + x, AverageHalfEvenBytes(Load(in + x), Load(out + x)));
        }
        for (; x < width * 4; ++x) out[x] = AddBytePixel(in[x], out[x], shift);
    }
}

inline void AlphaComposite(const uint8_t* first, int32_t firstPitch, const uint8_t* second,
                           int32_t secondPitch, uint8_t* destination, int32_t destinationPitch, int32_t width,
                           int32_t height, int32_t mode) {
    const __m256i alphaOf = _mm256_setr_epi8(3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15, 3, 3, 3,
                                             3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15);
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
                colour =
                    _mm256_add_epi8(MulDiv255Bytes(va, aa), MulDiv255Bytes(MulDiv255Bytes(vb, ab), inverse));
            } else {
                colour = _mm256_adds_epu8(va, MulDiv255Bytes(vb, inverse));
            }
            Store(out + 4 * x, _mm256_blendv_epi8(colour, alpha, alphaLanes));
        }
        for (; x < width; ++x) AlphaCompositePixel(a + 4 * x, b + 4 * x, out + 4 * x, mode);
    }
}

// (a * wa + b * wb) >> 8 per byte through 32-bit multiply-adds of (a, b)
// pairs; the saturating packs give min(255, ...), which is also exact below
// 256 total weight, where the sum never reaches 256 * 255.
inline void MixBytes4(const uint8_t* first, int32_t firstPitch, const uint8_t* second, int32_t secondPitch,
                      uint8_t* third, int32_t thirdPitch, int32_t width, int32_t height, int32_t weightA,
                      int32_t weightB) {
    const __m256i weights = _mm256_set1_epi32(
        static_cast<int32_t>((static_cast<uint32_t>(weightB) << 16) | static_cast<uint32_t>(weightA)));
    const __m256i zero = _mm256_setzero_si256();
    auto half = [&](__m256i a, __m256i b) {
        const __m256i lo = _mm256_srli_epi32(_mm256_madd_epi16(_mm256_unpacklo_epi16(a, b), weights), 8);
        const __m256i hi = _mm256_srli_epi32(_mm256_madd_epi16(_mm256_unpackhi_epi16(a, b), weights), 8);
        return _mm256_packus_epi32(lo, hi);
    };
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* a = RowAt(first, firstPitch, y);
        const uint8_t* b = RowAt(second, secondPitch, y);
        uint8_t* out = RowAt(third, thirdPitch, y);
        int32_t x = 0;
        for (; x + 32 <= width * 4; x += 32) {
            const __m256i va = Load(a + x), vb = Load(b + x);
            const __m256i lo = half(_mm256_unpacklo_epi8(va, zero), _mm256_unpacklo_epi8(vb, zero));
            const __m256i hi = half(_mm256_unpackhi_epi8(va, zero), _mm256_unpackhi_epi8(vb, zero));
            Store(out + x, _mm256_packus_epi16(lo, hi));
        }
        for (; x < width * 4; ++x) out[x] = MixBytePixel(a[x], b[x], weightA, weightB);
    }
}

// The three passes of an unequal blend in one: each first byte is scaled and
// stored back, then added to the scaled second byte, so each picture is read
// and written once instead of the first twice and the second three times.
inline void BlendBytes4(uint8_t* first, int32_t firstPitch, uint8_t* second, int32_t secondPitch,
                        int32_t width, int32_t height, int32_t weightA, int32_t weightB) {
    const __m256i fa = _mm256_set1_epi8(static_cast<char>(weightA));
    const __m256i fb = _mm256_set1_epi8(static_cast<char>(weightB));
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* a = RowAt(first, firstPitch, y);
        uint8_t* b = RowAt(second, secondPitch, y);
        int32_t x = 0;
        for (; x + 32 <= width * 4; x += 32) {
            const __m256i scaled = MulDiv255Bytes(Load(a + x), fa);
            Store(a + x, scaled);
            Store(b + x, _mm256_adds_epu8(scaled, MulDiv255Bytes(Load(b + x), fb)));
        }
        for (; x < width * 4; ++x) b[x] = BlendBytePixel(a[x], b[x], weightA, weightB, a[x]);
    }
}

// Factors 0..256 keep every product of ScaleAlphaPixel within 16 bits and the
// new alpha within 0..255, so the common case runs on 16-bit lanes.
inline bool ScaleAlphaFitsWords(int32_t factor) {
    return factor >= 0 && factor <= 256;
}

// The rest of a row of ScaleAlpha4 from pixel x on. Other factors take the
// 32-bit lanes: wrapped products, arithmetic shifts and signed minimum, as the
// pixel function, and the low byte of each lane.
inline void ScaleAlpha4Row(const uint8_t* in, uint8_t* out, int32_t x, int32_t width, int32_t factor) {
    if (ScaleAlphaFitsWords(factor)) {
        const __m256i f = _mm256_set1_epi16(static_cast<int16_t>(factor));
        const __m256i top = _mm256_set1_epi16(255);
        const __m256i zero = _mm256_setzero_si256();
        // Words of two pixels per 128-bit lane; the alpha word goes to all four.
        auto half = [&](__m256i v) {
            const __m256i alpha = _mm256_min_epu16(_mm256_srli_epi16(_mm256_mullo_epi16(v, f), 8), top);
            const __m256i spread = _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(alpha, 0xFF), 0xFF);
            const __m256i colour = _mm256_srli_epi16(_mm256_mullo_epi16(v, spread), 8);
            return _mm256_blend_epi16(colour, spread, 0x88);
        };
        for (; x + 8 <= width; x += 8) {
            const __m256i v = Load(in + 4 * x);
            Store(out + 4 * x, _mm256_packus_epi16(half(_mm256_unpacklo_epi8(v, zero)),
                                                   half(_mm256_unpackhi_epi8(v, zero))));
        }
    } else {
        const __m256i f = _mm256_set1_epi32(factor);
        const __m256i top = _mm256_set1_epi32(255);
        const __m256i lowByte = _mm256_set1_epi32(0xFF);
        const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
        // Two pixels, one per 128-bit lane, as 32-bit lanes.
        auto pair = [&](const uint8_t* p) {
            const __m256i v = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
            const __m256i alpha = _mm256_min_epi32(_mm256_srai_epi32(_mm256_mullo_epi32(v, f), 8), top);
            const __m256i spread = _mm256_shuffle_epi32(alpha, 0xFF);
            const __m256i colour = _mm256_srai_epi32(_mm256_mullo_epi32(v, spread), 8);
            return _mm256_and_si256(_mm256_blend_epi32(colour, spread, 0x88), lowByte);
        };
        for (; x + 8 <= width; x += 8) {
            const uint8_t* p = in + 4 * x;
            const __m256i p01 = pair(p), p23 = pair(p + 8), p45 = pair(p + 16), p67 = pair(p + 24);
            // The packs leave pixels 0 2 4 6 in the low lane and 1 3 5 7 in the high one.
            const __m256i bytes =
                _mm256_packus_epi16(_mm256_packus_epi32(p01, p23), _mm256_packus_epi32(p45, p67));
            Store(out + 4 * x, _mm256_permutevar8x32_epi32(bytes, order));
        }
    }
    for (; x < width; ++x) ScaleAlphaPixel(in + 4 * x, out + 4 * x, factor);
}

// Every vector reads its pixels before it stores them, so in place is safe.
inline void ScaleAlpha4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                        int32_t destinationPitch, int32_t width, int32_t height, int32_t factor) {
    for (int32_t y = 0; y < height; ++y)
        ScaleAlpha4Row(RowAt(source, sourcePitch, y), RowAt(destination, destinationPitch, y), 0, width,
                       factor);
}

// Rule R on eight float lanes. Between 0.5 and 255 rule R is rounding to the
// nearest with halves to even, which the explicit rounding instruction does
// whatever the rounding mode; above and below (and NaN) the masks decide.
inline __m256i RuleR(__m256 f) {
    const __m256i v = _mm256_cvttps_epi32(_mm256_round_ps(f, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
    const __m256i above = _mm256_castps_si256(_mm256_cmp_ps(f, _mm256_set1_ps(0.5f), _CMP_GT_OQ));
    const __m256i top = _mm256_castps_si256(_mm256_cmp_ps(f, _mm256_set1_ps(255.0f), _CMP_GE_OQ));
    return _mm256_blendv_epi8(_mm256_and_si256(v, above), _mm256_set1_epi32(255), top);
}

// Eight 32-bit lanes holding 0..255 to eight bytes.
inline __m128i NarrowToBytes(__m256i v) {
    const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    return _mm_packus_epi16(words, words);
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
        const __m256i tie = _mm256_and_si256(
            _mm256_cmpeq_epi32(rest, half),
            _mm256_cmpeq_epi32(_mm256_and_si256(q, _mm256_set1_epi32(1)), _mm256_set1_epi32(1)));
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

// The sliding column filter in one pass per row, in the difference form of the
// row filter below: per lane, D grows by e(y) = sum_i d2_i * s[y + anchor - t_i]
// and the sum grows by D. Finish row y, then step both to row y + 1. Weights
// that do not fit 16 bits take the multiply of full lanes.
template <FilterDivisor::Kind kKind, bool kNarrow>
inline bool SlidingColumnsKind(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                               int32_t destinationPitch, int32_t width, int32_t height, const int32_t* kernel,
                               int32_t length, int32_t anchor, FilterDivisor divisor,
                               const loops::SparseSecondDifference& d2) {
    const int32_t lanes = width * 4;
    const int32_t paddedLanes = (lanes + 7) & ~7;
    const size_t total = static_cast<size_t>(paddedLanes) * 3;
    uint32_t* block = new (std::nothrow) uint32_t[total];
    if (block == nullptr) return false;
    std::fill(block, block + total, 0u);
    uint32_t* acc = block;
    uint32_t* difference = block + paddedLanes;
    uint32_t* running = block + 2 * static_cast<size_t>(paddedLanes);
    const int32_t first = anchor - length + 1;
    for (int32_t t = 0; t < length; ++t) {
        const uint8_t* in = RowAt(source, sourcePitch, anchor - t);
        const uint32_t w = static_cast<uint32_t>(kernel[t]);
        for (int32_t l = 0; l < lanes; ++l) acc[l] += in[l] * w;
    }
    for (int32_t i = 0; i < d2.count; ++i) {
        std::fill(running, running + lanes, 0u);
        for (int32_t n = first; n <= anchor - d2.offset[i]; ++n) {
            const uint8_t* in = RowAt(source, sourcePitch, n);
            for (int32_t l = 0; l < lanes; ++l) running[l] += in[l];
        }
        for (int32_t l = 0; l < lanes; ++l) difference[l] += d2.weight[i] * running[l];
    }
    __m256i weight[loops::SparseSecondDifference::kMaxTerms];
    for (int32_t i = 0; i < d2.count; ++i)
        weight[i] = _mm256_set1_epi32(static_cast<int32_t>(kNarrow ? (d2.weight[i] & 0xFFFF) : d2.weight[i]));
    const uint8_t* rows[loops::SparseSecondDifference::kMaxTerms];
    int32_t active = 0;
    uint32_t activeWeight[loops::SparseSecondDifference::kMaxTerms];
    __m256i activeLanes[loops::SparseSecondDifference::kMaxTerms];
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* out = RowAt(destination, destinationPitch, y);
        const bool last = y + 1 == height;
        active = 0;
        for (int32_t i = 0; i < d2.count && !last; ++i) {
            const int32_t n = y + 1 + anchor - d2.offset[i];
            if (n < first) continue;
            rows[active] = RowAt(source, sourcePitch, n);
            activeWeight[active] = d2.weight[i];
            activeLanes[active] = weight[i];
            ++active;
        }
        int32_t l = 0;
        for (; l + 8 <= lanes; l += 8) {
            __m256i sums = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(acc + l));
            StoreColourBytes(out + l, NarrowToBytes(FinishLanes<kKind>(sums, divisor)));
            if (last) continue;
            __m256i d = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(difference + l));
            for (int32_t i = 0; i < active; ++i) {
                const __m256i pixels =
                    _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(rows[i] + l)));
                d = _mm256_add_epi32(d, kNarrow ? _mm256_madd_epi16(pixels, activeLanes[i])
                                                : _mm256_mullo_epi32(pixels, activeLanes[i]));
            }
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(difference + l), d);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(acc + l), _mm256_add_epi32(sums, d));
        }
        for (; l < lanes; ++l) {
            if ((l & 3) != 3) out[l] = FilterFinish(acc[l], divisor);
            if (last) continue;
            for (int32_t i = 0; i < active; ++i) difference[l] += activeWeight[i] * rows[i][l];
            acc[l] += difference[l];
        }
    }
    delete[] block;
    return true;
}

template <FilterDivisor::Kind kKind>
inline bool SlidingColumnsWeights(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                                  int32_t destinationPitch, int32_t width, int32_t height,
                                  const int32_t* kernel, int32_t length, int32_t anchor,
                                  FilterDivisor divisor, const loops::SparseSecondDifference& d2) {
    bool narrow = true;
    for (int32_t i = 0; i < d2.count; ++i)
        narrow = narrow && static_cast<int32_t>(d2.weight[i]) >= -32768 &&
                 static_cast<int32_t>(d2.weight[i]) <= 32767;
    return narrow ? SlidingColumnsKind<kKind, true>(source, sourcePitch, destination, destinationPitch, width,
                                                    height, kernel, length, anchor, divisor, d2)
                  : SlidingColumnsKind<kKind, false>(source, sourcePitch, destination, destinationPitch,
                                                     width, height, kernel, length, anchor, divisor, d2);
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
            return SlidingColumnsWeights<FilterDivisor::kOne>(source, sourcePitch, destination,
                                                              destinationPitch, width, height, kernel, length,
                                                              anchor, divisor, d2);
        case FilterDivisor::kShift:
            return SlidingColumnsWeights<FilterDivisor::kShift>(source, sourcePitch, destination,
                                                                destinationPitch, width, height, kernel,
                                                                length, anchor, divisor, d2);
        default:
            return SlidingColumnsWeights<FilterDivisor::kFloat>(source, sourcePitch, destination,
                                                                destinationPitch, width, height, kernel,
                                                                length, anchor, divisor, d2);
    }
}

inline __m128i PixelLanes(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, 4);
    return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(v));
}

// The sliding row filter. With e(x) = sum_i d2_i * s[x + anchor - t_i], the
// differences D(x) = out(x) - out(x - 1) grow by e(x) and out grows by D(x):
// two one-cycle chains per pixel, with the four channels of a pixel in one
// vector. The weights must fit 16 bits for the multiply-add (the triangles
// and boxes the effects use have weights of 1 and 2); results are finished two
// pixels at a time.
template <FilterDivisor::Kind kKind, int32_t kTerms>
inline void SlidingRowsKind(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                            int32_t destinationPitch, int32_t width, int32_t height, const int32_t* kernel,
                            int32_t length, int32_t anchor, FilterDivisor divisor,
                            const loops::SparseSecondDifference& d2) {
    const int32_t first = anchor - length + 1;
    __m128i weight[kTerms];
    for (int32_t i = 0; i < kTerms; ++i)
        weight[i] = _mm_set1_epi32(static_cast<int32_t>(d2.weight[i] & 0xFFFF));
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        __m128i acc = _mm_setzero_si128();
        for (int32_t t = 0; t < length; ++t)
            acc = _mm_add_epi32(
                acc, _mm_mullo_epi32(PixelLanes(in + 4 * (anchor - t)), _mm_set1_epi32(kernel[t])));
        // D(0) = sum_i d2_i * P[anchor - t_i], P the running sum of s from `first`.
        __m128i difference = _mm_setzero_si128();
        intptr_t offset[kTerms];  // from pixel x to the pixel that term i adds when stepping to x + 1
        for (int32_t i = 0; i < kTerms; ++i) {
            __m128i running = _mm_setzero_si128();
            for (int32_t n = first; n <= anchor - d2.offset[i]; ++n)
                running = _mm_add_epi32(running, PixelLanes(in + 4 * n));
            difference = _mm_add_epi32(
                difference, _mm_mullo_epi32(running, _mm_set1_epi32(static_cast<int32_t>(d2.weight[i]))));
            offset[i] = 4 * (1 + anchor - d2.offset[i]);
        }
        auto advance = [&](int32_t x) {
            const uint8_t* at = in + 4 * x;
            __m128i e = _mm_madd_epi16(PixelLanes(at + offset[0]), weight[0]);
            for (int32_t i = 1; i < kTerms; ++i)
                e = _mm_add_epi32(e, _mm_madd_epi16(PixelLanes(at + offset[i]), weight[i]));
            difference = _mm_add_epi32(difference, e);
            acc = _mm_add_epi32(acc, difference);
        };
        int32_t x = 0;
        if (width > 1) {
            // Only the first step can reach before `first` (a term with t = length + 1).
            const __m128i a0 = acc;
            __m128i e = _mm_setzero_si128();
            for (int32_t i = 0; i < kTerms; ++i) {
                if (1 + anchor - d2.offset[i] >= first)
                    e = _mm_add_epi32(e, _mm_madd_epi16(PixelLanes(in + offset[i]), weight[i]));
            }
            difference = _mm_add_epi32(difference, e);
            acc = _mm_add_epi32(acc, difference);
            const __m128i a1 = acc;
            if (width > 2) advance(1);
            const __m256i sums = _mm256_inserti128_si256(_mm256_castsi128_si256(a0), a1, 1);
            StoreColourBytes(out, NarrowToBytes(FinishLanes<kKind>(sums, divisor)));
            x = 2;
        }
        for (; x + 2 <= width; x += 2) {
            const __m128i a0 = acc;
            advance(x);
            const __m128i a1 = acc;
            if (x + 2 < width) advance(x + 1);
            const __m256i sums = _mm256_inserti128_si256(_mm256_castsi128_si256(a0), a1, 1);
            StoreColourBytes(out + 4 * x, NarrowToBytes(FinishLanes<kKind>(sums, divisor)));
        }
        if (x < width) {
            uint32_t lanes[4];
            _mm_storeu_si128(reinterpret_cast<__m128i*>(lanes), acc);
            for (int c = 0; c < 3; ++c) out[4 * x + c] = FilterFinish(lanes[c], divisor);
        }
    }
}

// Two rows at once: row y in the low half of each vector and row y + 1 in the
// high half, so that one multiply-add serves both and the finish of two
// pixels of two rows packs into one store per row. An odd last row goes
// through the one-row form.
template <FilterDivisor::Kind kKind, int32_t kTerms>
inline void SlidingRowPairs(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                            int32_t destinationPitch, int32_t width, int32_t height, const int32_t* kernel,
                            int32_t length, int32_t anchor, FilterDivisor divisor,
                            const loops::SparseSecondDifference& d2) {
    const int32_t first = anchor - length + 1;
    __m256i weight[kTerms];
    intptr_t offset[kTerms];  // from pixel x to the pixel that term i adds when stepping to x + 1
    bool late[kTerms];        // the term reaches before `first` on the first step
    for (int32_t i = 0; i < kTerms; ++i) {
        weight[i] = _mm256_set1_epi32(static_cast<int32_t>(d2.weight[i] & 0xFFFF));
        offset[i] = 4 * (1 + anchor - d2.offset[i]);
        late[i] = 1 + anchor - d2.offset[i] < first;
    }
    // The sum and the difference at x = 0 of one row.
    auto start = [&](const uint8_t* in, __m128i& acc, __m128i& difference) {
        acc = _mm_setzero_si128();
        for (int32_t t = 0; t < length; ++t)
            acc = _mm_add_epi32(
                acc, _mm_mullo_epi32(PixelLanes(in + 4 * (anchor - t)), _mm_set1_epi32(kernel[t])));
        difference = _mm_setzero_si128();
        for (int32_t i = 0; i < kTerms; ++i) {
            __m128i running = _mm_setzero_si128();
            for (int32_t n = first; n <= anchor - d2.offset[i]; ++n)
                running = _mm_add_epi32(running, PixelLanes(in + 4 * n));
            difference = _mm_add_epi32(
                difference, _mm_mullo_epi32(running, _mm_set1_epi32(static_cast<int32_t>(d2.weight[i]))));
        }
    };
    int32_t y = 0;
    for (; y + 2 <= height; y += 2) {
        const uint8_t* in0 = RowAt(source, sourcePitch, y);
        const uint8_t* in1 = RowAt(source, sourcePitch, y + 1);
        uint8_t* out0 = RowAt(destination, destinationPitch, y);
        uint8_t* out1 = RowAt(destination, destinationPitch, y + 1);
        __m128i acc0, acc1, difference0, difference1;
        start(in0, acc0, difference0);
        start(in1, acc1, difference1);
        __m256i acc = _mm256_inserti128_si256(_mm256_castsi128_si256(acc0), acc1, 1);
        __m256i difference = _mm256_inserti128_si256(_mm256_castsi128_si256(difference0), difference1, 1);
        auto pixels = [&](intptr_t at) {
            int32_t a, b;
            std::memcpy(&a, in0 + at, 4);
            std::memcpy(&b, in1 + at, 4);
            return _mm256_cvtepu8_epi32(_mm_insert_epi32(_mm_cvtsi32_si128(a), b, 1));
        };
        auto advance = [&](int32_t x) {
            const intptr_t at = 4 * static_cast<intptr_t>(x);
            __m256i e = _mm256_setzero_si256();
            for (int32_t i = 0; i < kTerms; ++i) {
                if (x == 0 && late[i]) continue;
                e = _mm256_add_epi32(e, _mm256_madd_epi16(pixels(at + offset[i]), weight[i]));
            }
            difference = _mm256_add_epi32(difference, e);
            acc = _mm256_add_epi32(acc, difference);
        };
        int32_t x = 0;
        for (; x + 2 <= width; x += 2) {
            const __m256i a0 = acc;
            advance(x);
            const __m256i a1 = acc;
            if (x + 2 < width) advance(x + 1);
            const __m256i words =
                _mm256_packus_epi32(FinishLanes<kKind>(a0, divisor), FinishLanes<kKind>(a1, divisor));
            const __m256i bytes = _mm256_packus_epi16(words, words);
            StoreColourBytes(out0 + 4 * x, _mm256_castsi256_si128(bytes));
            StoreColourBytes(out1 + 4 * x, _mm256_extracti128_si256(bytes, 1));
        }
        if (x < width) {
            uint32_t lanes[8];
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(lanes), acc);
            for (int c = 0; c < 3; ++c) {
                out0[4 * x + c] = FilterFinish(lanes[c], divisor);
                out1[4 * x + c] = FilterFinish(lanes[4 + c], divisor);
            }
        }
    }
    if (y < height)
        SlidingRowsKind<kKind, kTerms>(RowAt(source, sourcePitch, y), sourcePitch,
                                       RowAt(destination, destinationPitch, y), destinationPitch, width, 1,
                                       kernel, length, anchor, divisor, d2);
}

// Chooses the instantiation for the number of terms, up to kMost.
template <FilterDivisor::Kind kKind, int32_t kTerms = 1, int32_t kMost = 6>
inline bool SlidingRowsTerms(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                             int32_t destinationPitch, int32_t width, int32_t height, const int32_t* kernel,
                             int32_t length, int32_t anchor, FilterDivisor divisor,
                             const loops::SparseSecondDifference& d2) {
    if (d2.count == kTerms) {
        SlidingRowPairs<kKind, kTerms>(source, sourcePitch, destination, destinationPitch, width, height,
                                       kernel, length, anchor, divisor, d2);
        return true;
    }
    if constexpr (kTerms < kMost) {
        return SlidingRowsTerms<kKind, kTerms + 1, kMost>(source, sourcePitch, destination, destinationPitch,
                                                          width, height, kernel, length, anchor, divisor, d2);
    } else {
        return loops::SlidingRows(source, sourcePitch, destination, destinationPitch, width, height, kernel,
                                  length, anchor, divisor);
    }
}

inline bool FilterRows(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                       int32_t destinationPitch, int32_t width, int32_t height, const int32_t* kernel,
                       int32_t length, int32_t anchor, FilterDivisor divisor) {
    loops::SparseSecondDifference d2;
    bool narrow = loops::SecondDifference(kernel, length, d2);
    for (int32_t i = 0; i < d2.count && narrow; ++i)
        narrow = static_cast<int32_t>(d2.weight[i]) >= -32768 && static_cast<int32_t>(d2.weight[i]) <= 32767;
    if (!narrow && d2.count > 0 && 2 * d2.count + 2 < length)
        return loops::SlidingRows(source, sourcePitch, destination, destinationPitch, width, height, kernel,
                                  length, anchor, divisor);
    if (!narrow)
        return loops::Filter<true>(source, sourcePitch, destination, destinationPitch, width, height, kernel,
                                   length, anchor, divisor);
    switch (divisor.kind) {
        case FilterDivisor::kOne:
            return SlidingRowsTerms<FilterDivisor::kOne>(source, sourcePitch, destination, destinationPitch,
                                                         width, height, kernel, length, anchor, divisor, d2);
        case FilterDivisor::kShift:
            return SlidingRowsTerms<FilterDivisor::kShift>(source, sourcePitch, destination, destinationPitch,
                                                           width, height, kernel, length, anchor, divisor,
                                                           d2);
        default:
            return SlidingRowsTerms<FilterDivisor::kFloat>(source, sourcePitch, destination, destinationPitch,
                                                           width, height, kernel, length, anchor, divisor,
                                                           d2);
    }
}

// The HSV pair on eight pixels: every branch of the scalar formula computed in
// all lanes with the same float operations in the same order, then chosen by
// masks. Lanes that a branch does not own may divide by zero; their results
// are never selected.
inline __m256i RgbToHsv8(__m256i pixels) {
    const __m256i byteMask = _mm256_set1_epi32(0xFF);
    const __m256i r = _mm256_and_si256(pixels, byteMask);
    const __m256i g = _mm256_and_si256(_mm256_srli_epi32(pixels, 8), byteMask);
    const __m256i b = _mm256_and_si256(_mm256_srli_epi32(pixels, 16), byteMask);
    const __m256i v = _mm256_max_epi32(_mm256_max_epi32(r, g), b);
    const __m256i c = _mm256_sub_epi32(v, _mm256_min_epi32(_mm256_min_epi32(r, g), b));
    const __m256 fc = _mm256_cvtepi32_ps(c);
    const __m256 fv = _mm256_cvtepi32_ps(v);
    const __m256 half = _mm256_set1_ps(0.5f);
    const __m256i saturation = _mm256_cvttps_epi32(
        _mm256_add_ps(_mm256_mul_ps(_mm256_div_ps(fc, fv), _mm256_set1_ps(255.0f)), half));
    const __m256 rr = _mm256_div_ps(_mm256_cvtepi32_ps(_mm256_sub_epi32(v, r)), fc);
    const __m256 gg = _mm256_div_ps(_mm256_cvtepi32_ps(_mm256_sub_epi32(v, g)), fc);
    const __m256 bb = _mm256_div_ps(_mm256_cvtepi32_ps(_mm256_sub_epi32(v, b)), fc);
    const __m256 fromB = _mm256_add_ps(_mm256_sub_ps(_mm256_set1_ps(4.0f), rr), gg);
    const __m256 fromG = _mm256_sub_ps(_mm256_add_ps(rr, _mm256_set1_ps(2.0f)), bb);
    const __m256 fromR = _mm256_div_ps(_mm256_cvtepi32_ps(_mm256_sub_epi32(g, b)), fc);
    const __m256 isB = _mm256_castsi256_ps(_mm256_cmpeq_epi32(b, v));
    const __m256 isG = _mm256_castsi256_ps(_mm256_cmpeq_epi32(g, v));
    __m256 h = _mm256_blendv_ps(_mm256_blendv_ps(fromR, fromG, isG), fromB, isB);
    h = _mm256_div_ps(_mm256_mul_ps(h, _mm256_set1_ps(255.0f)), _mm256_set1_ps(6.0f));
    h = _mm256_add_ps(
        h, _mm256_and_ps(_mm256_cmp_ps(h, _mm256_setzero_ps(), _CMP_LT_OQ), _mm256_set1_ps(255.0f)));
    const __m256i hue = _mm256_cvttps_epi32(_mm256_add_ps(h, half));
    const __m256i coloured =
        _mm256_xor_si256(_mm256_cmpeq_epi32(c, _mm256_setzero_si256()), _mm256_set1_epi32(-1));
    const __m256i hs =
        _mm256_and_si256(_mm256_or_si256(_mm256_and_si256(hue, byteMask),
                                         _mm256_slli_epi32(_mm256_and_si256(saturation, byteMask), 8)),
                         coloured);
    const __m256i keep = _mm256_and_si256(pixels, _mm256_set1_epi32(static_cast<int32_t>(0xFF000000u)));
    return _mm256_or_si256(_mm256_or_si256(keep, hs), _mm256_slli_epi32(v, 16));
}

inline __m256i HsvToRgb8(__m256i pixels) {
    const __m256i byteMask = _mm256_set1_epi32(0xFF);
    const __m256i hue = _mm256_and_si256(pixels, byteMask);
    const __m256i sat = _mm256_and_si256(_mm256_srli_epi32(pixels, 8), byteMask);
    const __m256i value = _mm256_and_si256(_mm256_srli_epi32(pixels, 16), byteMask);
    const __m256 one = _mm256_set1_ps(1.0f);
    const __m256 s = _mm256_div_ps(_mm256_cvtepi32_ps(sat), _mm256_set1_ps(255.0f));
    const __m256 v = _mm256_cvtepi32_ps(value);
    __m256 f = _mm256_div_ps(
        _mm256_div_ps(_mm256_mul_ps(_mm256_cvtepi32_ps(hue), _mm256_set1_ps(360.0f)), _mm256_set1_ps(255.0f)),
        _mm256_set1_ps(60.0f));
    f = _mm256_andnot_ps(_mm256_castsi256_ps(_mm256_cmpeq_epi32(hue, byteMask)), f);
    const __m256 whole = _mm256_floor_ps(f);
    const __m256i i = _mm256_cvttps_epi32(whole);
    const __m256 t = _mm256_sub_ps(f, whole);
    const __m256 p = _mm256_mul_ps(_mm256_sub_ps(one, s), v);
    const __m256 q = _mm256_mul_ps(_mm256_sub_ps(one, _mm256_mul_ps(s, t)), v);
    const __m256 u = _mm256_mul_ps(_mm256_sub_ps(one, _mm256_mul_ps(s, _mm256_sub_ps(one, t))), v);
    auto is = [&](int32_t k) { return _mm256_castsi256_ps(_mm256_cmpeq_epi32(i, _mm256_set1_epi32(k))); };
    const __m256 i0 = is(0), i1 = is(1), i2 = is(2), i3 = is(3), i4 = is(4);
    // Sextant 5 (and anything else) is the starting value of each blend chain.
    __m256 o0 = v, o1 = p, o2 = q;
    o0 = _mm256_blendv_ps(o0, u, i4), o1 = _mm256_blendv_ps(o1, p, i4), o2 = _mm256_blendv_ps(o2, v, i4);
    o0 = _mm256_blendv_ps(o0, p, i3), o1 = _mm256_blendv_ps(o1, q, i3), o2 = _mm256_blendv_ps(o2, v, i3);
    o0 = _mm256_blendv_ps(o0, p, i2), o1 = _mm256_blendv_ps(o1, v, i2), o2 = _mm256_blendv_ps(o2, u, i2);
    o0 = _mm256_blendv_ps(o0, q, i1), o1 = _mm256_blendv_ps(o1, v, i1), o2 = _mm256_blendv_ps(o2, p, i1);
    o0 = _mm256_blendv_ps(o0, v, i0), o1 = _mm256_blendv_ps(o1, u, i0), o2 = _mm256_blendv_ps(o2, p, i0);
    const __m256 half = _mm256_set1_ps(0.5f);
    const __m256i b0 = _mm256_and_si256(_mm256_cvttps_epi32(_mm256_add_ps(o0, half)), byteMask);
    const __m256i b1 = _mm256_and_si256(_mm256_cvttps_epi32(_mm256_add_ps(o1, half)), byteMask);
    const __m256i b2 = _mm256_and_si256(_mm256_cvttps_epi32(_mm256_add_ps(o2, half)), byteMask);
    __m256i rgb = _mm256_or_si256(_mm256_or_si256(b0, _mm256_slli_epi32(b1, 8)), _mm256_slli_epi32(b2, 16));
    const __m256i grey =
        _mm256_or_si256(_mm256_or_si256(value, _mm256_slli_epi32(value, 8)), _mm256_slli_epi32(value, 16));
    rgb = _mm256_blendv_epi8(rgb, grey, _mm256_cmpeq_epi32(sat, _mm256_setzero_si256()));
    const __m256i keep = _mm256_and_si256(pixels, _mm256_set1_epi32(static_cast<int32_t>(0xFF000000u)));
    return _mm256_or_si256(rgb, keep);
}

// Reads 8 source pixels, then writes the destination's colour bytes; byte 3 of
// the destination is carried from the destination itself, so it is never changed.
template <__m256i (*Convert)(__m256i), void (*Pixel)(const uint8_t*, uint8_t*)>
inline void HsvRows(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                    int32_t destinationPitch, int32_t width, int32_t height) {
    const __m256i alpha = _mm256_set1_epi32(static_cast<int32_t>(0xFF000000u));
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        int32_t x = 0;
        for (; x + 8 <= width; x += 8) {
            const __m256i converted = Convert(Load(in + 4 * x));
            Store(out + 4 * x, _mm256_blendv_epi8(converted, Load(out + 4 * x), alpha));
        }
        for (; x < width; ++x) Pixel(in + 4 * x, out + 4 * x);
    }
}

}  // namespace simd256
}  // namespace
}  // namespace halcyra

// AVX-512 row routines of the warps and the resize: eight pixels at a time,
// one pixel per double lane, with the very operations of the scalar rule B in
// the same order, so every byte equals the reference. The affine positions are
// accumulated pixel after pixel as in the reference (the sums are not
// associative), eight rows side by side. The two passes of rule C run sixteen
// floats to a vector, again operation for operation as the scalar code.
#include <immintrin.h>

// GCC 12 reports the undefined upper halves that its own AVX-512 headers use
// as (possibly) uninitialised; they are not.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"

#include "picture/kernels/WarpRows.h"

namespace halcyra::warp::avx512 {
namespace {

// ScaleAlphaPixel on sixteen pixels, for a factor of 0..256 spread to every
// 16-bit lane, on the pixels' own 32-bit lanes: the unpacking shuffles would
// compete with the sampler's for one port. With alpha a as the word a·256,
// the high half of its product with f is (a·f) >> 8, the new alpha a'. Blue
// and red, as words of their own, times a' give (c·a') >> 8 in their high
// bytes; green, as the word g, times a' gives (g·a') >> 8 as its high byte.
inline __m512i Shade16(__m512i pixels, __m512i factor) {
    const __m512i alpha = _mm512_mulhi_epu16(_mm512_and_si512(pixels, _mm512_set1_epi32(0xFF000000)), factor);
    // a' (in byte 2 of each pixel) to bytes 0 and 2, zeros in bytes 1 and 3.
    const __m512i spread = _mm512_shuffle_epi8(
        alpha, _mm512_broadcast_i32x4(_mm_setr_epi8(2, -128, 2, -128, 6, -128, 6, -128, 10, -128, 10, -128,
                                                    14, -128, 14, -128)));
    const __m512i blueRed = _mm512_srli_epi16(
        _mm512_mullo_epi16(_mm512_and_si512(pixels, _mm512_set1_epi32(0x00FF00FF)), spread), 8);
    const __m512i green = _mm512_and_si512(_mm512_mullo_epi16(_mm512_srli_epi16(pixels, 8), spread),
                                           _mm512_set1_epi32(0x0000FF00));
    return _mm512_ternarylogic_epi32(blueRed, green, _mm512_slli_epi32(alpha, 8), 0xFE);
}

// Rule B on eight positions in two steps: Fetch8 reads the 2 x 2 blocks and
// the weights, Blend8 mixes them into the eight 4-byte pixels. A caller may
// fetch one block of pixels ahead of the one it mixes, so that the reads
// from memory overlap more work. A byte b is turned into a double as the bit
// pattern of 2^52 + b, exactly; differences of two such values are the exact
// byte differences of the reference.
struct Fetched8 {
    __m512i top;  // each lane: the pixel at (ix, iy) in its low half, its right neighbour in the high half
    __m512i bottom;
    __m512d fx;
    __m512d fy;
};

inline Fetched8 Fetch8(const SourceView& s, __m512d sx, __m512d sy) {
    const __m512d epsilon = _mm512_set1_pd(0.0000001);
    const __m512d one = _mm512_set1_pd(1.0);
    const __m256i zero = _mm256_setzero_si256();
    __m256i ix = _mm512_cvttpd_epi32(_mm512_add_pd(sx, epsilon));
    __m256i iy = _mm512_cvttpd_epi32(_mm512_add_pd(sy, epsilon));
    const __mmask8 insideX = _mm256_cmplt_epi32_mask(ix, _mm256_set1_epi32(s.width - 1));
    const __mmask8 insideY = _mm256_cmplt_epi32_mask(iy, _mm256_set1_epi32(s.height - 1));
    Fetched8 f;
    f.fx = _mm512_mask_sub_pd(one, insideX, sx, _mm512_cvtepi32_pd(ix));
    f.fy = _mm512_mask_sub_pd(one, insideY, sy, _mm512_cvtepi32_pd(iy));
    ix = _mm256_max_epi32(_mm256_mask_blend_epi32(insideX, _mm256_set1_epi32(s.width - 2), ix), zero);
    iy = _mm256_max_epi32(_mm256_mask_blend_epi32(insideY, _mm256_set1_epi32(s.height - 2), iy), zero);
    const __m512i pitch = _mm512_set1_epi64(s.pitch);
    const __m512i offset = _mm512_add_epi64(_mm512_mul_epi32(_mm512_cvtepi32_epi64(iy), pitch),
                                            _mm512_slli_epi64(_mm512_cvtepi32_epi64(ix), 2));
    f.top = _mm512_i64gather_epi64(offset, s.data, 1);
    f.bottom = _mm512_i64gather_epi64(_mm512_add_epi64(offset, pitch), s.data, 1);
    return f;
}

// With kShaded the pixels read are shaded by `factor` (Shade16) first.
template <bool kShaded = false>
inline __m256i Blend8(const Fetched8& f, __m512i factor = __m512i{}) {
    __m512i top = f.top;
    __m512i bottom = f.bottom;
    if constexpr (kShaded) {
        top = Shade16(top, factor);
        bottom = Shade16(bottom, factor);
    }
    const __m512i magicBits = _mm512_set1_epi64(0x4330000000000000LL);
    const __m512d magic = _mm512_set1_pd(4503599627370496.0);
    const __m512d half = _mm512_set1_pd(0.5);
    // Byte 4h + c of each lane (h = 0: the pixel, 1: its right neighbour) in
    // the low byte, the other seven bytes taken from 2^52: one masked shuffle.
    const __mmask64 lowBytes = 0x0101010101010101ULL;
    auto byteAt = [&](__m512i lanes, int32_t index) {
        const __m512i control = _mm512_broadcast_i32x4(_mm_set_epi64x(8 + index, index));
        return _mm512_castsi512_pd(_mm512_mask_shuffle_epi8(magicBits, lowBytes, lanes, control));
    };
    __m256i result = _mm256_setzero_si256();
    for (int32_t c = 0; c < 4; ++c) {
        const __m512d b00 = byteAt(top, c);
        const __m512d b10 = byteAt(top, 4 + c);
        const __m512d b01 = byteAt(bottom, c);
        const __m512d b11 = byteAt(bottom, 4 + c);
        const __m512d topValue =
            _mm512_add_pd(_mm512_sub_pd(b00, magic), _mm512_mul_pd(_mm512_sub_pd(b10, b00), f.fx));
        const __m512d bottomValue =
            _mm512_add_pd(_mm512_sub_pd(b01, magic), _mm512_mul_pd(_mm512_sub_pd(b11, b01), f.fx));
        const __m512d value = _mm512_add_pd(
            _mm512_add_pd(_mm512_mul_pd(_mm512_sub_pd(bottomValue, topValue), f.fy), half), topValue);
        // result | (low byte of the truncation << 8c), in one ternary operation.
        result = _mm256_ternarylogic_epi32(result, _mm256_slli_epi32(_mm512_cvttpd_epi32(value), 8 * c),
                                           _mm256_set1_epi32(0xff << (8 * c)), 0xF8);
    }
    return result;
}

// Rule B on eight positions; returns the eight 4-byte pixels.
inline __m256i Bilinear8(const SourceView& s, __m512d sx, __m512d sy) {
    return Blend8(Fetch8(s, sx, sy));
}

// Eight span rows side by side, one per lane: each lane accumulates its own
// row's positions with the same additions as the reference, so the serial sums
// cost one vector addition per eight pixels.
void AffineSpansBilinear(const SourceView& source, const AffineInverse& a, const SpanRow* rows,
                         int32_t rowCount, uint8_t* destination, int32_t pitch) {
    // A local copy: the compiler cannot know that the pixels written do not
    // alias the view, and would reload its fields after every store.
    const SourceView s = source;
    const __m512d stepX = _mm512_set1_pd(a.a00);
    const __m512d stepY = _mm512_set1_pd(a.a10);
    const __m512i stepOffset = _mm512_set1_epi64(4);
    for (int32_t first = 0; first < rowCount; first += 8) {
        alignas(64) double startX[8] = {};
        alignas(64) double startY[8] = {};
        alignas(64) int64_t offsets[8] = {};
        alignas(32) int32_t counts[8] = {};
        int32_t longest = 0;
        for (int32_t lane = 0; lane < 8 && first + lane < rowCount; ++lane) {
            const SpanRow& row = rows[first + lane];
            startX[lane] = AffineRowStartX(a, row.xFirst, row.y);
            startY[lane] = AffineRowStartY(a, row.xFirst, row.y);
            offsets[lane] = static_cast<int64_t>(pitch) * row.y + static_cast<int64_t>(row.xFirst) * 4;
            counts[lane] = row.count;
            longest = row.count > longest ? row.count : longest;
        }
        __m512d sx = _mm512_load_pd(startX);
        __m512d sy = _mm512_load_pd(startY);
        __m512i offset = _mm512_load_si512(offsets);
        const __m256i remaining = _mm256_load_si256(reinterpret_cast<const __m256i*>(counts));
        // The reads run one pixel ahead of the mixing (past the end they are
        // wasted, and clamped into the source like any other).
        Fetched8 fetched = Fetch8(s, sx, sy);
        for (int32_t k = 0; k < longest; ++k) {
            const __mmask8 active = _mm256_cmpgt_epi32_mask(remaining, _mm256_set1_epi32(k));
            sx = _mm512_add_pd(sx, stepX);
            sy = _mm512_add_pd(sy, stepY);
            const Fetched8 next = Fetch8(s, sx, sy);
            _mm512_mask_i64scatter_epi32(destination, active, offset, Blend8(fetched), 1);
            fetched = next;
            offset = _mm512_add_epi64(offset, stepOffset);
        }
    }
}

// With kShaded the source is read as shaded by `factor` (0..256).
template <bool kShaded>
void ProjectiveRow(const SourceView& source, const ProjectiveInverse& m, int32_t y, int32_t xFirst,
                   int32_t count, int32_t factor, uint8_t* out) {
    // A local copy: the compiler cannot know that the pixels written do not
    // alias the view, and would reload its fields after every store.
    const SourceView s = source;
    const double row = y;
    const __m512d a0 = _mm512_set1_pd(m.a[0]);
    const __m512d a3 = _mm512_set1_pd(m.a[3]);
    const __m512d a6 = _mm512_set1_pd(m.a[6]);
    const __m512d a1y = _mm512_set1_pd(m.a[1] * row);
    const __m512d a4y = _mm512_set1_pd(m.a[4] * row);
    const __m512d a7y = _mm512_set1_pd(m.a[7] * row);
    const __m512d a2 = _mm512_set1_pd(m.a[2]);
    const __m512d a5 = _mm512_set1_pd(m.a[5]);
    const __m512d a8 = _mm512_set1_pd(m.a[8]);
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    const __m512i factors = _mm512_set1_epi16(static_cast<int16_t>(factor));
    auto positions = [&](int32_t k, __m512d& u, __m512d& v) {
        const __m512d x = _mm512_cvtepi32_pd(_mm256_add_epi32(_mm256_set1_epi32(xFirst + k), lanes));
        const __m512d w = _mm512_add_pd(_mm512_add_pd(_mm512_mul_pd(a6, x), a7y), a8);
        u = _mm512_div_pd(_mm512_add_pd(_mm512_add_pd(_mm512_mul_pd(a0, x), a1y), a2), w);
        v = _mm512_div_pd(_mm512_add_pd(_mm512_add_pd(_mm512_mul_pd(a3, x), a4y), a5), w);
    };
    int32_t k = 0;
    if (count >= 16) {
        // The divisions run two blocks of eight pixels ahead of the mixing
        // and the reads one block ahead, so that the divider, the memory and
        // the mixing overlap.
        __m512d u0, v0, u1, v1;
        positions(0, u0, v0);
        positions(8, u1, v1);
        Fetched8 fetched = Fetch8(s, u0, v0);
        for (; k + 16 <= count; k += 8) {
            __m512d u2 = u1, v2 = v1;
            if (k + 24 <= count) positions(k + 16, u2, v2);
            const Fetched8 next = Fetch8(s, u1, v1);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * k), Blend8<kShaded>(fetched, factors));
            fetched = next;
            u1 = u2, v1 = v2;
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * k), Blend8<kShaded>(fetched, factors));
        k += 8;
    }
    for (; k + 8 <= count; k += 8) {
        __m512d u, v;
        positions(k, u, v);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * k),
                            Blend8<kShaded>(Fetch8(s, u, v), factors));
    }
    for (; k < count; ++k) {
        double u = 0.0;
        double v = 0.0;
        ProjectivePosition(m, static_cast<double>(xFirst + k), row, u, v);
        if constexpr (kShaded) {
            SampleBilinear4Shaded(s, u, v, factor, out + 4 * k);
        } else {
            SampleBilinear4(s, u, v, out + 4 * k);
        }
    }
}

void ProjectiveRowBilinear(const SourceView& source, const ProjectiveInverse& m, int32_t y, int32_t xFirst,
                           int32_t count, uint8_t* out) {
    ProjectiveRow<false>(source, m, y, xFirst, count, 0, out);
}

void ProjectiveRowBilinearShaded(const SourceView& source, const ProjectiveInverse& m, int32_t y,
                                 int32_t xFirst, int32_t count, int32_t factor, uint8_t* out) {
    ProjectiveRow<true>(source, m, y, xFirst, count, factor, out);
}

void ResizeRowBilinear4(const SourceView& source, const double* xs, double y, int32_t count, uint8_t* out) {
    // A local copy: the compiler cannot know that the pixels written do not
    // alias the view, and would reload its fields after every store.
    const SourceView s = source;
    const __m512d ys = _mm512_set1_pd(y);
    int32_t k = 0;
    for (; k + 8 <= count; k += 8)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * k),
                            Bilinear8(s, _mm512_loadu_pd(xs + k), ys));
    for (; k < count; ++k) SampleBilinear4(s, xs[k], y, out + 4 * k);
}

// Rule C's horizontal pass, sixteen output columns at a time: one gather per
// tap brings the sixteen tap pixels, and each group of four columns is widened
// to sixteen 32-bit lanes. The differences of byte samples are whole numbers,
// exact in integers as in floats; the sum runs in floats in the scalar order.
int32_t CubicAcross4(const uint8_t* row, const CubicColumns& columns, int32_t count, float* out) {
    // Local copies of the pointers: the stores could alias them as far as the
    // compiler knows, and it would reload them after every store.
    const int32_t* const tapsOf[4] = {columns.taps[0], columns.taps[1], columns.taps[2], columns.taps[3]};
    const float* const rise = columns.rise;
    const float* const a = columns.a;
    const float* const bend = columns.bend;
    int32_t x = 0;
    for (; x + 16 <= count; x += 16) {
        __m512i taps[4];
        for (int32_t k = 0; k < 4; ++k)
            taps[k] = _mm512_i32gather_epi32(_mm512_loadu_si512(tapsOf[k] + x), row, 4);
        for (int32_t group = 0; group < 4; ++group) {
            __m512i p[4];
            // The lane index of an extraction must be a constant.
            for (int32_t k = 0; k < 4; ++k) {
                __m128i four;
                switch (group) {
                    case 0:
                        four = _mm512_extracti32x4_epi32(taps[k], 0);
                        break;
                    case 1:
                        four = _mm512_extracti32x4_epi32(taps[k], 1);
                        break;
                    case 2:
                        four = _mm512_extracti32x4_epi32(taps[k], 2);
                        break;
                    default:
                        four = _mm512_extracti32x4_epi32(taps[k], 3);
                        break;
                }
                p[k] = _mm512_cvtepu8_epi32(four);
            }
            const __m512i d1 = _mm512_sub_epi32(p[1], p[0]);
            const __m512i d2 = _mm512_sub_epi32(_mm512_sub_epi32(p[2], p[1]), d1);
            const __m512i d3 = _mm512_sub_epi32(
                _mm512_add_epi32(_mm512_sub_epi32(_mm512_sub_epi32(p[1], p[2]), p[2]), p[3]), d2);
            const int32_t i = 4 * (x + 4 * group);
            __m512 v = _mm512_add_ps(_mm512_cvtepi32_ps(p[0]),
                                     _mm512_mul_ps(_mm512_loadu_ps(rise + i), _mm512_cvtepi32_ps(d1)));
            v = _mm512_add_ps(v, _mm512_mul_ps(_mm512_loadu_ps(a + i), _mm512_cvtepi32_ps(d2)));
            v = _mm512_add_ps(v, _mm512_mul_ps(_mm512_loadu_ps(bend + i), _mm512_cvtepi32_ps(d3)));
            _mm512_storeu_ps(out + i, v);
        }
    }
    return x;
}

// The truncated sums that value(i) gives for sixteen floats from i, clamped to
// 0..255 by two saturating packs and stored, 64 at a time and then 16; returns
// how many were stored. The packs work within 128-bit lanes: 4-byte group j
// of lane l holds floats 16 j + 4 l.. of the block.
template <class Value>
inline int32_t StoreClampedBytes(Value value, int32_t count, uint8_t* out) {
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const __m512i zero = _mm512_setzero_si512();
    int32_t i = 0;
    for (; i + 64 <= count; i += 64) {
        const __m512i words01 = _mm512_packs_epi32(value(i), value(i + 16));
        const __m512i words23 = _mm512_packs_epi32(value(i + 32), value(i + 48));
        _mm512_storeu_si512(out + i, _mm512_permutexvar_epi32(order, _mm512_packus_epi16(words01, words23)));
    }
    for (; i + 16 <= count; i += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i),
                         _mm512_cvtusepi32_epi8(_mm512_max_epi32(value(i), zero)));
    return i;
}

// Rule C's vertical pass, 64 floats at a time, each operation the scalar one.
// Truncation gives INT32_MIN where the scalar conversion does, and the two
// saturating packs clamp to 0..255 as the scalar clamp does.
int32_t CubicDown(const float* const* rows, const CubicWeights& weights, int32_t count, uint8_t* out) {
    const __m512 rise = _mm512_set1_ps(weights.rise);
    const __m512 a = _mm512_set1_ps(weights.a);
    const __m512 bend = _mm512_set1_ps(weights.bend);
    const __m512 half = _mm512_set1_ps(0.5000001f);
    const float* r0 = rows[0];
    const float* r1 = rows[1];
    const float* r2 = rows[2];
    const float* r3 = rows[3];
    auto value = [&](int32_t i) {
        const __m512 f0 = _mm512_loadu_ps(r0 + i);
        const __m512 f1 = _mm512_loadu_ps(r1 + i);
        const __m512 f2 = _mm512_loadu_ps(r2 + i);
        const __m512 f3 = _mm512_loadu_ps(r3 + i);
        const __m512 d1 = _mm512_sub_ps(f1, f0);
        const __m512 d2 = _mm512_sub_ps(_mm512_sub_ps(f2, f1), d1);
        const __m512 d3 = _mm512_sub_ps(_mm512_add_ps(_mm512_sub_ps(_mm512_sub_ps(f1, f2), f2), f3), d2);
        __m512 v = _mm512_add_ps(f0, _mm512_mul_ps(rise, d1));
        v = _mm512_add_ps(v, _mm512_mul_ps(a, d2));
        v = _mm512_add_ps(v, _mm512_mul_ps(bend, d3));
        return _mm512_cvttps_epi32(_mm512_add_ps(v, half));
    };
    return StoreClampedBytes(value, count, out);
}

// The vertical differences of four rows, kept for the output rows that share them.
int32_t CubicDifferences(const float* const* rows, int32_t count, float* const* d) {
    // Local copies of the pointers: the stores could alias them as far as the
    // compiler knows, and it would reload them after every store.
    const float* const r[4] = {rows[0], rows[1], rows[2], rows[3]};
    float* const e[3] = {d[0], d[1], d[2]};
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m512 f0 = _mm512_loadu_ps(r[0] + i);
        const __m512 f1 = _mm512_loadu_ps(r[1] + i);
        const __m512 f2 = _mm512_loadu_ps(r[2] + i);
        const __m512 f3 = _mm512_loadu_ps(r[3] + i);
        const __m512 d1 = _mm512_sub_ps(f1, f0);
        const __m512 d2 = _mm512_sub_ps(_mm512_sub_ps(f2, f1), d1);
        _mm512_storeu_ps(e[0] + i, d1);
        _mm512_storeu_ps(e[1] + i, d2);
        _mm512_storeu_ps(e[2] + i,
                         _mm512_sub_ps(_mm512_add_ps(_mm512_sub_ps(_mm512_sub_ps(f1, f2), f2), f3), d2));
    }
    return i;
}

// The vertical sum of one output row over kept differences, 64 floats at a time.
int32_t CubicSum(const float* f0, const float* const* d, const CubicWeights& weights, int32_t count,
                 uint8_t* out) {
    const __m512 rise = _mm512_set1_ps(weights.rise);
    const __m512 a = _mm512_set1_ps(weights.a);
    const __m512 bend = _mm512_set1_ps(weights.bend);
    const __m512 half = _mm512_set1_ps(0.5000001f);
    const float* d1 = d[0];
    const float* d2 = d[1];
    const float* d3 = d[2];
    auto value = [&](int32_t i) {
        __m512 v = _mm512_add_ps(_mm512_loadu_ps(f0 + i), _mm512_mul_ps(rise, _mm512_loadu_ps(d1 + i)));
        v = _mm512_add_ps(v, _mm512_mul_ps(a, _mm512_loadu_ps(d2 + i)));
        v = _mm512_add_ps(v, _mm512_mul_ps(bend, _mm512_loadu_ps(d3 + i)));
        return _mm512_cvttps_epi32(_mm512_add_ps(v, half));
    };
    return StoreClampedBytes(value, count, out);
}

}  // namespace

const WarpTable kWarpTable = {AffineSpansBilinear,
                              ProjectiveRowBilinear,
                              ProjectiveRowBilinearShaded,
                              ResizeRowBilinear4,
                              CubicAcross4,
                              CubicDown,
                              CubicDifferences,
                              CubicSum};

}  // namespace halcyra::warp::avx512

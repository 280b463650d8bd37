// AVX2 row routines of the warps and the resize: four pixels at a time, one
// pixel per double lane, with the very operations of the scalar rule B in the
// same order, so every byte equals the reference. The affine positions are
// accumulated pixel after pixel as in the reference, four rows at a time. The
// two passes of rule C run eight floats to a vector, again operation for
// operation as the scalar code.
#include <immintrin.h>

#include <cstring>

#include "picture/kernels/WarpRows.h"

namespace halcyra::warp::avx2 {
namespace {

// ScaleAlphaPixel on eight pixels, for a factor of 0..256 spread to every
// 16-bit lane. With each byte b widened to the word b·256, the high half of
// its product with f is (b·f) >> 8: the new alpha, and then, with that alpha
// spread over its pixel, each colour's (c·alpha) >> 8.
inline __m256i Shade8(__m256i pixels, __m256i factor) {
    const __m256i zero = _mm256_setzero_si256();
    auto words = [&](__m256i high) {
        const __m256i alpha = _mm256_mulhi_epu16(high, factor);
        const __m256i spread = _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(alpha, 0xFF), 0xFF);
        return _mm256_blend_epi16(_mm256_mulhi_epu16(high, spread), spread, 0x88);
    };
    return _mm256_packus_epi16(words(_mm256_unpacklo_epi8(zero, pixels)),
                               words(_mm256_unpackhi_epi8(zero, pixels)));
}

// Rule B on four positions in two steps: Fetch4 reads the 2 x 2 blocks and
// the weights, Blend4 mixes them into the four 4-byte pixels. A caller may
// fetch one block of pixels ahead of the one it mixes, so that the reads from
// memory overlap more work. A byte b is turned into a double as the bit
// pattern of 2^52 + b, exactly; differences of two such values are the exact
// byte differences of the reference.
struct Fetched4 {
    __m256i top;  // each lane: the pixel at (ix, iy) in its low half, its right neighbour in the high half
    __m256i bottom;
    __m256d fx;
    __m256d fy;
};

inline Fetched4 Fetch4(const SourceView& s, __m256d sx, __m256d sy) {
    const __m256d epsilon = _mm256_set1_pd(0.0000001);
    const __m256d one = _mm256_set1_pd(1.0);
    const __m128i zero = _mm_setzero_si128();
    __m128i ix = _mm256_cvttpd_epi32(_mm256_add_pd(sx, epsilon));
    __m128i iy = _mm256_cvttpd_epi32(_mm256_add_pd(sy, epsilon));
    const __m128i insideX = _mm_cmplt_epi32(ix, _mm_set1_epi32(s.width - 1));
    const __m128i insideY = _mm_cmplt_epi32(iy, _mm_set1_epi32(s.height - 1));
    Fetched4 f;
    f.fx = _mm256_blendv_pd(one, _mm256_sub_pd(sx, _mm256_cvtepi32_pd(ix)),
                            _mm256_castsi256_pd(_mm256_cvtepi32_epi64(insideX)));
    f.fy = _mm256_blendv_pd(one, _mm256_sub_pd(sy, _mm256_cvtepi32_pd(iy)),
                            _mm256_castsi256_pd(_mm256_cvtepi32_epi64(insideY)));
    ix = _mm_max_epi32(_mm_blendv_epi8(_mm_set1_epi32(s.width - 2), ix, insideX), zero);
    iy = _mm_max_epi32(_mm_blendv_epi8(_mm_set1_epi32(s.height - 2), iy, insideY), zero);
    const __m256i pitch = _mm256_set1_epi64x(s.pitch);
    const __m256i offset = _mm256_add_epi64(_mm256_mul_epi32(_mm256_cvtepi32_epi64(iy), pitch),
                                            _mm256_slli_epi64(_mm256_cvtepi32_epi64(ix), 2));
    const auto* base = reinterpret_cast<const long long*>(s.data);
    f.top = _mm256_i64gather_epi64(base, offset, 1);
    f.bottom = _mm256_i64gather_epi64(base, _mm256_add_epi64(offset, pitch), 1);
    return f;
}

// With kShaded the pixels read are shaded by `factor` (Shade8) first.
template <bool kShaded = false>
inline __m128i Blend4(const Fetched4& f, __m256i factor = __m256i{}) {
    __m256i top = f.top;
    __m256i bottom = f.bottom;
    if constexpr (kShaded) {
        top = Shade8(top, factor);
        bottom = Shade8(bottom, factor);
    }
    const __m256i magicBits = _mm256_set1_epi64x(0x4330000000000000LL);
    const __m256d magic = _mm256_set1_pd(4503599627370496.0);
    const __m256d half = _mm256_set1_pd(0.5);
    // Byte 4h + c of each lane (h = 0: the pixel, 1: its right neighbour) in
    // the low byte, zeros above it, then the bits of 2^52 put over them.
    auto byteAt = [&](__m256i lanes, int32_t index) {
        const __m128i control = _mm_set_epi64x(static_cast<long long>(0x8080808080808000ULL) | (8 + index),
                                               static_cast<long long>(0x8080808080808000ULL) | index);
        return _mm256_castsi256_pd(
            _mm256_or_si256(_mm256_shuffle_epi8(lanes, _mm256_broadcastsi128_si256(control)), magicBits));
    };
    __m128i result = _mm_setzero_si128();
    for (int32_t c = 0; c < 4; ++c) {
        const __m256d b00 = byteAt(top, c);
        const __m256d b10 = byteAt(top, 4 + c);
        const __m256d b01 = byteAt(bottom, c);
        const __m256d b11 = byteAt(bottom, 4 + c);
        const __m256d topValue =
            _mm256_add_pd(_mm256_sub_pd(b00, magic), _mm256_mul_pd(_mm256_sub_pd(b10, b00), f.fx));
        const __m256d bottomValue =
            _mm256_add_pd(_mm256_sub_pd(b01, magic), _mm256_mul_pd(_mm256_sub_pd(b11, b01), f.fx));
        const __m256d value = _mm256_add_pd(
            _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(bottomValue, topValue), f.fy), half), topValue);
        const __m128i bytes = _mm_and_si128(_mm256_cvttpd_epi32(value), _mm_set1_epi32(0xff));
        result = _mm_or_si128(result, _mm_sll_epi32(bytes, _mm_cvtsi32_si128(8 * c)));
    }
    return result;
}

// Rule B on four positions; returns the four 4-byte pixels.
inline __m128i Bilinear4(const SourceView& s, __m256d sx, __m256d sy) {
    return Blend4(Fetch4(s, sx, sy));
}

// Four span rows side by side, one per lane: each lane accumulates its own
// row's positions with the same additions as the reference, so the serial sums
// cost one vector addition per four pixels.
void AffineSpansBilinear(const SourceView& source, const AffineInverse& a, const SpanRow* rows,
                         int32_t rowCount, uint8_t* destination, int32_t pitch) {
    // A local copy: the compiler cannot know that the pixels written do not
    // alias the view, and would reload its fields after every store.
    const SourceView s = source;
    const __m256d stepX = _mm256_set1_pd(a.a00);
    const __m256d stepY = _mm256_set1_pd(a.a10);
    for (int32_t first = 0; first < rowCount; first += 4) {
        alignas(32) double startX[4] = {};
        alignas(32) double startY[4] = {};
        uint8_t* out[4] = {};
        int32_t counts[4] = {};
        int32_t longest = 0;
        for (int32_t lane = 0; lane < 4 && first + lane < rowCount; ++lane) {
            const SpanRow& row = rows[first + lane];
            startX[lane] = AffineRowStartX(a, row.xFirst, row.y);
            startY[lane] = AffineRowStartY(a, row.xFirst, row.y);
            out[lane] =
                destination + static_cast<intptr_t>(pitch) * row.y + static_cast<intptr_t>(row.xFirst) * 4;
            counts[lane] = row.count;
            longest = row.count > longest ? row.count : longest;
        }
        __m256d sx = _mm256_load_pd(startX);
        __m256d sy = _mm256_load_pd(startY);
        // The reads run one pixel ahead of the mixing (past the end they are
        // wasted, and clamped into the source like any other).
        Fetched4 fetched = Fetch4(s, sx, sy);
        for (int32_t k = 0; k < longest; ++k) {
            sx = _mm256_add_pd(sx, stepX);
            sy = _mm256_add_pd(sy, stepY);
            const Fetched4 next = Fetch4(s, sx, sy);
            alignas(16) uint32_t pixels[4];
            _mm_store_si128(reinterpret_cast<__m128i*>(pixels), Blend4(fetched));
            for (int32_t lane = 0; lane < 4; ++lane)
                if (k < counts[lane]) std::memcpy(out[lane] + 4 * k, &pixels[lane], 4);
            fetched = next;
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
    const __m256d a0 = _mm256_set1_pd(m.a[0]);
    const __m256d a3 = _mm256_set1_pd(m.a[3]);
    const __m256d a6 = _mm256_set1_pd(m.a[6]);
    const __m256d a1y = _mm256_set1_pd(m.a[1] * row);
    const __m256d a4y = _mm256_set1_pd(m.a[4] * row);
    const __m256d a7y = _mm256_set1_pd(m.a[7] * row);
    const __m256d a2 = _mm256_set1_pd(m.a[2]);
    const __m256d a5 = _mm256_set1_pd(m.a[5]);
    const __m256d a8 = _mm256_set1_pd(m.a[8]);
    const __m128i lanes = _mm_setr_epi32(0, 1, 2, 3);
    const __m256i factors = _mm256_set1_epi16(static_cast<int16_t>(factor));
    auto positions = [&](int32_t k, __m256d& u, __m256d& v) {
        const __m256d x = _mm256_cvtepi32_pd(_mm_add_epi32(_mm_set1_epi32(xFirst + k), lanes));
        const __m256d w = _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(a6, x), a7y), a8);
        u = _mm256_div_pd(_mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(a0, x), a1y), a2), w);
        v = _mm256_div_pd(_mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(a3, x), a4y), a5), w);
    };
    int32_t k = 0;
    if (count >= 8) {
        // The divisions run two blocks of four pixels ahead of the mixing and
        // the reads one block ahead, so that the divider, the memory and the
        // mixing overlap.
        __m256d u0, v0, u1, v1;
        positions(0, u0, v0);
        positions(4, u1, v1);
        Fetched4 fetched = Fetch4(s, u0, v0);
        for (; k + 8 <= count; k += 4) {
            __m256d u2 = u1, v2 = v1;
            if (k + 12 <= count) positions(k + 8, u2, v2);
            const Fetched4 next = Fetch4(s, u1, v1);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * k), Blend4<kShaded>(fetched, factors));
            fetched = next;
            u1 = u2, v1 = v2;
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * k), Blend4<kShaded>(fetched, factors));
        k += 4;
    }
    for (; k + 4 <= count; k += 4) {
        __m256d u, v;
        positions(k, u, v);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * k), Blend4<kShaded>(Fetch4(s, u, v), factors));
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
    const __m256d ys = _mm256_set1_pd(y);
    int32_t k = 0;
    for (; k + 4 <= count; k += 4)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * k), Bilinear4(s, _mm256_loadu_pd(xs + k), ys));
    for (; k < count; ++k) SampleBilinear4(s, xs[k], y, out + 4 * k);
}

// Rule C's horizontal pass, eight output columns at a time: one gather per tap
// brings the eight tap pixels, and each pair of columns is widened to eight
// 32-bit lanes (two pixels of four channels). The differences of byte samples
// are whole numbers, exact in integers as in floats; the sum runs in floats in
// the scalar order.
int32_t CubicAcross4(const uint8_t* row, const CubicColumns& columns, int32_t count, float* out) {
    const auto* pixels = reinterpret_cast<const int*>(row);
    // Local copies of the pointers: the stores could alias them as far as the
    // compiler knows, and it would reload them after every store.
    const int32_t* const tapsOf[4] = {columns.taps[0], columns.taps[1], columns.taps[2], columns.taps[3]};
    const float* const rise = columns.rise;
    const float* const a = columns.a;
    const float* const bend = columns.bend;
    int32_t x = 0;
    for (; x + 8 <= count; x += 8) {
        __m256i taps[4];
        for (int32_t k = 0; k < 4; ++k)
            taps[k] = _mm256_i32gather_epi32(
                pixels, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(tapsOf[k] + x)), 4);
        for (int32_t pair = 0; pair < 4; ++pair) {
            __m256i p[4];
            for (int32_t k = 0; k < 4; ++k) {
                __m128i half =
                    pair < 2 ? _mm256_castsi256_si128(taps[k]) : _mm256_extracti128_si256(taps[k], 1);
                if (pair & 1) half = _mm_srli_si128(half, 8);
                p[k] = _mm256_cvtepu8_epi32(half);
            }
            const __m256i d1 = _mm256_sub_epi32(p[1], p[0]);
            const __m256i d2 = _mm256_sub_epi32(_mm256_sub_epi32(p[2], p[1]), d1);
            const __m256i d3 = _mm256_sub_epi32(
                _mm256_add_epi32(_mm256_sub_epi32(_mm256_sub_epi32(p[1], p[2]), p[2]), p[3]), d2);
            const int32_t i = 4 * (x + 2 * pair);
            __m256 v = _mm256_add_ps(_mm256_cvtepi32_ps(p[0]),
                                     _mm256_mul_ps(_mm256_loadu_ps(rise + i), _mm256_cvtepi32_ps(d1)));
            v = _mm256_add_ps(v, _mm256_mul_ps(_mm256_loadu_ps(a + i), _mm256_cvtepi32_ps(d2)));
            v = _mm256_add_ps(v, _mm256_mul_ps(_mm256_loadu_ps(bend + i), _mm256_cvtepi32_ps(d3)));
            _mm256_storeu_ps(out + i, v);
        }
    }
    return x;
}

// The truncated sums that value(i) gives for eight floats from i, clamped to
// 0..255 by two saturating packs and stored, 32 at a time and then 8; returns
// how many were stored.
template <class Value>
inline int32_t StoreClampedBytes(Value value, int32_t count, uint8_t* out) {
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    int32_t i = 0;
    for (; i + 32 <= count; i += 32) {
        const __m256i words01 = _mm256_packs_epi32(value(i), value(i + 8));
        const __m256i words23 = _mm256_packs_epi32(value(i + 16), value(i + 24));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i),
                            _mm256_permutevar8x32_epi32(_mm256_packus_epi16(words01, words23), order));
    }
    for (; i + 8 <= count; i += 8) {
        const __m256i words = _mm256_packs_epi32(value(i), _mm256_setzero_si256());
        const __m256i bytes = _mm256_packus_epi16(words, words);
        _mm_storel_epi64(
            reinterpret_cast<__m128i*>(out + i),
            _mm_unpacklo_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1)));
    }
    return i;
}

// Rule C's vertical pass, 32 floats at a time, each operation the scalar one.
// Truncation gives INT32_MIN where the scalar conversion does, and the two
// saturating packs clamp to 0..255 as the scalar clamp does.
int32_t CubicDown(const float* const* rows, const CubicWeights& weights, int32_t count, uint8_t* out) {
    const __m256 rise = _mm256_set1_ps(weights.rise);
    const __m256 a = _mm256_set1_ps(weights.a);
    const __m256 bend = _mm256_set1_ps(weights.bend);
    const __m256 half = _mm256_set1_ps(0.5000001f);
    const float* r0 = rows[0];
    const float* r1 = rows[1];
    const float* r2 = rows[2];
    const float* r3 = rows[3];
    auto value = [&](int32_t i) {
        const __m256 f0 = _mm256_loadu_ps(r0 + i);
        const __m256 f1 = _mm256_loadu_ps(r1 + i);
        const __m256 f2 = _mm256_loadu_ps(r2 + i);
        const __m256 f3 = _mm256_loadu_ps(r3 + i);
        const __m256 d1 = _mm256_sub_ps(f1, f0);
        const __m256 d2 = _mm256_sub_ps(_mm256_sub_ps(f2, f1), d1);
        const __m256 d3 = _mm256_sub_ps(_mm256_add_ps(_mm256_sub_ps(_mm256_sub_ps(f1, f2), f2), f3), d2);
        __m256 v = _mm256_add_ps(f0, _mm256_mul_ps(rise, d1));
        v = _mm256_add_ps(v, _mm256_mul_ps(a, d2));
        v = _mm256_add_ps(v, _mm256_mul_ps(bend, d3));
        return _mm256_cvttps_epi32(_mm256_add_ps(v, half));
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
    for (; i + 8 <= count; i += 8) {
        const __m256 f0 = _mm256_loadu_ps(r[0] + i);
        const __m256 f1 = _mm256_loadu_ps(r[1] + i);
        const __m256 f2 = _mm256_loadu_ps(r[2] + i);
        const __m256 f3 = _mm256_loadu_ps(r[3] + i);
        const __m256 d1 = _mm256_sub_ps(f1, f0);
        const __m256 d2 = _mm256_sub_ps(_mm256_sub_ps(f2, f1), d1);
        _mm256_storeu_ps(e[0] + i, d1);
        _mm256_storeu_ps(e[1] + i, d2);
        _mm256_storeu_ps(e[2] + i,
                         _mm256_sub_ps(_mm256_add_ps(_mm256_sub_ps(_mm256_sub_ps(f1, f2), f2), f3), d2));
    }
    return i;
}

// The vertical sum of one output row over kept differences, 32 floats at a time.
int32_t CubicSum(const float* f0, const float* const* d, const CubicWeights& weights, int32_t count,
                 uint8_t* out) {
    const __m256 rise = _mm256_set1_ps(weights.rise);
    const __m256 a = _mm256_set1_ps(weights.a);
    const __m256 bend = _mm256_set1_ps(weights.bend);
    const __m256 half = _mm256_set1_ps(0.5000001f);
    const float* d1 = d[0];
    const float* d2 = d[1];
    const float* d3 = d[2];
    auto value = [&](int32_t i) {
        __m256 v = _mm256_add_ps(_mm256_loadu_ps(f0 + i), _mm256_mul_ps(rise, _mm256_loadu_ps(d1 + i)));
        v = _mm256_add_ps(v, _mm256_mul_ps(a, _mm256_loadu_ps(d2 + i)));
        v = _mm256_add_ps(v, _mm256_mul_ps(bend, _mm256_loadu_ps(d3 + i)));
        return _mm256_cvttps_epi32(_mm256_add_ps(v, half));
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

}  // namespace halcyra::warp::avx2

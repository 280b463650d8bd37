// AVX2 row routines of the warps and the resize: four pixels at a time, one
// pixel per double lane, with the very operations of the scalar rule B in the
// same order, so every byte equals the reference. The affine positions are
// accumulated pixel after pixel as in the reference, four rows at a time.
#include <immintrin.h>

#include <cstring>

#include "picture/kernels/WarpRows.h"

namespace halcyra::warp::avx2 {
namespace {

// Rule B on four positions; returns the four 4-byte pixels. A byte b is turned
// into a double as the bit pattern of 2^52 + b, exactly; differences of two
// such values are the exact byte differences of the reference.
inline __m128i Bilinear4(const SourceView& s, __m256d sx, __m256d sy) {
    const __m256d epsilon = _mm256_set1_pd(0.0000001);
    const __m256d one = _mm256_set1_pd(1.0);
    const __m128i zero = _mm_setzero_si128();
    __m128i ix = _mm256_cvttpd_epi32(_mm256_add_pd(sx, epsilon));
    __m128i iy = _mm256_cvttpd_epi32(_mm256_add_pd(sy, epsilon));
    const __m128i insideX = _mm_cmplt_epi32(ix, _mm_set1_epi32(s.width - 1));
    const __m128i insideY = _mm_cmplt_epi32(iy, _mm_set1_epi32(s.height - 1));
    const __m256d fx = _mm256_blendv_pd(one, _mm256_sub_pd(sx, _mm256_cvtepi32_pd(ix)),
                                        _mm256_castsi256_pd(_mm256_cvtepi32_epi64(insideX)));
    const __m256d fy = _mm256_blendv_pd(one, _mm256_sub_pd(sy, _mm256_cvtepi32_pd(iy)),
                                        _mm256_castsi256_pd(_mm256_cvtepi32_epi64(insideY)));
    ix = _mm_max_epi32(_mm_blendv_epi8(_mm_set1_epi32(s.width - 2), ix, insideX), zero);
    iy = _mm_max_epi32(_mm_blendv_epi8(_mm_set1_epi32(s.height - 2), iy, insideY), zero);
    const __m256i pitch = _mm256_set1_epi64x(s.pitch);
    const __m256i offset = _mm256_add_epi64(_mm256_mul_epi32(_mm256_cvtepi32_epi64(iy), pitch),
                                            _mm256_slli_epi64(_mm256_cvtepi32_epi64(ix), 2));
    const auto* base = reinterpret_cast<const long long*>(s.data);
    // Each lane: the pixel at (ix, iy) in its low half, its right neighbour in the high half.
    const __m256i top = _mm256_i64gather_epi64(base, offset, 1);
    const __m256i bottom = _mm256_i64gather_epi64(base, _mm256_add_epi64(offset, pitch), 1);
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
    __m128i result = zero;
    for (int32_t c = 0; c < 4; ++c) {
        const __m256d b00 = byteAt(top, c);
        const __m256d b10 = byteAt(top, 4 + c);
        const __m256d b01 = byteAt(bottom, c);
        const __m256d b11 = byteAt(bottom, 4 + c);
        const __m256d topValue =
            _mm256_add_pd(_mm256_sub_pd(b00, magic), _mm256_mul_pd(_mm256_sub_pd(b10, b00), fx));
        const __m256d bottomValue =
            _mm256_add_pd(_mm256_sub_pd(b01, magic), _mm256_mul_pd(_mm256_sub_pd(b11, b01), fx));
        const __m256d value = _mm256_add_pd(
            _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(bottomValue, topValue), fy), half), topValue);
        const __m128i bytes = _mm_and_si128(_mm256_cvttpd_epi32(value), _mm_set1_epi32(0xff));
        result = _mm_or_si128(result, _mm_sll_epi32(bytes, _mm_cvtsi32_si128(8 * c)));
    }
    return result;
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
        for (int32_t k = 0; k < longest; ++k) {
            alignas(16) uint32_t pixels[4];
            _mm_store_si128(reinterpret_cast<__m128i*>(pixels), Bilinear4(s, sx, sy));
            for (int32_t lane = 0; lane < 4; ++lane)
                if (k < counts[lane]) std::memcpy(out[lane] + 4 * k, &pixels[lane], 4);
            sx = _mm256_add_pd(sx, stepX);
            sy = _mm256_add_pd(sy, stepY);
        }
    }
}

void ProjectiveRowBilinear(const SourceView& source, const ProjectiveInverse& m, int32_t y, int32_t xFirst,
                           int32_t count, uint8_t* out) {
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
    int32_t k = 0;
    for (; k + 4 <= count; k += 4) {
        const __m256d x = _mm256_cvtepi32_pd(_mm_add_epi32(_mm_set1_epi32(xFirst + k), lanes));
        const __m256d w = _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(a6, x), a7y), a8);
        const __m256d u = _mm256_div_pd(_mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(a0, x), a1y), a2), w);
        const __m256d v = _mm256_div_pd(_mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(a3, x), a4y), a5), w);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * k), Bilinear4(s, u, v));
    }
    for (; k < count; ++k) {
        double u = 0.0;
        double v = 0.0;
        ProjectivePosition(m, static_cast<double>(xFirst + k), row, u, v);
        SampleBilinear4(s, u, v, out + 4 * k);
    }
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

}  // namespace

const WarpTable kWarpTable = {AffineSpansBilinear, ProjectiveRowBilinear, ResizeRowBilinear4};

}  // namespace halcyra::warp::avx2

// AVX2 row routines of the warps and the resize: four pixels at a time, one
// pixel per double lane, with the very operations of the scalar rule B in the
// same order, so every byte equals the reference. The affine positions are
// accumulated one pixel after another as in the reference.
#include <immintrin.h>

#include "picture/kernels/WarpRows.h"

namespace halcyra::warp::avx2 {
namespace {

// Rule B on four positions; returns the four 4-byte pixels.
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
    const __m256i split = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
    // Low half: the left pixels of the four pairs; high half: the right ones.
    const __m256i top = _mm256_permutevar8x32_epi32(_mm256_i64gather_epi64(base, offset, 1), split);
    const __m256i bottom =
        _mm256_permutevar8x32_epi32(_mm256_i64gather_epi64(base, _mm256_add_epi64(offset, pitch), 1), split);
    const __m256i byteMask = _mm256_set1_epi32(0xff);
    const __m256d half = _mm256_set1_pd(0.5);
    __m128i result = zero;
    for (int32_t c = 0; c < 4; ++c) {
        const __m128i shift = _mm_cvtsi32_si128(8 * c);
        const __m256i t = _mm256_and_si256(_mm256_srl_epi32(top, shift), byteMask);
        const __m256i b = _mm256_and_si256(_mm256_srl_epi32(bottom, shift), byteMask);
        const __m128i a00 = _mm256_castsi256_si128(t);
        const __m128i a10 = _mm256_extracti128_si256(t, 1);
        const __m128i a01 = _mm256_castsi256_si128(b);
        const __m128i a11 = _mm256_extracti128_si256(b, 1);
        const __m256d topValue = _mm256_add_pd(_mm256_cvtepi32_pd(a00),
                                               _mm256_mul_pd(_mm256_cvtepi32_pd(_mm_sub_epi32(a10, a00)), fx));
        const __m256d bottomValue = _mm256_add_pd(
            _mm256_cvtepi32_pd(a01), _mm256_mul_pd(_mm256_cvtepi32_pd(_mm_sub_epi32(a11, a01)), fx));
        const __m256d value = _mm256_add_pd(
            _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(bottomValue, topValue), fy), half), topValue);
        const __m128i bytes = _mm_and_si128(_mm256_cvttpd_epi32(value), _mm_set1_epi32(0xff));
        result = _mm_or_si128(result, _mm_sll_epi32(bytes, shift));
    }
    return result;
}

void AffineRowBilinear(const SourceView& s, const AffineInverse& a, int32_t y, int32_t xFirst, int32_t count,
                       uint8_t* out) {
    double sx = AffineRowStartX(a, xFirst, y);
    double sy = AffineRowStartY(a, xFirst, y);
    int32_t k = 0;
    alignas(32) double xs[4];
    alignas(32) double ys[4];
    for (; k + 4 <= count; k += 4) {
        for (int32_t j = 0; j < 4; ++j) {
            xs[j] = sx;
            ys[j] = sy;
            sx += a.a00;
            sy += a.a10;
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * k),
                         Bilinear4(s, _mm256_load_pd(xs), _mm256_load_pd(ys)));
    }
    for (; k < count; ++k) {
        SampleBilinear4(s, sx, sy, out + 4 * k);
        sx += a.a00;
        sy += a.a10;
    }
}

void ProjectiveRowBilinear(const SourceView& s, const ProjectiveInverse& m, int32_t y, int32_t xFirst,
                           int32_t count, uint8_t* out) {
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

void ResizeRowBilinear4(const SourceView& s, const double* xs, double y, int32_t count, uint8_t* out) {
    const __m256d ys = _mm256_set1_pd(y);
    int32_t k = 0;
    for (; k + 4 <= count; k += 4)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * k), Bilinear4(s, _mm256_loadu_pd(xs + k), ys));
    for (; k < count; ++k) SampleBilinear4(s, xs[k], y, out + 4 * k);
}

}  // namespace

const WarpTable kWarpTable = {AffineSpansByRows<AffineRowBilinear>, ProjectiveRowBilinear, ResizeRowBilinear4};

}  // namespace halcyra::warp::avx2

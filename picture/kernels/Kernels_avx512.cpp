// The AVX-512 class of the pixel routines. Most routines run the 256-bit
// bodies compiled under this file's flags: the byte routines are bound by
// memory and the HSV pair by the divider, and wider registers measured no gain
// there. The float convolution, bound by arithmetic, gets a 512-bit body (four
// pixels a vector) with the same operations in the same order as the reference.
#include "picture/kernels/KernelsSimd256.h"

namespace halcyra::avx512 {
namespace {

// Rule R on sixteen lanes; see simd256::RuleR.
inline __m512i RuleR16(__m512 f) {
    const __m512i v =
        _mm512_cvttps_epi32(_mm512_roundscale_ps(f, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
    const __mmask16 above = _mm512_cmp_ps_mask(f, _mm512_set1_ps(0.5f), _CMP_GT_OQ);
    const __mmask16 top = _mm512_cmp_ps_mask(f, _mm512_set1_ps(255.0f), _CMP_GE_OQ);
    return _mm512_mask_mov_epi32(_mm512_maskz_mov_epi32(above, v), top, _mm512_set1_epi32(255));
}

inline __m512 BytesToFloats16(const uint8_t* p) {
    return _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
}

void Convolve(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
              int32_t width, int32_t height, const float* kernel, int32_t kernelWidth, int32_t kernelHeight,
              int32_t anchorX, int32_t anchorY) {
    const int32_t left = kernelWidth - anchorX - 1;
    const int32_t top = kernelHeight - anchorY - 1;
    const int32_t taps = kernelWidth * kernelHeight;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* window = RowAt(source, sourcePitch, y - top) - static_cast<intptr_t>(left) * 4;
        uint8_t* out = RowAt(destination, destinationPitch, y);
        int32_t x = 0;
        for (; x + 16 <= width; x += 16) {
            __m512 s0 = _mm512_setzero_ps(), s1 = s0, s2 = s0, s3 = s0;
            int32_t k = taps - 1;
            for (int32_t j = 0; j < kernelHeight; ++j) {
                const uint8_t* row = RowAt(window, sourcePitch, j) + 4 * x;
                for (int32_t i = 0; i < kernelWidth; ++i, --k) {
                    const __m512 w = _mm512_set1_ps(kernel[k]);
                    const uint8_t* p = row + 4 * i;
                    s0 = _mm512_add_ps(s0, _mm512_mul_ps(BytesToFloats16(p), w));
                    s1 = _mm512_add_ps(s1, _mm512_mul_ps(BytesToFloats16(p + 16), w));
                    s2 = _mm512_add_ps(s2, _mm512_mul_ps(BytesToFloats16(p + 32), w));
                    s3 = _mm512_add_ps(s3, _mm512_mul_ps(BytesToFloats16(p + 48), w));
                }
            }
            uint8_t* o = out + 4 * x;
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm512_cvtepi32_epi8(RuleR16(s0)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 16), _mm512_cvtepi32_epi8(RuleR16(s1)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 32), _mm512_cvtepi32_epi8(RuleR16(s2)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 48), _mm512_cvtepi32_epi8(RuleR16(s3)));
        }
        for (; x < width; ++x)
            ConvolvePixel(window + 4 * x, sourcePitch, kernel, kernelWidth, kernelHeight, out + 4 * x);
    }
}

// Sixteen pixels a vector on the 16-bit path, as simd256::ScaleAlpha4Row does
// eight; that row function finishes each row and takes the other factors.
void ScaleAlpha4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
                 int32_t width, int32_t height, int32_t factor) {
    const bool words = simd256::ScaleAlphaFitsWords(factor);
    const __m512i f = _mm512_set1_epi16(static_cast<int16_t>(factor));
    const __m512i top = _mm512_set1_epi16(255);
    const __m512i zero = _mm512_setzero_si512();
    auto half = [&](__m512i v) {
        const __m512i alpha = _mm512_min_epu16(_mm512_srli_epi16(_mm512_mullo_epi16(v, f), 8), top);
        const __m512i spread = _mm512_shufflehi_epi16(_mm512_shufflelo_epi16(alpha, 0xFF), 0xFF);
        const __m512i colour = _mm512_srli_epi16(_mm512_mullo_epi16(v, spread), 8);
        return _mm512_mask_blend_epi16(0x88888888u, colour, spread);
    };
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        int32_t x = 0;
        if (words) {
            for (; x + 16 <= width; x += 16) {
                const __m512i v = _mm512_loadu_si512(in + 4 * x);
                _mm512_storeu_si512(out + 4 * x, _mm512_packus_epi16(half(_mm512_unpacklo_epi8(v, zero)),
                                                                     half(_mm512_unpackhi_epi8(v, zero))));
            }
        }
        simd256::ScaleAlpha4Row(in, out, x, width, factor);
    }
}

}  // namespace

constinit const KernelTable kTable{
    loops::Set4,
    loops::Set1,
    loops::Copy4,
    simd256::ScaleBytes4,
    simd256::AddBytes4,
    simd256::AlphaComposite,
    simd256::HsvRows<simd256::RgbToHsv8, RgbToHsvPixel>,
    simd256::HsvRows<simd256::HsvToRgb8, HsvToRgbPixel>,
    Convolve,
    simd256::FilterColumns,
    simd256::FilterRows,
    loops::MeanSeparable,
    simd256::MixBytes4,
    simd256::BlendBytes4,
    ScaleAlpha4,
    loops::DilateRuns,
};

}  // namespace halcyra::avx512

// The AVX-512 class of the pixel routines. Most routines run the 256-bit
// bodies compiled under this file's flags: the byte routines are bound by
// memory and the HSV pair by the divider, and wider registers measured no gain
// there. The convolution and the dilation, bound by arithmetic, run their
// shared bodies on 512-bit registers.
// GCC 12 reports the undefined upper halves that its own AVX-512 headers use
// as (possibly) uninitialised; they are not.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"

#include "picture/kernels/ConvolveRows.h"
#include "picture/kernels/DilateRuns.h"
#include "picture/kernels/KernelsSimd256.h"

namespace halcyra::avx512 {
namespace {

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
    convolve::Convolve<convolve::Lanes512>,
    simd256::FilterColumns,
    simd256::FilterRows,
    loops::MeanSeparable,
    simd256::MixBytes4,
    simd256::BlendBytes4,
    ScaleAlpha4,
    loops::BoundedBloom4,
    dilate::DilateRuns<dilate::Bytes512>,
};

}  // namespace halcyra::avx512

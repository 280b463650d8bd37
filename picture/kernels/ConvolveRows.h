// The 2D convolution written once over a vector type and compiled by the AVX2
// and the AVX-512 files with their own registers.
//
// Float kernels: every lane adds its products in the reference order (window
// row by row, kernel from its last element back), so the sums are the
// reference's bit for bit; rule R is one rounding conversion between clamps.
//
// Whole-number kernels whose weights add up, in magnitude, to at most 128: a
// float sum of such products of bytes is a whole number below 2^15 at every
// step, so float arithmetic is exact on it and 16-bit integer lanes give the
// same sum; rule R on a whole number is a clamp to 0..255, the saturating
// narrowing of the lanes. The edge kernels of the halo and the like take it.
//
// Rows whose length is not a whole vector finish with the reference's pixel
// function. Internal linkage, as KernelPixel.h.
#pragma once

#include <immintrin.h>

#include <cmath>

#include "picture/kernels/KernelsSimd256.h"

namespace halcyra {
namespace {
namespace convolve {

// Weights as 16-bit integers when the kernel is one of the whole-number kind.
inline bool WholeNumberWeights(const float* kernel, int32_t taps, int16_t* weights) {
    constexpr float kMostInMagnitude = 128.0f;
    float total = 0.0f;
    for (int32_t k = 0; k < taps; ++k) {
        const float w = kernel[k];
        if (!(std::fabs(w) <= kMostInMagnitude) || w != std::trunc(w)) return false;  // NaN fails too
        total += std::fabs(w);
        if (total > kMostInMagnitude) return false;
        weights[k] = static_cast<int16_t>(w);
    }
    return true;
}

struct Lanes256 {
    static constexpr int32_t kFloats = 8;  // values of a float vector
    static constexpr int32_t kWords = 16;  // values of a 16-bit vector
    using Floats = __m256;
    using Words = __m256i;
    static Floats Zero() { return _mm256_setzero_ps(); }
    static Floats Set(float w) { return _mm256_set1_ps(w); }
    static Floats Load(const float* p) { return _mm256_loadu_ps(p); }
    static void Store(float* p, Floats v) { _mm256_storeu_ps(p, v); }
    static Floats Add(Floats a, Floats b) { return _mm256_add_ps(a, b); }
    static Floats Mul(Floats a, Floats b) { return _mm256_mul_ps(a, b); }
    static Floats FromBytes(const uint8_t* p) {
        return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
    }
    // Rule R, stored as kFloats bytes.
    static void StoreRuleR(uint8_t* p, Floats f) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), simd256::NarrowToBytes(simd256::RuleR(f)));
    }
    static Words WordsZero() { return _mm256_setzero_si256(); }
    static Words WordsSet(int16_t w) { return _mm256_set1_epi16(w); }
    static Words WordsFromBytes(const uint8_t* p) {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    }
    static Words MulAdd(Words sum, Words v, Words w) {
        return _mm256_add_epi16(sum, _mm256_mullo_epi16(v, w));
    }
    // Clamped to 0..255 by the saturating pack, stored as kWords bytes.
    static void StoreClamped(uint8_t* p, Words v) {
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(v, v), 0xD8);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(packed));
    }
};

#ifdef __AVX512BW__
struct Lanes512 {
    static constexpr int32_t kFloats = 16;
    static constexpr int32_t kWords = 32;
    using Floats = __m512;
    using Words = __m512i;
    static Floats Zero() { return _mm512_setzero_ps(); }
    static Floats Set(float w) { return _mm512_set1_ps(w); }
    static Floats Load(const float* p) { return _mm512_loadu_ps(p); }
    static void Store(float* p, Floats v) { _mm512_storeu_ps(p, v); }
    static Floats Add(Floats a, Floats b) { return _mm512_add_ps(a, b); }
    static Floats Mul(Floats a, Floats b) { return _mm512_mul_ps(a, b); }
    static Floats FromBytes(const uint8_t* p) {
        return _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
    }
    // Rule R as a clamp around the rounding to even: 255 first (NaN stays NaN,
    // as the minimum keeps its second operand), the conversion rounds in the
    // instruction whatever the rounding mode (NaN gives the least integer),
    // and 0 last, which also takes every value up to 0.5.
    static void StoreRuleR(uint8_t* p, Floats f) {
        const __m512 capped = _mm512_min_ps(_mm512_set1_ps(255.0f), f);
        const __m512i v = _mm512_cvt_roundps_epi32(capped, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p),
                         _mm512_cvtepi32_epi8(_mm512_max_epi32(v, _mm512_setzero_si512())));
    }
    static Words WordsZero() { return _mm512_setzero_si512(); }
    static Words WordsSet(int16_t w) { return _mm512_set1_epi16(w); }
    static Words WordsFromBytes(const uint8_t* p) {
        return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
    }
    static Words MulAdd(Words sum, Words v, Words w) {
        return _mm512_add_epi16(sum, _mm512_mullo_epi16(v, w));
    }
    static void StoreClamped(uint8_t* p, Words v) {
        const __m512i clamped = _mm512_max_epi16(v, _mm512_setzero_si512());
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_cvtusepi16_epi8(clamped));
    }
};
#endif

struct Window {
    int32_t width, height;  // of the kernel
    int32_t left, top;      // pixels of the window left of and above the output pixel
};

template <class V>
void ConvolveWholeNumbers(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                          int32_t destinationPitch, int32_t width, int32_t height, const float* kernel,
                          const int16_t* weights, const Window& window) {
    const int32_t taps = window.width * window.height;
    constexpr int32_t kPixels = V::kWords / 4;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* topLeft =
            RowAt(source, sourcePitch, y - window.top) - static_cast<intptr_t>(window.left) * 4;
        uint8_t* out = RowAt(destination, destinationPitch, y);
        int32_t x = 0;
        for (; x + 2 * kPixels <= width; x += 2 * kPixels) {
            typename V::Words s0 = V::WordsZero(), s1 = s0;
            int32_t k = taps - 1;
            for (int32_t j = 0; j < window.height; ++j) {
                const uint8_t* row = RowAt(topLeft, sourcePitch, j) + 4 * x;
                for (int32_t i = 0; i < window.width; ++i, --k) {
                    const typename V::Words w = V::WordsSet(weights[k]);
                    s0 = V::MulAdd(s0, V::WordsFromBytes(row + 4 * i), w);
                    s1 = V::MulAdd(s1, V::WordsFromBytes(row + 4 * i + V::kWords), w);
                }
            }
            V::StoreClamped(out + 4 * x, s0);
            V::StoreClamped(out + 4 * x + V::kWords, s1);
        }
        for (; x < width; ++x)
            ConvolvePixel(topLeft + 4 * x, sourcePitch, kernel, window.width, window.height, out + 4 * x);
    }
}

// Four float vectors a step, so that the serial sums of different pixels
// overlap; every lane adds its products in the reference order.
template <class V>
void ConvolveFloats(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                    int32_t destinationPitch, int32_t width, int32_t height, const float* kernel,
                    const Window& window) {
    const int32_t taps = window.width * window.height;
    constexpr int32_t kPixels = V::kFloats;  // four vectors of V::kFloats / 4 pixels
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* topLeft =
            RowAt(source, sourcePitch, y - window.top) - static_cast<intptr_t>(window.left) * 4;
        uint8_t* out = RowAt(destination, destinationPitch, y);
        int32_t x = 0;
        for (; x + kPixels <= width; x += kPixels) {
            typename V::Floats s0 = V::Zero(), s1 = s0, s2 = s0, s3 = s0;
            int32_t k = taps - 1;
            for (int32_t j = 0; j < window.height; ++j) {
                const uint8_t* row = RowAt(topLeft, sourcePitch, j) + 4 * x;
                for (int32_t i = 0; i < window.width; ++i, --k) {
                    const typename V::Floats w = V::Set(kernel[k]);
                    const uint8_t* p = row + 4 * i;
                    s0 = V::Add(s0, V::Mul(V::FromBytes(p), w));
                    s1 = V::Add(s1, V::Mul(V::FromBytes(p + V::kFloats), w));
                    s2 = V::Add(s2, V::Mul(V::FromBytes(p + 2 * V::kFloats), w));
                    s3 = V::Add(s3, V::Mul(V::FromBytes(p + 3 * V::kFloats), w));
                }
            }
            uint8_t* o = out + 4 * x;
            V::StoreRuleR(o, s0);
            V::StoreRuleR(o + V::kFloats, s1);
            V::StoreRuleR(o + 2 * V::kFloats, s2);
            V::StoreRuleR(o + 3 * V::kFloats, s3);
        }
        for (; x < width; ++x)
            ConvolvePixel(topLeft + 4 * x, sourcePitch, kernel, window.width, window.height, out + 4 * x);
    }
}

template <class V>
void Convolve(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
              int32_t width, int32_t height, const float* kernel, int32_t kernelWidth, int32_t kernelHeight,
              int32_t anchorX, int32_t anchorY) {
    const Window window{kernelWidth, kernelHeight, kernelWidth - anchorX - 1, kernelHeight - anchorY - 1};
    const int32_t taps = kernelWidth * kernelHeight;
    // A whole-number kernel has at most 128 taps that are not 0; larger ones
    // are left to the float form rather than scanned into a large array.
    constexpr int32_t kMostWholeNumberTaps = 1024;
    int16_t weights[kMostWholeNumberTaps];
    if (taps <= kMostWholeNumberTaps && WholeNumberWeights(kernel, taps, weights)) {
        ConvolveWholeNumbers<V>(source, sourcePitch, destination, destinationPitch, width, height, kernel,
                                weights, window);
    } else {
        ConvolveFloats<V>(source, sourcePitch, destination, destinationPitch, width, height, kernel, window);
    }
}

}  // namespace convolve
}  // namespace
}  // namespace halcyra

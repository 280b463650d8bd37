// Per-pixel formulas of the pixel routines, shared by the reference bodies and
// by the scalar tails of every SIMD variant, so that a tail can never compute
// differently from the body it finishes. Internal linkage on purpose: each
// file compiles its own copy with its own instruction-set flags, and the
// linker can never hand a wider-ISA copy to a reference caller.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "picture/kernels/KernelTable.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

inline uint8_t* RowAt(uint8_t* base, int32_t pitch, int32_t row) {
    return base + static_cast<intptr_t>(pitch) * row;
}
inline const uint8_t* RowAt(const uint8_t* base, int32_t pitch, int32_t row) {
    return base + static_cast<intptr_t>(pitch) * row;
}

inline uint8_t AddBytePixel(uint32_t a, uint32_t b, int32_t shift) {
    if (shift == 0) {
        const uint32_t s = a + b;
        return static_cast<uint8_t>(s > 255 ? 255 : s);
    }
    return AverageHalfEven(a, b);
}

// The weighted sum of two bytes in 255ths: the first scaled by a, the second
// by b, added with saturation. The scaled first byte is returned too, since the
// blend leaves it in the first picture.
inline uint8_t BlendBytePixel(uint32_t first, uint32_t second, uint32_t weightA, uint32_t weightB,
                              uint8_t& scaledFirst) {
    const uint32_t a = Div255(first * weightA);
    const uint32_t s = a + Div255(second * weightB);
    scaledFirst = static_cast<uint8_t>(a);
    return static_cast<uint8_t>(s > 255 ? 255 : s);
}

// New alpha min(255, (alpha * factor) >> 8), then colour (c * new alpha) >> 8.
// Any factor is allowed: the product wraps in 32 bits and shifts arithmetically,
// so a negative alpha can arise, and every result keeps only its low byte. The
// colour products cannot overflow, as the new alpha is at least -2^23. Reads
// the whole pixel before writing, so the output may be the input.
inline void ScaleAlphaPixel(const uint8_t* in, uint8_t* out, int32_t factor) {
    const int32_t alpha = std::min(255, WrapMul(in[3], factor) >> 8);
    const uint8_t c0 = static_cast<uint8_t>((in[0] * alpha) >> 8);
    const uint8_t c1 = static_cast<uint8_t>((in[1] * alpha) >> 8);
    const uint8_t c2 = static_cast<uint8_t>((in[2] * alpha) >> 8);
    out[0] = c0;
    out[1] = c1;
    out[2] = c2;
    out[3] = static_cast<uint8_t>(alpha);
}

// (a * wa + b * wb) >> 8; saturation only matters when wa + wb > 255, since
// below that the sum stays under 256 * 255.
inline uint8_t MixBytePixel(uint32_t a, uint32_t b, uint32_t weightA, uint32_t weightB) {
    const uint32_t s = (a * weightA + b * weightB) >> 8;
    return static_cast<uint8_t>(s > 255 ? 255 : s);
}

// Straight alpha (mode 0) and premultiplied (mode 6) "first over second". All
// inputs are read before anything is written, so the output may alias either.
inline void AlphaCompositePixel(const uint8_t* first, const uint8_t* second, uint8_t* out, int32_t mode) {
    const uint32_t aa = first[3];
    const uint32_t ab = second[3];
    const uint32_t inverse = 255 - aa;
    uint8_t result[4];
    for (int c = 0; c < 3; ++c) {
        if (mode == 0) {
            result[c] =
                static_cast<uint8_t>(Div255(first[c] * aa) + Div255(Div255(second[c] * ab) * inverse));
        } else {
            const uint32_t s = first[c] + Div255(second[c] * inverse);
            result[c] = static_cast<uint8_t>(s > 255 ? 255 : s);
        }
    }
    result[3] = static_cast<uint8_t>(aa + Div255(ab * inverse));
    out[0] = result[0];
    out[1] = result[1];
    out[2] = result[2];
    out[3] = result[3];
}

inline void RgbToHsvPixel(const uint8_t* in, uint8_t* out) {
    const int32_t r = in[0];
    const int32_t g = in[1];
    const int32_t b = in[2];
    const int32_t v = r > g ? (r > b ? r : b) : (g > b ? g : b);
    const int32_t m = r < g ? (r < b ? r : b) : (g < b ? g : b);
    const int32_t c = v - m;
    int32_t hue = 0;
    int32_t saturation = 0;
    if (v != 0 && c != 0) {
        const float fc = static_cast<float>(c);
        saturation = TruncToInt32(fc / static_cast<float>(v) * 255.0f + 0.5f);
        const float rr = static_cast<float>(v - r) / fc;
        const float gg = static_cast<float>(v - g) / fc;
        const float bb = static_cast<float>(v - b) / fc;
        float h;
        if (b == v) {
            h = 4.0f - rr + gg;
        } else if (g == v) {
            h = rr + 2.0f - bb;
        } else {
            h = static_cast<float>(g - b) / fc;
        }
        h = h * 255.0f / 6.0f;
        if (h < 0.0f) h += 255.0f;
        hue = TruncToInt32(h + 0.5f);
    }
    out[0] = static_cast<uint8_t>(hue);
    out[1] = static_cast<uint8_t>(saturation);
    out[2] = static_cast<uint8_t>(v);
}

inline void HsvToRgbPixel(const uint8_t* in, uint8_t* out) {
    const int32_t hue = in[0];
    const int32_t saturation = in[1];
    const int32_t value = in[2];
    if (saturation == 0) {
        out[0] = out[1] = out[2] = static_cast<uint8_t>(value);
        return;
    }
    const float s = static_cast<float>(saturation) / 255.0f;
    const float v = static_cast<float>(value);
    const float f = hue == 255 ? 0.0f : static_cast<float>(hue) * 360.0f / 255.0f / 60.0f;
    const float whole = std::floor(f);
    const int32_t i = TruncToInt32(whole);
    const float t = f - whole;
    const float p = (1.0f - s) * v;
    const float q = (1.0f - s * t) * v;
    const float u = (1.0f - s * (1.0f - t)) * v;
    float o0, o1, o2;
    switch (i) {
        case 0:
            o0 = v, o1 = u, o2 = p;
            break;
        case 1:
            o0 = q, o1 = v, o2 = p;
            break;
        case 2:
            o0 = p, o1 = v, o2 = u;
            break;
        case 3:
            o0 = p, o1 = q, o2 = v;
            break;
        case 4:
            o0 = u, o1 = p, o2 = v;
            break;
        default:
            o0 = v, o1 = p, o2 = q;
            break;
    }
    out[0] = static_cast<uint8_t>(TruncToInt32(o0 + 0.5f));
    out[1] = static_cast<uint8_t>(TruncToInt32(o1 + 0.5f));
    out[2] = static_cast<uint8_t>(TruncToInt32(o2 + 0.5f));
}

// The separable filters' result for a 32-bit sum (wrapped, as the sum is).
inline uint8_t FilterFinish(uint32_t sum, const FilterDivisor& divisor) {
    const int32_t s = static_cast<int32_t>(sum);
    switch (divisor.kind) {
        case FilterDivisor::kOne:
            return ClampToByte(s);
        case FilterDivisor::kShift: {
            if (s <= 0) return 0;
            const uint32_t q = ShiftRoundHalfEven(static_cast<uint32_t>(s), divisor.shift);
            return static_cast<uint8_t>(q > 255 ? 255 : q);
        }
        default:
            return RoundRuleR(static_cast<float>(s) * divisor.inverse);
    }
}

inline uint8_t MeanFinish(uint32_t sum, int32_t maskCode) {
    if (maskCode == 55) return static_cast<uint8_t>(((sum + 13) * 10485) >> 18);
    return static_cast<uint8_t>(((sum + 4) * 7282) >> 16);
}

// One output pixel of the 2D float convolution, all four channels: the window
// row by row, the kernel from its last element back.
inline void ConvolvePixel(const uint8_t* windowTopLeft, int32_t pitch, const float* kernel,
                          int32_t kernelWidth, int32_t kernelHeight, uint8_t* out) {
    float sum[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    int32_t k = kernelWidth * kernelHeight - 1;
    for (int32_t j = 0; j < kernelHeight; ++j) {
        const uint8_t* row = RowAt(windowTopLeft, pitch, j);
        for (int32_t i = 0; i < kernelWidth; ++i, --k) {
            const float w = kernel[k];
            for (int c = 0; c < 4; ++c) sum[c] = sum[c] + static_cast<float>(row[i * 4 + c]) * w;
        }
    }
    for (int c = 0; c < 4; ++c) out[c] = RoundRuleR(sum[c]);
}

}  // namespace
}  // namespace halcyra

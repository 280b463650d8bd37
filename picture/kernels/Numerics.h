// The small exact formulas that every pixel routine and effect shares: float to
// integer conversion with the processor's "integer indefinite" answer, division
// by 255, rounding, saturation. Each lives here once so that the reference
// routines and their SIMD variants cannot drift apart.
#pragma once

#include <cmath>
#include <cstdint>

namespace halcyra {

// Truncates toward zero. NaN, infinities and values outside the int32 range give
// INT32_MIN, as the x86 conversion instructions do, without undefined behaviour.
inline int32_t TruncToInt32(double v) {
    if (!(v > -2147483649.0 && v < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(v);
}
inline int32_t TruncToInt32(float v) {
    return TruncToInt32(static_cast<double>(v));
}

inline int64_t TruncToInt64(double v) {
    if (!(v >= -9223372036854775808.0 && v < 9223372036854775808.0)) return INT64_MIN;
    return static_cast<int64_t>(v);
}
inline int64_t TruncToInt64(float v) {
    return TruncToInt64(static_cast<double>(v));
}

// Conversion to an unsigned 32-bit target: through the 64-bit truncation, low bits kept.
inline uint32_t TruncToUint32(double v) {
    return static_cast<uint32_t>(TruncToInt64(v));
}

// Wrapping 32-bit arithmetic for values that may already be INT32_MIN.
inline int32_t WrapAdd(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
inline int32_t WrapSub(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
inline int32_t WrapMul(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

// x / 255 for 0 <= x <= 255 * 255 (and a little beyond), exact.
inline uint32_t Div255(uint32_t x) {
    return (x + (x >> 8) + 1) >> 8;
}

inline int32_t ClampInt(int32_t v, int32_t lo, int32_t hi) {
    return v < lo ? lo : (v > hi ? hi : v);
}
inline uint8_t ClampToByte(int32_t v) {
    return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
}

// Round half to even, as the processor's default rounding mode does.
inline int32_t RoundHalfEven(double v) {
    if (!(v > -2147483649.0 && v < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(std::nearbyint(v));
}

// Rounding rule R of the float kernels: 255 from 255.0 up, 0 up to 0.5, otherwise
// the nearest integer with halves to the even one. NaN gives the low byte of the
// integer indefinite value, 0, as the vector conversions do.
inline uint8_t RoundRuleR(float f) {
    if (f >= 255.0f) return 255;
    if (!(f > 0.5f)) return 0;
    int32_t v = TruncToInt32(f + 0.5f);
    if (static_cast<float>(v) - f == 0.5f && (v & 1) != 0) v -= 1;
    return static_cast<uint8_t>(v);
}

// s / 2^shift with halves rounded to the even value, for s >= 0 and 1 <= shift <= 30.
inline uint32_t ShiftRoundHalfEven(uint32_t s, uint32_t shift) {
    const uint32_t half = 1u << (shift - 1);
    const uint32_t q = s >> shift;
    const uint32_t rest = s & ((half << 1) - 1);
    return q + ((rest > half || (rest == half && (q & 1) != 0)) ? 1u : 0u);
}

// The rounded mean of two bytes: (s + ((s >> 1) & 1)) >> 1 with s = a + b.
inline uint8_t AverageHalfEven(uint32_t a, uint32_t b) {
    const uint32_t s = a + b;
    return static_cast<uint8_t>((s + ((s >> 1) & 1)) >> 1);
}

}  // namespace halcyra

// The small value types and status codes that every flat pixel routine shares:
// sizes and rectangles in pixels, and the 32-bit statuses the routines return.
#pragma once

#include <cstdint>

#include "frame/EffectInterfaces.h"  // kStatusOk, 0, is shared with the host-facing statuses

namespace halcyra {

// Width then height, in pixels.
struct KernelSize {
    int32_t width;
    int32_t height;
};

// A position inside a kernel or mask: column then row.
struct KernelPoint {
    int32_t x;
    int32_t y;
};

struct KernelRect {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

// The constants of the glow's bloom; bound is the colour per byte of a pixel
// (blue, green, red).
struct BloomParameters {
    int32_t gain;
    int32_t threshold;
    int32_t bound[3];
};

// Statuses. Negative values write nothing; the two positive warnings also write nothing.
inline constexpr int32_t kStatusNullPointer = -8;
inline constexpr int32_t kStatusBadSize = -6;
inline constexpr int32_t kStatusBadPitch = -14;
inline constexpr int32_t kStatusZeroDivisor = -51;
// An argument other than a pointer, size or pitch that the routine cannot use
// (an unknown mode or shift, an anchor outside its kernel, a border that does
// not fit, a state made for narrower rows).
inline constexpr int32_t kStatusBadArgument = -13;
// A routine could not get its temporary memory.
inline constexpr int32_t kStatusNoMemory = -9;
inline constexpr int32_t kStatusSingularMatrix = -56;
inline constexpr int32_t kStatusRectTooSmall = -57;
inline constexpr int32_t kStatusResizeTooSmall = -201;
inline constexpr int32_t kWarningNoSourceOverlap = 29;
inline constexpr int32_t kWarningNoDestinationOverlap = 30;

}  // namespace halcyra

// Inside the warps and the resize routines: the per-pixel samplers (rule B,
// nearest, rule C) that every variant shares for its scalar tail, and the
// per-class table of row routines that carry the pixel loops. Entry points
// pick the table once per call; tests reach each class through WarpTableFor.
#pragma once

#include <cstdint>

#include "picture/kernels/CpuClass.h"
#include "picture/kernels/KernelPixel.h"
#include "picture/kernels/KernelTypes.h"
#include "picture/kernels/Numerics.h"
#include "picture/kernels/Warp.h"

namespace halcyra::warp {

// The picture a sampler reads: every pixel of width x height is readable.
struct SourceView {
    const uint8_t* data;
    int32_t width;
    int32_t height;
    int32_t pitch;
};

// Where rule B reads: the top left of the 2 x 2 block and the two weights.
// The clamps of ix and iy at 0 keep the reads inside the picture when a
// position is not a number or far outside.
struct BilinearPlace {
    const uint8_t* topLeft;
    double fx;
    double fy;
};
inline BilinearPlace BilinearPlaceOf(const SourceView& s, double sx, double sy, int32_t bytesPerPixel) {
    int32_t ix = TruncToInt32(sx + 0.0000001);
    int32_t iy = TruncToInt32(sy + 0.0000001);
    double fx = 1.0;
    double fy = 1.0;
    if (ix < s.width - 1) {
        fx = sx - static_cast<double>(ix);
    } else {
        ix = s.width - 2;
    }
    if (iy < s.height - 1) {
        fy = sy - static_cast<double>(iy);
    } else {
        iy = s.height - 2;
    }
    if (ix < 0) ix = 0;
    if (iy < 0) iy = 0;
    return {s.data + static_cast<intptr_t>(s.pitch) * iy + static_cast<intptr_t>(ix) * bytesPerPixel, fx, fy};
}

// Rule B's sums for the four bytes of a pixel: p0 holds the pixel and its right
// neighbour, p1 the two below them.
inline void BlendBilinear4(const uint8_t* p0, const uint8_t* p1, double fx, double fy, uint8_t* out) {
    for (int32_t c = 0; c < 4; ++c) {
        const double top = p0[c] + static_cast<double>(p0[c + 4] - p0[c]) * fx;
        const double bottom = p1[c] + static_cast<double>(p1[c + 4] - p1[c]) * fx;
        out[c] = static_cast<uint8_t>(TruncToInt32((bottom - top) * fy + 0.5 + top));
    }
}

// Rule B for 4-byte pixels, in doubles.
inline void SampleBilinear4(const SourceView& s, double sx, double sy, uint8_t* out) {
    const BilinearPlace place = BilinearPlaceOf(s, sx, sy, 4);
    BlendBilinear4(place.topLeft, place.topLeft + s.pitch, place.fx, place.fy, out);
}

// Rule B over the shaded source: each of the four pixels read is first put
// through ScaleAlphaPixel with the factor, exactly as a shaded copy of the
// source would hold it.
inline void SampleBilinear4Shaded(const SourceView& s, double sx, double sy, int32_t factor, uint8_t* out) {
    const BilinearPlace place = BilinearPlaceOf(s, sx, sy, 4);
    uint8_t top[8];
    uint8_t bottom[8];
    for (int32_t k = 0; k < 8; k += 4) {
        ScaleAlphaPixel(place.topLeft + k, top + k, factor);
        ScaleAlphaPixel(place.topLeft + s.pitch + k, bottom + k, factor);
    }
    BlendBilinear4(top, bottom, place.fx, place.fy, out);
}

// Rule B for 1-byte pixels.
inline void SampleBilinear1(const SourceView& s, double sx, double sy, uint8_t* out) {
    const BilinearPlace place = BilinearPlaceOf(s, sx, sy, 1);
    const uint8_t* p0 = place.topLeft;
    const uint8_t* p1 = p0 + s.pitch;
    const double top = p0[0] + static_cast<double>(p0[1] - p0[0]) * place.fx;
    const double bottom = p1[0] + static_cast<double>(p1[1] - p1[0]) * place.fx;
    *out = static_cast<uint8_t>(TruncToInt32((bottom - top) * place.fy + 0.5 + top));
}

inline int32_t ClampIndex(int64_t i, int32_t size) {
    return static_cast<int32_t>(i < 0 ? 0 : (i >= size ? size - 1 : i));
}

// The pixel at the nearest position; out of range positions read the rim.
template <int32_t kChannels>
inline void SampleNearest(const SourceView& s, double sx, double sy, uint8_t* out) {
    const int32_t ix = ClampIndex(TruncToInt32(sx + 0.5), s.width);
    const int32_t iy = ClampIndex(TruncToInt32(sy + 0.5), s.height);
    const uint8_t* p = s.data + static_cast<intptr_t>(s.pitch) * iy + static_cast<intptr_t>(ix) * kChannels;
    for (int32_t c = 0; c < kChannels; ++c) out[c] = p[c];
}

// The part of rule C's cubic that depends on t alone, so that a resize works
// it out once per column and once per row: t + 1, a = t (t + 1) / 2 and
// (t - 1) a / 3, each as the formula computes it.
struct CubicWeights {
    float rise;
    float a;
    float bend;
};
inline CubicWeights CubicWeightsOf(float t) {
    const float a = t * (t + 1.0f) / 2.0f;
    return {t + 1.0f, a, (t - 1.0f) * a / 3.0f};
}

// The cubic through f0..f3 at -1, 0, 1, 2 in forward-difference form, at the
// t of the weights: the differences d1..d3, which do not depend on t, then
// their sum. Byte samples give exact differences, so a variant may form them
// in integers.
struct CubicDifferences {
    float d1;
    float d2;
    float d3;
};
inline CubicDifferences CubicDifferencesOf(float f0, float f1, float f2, float f3) {
    const float d1 = f1 - f0;
    const float d2 = (f2 - f1) - d1;
    return {d1, d2, ((f1 - f2) - f2 + f3) - d2};
}
inline float CubicSum(float f0, const CubicDifferences& d, const CubicWeights& w) {
    return f0 + w.rise * d.d1 + w.a * d.d2 + w.bend * d.d3;
}
inline float CubicValue(float f0, float f1, float f2, float f3, const CubicWeights& w) {
    return CubicSum(f0, CubicDifferencesOf(f0, f1, f2, f3), w);
}

// The vertical end of rule C: the value + 0.5000001, truncated, into a byte.
inline uint8_t CubicByte(float value) {
    return ClampToByte(TruncToInt32(value + 0.5000001f));
}

// Rule C's whole part of a position, and t, the float offset from it.
struct CubicPlace {
    int32_t index;
    float t;
};
inline CubicPlace CubicPlaceOf(double position) {
    const int32_t index = TruncToInt32(position + 0.0000001);
    return {index, static_cast<float>(position - static_cast<double>(index))};
}

// Rule C: rows first, then down the columns, in floats; taps past the rim
// read the nearest pixel.
template <int32_t kChannels>
inline void SampleCubic(const SourceView& s, double sx, double sy, uint8_t* out) {
    const CubicPlace px = CubicPlaceOf(sx);
    const CubicPlace py = CubicPlaceOf(sy);
    const CubicWeights wx = CubicWeightsOf(px.t);
    const CubicWeights wy = CubicWeightsOf(py.t);
    int32_t columns[4];
    int32_t rows[4];
    for (int32_t k = 0; k < 4; ++k) {
        columns[k] = ClampIndex(static_cast<int64_t>(px.index) - 1 + k, s.width);
        rows[k] = ClampIndex(static_cast<int64_t>(py.index) - 1 + k, s.height);
    }
    for (int32_t c = 0; c < kChannels; ++c) {
        float across[4];
        for (int32_t r = 0; r < 4; ++r) {
            const uint8_t* row = s.data + static_cast<intptr_t>(s.pitch) * rows[r] + c;
            across[r] = CubicValue(row[columns[0] * kChannels], row[columns[1] * kChannels],
                                   row[columns[2] * kChannels], row[columns[3] * kChannels], wx);
        }
        out[c] = CubicByte(CubicValue(across[0], across[1], across[2], across[3], wy));
    }
}

// Rule C for a whole 4-byte resize, split in its passes. A horizontal pass
// turns one source row into floats, four per output column; output rows that
// share a source row share its pass, and the vertical pass mixes four such
// rows per output row. The columns' part is worked out once per call: for
// output column x the four source columns taps[k][x] and, for each of its four
// floats (index 4x + c), the weights rise, a and bend of its t.
struct CubicColumns {
    const int32_t* taps[4];
    const float* rise;
    const float* a;
    const float* bend;
};

// The affine inverse and the start of a span row: sx, sy at column xFirst.
struct AffineInverse {
    double a00, a01, a02, a10, a11, a12;
};
inline double AffineRowStartX(const AffineInverse& a, int32_t xFirst, int32_t y) {
    return a.a00 * xFirst + a.a01 * y + a.a02;
}
inline double AffineRowStartY(const AffineInverse& a, int32_t xFirst, int32_t y) {
    return a.a10 * xFirst + a.a11 * y + a.a12;
}

// The projective inverse, row by row: a0..a8.
struct ProjectiveInverse {
    double a[9];
};
inline void ProjectivePosition(const ProjectiveInverse& m, double x, double y, double& u, double& v) {
    const double s = m.a[6] * x + m.a[7] * y + m.a[8];
    u = (m.a[0] * x + m.a[1] * y + m.a[2]) / s;
    v = (m.a[3] * x + m.a[4] * y + m.a[5]) / s;
}

// One span of destination pixels: columns xFirst to xFirst + count - 1 of row y.
struct SpanRow {
    int32_t y;
    int32_t xFirst;
    int32_t count;
};

// Row routines write `count` 4-byte pixels to `out`, for columns xFirst.. of row y.
using AffineRowFn = void (*)(const SourceView& source, const AffineInverse& inverse, int32_t y,
                             int32_t xFirst, int32_t count, uint8_t* out);
// All spans of an affine warp at once, so that a variant may run several rows
// side by side; destination addresses pixel (0, 0).
using AffineSpansFn = void (*)(const SourceView& source, const AffineInverse& inverse, const SpanRow* rows,
                               int32_t rowCount, uint8_t* destination, int32_t pitch);
using ProjectiveRowFn = void (*)(const SourceView& source, const ProjectiveInverse& inverse, int32_t y,
                                 int32_t xFirst, int32_t count, uint8_t* out);
// The same over the source shaded by a factor that WarpShadingFoldable accepts.
using ProjectiveShadedRowFn = void (*)(const SourceView& source, const ProjectiveInverse& inverse, int32_t y,
                                       int32_t xFirst, int32_t count, int32_t factor, uint8_t* out);
// Resize rows: rule B at positions (xs[k], y) for k < count.
using ResizeRowFn = void (*)(const SourceView& source, const double* xs, double y, int32_t count,
                             uint8_t* out);

// The reference order of an affine warp: row after row, each row's positions
// accumulated from its first pixel.
template <AffineRowFn Row>
void AffineSpansByRows(const SourceView& source, const AffineInverse& inverse, const SpanRow* rows,
                       int32_t rowCount, uint8_t* destination, int32_t pitch) {
    for (int32_t r = 0; r < rowCount; ++r) {
        uint8_t* out = destination + static_cast<intptr_t>(pitch) * rows[r].y +
                       static_cast<intptr_t>(rows[r].xFirst) * 4;
        Row(source, inverse, rows[r].y, rows[r].xFirst, rows[r].count, out);
    }
}

// The horizontal pass of a source row for output columns 0..count - 1, into
// out[4x + c]; the vertical pass of `count` floats of the four rows into bytes.
// When several output rows read the same four rows, the vertical differences
// are formed once (into d[0..2]) and each row only sums them with its weights.
// All may stop early, at a column or float they return, and leave the rest to
// the caller's scalar loop.
using CubicAcrossFn = int32_t (*)(const uint8_t* row, const CubicColumns& columns, int32_t count, float* out);
using CubicDownFn = int32_t (*)(const float* const* rows, const CubicWeights& weights, int32_t count,
                                uint8_t* out);
using CubicDifferencesFn = int32_t (*)(const float* const* rows, int32_t count, float* const* d);
using CubicSumFn = int32_t (*)(const float* f0, const float* const* d, const CubicWeights& weights,
                               int32_t count, uint8_t* out);

struct WarpTable {
    AffineSpansFn affineBilinear;
    ProjectiveRowFn projectiveBilinear;
    ProjectiveShadedRowFn projectiveBilinearShaded;
    ResizeRowFn resizeBilinear4;
    // Null in the reference, which samples rule C pixel by pixel.
    CubicAcrossFn cubicAcross4;
    CubicDownFn cubicDown;
    CubicDifferencesFn cubicDifferences;
    CubicSumFn cubicSum;
};

// The table of a class; classes without their own routines get the nearest
// lower one. Only classes that CpuClassSupported accepts may be run.
const WarpTable& WarpTableFor(CpuClass cpuClass);

namespace reference {
extern const WarpTable kWarpTable;
}
namespace avx2 {
extern const WarpTable kWarpTable;
}
namespace avx512 {
extern const WarpTable kWarpTable;
}

// The entry points with an explicit table, so that tests can run every class.
int32_t WarpAffineWithTable(const WarpTable& table, const uint8_t* source, KernelSize sourceSize,
                            int32_t sourcePitch, KernelRect sourceRect, uint8_t* destination,
                            int32_t destinationPitch, KernelRect destinationRect, const double* coefficients,
                            uint32_t interpolation);
int32_t WarpPerspectiveWithTable(const WarpTable& table, const uint8_t* source, KernelSize sourceSize,
                                 int32_t sourcePitch, KernelRect sourceRect, uint8_t* destination,
                                 int32_t destinationPitch, KernelRect destinationRect, const double* matrix,
                                 uint32_t interpolation);
// shadeFactor: kUnshaded, or a factor that WarpShadingFoldable accepts (with
// bilinear sampling only; -13 otherwise, before anything is written).
inline constexpr int32_t kUnshaded = INT32_MIN;
int32_t WarpPerspectiveIntoQuadWithTable(const WarpTable& table, const uint8_t* source, KernelSize sourceSize,
                                         int32_t sourcePitch, KernelRect sourceRect, uint8_t* destination,
                                         int32_t destinationPitch, KernelRect destinationRect,
                                         const double* quad, const double* matrix, uint32_t interpolation,
                                         int32_t shadeFactor = kUnshaded);
int32_t Resize4WithTable(const WarpTable& table, const uint8_t* source, KernelSize sourceSize,
                         int32_t sourcePitch, KernelRect sourceRect, uint8_t* destination,
                         int32_t destinationPitch, KernelSize destinationSize, double xFactor, double yFactor,
                         uint32_t interpolation, int32_t firstRow = 0);

}  // namespace halcyra::warp

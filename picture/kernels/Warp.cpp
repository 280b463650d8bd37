// The affine and perspective warps: argument checks, the matrix test, the
// inverse mappings, the reference row routines and the per-class tables. The
// pixels to write come from the shared scan conversion, so a face drawn by the
// scene renderer and a picture warped by an effect cover the same pixels.
#include "picture/kernels/Warp.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "picture/kernels/ScanConversion.h"
#include "picture/kernels/WarpRows.h"

namespace halcyra {
namespace warp {
namespace {

// Everything the checks settle before a single pixel is touched.
struct WarpSetup {
    SourceView view;
    int32_t rectX0, rectY0, rectX1, rectY1;  // clipped source rectangle, inclusive
    uint32_t code;
    bool smooth;
    scan::PixelBounds bounds;
};

// c00, c01, c10, c11 sit at indices 0, 1, 3, 4 of both the six affine
// coefficients and the nine projective ones.
bool MatrixUsable(const double* c) {
    const double t = c[0] * c[4];
    const double v = std::fabs(t) > 1e-200 ? (t - c[1] * c[3]) / t : c[1] * c[3];
    return !(std::fabs(v) <= 1e-10);
}

int32_t CheckWarp(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch, KernelRect sourceRect,
                  const uint8_t* destination, int32_t destinationPitch, KernelRect destinationRect,
                  const double* coefficients, uint32_t interpolation, bool projective, WarpSetup& setup) {
    if (source == nullptr || destination == nullptr || coefficients == nullptr) return kStatusNullPointer;
    if (sourceSize.width <= 0 || sourceSize.height <= 0 || sourceRect.width <= 0 || sourceRect.height <= 0 ||
        destinationRect.width <= 0 || destinationRect.height <= 0 || destinationRect.x < 0 ||
        destinationRect.y < 0)
        return kStatusBadSize;
    const int64_t destinationRight = static_cast<int64_t>(destinationRect.x) + destinationRect.width;
    const int64_t destinationBottom = static_cast<int64_t>(destinationRect.y) + destinationRect.height;
    if (destinationRight > INT32_MAX || destinationBottom > INT32_MAX) return kStatusBadSize;
    if (static_cast<int64_t>(sourcePitch) < static_cast<int64_t>(sourceSize.width) * 4 ||
        static_cast<int64_t>(destinationPitch) < destinationRight * 4)
        return kStatusBadPitch;
    uint32_t code = interpolation & ~kInterpolationSmoothEdges;
    if (code != kInterpolationNearest && code != kInterpolationBilinear && code != kInterpolationCubic)
        return kStatusBadArgument;
    if (!MatrixUsable(coefficients)) return kStatusSingularMatrix;
    if (projective && !(std::fabs(coefficients[8]) > 1e-200)) return kStatusSingularMatrix;
    if (sourceSize.width == 1 || sourceSize.height == 1) code = kInterpolationNearest;
    if (code == kInterpolationCubic && (sourceSize.width < 4 || sourceSize.height < 4))
        code = kInterpolationBilinear;
    if (sourceRect.x >= sourceSize.width || sourceRect.y >= sourceSize.height) return kWarningNoSourceOverlap;
    const int64_t x0 = sourceRect.x < 0 ? 0 : sourceRect.x;
    const int64_t y0 = sourceRect.y < 0 ? 0 : sourceRect.y;
    const int64_t x1 =
        std::min<int64_t>(static_cast<int64_t>(sourceRect.x) + sourceRect.width, sourceSize.width);
    const int64_t y1 =
        std::min<int64_t>(static_cast<int64_t>(sourceRect.y) + sourceRect.height, sourceSize.height);
    if (x1 - x0 < 2 || y1 - y0 < 2) return kStatusRectTooSmall;
    setup.view = {source, sourceSize.width, sourceSize.height, sourcePitch};
    setup.rectX0 = static_cast<int32_t>(x0);
    setup.rectY0 = static_cast<int32_t>(y0);
    setup.rectX1 = static_cast<int32_t>(x1 - 1);
    setup.rectY1 = static_cast<int32_t>(y1 - 1);
    setup.code = code;
    setup.smooth = (interpolation & kInterpolationSmoothEdges) != 0;
    setup.bounds = {destinationRect.x, destinationRect.y, static_cast<int32_t>(destinationRight - 1),
                    static_cast<int32_t>(destinationBottom - 1)};
    return kStatusOk;
}

AffineInverse InvertAffine(const double* c) {
    const double c00 = c[0], c01 = c[1], c02 = c[2], c10 = c[3], c11 = c[4], c12 = c[5];
    const double det = c00 * c11 - c01 * c10;
    return {c11 / det,  -c01 / det, (c01 * c12 - c11 * c02) / det,
            -c10 / det, c00 / det,  (c10 * c02 - c00 * c12) / det};
}

ProjectiveInverse InvertProjective(const double* c) {
    const double adj[9] = {c[4] * c[8] - c[5] * c[7], c[2] * c[7] - c[1] * c[8], c[1] * c[5] - c[2] * c[4],
                           c[5] * c[6] - c[3] * c[8], c[0] * c[8] - c[2] * c[6], c[2] * c[3] - c[0] * c[5],
                           c[3] * c[7] - c[4] * c[6], c[1] * c[6] - c[0] * c[7], c[0] * c[4] - c[1] * c[3]};
    const double det = c[0] * adj[0] + c[1] * adj[3] + c[2] * adj[6];
    ProjectiveInverse inverse;
    for (int32_t k = 0; k < 9; ++k) inverse.a[k] = adj[k] / det;
    return inverse;
}

// The source rectangle's corners as pixel positions, in quad order.
void RectCorners(const WarpSetup& setup, double xs[4], double ys[4]) {
    xs[0] = setup.rectX0, ys[0] = setup.rectY0;
    xs[1] = setup.rectX1, ys[1] = setup.rectY0;
    xs[2] = setup.rectX1, ys[2] = setup.rectY1;
    xs[3] = setup.rectX0, ys[3] = setup.rectY1;
}

template <void (*Sample)(const SourceView&, double, double, uint8_t*)>
void AffineRowGeneric(const SourceView& s, const AffineInverse& a, int32_t y, int32_t xFirst, int32_t count,
                      uint8_t* out) {
    double sx = AffineRowStartX(a, xFirst, y);
    double sy = AffineRowStartY(a, xFirst, y);
    for (int32_t k = 0; k < count; ++k, out += 4) {
        Sample(s, sx, sy, out);
        sx += a.a00;
        sy += a.a10;
    }
}

template <void (*Sample)(const SourceView&, double, double, uint8_t*)>
void ProjectiveRowGeneric(const SourceView& s, const ProjectiveInverse& m, int32_t y, int32_t xFirst,
                          int32_t count, uint8_t* out) {
    const double row = y;
    for (int32_t k = 0; k < count; ++k, out += 4) {
        double u = 0.0;
        double v = 0.0;
        ProjectivePosition(m, static_cast<double>(xFirst + k), row, u, v);
        Sample(s, u, v, out);
    }
}

void ProjectiveRowBilinearShaded(const SourceView& s, const ProjectiveInverse& m, int32_t y, int32_t xFirst,
                                 int32_t count, int32_t factor, uint8_t* out) {
    const double row = y;
    for (int32_t k = 0; k < count; ++k, out += 4) {
        double u = 0.0;
        double v = 0.0;
        ProjectivePosition(m, static_cast<double>(xFirst + k), row, u, v);
        SampleBilinear4Shaded(s, u, v, factor, out);
    }
}

void ResizeRowBilinear4Reference(const SourceView& s, const double* xs, double y, int32_t count,
                                 uint8_t* out) {
    for (int32_t k = 0; k < count; ++k) SampleBilinear4(s, xs[k], y, out + 4 * k);
}

// Scan-converts the destination quadrangle and hands its spans to `fill`; the
// edge pass follows when asked. 30 when no pixel lies inside.
template <class FillFn>
int32_t FillQuad(const WarpSetup& setup, uint8_t* destination, int32_t destinationPitch,
                 const scan::QuadPoint quad[4], FillFn&& fill) {
    const int32_t winding = scan::QuadWinding(quad);
    if (winding == 0) return kStatusImproperQuad;
    scan::ClippedPolygon polygon;
    scan::ClipQuad(quad, setup.bounds, polygon);
    if (polygon.count == 0) return kWarningNoDestinationOverlap;
    std::vector<SpanRow> rows;
    scan::ForEachSpan(polygon, setup.bounds, [&](int32_t y, int32_t xFirst, int32_t xLast) {
        rows.push_back({y, xFirst, xLast - xFirst + 1});
    });
    if (rows.empty()) return kWarningNoDestinationOverlap;
    fill(rows.data(), static_cast<int32_t>(rows.size()));
    if (setup.smooth) scan::EdgePass(polygon, winding, destination, destinationPitch, setup.bounds);
    return kStatusOk;
}

// Without shading when shadeFactor is kUnshaded; with it only bilinear
// sampling is offered, which the caller has checked.
int32_t FillProjective(const WarpTable& table, const WarpSetup& setup, uint8_t* destination,
                       int32_t destinationPitch, const scan::QuadPoint quad[4],
                       const ProjectiveInverse& inverse, int32_t shadeFactor) {
    ProjectiveRowFn rowFn = table.projectiveBilinear;
    if (setup.code == kInterpolationNearest) rowFn = ProjectiveRowGeneric<SampleNearest<4>>;
    if (setup.code == kInterpolationCubic) rowFn = ProjectiveRowGeneric<SampleCubic<4>>;
    const ProjectiveShadedRowFn shadedFn = table.projectiveBilinearShaded;
    const bool shaded = shadeFactor != kUnshaded;
    return FillQuad(setup, destination, destinationPitch, quad, [&](const SpanRow* rows, int32_t rowCount) {
        for (int32_t r = 0; r < rowCount; ++r) {
            uint8_t* out = destination + static_cast<intptr_t>(destinationPitch) * rows[r].y +
                           static_cast<intptr_t>(rows[r].xFirst) * 4;
            if (shaded) {
                shadedFn(setup.view, inverse, rows[r].y, rows[r].xFirst, rows[r].count, shadeFactor, out);
            } else {
                rowFn(setup.view, inverse, rows[r].y, rows[r].xFirst, rows[r].count, out);
            }
        }
    });
}

}  // namespace

int32_t WarpAffineWithTable(const WarpTable& table, const uint8_t* source, KernelSize sourceSize,
                            int32_t sourcePitch, KernelRect sourceRect, uint8_t* destination,
                            int32_t destinationPitch, KernelRect destinationRect, const double* coefficients,
                            uint32_t interpolation) {
    WarpSetup setup;
    const int32_t status =
        CheckWarp(source, sourceSize, sourcePitch, sourceRect, destination, destinationPitch, destinationRect,
                  coefficients, interpolation, false, setup);
    if (status != kStatusOk) return status;
    const double* c = coefficients;
    double xs[4];
    double ys[4];
    RectCorners(setup, xs, ys);
    scan::QuadPoint quad[4];
    for (int32_t k = 0; k < 4; ++k)
        quad[k] = {c[0] * xs[k] + c[1] * ys[k] + c[2], c[3] * xs[k] + c[4] * ys[k] + c[5]};
    const AffineInverse inverse = InvertAffine(c);
    AffineSpansFn spansFn = table.affineBilinear;
    if (setup.code == kInterpolationNearest) spansFn = AffineSpansByRows<AffineRowGeneric<SampleNearest<4>>>;
    if (setup.code == kInterpolationCubic) spansFn = AffineSpansByRows<AffineRowGeneric<SampleCubic<4>>>;
    return FillQuad(setup, destination, destinationPitch, quad, [&](const SpanRow* rows, int32_t rowCount) {
        spansFn(setup.view, inverse, rows, rowCount, destination, destinationPitch);
    });
}

int32_t WarpPerspectiveWithTable(const WarpTable& table, const uint8_t* source, KernelSize sourceSize,
                                 int32_t sourcePitch, KernelRect sourceRect, uint8_t* destination,
                                 int32_t destinationPitch, KernelRect destinationRect, const double* matrix,
                                 uint32_t interpolation) {
    WarpSetup setup;
    const int32_t status = CheckWarp(source, sourceSize, sourcePitch, sourceRect, destination,
                                     destinationPitch, destinationRect, matrix, interpolation, true, setup);
    if (status != kStatusOk) return status;
    const double* c = matrix;
    double xs[4];
    double ys[4];
    RectCorners(setup, xs, ys);
    scan::QuadPoint quad[4];
    for (int32_t k = 0; k < 4; ++k) {
        const double w = c[6] * xs[k] + c[7] * ys[k] + c[8];
        quad[k] = {(c[0] * xs[k] + c[1] * ys[k] + c[2]) / w, (c[3] * xs[k] + c[4] * ys[k] + c[5]) / w};
    }
    return FillProjective(table, setup, destination, destinationPitch, quad, InvertProjective(c), kUnshaded);
}

int32_t WarpPerspectiveIntoQuadWithTable(const WarpTable& table, const uint8_t* source, KernelSize sourceSize,
                                         int32_t sourcePitch, KernelRect sourceRect, uint8_t* destination,
                                         int32_t destinationPitch, KernelRect destinationRect,
                                         const double* quad, const double* matrix, uint32_t interpolation,
                                         int32_t shadeFactor) {
    if (quad == nullptr) return kStatusNullPointer;
    WarpSetup setup;
    const int32_t status = CheckWarp(source, sourceSize, sourcePitch, sourceRect, destination,
                                     destinationPitch, destinationRect, matrix, interpolation, true, setup);
    if (status != kStatusOk) return status;
    if (shadeFactor != kUnshaded &&
        (!WarpShadingFoldable(shadeFactor) || setup.code != kInterpolationBilinear))
        return kStatusBadArgument;
    const scan::QuadPoint corners[4] = {
        {quad[0], quad[1]}, {quad[2], quad[3]}, {quad[4], quad[5]}, {quad[6], quad[7]}};
    return FillProjective(table, setup, destination, destinationPitch, corners, InvertProjective(matrix),
                          shadeFactor);
}

namespace reference {
const WarpTable kWarpTable = {
    AffineSpansByRows<AffineRowGeneric<SampleBilinear4>>,
    ProjectiveRowGeneric<SampleBilinear4>,
    ProjectiveRowBilinearShaded,
    ResizeRowBilinear4Reference,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
};
}  // namespace reference

const WarpTable& WarpTableFor(CpuClass cpuClass) {
    switch (cpuClass) {
        case CpuClass::Avx512:
            return avx512::kWarpTable;
        case CpuClass::Avx2:
            return avx2::kWarpTable;
        case CpuClass::Reference:
            break;
    }
    return reference::kWarpTable;
}

}  // namespace warp

int32_t KernelWarpAffine(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                         KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                         KernelRect destinationRect, const double* coefficients, uint32_t interpolation) {
    return warp::WarpAffineWithTable(warp::WarpTableFor(ActiveCpuClass()), source, sourceSize, sourcePitch,
                                     sourceRect, destination, destinationPitch, destinationRect, coefficients,
                                     interpolation);
}

int32_t KernelWarpPerspective(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                              KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                              KernelRect destinationRect, const double* matrix, uint32_t interpolation) {
    return warp::WarpPerspectiveWithTable(warp::WarpTableFor(ActiveCpuClass()), source, sourceSize,
                                          sourcePitch, sourceRect, destination, destinationPitch,
                                          destinationRect, matrix, interpolation);
}

int32_t WarpPerspectiveIntoQuad(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                                KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                                KernelRect destinationRect, const double* quad, const double* matrix,
                                uint32_t interpolation) {
    return warp::WarpPerspectiveIntoQuadWithTable(warp::WarpTableFor(ActiveCpuClass()), source, sourceSize,
                                                  sourcePitch, sourceRect, destination, destinationPitch,
                                                  destinationRect, quad, matrix, interpolation);
}

int32_t WarpShadedPerspectiveIntoQuad(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                                      KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                                      KernelRect destinationRect, const double* quad, const double* matrix,
                                      uint32_t interpolation, int32_t shadeFactor) {
    // Any factor it cannot fold is refused there, after the checks that come first.
    const int32_t factor = WarpShadingFoldable(shadeFactor) ? shadeFactor : -1;
    return warp::WarpPerspectiveIntoQuadWithTable(warp::WarpTableFor(ActiveCpuClass()), source, sourceSize,
                                                  sourcePitch, sourceRect, destination, destinationPitch,
                                                  destinationRect, quad, matrix, interpolation, factor);
}

int32_t KernelPerspectiveFromQuad(const KernelRect* sourceRect, const double* quad, double* matrix) {
    if (sourceRect == nullptr || quad == nullptr || matrix == nullptr) return kStatusNullPointer;
    if (sourceRect->width < 2 || sourceRect->height < 2) return kStatusBadSize;
    const scan::QuadPoint corners[4] = {
        {quad[0], quad[1]}, {quad[2], quad[3]}, {quad[4], quad[5]}, {quad[6], quad[7]}};
    if (scan::QuadWinding(corners) == 0) return kStatusImproperQuad;
    const double x0 = quad[0], y0 = quad[1], x1 = quad[2], y1 = quad[3];
    const double x2 = quad[4], y2 = quad[5], x3 = quad[6], y3 = quad[7];
    const double sw = static_cast<double>(sourceRect->width) - 1.0;
    const double sh = static_cast<double>(sourceRect->height) - 1.0;
    const double px = x0 - x1 + x2 - x3;
    const double py = y0 - y1 + y2 - y3;
    double a, b, c, d, e, f, g, h;
    if (px == 0.0 && py == 0.0) {
        a = x1 - x0, b = x2 - x1, c = x0;
        d = y1 - y0, e = y2 - y1, f = y0;
        g = 0.0, h = 0.0;
    } else {
        const double dx1 = x1 - x2, dx2 = x3 - x2, dy1 = y1 - y2, dy2 = y3 - y2;
        const double den = dx1 * dy2 - dx2 * dy1;
        if (den == 0.0) return kStatusImproperQuad;
        g = (px * dy2 - dx2 * py) / den;
        h = (dx1 * py - px * dy1) / den;
        a = x1 - x0 + g * x1, b = x3 - x0 + h * x3, c = x0;
        d = y1 - y0 + g * y1, e = y3 - y0 + h * y3, f = y0;
    }
    double m[9] = {a / sw, b / sh, c, d / sw, e / sh, f, g / sw, h / sh, 1.0};
    // A rectangle away from the origin: the map of (x - rx, y - ry).
    if (sourceRect->x != 0 || sourceRect->y != 0) {
        for (int32_t r = 0; r < 3; ++r)
            m[3 * r + 2] = m[3 * r + 2] - m[3 * r] * sourceRect->x - m[3 * r + 1] * sourceRect->y;
    }
    for (int32_t k = 0; k < 9; ++k) matrix[k] = m[k];
    return kStatusOk;
}

}  // namespace halcyra

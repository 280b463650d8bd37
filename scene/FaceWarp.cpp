// The face warp through the shared perspective warp kernels, and the bound on
// what it reads.
//
// The bound: the warp fills spans inside the quadrangle clipped to the
// destination (a pixel centre on an edge counts, within 1e-13). That polygon
// is convex, and where the map's denominator keeps one sign on it the inverse
// map sends it onto the convex polygon of its corners' images, so the sampled
// positions lie within the bounding box of those images, up to the rounding of
// the per-pixel division. That rounding is bounded from the size of the
// matrix's terms against the least denominator; when the bound is not well
// below a pixel, or a position is far out (its truncation no longer follows
// it), nothing is bounded. Rule B reads the 2 x 2 block from the truncated
// position; a margin of a few pixels covers that and the rounding.
#include "scene/detail/FaceWarp.h"

#include <algorithm>
#include <cmath>

#include "picture/kernels/Numerics.h"
#include "picture/kernels/ScanConversion.h"
#include "picture/kernels/Warp.h"

namespace halcyra::detail {

bool ShadingFoldsIntoWarp(int32_t factor, uint32_t flags) {
    return WarpShadingFoldable(factor) && (flags & ~kInterpolationSmoothEdges) == kInterpolationBilinear;
}

bool WarpSourceIntoQuad(const uint8_t* source, int32_t w, int32_t h, int32_t pitch, uint8_t* destination,
                        int32_t dw, int32_t dh, int32_t destinationPitch, const double quad[8],
                        uint32_t flags) {
    if (source == nullptr || destination == nullptr || w < 2 || h < 2 || dw < 1 || dh < 1) return false;
    const KernelRect sourceRect{0, 0, w, h};
    double matrix[9];
    if (KernelPerspectiveFromQuad(&sourceRect, quad, matrix) != kStatusOk) return false;
    return WarpPerspectiveIntoQuad(source, KernelSize{w, h}, pitch, sourceRect, destination, destinationPitch,
                                   KernelRect{0, 0, dw, dh}, quad, matrix, flags) == kStatusOk;
}

bool WarpShadedSourceIntoQuad(const uint8_t* source, int32_t w, int32_t h, int32_t pitch,
                              uint8_t* destination, int32_t dw, int32_t dh, int32_t destinationPitch,
                              const double quad[8], uint32_t flags, int32_t factor) {
    if (source == nullptr || destination == nullptr || w < 2 || h < 2 || dw < 1 || dh < 1) return false;
    const KernelRect sourceRect{0, 0, w, h};
    double matrix[9];
    if (KernelPerspectiveFromQuad(&sourceRect, quad, matrix) != kStatusOk) return false;
    return WarpShadedPerspectiveIntoQuad(source, KernelSize{w, h}, pitch, sourceRect, destination,
                                         destinationPitch, KernelRect{0, 0, dw, dh}, quad, matrix, flags,
                                         factor) == kStatusOk;
}

namespace {

constexpr double kFarPosition = 1073741824.0;  // 2^30
constexpr int32_t kReadMargin = 3;

// The inclusive range of source pixels read for positions lo..hi on an axis
// of `size` pixels (size >= 2), as rule B clamps its block.
void ReadRange(double lo, double hi, int32_t size, int32_t& first, int32_t& last) {
    const double low = std::floor(lo) - kReadMargin;
    const double high = std::ceil(hi) + kReadMargin;
    first = TruncToInt32(std::clamp(low, 0.0, static_cast<double>(size - 2)));
    last = TruncToInt32(std::clamp(high, 1.0, static_cast<double>(size - 1)));
}

}  // namespace

FaceFootprint FaceFootprintOf(int32_t w, int32_t h, int32_t dw, int32_t dh, const double quad[8]) {
    FaceFootprint footprint;
    if (w < 2 || h < 2 || dw < 1 || dh < 1) return footprint;
    footprint.x1 = w - 1;
    footprint.y1 = h - 1;
    const KernelRect sourceRect{0, 0, w, h};
    double c[9];
    if (KernelPerspectiveFromQuad(&sourceRect, quad, c) != kStatusOk) return footprint;
    const double adj[9] = {c[4] * c[8] - c[5] * c[7], c[2] * c[7] - c[1] * c[8], c[1] * c[5] - c[2] * c[4],
                           c[5] * c[6] - c[3] * c[8], c[0] * c[8] - c[2] * c[6], c[2] * c[3] - c[0] * c[5],
                           c[3] * c[7] - c[4] * c[6], c[1] * c[6] - c[0] * c[7], c[0] * c[4] - c[1] * c[3]};
    const double det = c[0] * adj[0] + c[1] * adj[3] + c[2] * adj[6];
    double a[9];
    for (int32_t k = 0; k < 9; ++k) a[k] = adj[k] / det;

    const scan::QuadPoint corners[4] = {
        {quad[0], quad[1]}, {quad[2], quad[3]}, {quad[4], quad[5]}, {quad[6], quad[7]}};
    scan::ClippedPolygon polygon;
    scan::ClipQuad(corners, scan::PixelBounds{0, 0, dw - 1, dh - 1}, polygon);
    if (polygon.count == 0) return footprint;
    double twiceArea = 0.0;
    double sMin = INFINITY, sMax = -INFINITY;
    double uMin = INFINITY, uMax = -INFINITY, vMin = INFINITY, vMax = -INFINITY;
    for (int32_t k = 0; k < polygon.count; ++k) {
        const scan::QuadPoint& p = polygon.v[k];
        const scan::QuadPoint& next = polygon.v[(k + 1) % polygon.count];
        twiceArea += p.x * next.y - next.x * p.y;
        const double s = a[6] * p.x + a[7] * p.y + a[8];
        const double u = (a[0] * p.x + a[1] * p.y + a[2]) / s;
        const double v = (a[3] * p.x + a[4] * p.y + a[5]) / s;
        sMin = std::min(sMin, s), sMax = std::max(sMax, s);
        uMin = std::min(uMin, u), uMax = std::max(uMax, u);
        vMin = std::min(vMin, v), vMax = std::max(vMax, v);
    }
    footprint.area = std::fabs(twiceArea) * 0.5;
    // Comparisons with NaN fail, so a position that is not a number leaves
    // the box whole.
    if (!(sMin > 0.0 || sMax < 0.0)) return footprint;
    const double sLeast = sMin > 0.0 ? sMin : -sMax;
    const double eps = 2.220446049250313e-16;
    const double scaleS = std::fabs(a[6]) * dw + std::fabs(a[7]) * dh + std::fabs(a[8]);
    const double relativeS = 4.0 * eps * scaleS / sLeast;
    if (!(relativeS < 0.01)) return footprint;
    auto slack = [&](double lo, double hi, const double* row) -> double {
        const double far = std::max(std::fabs(lo), std::fabs(hi));
        if (!(far < kFarPosition)) return HUGE_VAL;
        const double scale = std::fabs(row[0]) * dw + std::fabs(row[1]) * dh + std::fabs(row[2]);
        const double slope =
            std::fabs(row[0]) + std::fabs(row[1]) + far * (std::fabs(a[6]) + std::fabs(a[7]));
        return far * 3.0 * relativeS + 10.0 * eps * scale / sLeast + 1e-12 * slope / sLeast;
    };
    if (!(slack(uMin, uMax, a) < 1.0) || !(slack(vMin, vMax, a + 3) < 1.0)) return footprint;
    ReadRange(uMin, uMax, w, footprint.x0, footprint.x1);
    ReadRange(vMin, vMax, h, footprint.y0, footprint.y1);
    return footprint;
}

}  // namespace halcyra::detail

// The face warp through the shared perspective warp kernels, and the bound on
// the pixels it samples.
//
// The bound walks the same spans the warp fills. Along one destination row the
// map's denominator is linear in x, so when it has one sign at both ends of a
// span the span's image in the source is the straight segment between the
// images of its ends. The segment is sampled at steps of at most one tile and
// each sample marks the tiles within a margin that covers the gap between
// samples (half a step), the 2 x 2 footprint of the bilinear sample and
// rounding.
#include "scene/detail/FaceWarp.h"

#include <algorithm>
#include <cmath>

#include "picture/kernels/Numerics.h"
#include "picture/kernels/ScanConversion.h"
#include "picture/kernels/Warp.h"

namespace halcyra::detail {

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

namespace {

class TileMarker {
public:
    TileMarker(SourceTiles& tiles, int32_t w, int32_t h) : tiles(tiles), w(w), h(h) {
        margin = tiles.tileSize / 2.0 + 4.0;
    }

    void MarkAll() { std::fill(tiles.needed.begin(), tiles.needed.end(), uint8_t{1}); }

    void MarkSegment(double u0, double v0, double u1, double v1) {
        const double length = std::max(std::fabs(u1 - u0), std::fabs(v1 - v0));
        const double step = tiles.tileSize;
        const auto steps = static_cast<int32_t>(std::ceil(std::min(length, 1e6) / step));
        for (int32_t k = 0; k <= steps; ++k) {
            const double f = steps == 0 ? 0.0 : static_cast<double>(k) / steps;
            MarkAround(u0 + (u1 - u0) * f, v0 + (v1 - v0) * f);
        }
    }

private:
    int32_t TileOf(double position, int32_t limit, int32_t count) const {
        const double clamped = std::clamp(position, 0.0, static_cast<double>(limit - 1));
        return std::min(TruncToInt32(clamped) / tiles.tileSize, count - 1);
    }
    void MarkAround(double u, double v) {
        const int32_t x0 = TileOf(u - margin, w, tiles.columns), x1 = TileOf(u + margin, w, tiles.columns);
        const int32_t y0 = TileOf(v - margin, h, tiles.rows), y1 = TileOf(v + margin, h, tiles.rows);
        for (int32_t ty = y0; ty <= y1; ++ty)
            for (int32_t tx = x0; tx <= x1; ++tx)
                tiles.needed[static_cast<size_t>(ty) * tiles.columns + tx] = 1;
    }

    SourceTiles& tiles;
    int32_t w;
    int32_t h;
    double margin;
};

}  // namespace

void MarkSampledTiles(int32_t w, int32_t h, int32_t dw, int32_t dh, const double quad[8],
                      SourceTiles& tiles) {
    if (tiles.tileSize < 1) tiles.tileSize = 32;
    tiles.columns = w > 0 ? (w + tiles.tileSize - 1) / tiles.tileSize : 0;
    tiles.rows = h > 0 ? (h + tiles.tileSize - 1) / tiles.tileSize : 0;
    tiles.needed.assign(static_cast<size_t>(tiles.columns) * tiles.rows, 0);
    if (tiles.needed.empty() || dw < 1 || dh < 1) return;
    TileMarker marker(tiles, w, h);

    const KernelRect sourceRect{0, 0, w, h};
    double c[9];
    if (KernelPerspectiveFromQuad(&sourceRect, quad, c) != kStatusOk)
        return;  // the warp draws nothing either
    const double adj[9] = {c[4] * c[8] - c[5] * c[7], c[2] * c[7] - c[1] * c[8], c[1] * c[5] - c[2] * c[4],
                           c[5] * c[6] - c[3] * c[8], c[0] * c[8] - c[2] * c[6], c[2] * c[3] - c[0] * c[5],
                           c[3] * c[7] - c[4] * c[6], c[1] * c[6] - c[0] * c[7], c[0] * c[4] - c[1] * c[3]};
    const double det = c[0] * adj[0] + c[1] * adj[3] + c[2] * adj[6];
    double a[9];
    for (int32_t k = 0; k < 9; ++k) a[k] = adj[k] / det;

    const scan::QuadPoint corners[4] = {
        {quad[0], quad[1]}, {quad[2], quad[3]}, {quad[4], quad[5]}, {quad[6], quad[7]}};
    const scan::PixelBounds bounds{0, 0, dw - 1, dh - 1};
    scan::ClippedPolygon polygon;
    scan::ClipQuad(corners, bounds, polygon);
    bool bounded = true;
    double sign = 0.0;
    scan::ForEachSpan(polygon, bounds, [&](int32_t y, int32_t xFirst, int32_t xLast) {
        if (!bounded) return;
        const double row = y;
        double u[2], v[2];
        const int32_t ends[2] = {xFirst, xLast};
        for (int32_t e = 0; e < 2; ++e) {
            const double x = ends[e];
            const double s = a[6] * x + a[7] * row + a[8];
            if (sign == 0.0) sign = s;
            if (!(s * sign > 0.0)) {
                bounded = false;
                return;
            }
            u[e] = (a[0] * x + a[1] * row + a[2]) / s;
            v[e] = (a[3] * x + a[4] * row + a[5]) / s;
            if (!std::isfinite(u[e]) || !std::isfinite(v[e])) {
                bounded = false;
                return;
            }
        }
        marker.MarkSegment(u[0], v[0], u[1], v[1]);
    });
    if (!bounded) marker.MarkAll();
}

}  // namespace halcyra::detail

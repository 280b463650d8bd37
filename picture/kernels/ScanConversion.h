// Scan conversion of a warped quadrangle, shared by the affine warp, the
// perspective warp and the scene renderer's face warp so that all three fill
// exactly the same pixels: the quad test, the clip to the destination
// rectangle, the per-row spans and the one-pixel antialiasing edge pass.
//
// How a face warp uses it (all coordinates are destination pixel positions,
// doubles; the destination pointer addresses pixel (0, 0), 4 bytes a pixel):
//
//     scan::QuadPoint quad[4] = {{q0x, q0y}, ...};            // corners in order
//     const int32_t winding = scan::QuadWinding(quad);        // 0: not proper, draw nothing
//     scan::PixelBounds bounds{0, 0, targetWidth - 1, targetHeight - 1};
//     scan::ClippedPolygon polygon;
//     scan::ClipQuad(quad, bounds, polygon);                   // polygon.count == 0: nothing
//     scan::ForEachSpan(polygon, bounds, [&](int32_t y, int32_t xFirst, int32_t xLast) {
//         for (int32_t x = xFirst; x <= xLast; ++x) { /* sample the source, write pixel (x, y) */ }
//     });
//     if (smooth) scan::EdgePass(polygon, winding, target, targetPitch, bounds);
//
// A face warp that samples with the library's own rule B or nearest rule need
// not write the pixel loop at all: WarpPerspectiveIntoQuad (Warp.h) runs every
// step above with the processor-specific row routines.
#pragma once

#include <cstdint>

namespace halcyra::scan {

struct QuadPoint {
    double x;
    double y;
};

// First and last pixel of a rectangle, both inclusive.
struct PixelBounds {
    int32_t x0;
    int32_t y0;
    int32_t x1;
    int32_t y1;
};

// A convex quadrangle clipped by four half-planes has at most eight corners;
// the room beyond that only keeps degenerate input harmless.
struct ClippedPolygon {
    static constexpr int32_t kCapacity = 64;
    QuadPoint v[kCapacity];
    int32_t count = 0;
};

// +1 or -1 for a proper quadrangle of either turning sense; 0 when any cross
// product of neighbouring edges is zero or NaN or their signs differ (a line,
// a triangle, a bow-tie).
int32_t QuadWinding(const QuadPoint quad[4]);

// Sutherland-Hodgman against x >= x0, x <= x1, y >= y0, y <= y1 in that order.
// An unclipped quadrangle comes out unchanged, starting at its first corner.
void ClipQuad(const QuadPoint quad[4], const PixelBounds& bounds, ClippedPolygon& out);

// Rows that can hold span pixels: ceil of the least y to floor of the greatest
// y, within the bounds. False when there are none.
bool SpanRowRange(const ClippedPolygon& polygon, const PixelBounds& bounds, int32_t& yFirst, int32_t& yLast);

// The first and last column of row y, with the pixel-centre tolerance and
// clamped to the bounds. False when the row holds no pixel.
bool SpanOnRow(const ClippedPolygon& polygon, const PixelBounds& bounds, int32_t y, int32_t& xFirst,
               int32_t& xLast);

// Calls rowFn(y, xFirst, xLast) for every row with pixels, top to bottom, and
// returns the number of pixels covered.
template <class RowFn>
int64_t ForEachSpan(const ClippedPolygon& polygon, const PixelBounds& bounds, RowFn&& rowFn) {
    int32_t yFirst = 0;
    int32_t yLast = -1;
    int64_t pixels = 0;
    if (!SpanRowRange(polygon, bounds, yFirst, yLast)) return 0;
    for (int32_t y = yFirst; y <= yLast; ++y) {
        int32_t xFirst = 0;
        int32_t xLast = -1;
        if (!SpanOnRow(polygon, bounds, y, xFirst, xLast)) continue;
        rowFn(y, xFirst, xLast);
        pixels += static_cast<int64_t>(xLast) - xFirst + 1;
    }
    return pixels;
}

// The smooth-edge pass on a destination of 4-byte pixels that already holds
// the warped face over its background: each outer pixel along a slanted edge
// is mixed with its inner neighbour by the share of the edge's distance.
// Does nothing with fewer than three corners or a winding of 0.
void EdgePass(const ClippedPolygon& polygon, int32_t winding, uint8_t* destination, int32_t pitch,
              const PixelBounds& bounds);

}  // namespace halcyra::scan

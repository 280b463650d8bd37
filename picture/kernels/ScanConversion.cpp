// The shared scan conversion of warped quadrangles: quad test, clip, spans and
// edge pass. Every expression keeps the operand order that the warps' results
// depend on; the comments on the header say how callers chain the steps.
#include "picture/kernels/ScanConversion.h"

#include <cmath>

#include "picture/kernels/Numerics.h"

namespace halcyra::scan {
namespace {

double Cross(QuadPoint a, QuadPoint b) {
    return a.x * b.y - a.y * b.x;
}

enum class Side { Left, Right, Top, Bottom };

bool Inside(QuadPoint p, Side side, double b) {
    switch (side) {
        case Side::Left:
            return p.x >= b;
        case Side::Right:
            return p.x <= b;
        case Side::Top:
            return p.y >= b;
        case Side::Bottom:
            return p.y <= b;
    }
    return false;
}

// The crossing of p -> c with the boundary line, always measured from p.
QuadPoint Crossing(QuadPoint p, QuadPoint c, Side side, double b) {
    if (side == Side::Left || side == Side::Right) {
        const double t = (b - p.x) / (c.x - p.x);
        return {b, p.y + t * (c.y - p.y)};
    }
    const double t = (b - p.y) / (c.y - p.y);
    return {p.x + t * (c.x - p.x), b};
}

void ClipAgainst(const QuadPoint* in, int32_t count, Side side, double b, QuadPoint* out, int32_t& outCount) {
    outCount = 0;
    if (count == 0) return;
    auto emit = [&](QuadPoint p) {
        if (outCount < ClippedPolygon::kCapacity) out[outCount++] = p;
    };
    QuadPoint p = in[count - 1];
    for (int32_t k = 0; k < count; ++k) {
        const QuadPoint c = in[k];
        const bool cInside = Inside(c, side, b);
        const bool pInside = Inside(p, side, b);
        if (cInside) {
            if (!pInside) emit(Crossing(p, c, side, b));
            emit(c);
        } else if (pInside) {
            emit(Crossing(p, c, side, b));
        }
        p = c;
    }
}

// ceil/floor of a coordinate, kept within [lo, hi] (NaN goes to lo).
int32_t ClampedWhole(double v, int32_t lo, int32_t hi) {
    if (!(v >= lo)) return lo;
    if (!(v <= hi)) return hi;
    return TruncToInt32(v);
}

void MixOuterPixel(uint8_t* outer, const uint8_t* inner, double outerWeight, double innerWeight) {
    for (int32_t c = 0; c < 4; ++c) {
        const double v =
            static_cast<double>(outer[c]) * outerWeight + static_cast<double>(inner[c]) * innerWeight + 0.5;
        outer[c] = static_cast<uint8_t>(TruncToInt32(v));
    }
}

}  // namespace

int32_t QuadWinding(const QuadPoint quad[4]) {
    QuadPoint e[4];
    for (int32_t k = 0; k < 4; ++k) {
        const QuadPoint a = quad[k];
        const QuadPoint b = quad[(k + 1) & 3];
        e[k] = {b.x - a.x, b.y - a.y};
    }
    const double cross[4] = {Cross(e[3], e[0]), Cross(e[0], e[1]), Cross(e[1], e[2]), Cross(e[2], e[3])};
    int32_t positive = 0;
    int32_t negative = 0;
    for (double c : cross) {
        if (c > 0.0) {
            ++positive;
        } else if (c < 0.0) {
            ++negative;
        }
    }
    if (positive == 4) return 1;
    if (negative == 4) return -1;
    return 0;
}

void ClipQuad(const QuadPoint quad[4], const PixelBounds& bounds, ClippedPolygon& out) {
    QuadPoint scratch[ClippedPolygon::kCapacity];
    int32_t scratchCount = 0;
    QuadPoint start[4] = {quad[0], quad[1], quad[2], quad[3]};
    ClipAgainst(start, 4, Side::Left, bounds.x0, scratch, scratchCount);
    ClipAgainst(scratch, scratchCount, Side::Right, bounds.x1, out.v, out.count);
    ClipAgainst(out.v, out.count, Side::Top, bounds.y0, scratch, scratchCount);
    ClipAgainst(scratch, scratchCount, Side::Bottom, bounds.y1, out.v, out.count);
}

bool SpanRowRange(const ClippedPolygon& polygon, const PixelBounds& bounds, int32_t& yFirst, int32_t& yLast) {
    if (polygon.count <= 0 || bounds.y0 > bounds.y1) return false;
    double minY = polygon.v[0].y;
    double maxY = polygon.v[0].y;
    for (int32_t k = 1; k < polygon.count; ++k) {
        minY = std::fmin(minY, polygon.v[k].y);
        maxY = std::fmax(maxY, polygon.v[k].y);
    }
    const double first = std::ceil(minY);
    const double last = std::floor(maxY);
    if (!(first <= last)) return false;
    yFirst = ClampedWhole(first, bounds.y0, bounds.y1);
    yLast = ClampedWhole(last, bounds.y0, bounds.y1);
    return yFirst <= yLast && last >= bounds.y0 && first <= bounds.y1;
}

bool SpanOnRow(const ClippedPolygon& polygon, const PixelBounds& bounds, int32_t y, int32_t& xFirst,
               int32_t& xLast) {
    const double row = y;
    double xl = 0.0;
    double xr = 0.0;
    bool found = false;
    auto take = [&](double x) {
        if (!found) {
            xl = x;
            xr = x;
            found = true;
        } else {
            if (x < xl) xl = x;
            if (x > xr) xr = x;
        }
    };
    const int32_t n = polygon.count;
    for (int32_t k = 0; k < n; ++k) {
        const QuadPoint a = polygon.v[k];
        const QuadPoint b = polygon.v[k + 1 < n ? k + 1 : 0];
        if (a.y != b.y) {
            const double lo = a.y < b.y ? a.y : b.y;
            const double hi = a.y < b.y ? b.y : a.y;
            if (!(lo <= row && row <= hi)) continue;
            if (row == a.y) {
                take(a.x);
            } else if (row == b.y) {
                take(b.x);
            } else {
                take(a.x + (b.x - a.x) * ((row - a.y) / (b.y - a.y)));
            }
        } else if (a.y == row) {
            take(a.x);
            take(b.x);
        }
    }
    if (!found) return false;
    double first = std::ceil(xl);
    if ((xl + 1.0) - first < 1e-13) first -= 1.0;
    double last = std::floor(xr);
    if ((1.0 - xr) + last < 1e-13) last += 1.0;
    if (!(first <= last) || last < bounds.x0 || first > bounds.x1) return false;
    xFirst = ClampedWhole(first, bounds.x0, bounds.x1);
    xLast = ClampedWhole(last, bounds.x0, bounds.x1);
    return xFirst <= xLast;
}

void EdgePass(const ClippedPolygon& polygon, int32_t winding, uint8_t* destination, int32_t pitch,
              const PixelBounds& bounds) {
    const int32_t n = polygon.count;
    if (n < 3 || winding == 0 || destination == nullptr) return;
    auto pixel = [&](int32_t x, int32_t y) {
        return destination + static_cast<intptr_t>(pitch) * y + static_cast<intptr_t>(x) * 4;
    };
    for (int32_t k = 0; k < n; ++k) {
        const QuadPoint a = polygon.v[k];
        const QuadPoint b = polygon.v[k + 1 < n ? k + 1 : 0];
        const double dx = b.x - a.x;
        const double dy = b.y - a.y;
        if (dx == 0.0 || dy == 0.0 || !std::isfinite(dx) || !std::isfinite(dy)) continue;
        const double normalX = winding > 0 ? -dy : dy;
        const double normalY = winding > 0 ? dx : -dx;
        if (std::fabs(dy) <= std::fabs(dx)) {
            const double slope = dy / dx;
            const int32_t from = ClampedWhole(std::ceil(std::fmin(a.x, b.x)), bounds.x0, bounds.x1);
            const int32_t to = ClampedWhole(std::floor(std::fmax(a.x, b.x)), bounds.x0, bounds.x1);
            if (std::ceil(std::fmin(a.x, b.x)) > bounds.x1 || std::floor(std::fmax(a.x, b.x)) < bounds.x0)
                continue;
            for (int32_t x = from; x <= to; ++x) {
                const double m = (static_cast<double>(x) - a.x) * slope + a.y;
                const double up = std::ceil(m);
                const double down = std::floor(m);
                const double inner = normalY > 0.0 ? up : down;
                const double outer = normalY > 0.0 ? down : up;
                if (m == inner || inner < bounds.y0 || inner > bounds.y1 || outer < bounds.y0 ||
                    outer > bounds.y1 || inner < 0.0 || outer < 0.0)
                    continue;
                MixOuterPixel(pixel(x, TruncToInt32(outer)), pixel(x, TruncToInt32(inner)),
                              std::fabs(m - outer), std::fabs(m - inner));
            }
        } else {
            const double slope = dx / dy;
            const int32_t from = ClampedWhole(std::ceil(std::fmin(a.y, b.y)), bounds.y0, bounds.y1);
            const int32_t to = ClampedWhole(std::floor(std::fmax(a.y, b.y)), bounds.y0, bounds.y1);
            if (std::ceil(std::fmin(a.y, b.y)) > bounds.y1 || std::floor(std::fmax(a.y, b.y)) < bounds.y0)
                continue;
            for (int32_t y = from; y <= to; ++y) {
                const double m = (static_cast<double>(y) - a.y) * slope + a.x;
                const double up = std::ceil(m);
                const double down = std::floor(m);
                const double inner = normalX > 0.0 ? up : down;
                const double outer = normalX > 0.0 ? down : up;
                if (m == inner || inner < bounds.x0 || inner > bounds.x1 || outer < bounds.x0 ||
                    outer > bounds.x1 || inner < 0.0 || outer < 0.0)
                    continue;
                MixOuterPixel(pixel(TruncToInt32(outer), y), pixel(TruncToInt32(inner), y),
                              std::fabs(m - outer), std::fabs(m - inner));
            }
        }
    }
}

}  // namespace halcyra::scan

// The build-time painter of the four overlay pictures that Road Sign, Wedding
// and Star carry: a road sign on a slanted post, an ornamental ribbon with the
// mask that splits the clips under it, and a symmetric star. Shapes are drawn
// with 4x4 supersampled coverage into a premultiplied canvas, then written out
// as a C++ source and header (pixel bytes plus their bitmap headers) into the
// directory given on the command line. Run by the build; not part of the library.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr double kPi = 3.14159265358979323846;

struct Rgb {
    double r, g, b;
};

Rgb Mix(Rgb a, Rgb b, double t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

double Clamp01(double v) {
    return v < 0.0 ? 0.0 : (v > 1.0 ? 1.0 : v);
}

double SmoothStep(double e0, double e1, double x) {
    const double t = Clamp01((x - e0) / (e1 - e0));
    return t * t * (3.0 - 2.0 * t);
}

// Premultiplied colour and alpha in 0..1, painted with "over".
class Canvas {
public:
    Canvas(int w, int h) : width(w), height(h), pixels(static_cast<size_t>(w) * h * 4, 0.0) {}

    void Over(int x, int y, Rgb c, double alpha) {
        if (x < 0 || y < 0 || x >= width || y >= height || alpha <= 0.0) return;
        double* p = &pixels[(static_cast<size_t>(y) * width + x) * 4];
        const double keep = 1.0 - alpha;
        p[0] = c.r * alpha + p[0] * keep;
        p[1] = c.g * alpha + p[1] * keep;
        p[2] = c.b * alpha + p[2] * keep;
        p[3] = alpha + p[3] * keep;
    }

    // Covers the box with a shape: inside(x, y) at 16 points a pixel gives the
    // coverage, colour(x, y) at the pixel centre the paint.
    void Fill(double x0, double y0, double x1, double y1, const std::function<bool(double, double)>& inside,
              const std::function<Rgb(double, double)>& colour, double opacity = 1.0) {
        const int ix0 = std::max(0, static_cast<int>(std::floor(x0)));
        const int iy0 = std::max(0, static_cast<int>(std::floor(y0)));
        const int ix1 = std::min(width - 1, static_cast<int>(std::ceil(x1)));
        const int iy1 = std::min(height - 1, static_cast<int>(std::ceil(y1)));
        for (int y = iy0; y <= iy1; ++y)
            for (int x = ix0; x <= ix1; ++x) {
                int hits = 0;
                for (int sy = 0; sy < 4; ++sy)
                    for (int sx = 0; sx < 4; ++sx)
                        if (inside(x + (sx - 1.5) * 0.25, y + (sy - 1.5) * 0.25)) ++hits;
                if (hits > 0) Over(x, y, colour(x, y), opacity * hits / 16.0);
            }
    }

    // A soft layer: alpha(x, y) straight from a function, no supersampling.
    void Soft(const std::function<double(double, double)>& alpha,
              const std::function<Rgb(double, double)>& colour) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) Over(x, y, colour(x, y), Clamp01(alpha(x, y)));
    }

    // Bytes B, G, R, A; premultiplied as stored, or straight with `empty` as
    // the colour of fully transparent pixels.
    std::vector<uint8_t> Bytes(bool premultiplied, Rgb empty) const {
        std::vector<uint8_t> out(static_cast<size_t>(width) * height * 4);
        auto byte = [](double v) { return static_cast<uint8_t>(std::lround(Clamp01(v) * 255.0)); };
        for (size_t i = 0; i < static_cast<size_t>(width) * height; ++i) {
            const double* p = &pixels[i * 4];
            const uint8_t a = byte(p[3]);
            Rgb c{p[0], p[1], p[2]};
            if (!premultiplied) c = a == 0 ? empty : Rgb{p[0] / p[3], p[1] / p[3], p[2] / p[3]};
            out[i * 4 + 0] = byte(c.b);
            out[i * 4 + 1] = byte(c.g);
            out[i * 4 + 2] = byte(c.r);
            out[i * 4 + 3] = a;
            // Stored premultiplied, a colour byte never exceeds its alpha.
            if (premultiplied)
                for (int k = 0; k < 3; ++k) out[i * 4 + k] = std::min(out[i * 4 + k], a);
        }
        return out;
    }

    int width, height;
    std::vector<double> pixels;
};

// Distance from (x, y) to the segment a-b.
double SegmentDistance(double x, double y, double ax, double ay, double bx, double by) {
    const double dx = bx - ax, dy = by - ay;
    const double t = Clamp01(((x - ax) * dx + (y - ay) * dy) / (dx * dx + dy * dy));
    return std::hypot(x - (ax + t * dx), y - (ay + t * dy));
}

bool InRoundedBox(double x, double y, double x0, double y0, double x1, double y1, double radius) {
    const double cx = std::clamp(x, x0 + radius, x1 - radius);
    const double cy = std::clamp(y, y0 + radius, y1 - radius);
    return std::hypot(x - cx, y - cy) <= radius && x >= x0 && x <= x1 && y >= y0 && y <= y1;
}

// Inside a convex or simple polygon (even-odd rule).
bool InPolygon(double x, double y, const std::vector<std::pair<double, double>>& points) {
    bool in = false;
    for (size_t i = 0, j = points.size() - 1; i < points.size(); j = i++) {
        const auto [xi, yi] = points[i];
        const auto [xj, yj] = points[j];
        if ((yi > y) != (yj > y) && x < (xj - xi) * (y - yi) / (yj - yi) + xi) in = !in;
    }
    return in;
}

// ---- Road sign: 383 x 768, straight colour, transparent pixels white ----

constexpr int kSignWidth = 383, kSignHeight = 768;

std::vector<uint8_t> DrawSign() {
    Canvas canvas(kSignWidth, kSignHeight);
    // The plate fills the last rows and runs out of the picture at its end;
    // the post comes in from the first row, leaning, and meets the plate.
    const double plateX0 = 8.0, plateX1 = 374.0, plateY0 = 452.0, plateY1 = 800.0, plateRadius = 30.0;
    const double plateMidY = (plateY0 + kSignHeight) * 0.5;
    const double postTopX = 292.0, postTopY = -20.0, postFootX = 188.0, postFootY = 500.0, postRadius = 16.0;

    // Soft shadow of the plate and post, offset along the sweep.
    canvas.Soft(
        [&](double x, double y) {
            const double sx = x - 9.0, sy = y - 7.0;
            const double cx = std::clamp(sx, plateX0 + plateRadius, plateX1 - plateRadius);
            const double cy = std::clamp(sy, plateY0 + plateRadius, plateY1 - plateRadius);
            const double plate = std::hypot(sx - cx, sy - cy) - plateRadius;
            const double post =
                SegmentDistance(sx, sy, postTopX, postTopY, postFootX, postFootY) - postRadius;
            const double d = std::min(plate, post);
            return 0.38 * (1.0 - SmoothStep(-4.0, 12.0, d));
        },
        [](double, double) {
            return Rgb{0.05, 0.06, 0.05};
        });

    // The post: a steel tube, lit from the upper left across its width.
    const double axisX = postFootX - postTopX, axisY = postFootY - postTopY;
    const double axisLength = std::hypot(axisX, axisY);
    canvas.Fill(
        140.0, 0.0, 330.0, 520.0,
        [&](double x, double y) {
            return SegmentDistance(x, y, postTopX, postTopY, postFootX, postFootY) <= postRadius;
        },
        [&](double x, double y) {
            // Signed offset across the tube, -1 at one side and 1 at the other.
            const double across = ((x - postTopX) * axisY - (y - postTopY) * axisX) / axisLength / postRadius;
            const double light = std::cos(std::clamp(across + 0.35, -1.0, 1.0) * kPi * 0.5);
            const double shine = std::pow(Clamp01(1.0 - std::fabs(across + 0.4) * 3.0), 2.0);
            const double level = 0.22 + 0.55 * light + 0.3 * shine;
            return Rgb{level * 0.93, level * 0.95, level};
        });
    // Rings of the tube every so often, to show it is round.
    for (double t : {0.18, 0.5}) {
        const double rx = postTopX + axisX * t, ry = postTopY + axisY * t;
        canvas.Fill(
            rx - 24.0, ry - 10.0, rx + 24.0, ry + 10.0,
            [&](double x, double y) {
                const double along = ((x - rx) * axisX + (y - ry) * axisY) / axisLength;
                return std::fabs(along) <= 2.5 &&
                       SegmentDistance(x, y, postTopX, postTopY, postFootX, postFootY) <= postRadius + 1.5;
            },
            [](double, double) {
                return Rgb{0.28, 0.29, 0.31};
            });
    }

    // The plate: a dark rim, the white reflective border, the green field.
    canvas.Fill(
        plateX0, plateY0, plateX1, kSignHeight,
        [&](double x, double y) {
            return InRoundedBox(x, y, plateX0, plateY0, plateX1, plateY1, plateRadius);
        },
        [](double, double) {
            return Rgb{0.12, 0.14, 0.13};
        });
    canvas.Fill(
        plateX0, plateY0, plateX1, kSignHeight,
        [&](double x, double y) {
            return InRoundedBox(x, y, plateX0 + 3.0, plateY0 + 3.0, plateX1 - 3.0, plateY1 - 3.0,
                                plateRadius - 3.0);
        },
        [&](double x, double y) {
            const double sheen =
                1.0 - 0.08 * Clamp01((x - plateX0) / (plateX1 - plateX0) + (y - plateY0) / 600.0);
            return Rgb{0.97 * sheen, 0.98 * sheen, 0.97 * sheen};
        });
    const double fieldX0 = plateX0 + 16.0, fieldX1 = plateX1 - 16.0, fieldY0 = plateY0 + 16.0;
    canvas.Fill(
        plateX0, plateY0, plateX1, kSignHeight,
        [&](double x, double y) {
            return InRoundedBox(x, y, fieldX0, fieldY0, fieldX1, plateY1 - 16.0, plateRadius - 14.0);
        },
        [&](double x, double y) {
            // A faint diagonal sheen over the sheeting.
            const double t = Clamp01((x - fieldX0) / (fieldX1 - fieldX0) * 0.6 + (y - fieldY0) / 700.0);
            const double band = 0.06 * std::exp(-std::pow((t - 0.35) / 0.12, 2.0));
            const Rgb field = Mix(Rgb{0.07, 0.52, 0.29}, Rgb{0.03, 0.36, 0.2}, t);
            return Rgb{field.r + band, field.g + band, field.b + band};
        });

    // The arrow, pointing the way the sign travels, mirrored about the
    // plate's middle row so that it reads the same either way up.
    const std::vector<std::pair<double, double>> arrow = {
        {62.0, plateMidY - 30.0},  {214.0, plateMidY - 30.0}, {214.0, plateMidY - 92.0}, {322.0, plateMidY},
        {214.0, plateMidY + 92.0}, {214.0, plateMidY + 30.0}, {62.0, plateMidY + 30.0},
    };
    canvas.Fill(
        50.0, plateMidY - 100.0, 335.0, plateMidY + 100.0,
        [&](double x, double y) { return InPolygon(x, y, arrow); },
        [](double, double) {
            return Rgb{0.98, 0.98, 0.96};
        });

    // The clamp that holds the plate to the post, with two bolts.
    const double clampX = postTopX + axisX * ((plateY0 - postTopY) / axisY);
    canvas.Fill(
        clampX - 34.0, plateY0 - 26.0, clampX + 34.0, plateY0 + 14.0,
        [&](double x, double y) {
            return InRoundedBox(x, y, clampX - 32.0, plateY0 - 24.0, clampX + 32.0, plateY0 + 12.0, 6.0);
        },
        [&](double, double y) {
            const double level = 0.45 - 0.2 * Clamp01((y - (plateY0 - 24.0)) / 36.0);
            return Rgb{level, level, level * 1.05};
        });
    for (double bx : {clampX - 18.0, clampX + 18.0}) {
        const double by = plateY0 - 6.0;
        canvas.Fill(
            bx - 7.0, by - 7.0, bx + 7.0, by + 7.0,
            [&](double x, double y) { return std::hypot(x - bx, y - by) <= 5.5; },
            [&](double x, double y) {
                const double level = 0.8 - 0.06 * ((x - bx) + (y - by));
                return Rgb{level, level, level};
            });
    }
    return canvas.Bytes(false, Rgb{1.0, 1.0, 1.0});
}

// ---- Ribbon: 968 x 188, premultiplied, and its 8-bit mask ----

constexpr int kRibbonWidth = 968, kRibbonHeight = 188;

// The arch along which the clips change over: row 63 at the middle, the last
// rows at both ends.
double ArchRow(double x) {
    const double u = (x - (kRibbonWidth - 1) * 0.5) / ((kRibbonWidth - 1) * 0.5);
    return 185.0 - 122.0 * std::pow(std::cos(std::clamp(u, -1.0, 1.0) * kPi * 0.5), 1.5);
}

double ArchSlope(double x) {
    return (ArchRow(x + 0.5) - ArchRow(x - 0.5));
}

// Distance from a point to the arch shifted by `offset` rows, measured across it.
double ArchDistance(double x, double y, double offset) {
    const double slope = ArchSlope(x);
    return std::fabs(y - (ArchRow(x) + offset)) / std::sqrt(1.0 + slope * slope);
}

std::vector<uint8_t> DrawRibbonMask() {
    std::vector<uint8_t> mask(static_cast<size_t>(kRibbonWidth) * kRibbonHeight);
    for (int y = 0; y < kRibbonHeight; ++y)
        for (int x = 0; x < kRibbonWidth; ++x) {
            int hits = 0;
            for (int s = 0; s < 16; ++s)
                if (y + (s / 4 - 1.5) * 0.25 >= ArchRow(x + (s % 4 - 1.5) * 0.25)) ++hits;
            mask[static_cast<size_t>(y) * kRibbonWidth + x] = static_cast<uint8_t>((hits * 255 + 8) / 16);
        }
    return mask;
}

Rgb Gold(double shade) {
    // shade 0 dark bronze, 0.6 gold, 1 pale highlight.
    if (shade < 0.6) return Mix(Rgb{0.42, 0.27, 0.06}, Rgb{0.93, 0.72, 0.25}, shade / 0.6);
    return Mix(Rgb{0.93, 0.72, 0.25}, Rgb{1.0, 0.96, 0.8}, (shade - 0.6) / 0.4);
}

// A curl of scroll work: a spiral of about one and a half turns that starts on
// the ribbon at (x0, y0) and winds up or down from it.
std::vector<std::pair<double, double>> Curl(double x0, double y0, double size, double direction,
                                            double mirror) {
    std::vector<std::pair<double, double>> points;
    const double cx = x0, cy = y0 + direction * size;
    for (int i = 0; i <= 80; ++i) {
        const double t = i / 80.0;
        const double angle = t * 3.2 * kPi;
        const double radius = size * (1.0 - 0.72 * t);
        points.push_back({cx + mirror * radius * std::sin(angle), cy - direction * radius * std::cos(angle)});
    }
    return points;
}

double PolylineDistance(double x, double y, const std::vector<std::pair<double, double>>& points) {
    double best = 1e30;
    for (size_t i = 1; i < points.size(); ++i)
        best = std::min(best, SegmentDistance(x, y, points[i - 1].first, points[i - 1].second,
                                              points[i].first, points[i].second));
    return best;
}

std::vector<uint8_t> DrawRibbon() {
    Canvas canvas(kRibbonWidth, kRibbonHeight);
    // A warm glow under the ornament.
    canvas.Soft(
        [](double x, double y) { return 0.32 * std::exp(-std::pow(ArchDistance(x, y, -6.0) / 11.0, 2.0)); },
        [](double, double) {
            return Rgb{1.0, 0.9, 0.62};
        });
    // The thin upper line, and the curls that hang from it on alternate sides.
    canvas.Fill(
        0, 0, kRibbonWidth, kRibbonHeight,
        [](double x, double y) { return ArchDistance(x, y, -20.0) <= 1.4; },
        [](double, double) { return Gold(0.7); });
    for (int k = 0; k < 9; ++k) {
        const double x0 = 60.0 + k * 106.0;
        const double y0 = ArchRow(x0) - 20.0;
        const double direction = (k % 2 == 0) ? -1.0 : 1.0;
        const double mirror = (x0 < kRibbonWidth * 0.5) ? -1.0 : 1.0;
        const double size = 10.0 + 3.0 * std::cos((x0 / kRibbonWidth - 0.5) * kPi);
        const auto curl = Curl(x0, y0, size, direction, mirror);
        canvas.Fill(
            x0 - 2.0 * size - 4.0, y0 - 2.0 * size - 4.0, x0 + 2.0 * size + 4.0, y0 + 2.0 * size + 4.0,
            [&](double x, double y) { return PolylineDistance(x, y, curl) <= 1.5; },
            [](double, double) { return Gold(0.75); });
        const auto [ex, ey] = curl.back();
        canvas.Fill(
            ex - 4.0, ey - 4.0, ex + 4.0, ey + 4.0,
            [&](double x, double y) { return std::hypot(x - ex, y - ey) <= 2.6; },
            [](double, double) { return Gold(0.9); });
    }
    // The main band along the arch, shaded as a rounded gold cord with a twist.
    canvas.Fill(
        0, 0, kRibbonWidth, kRibbonHeight, [](double x, double y) { return ArchDistance(x, y, 0.0) <= 5.5; },
        [](double x, double y) {
            const double slope = ArchSlope(x);
            const double across = (y - ArchRow(x)) / std::sqrt(1.0 + slope * slope) / 5.5;
            const double twist = 0.5 + 0.5 * std::sin((x + across * 9.0) * 2.0 * kPi / 18.0);
            return Gold(Clamp01(0.75 - 0.45 * across * across - 0.25 * across + 0.18 * (twist - 0.5)));
        });
    // Pearls along the cord.
    for (int k = 0; k < 24; ++k) {
        const double px = 20.0 + k * 40.8, py = ArchRow(px);
        canvas.Fill(
            px - 6.0, py - 6.0, px + 6.0, py + 6.0,
            [&](double x, double y) { return std::hypot(x - px, y - py) <= 3.6; },
            [&](double x, double y) {
                const double d = std::hypot(x + 1.2 - px, y + 1.2 - py) / 3.6;
                return Mix(Rgb{1.0, 1.0, 0.97}, Rgb{0.85, 0.8, 0.72}, Clamp01(d));
            });
    }
    return canvas.Bytes(true, Rgb{0, 0, 0});
}

// ---- Star: 305 x 475, straight colour, mirror symmetric ----

constexpr int kStarWidth = 305, kStarHeight = 475;

std::vector<uint8_t> DrawStar() {
    Canvas canvas(kStarWidth, kStarHeight);
    const double cx = (kStarWidth - 1) * 0.5, cy = (kStarHeight - 1) * 0.5;
    // Inside a four-pointed star with half extents (ax, ay): the concave
    // norm |x/ax|^q + |y/ay|^q, after a rotation by `turn`.
    auto inStar = [&](double x, double y, double ax, double ay, double turn, double q) {
        const double dx = x - cx, dy = y - cy;
        const double rx = dx * std::cos(turn) + dy * std::sin(turn);
        const double ry = -dx * std::sin(turn) + dy * std::cos(turn);
        return std::pow(std::fabs(rx) / ax, q) + std::pow(std::fabs(ry) / ay, q) <= 1.0;
    };
    // A bevelled face: each point has a lit and a shaded half.
    auto facet = [&](double x, double y, Rgb light, Rgb dark, double turn) {
        const double dx = x - cx, dy = y - cy;
        const double rx = dx * std::cos(turn) + dy * std::sin(turn);
        const double ry = -dx * std::sin(turn) + dy * std::cos(turn);
        const double r = std::hypot(dx, dy);
        const double fade = 0.12 * Clamp01(r / 230.0);
        const Rgb base = (rx * ry >= 0.0) ? light : dark;
        return Mix(base, Rgb{1.0, 1.0, 1.0}, 0.25 * std::exp(-r / 40.0) - fade + 0.12);
    };

    // Halo, with light streaks along the four main axes.
    canvas.Soft(
        [&](double x, double y) {
            const double dx = (x - cx) / 120.0, dy = (y - cy) / 170.0;
            const double round = 0.55 * std::exp(-(dx * dx + dy * dy) * 2.2);
            const double streak =
                0.35 * std::exp(-std::pow((x - cx) / 5.0, 2.0)) * std::exp(-std::fabs(dy) * 1.2) +
                0.35 * std::exp(-std::pow((y - cy) / 5.0, 2.0)) * std::exp(-std::fabs(dx) * 1.3);
            return round + streak;
        },
        [](double, double) {
            return Rgb{1.0, 0.93, 0.7};
        });

    // The diagonal points, smaller and paler, behind the main star.
    const double quarter = kPi * 0.25;
    canvas.Fill(
        0, 0, kStarWidth, kStarHeight,
        [&](double x, double y) { return inStar(x, y, 122.0, 122.0, quarter, 0.62); },
        [](double, double) {
            return Rgb{0.55, 0.36, 0.1};
        });
    canvas.Fill(
        0, 0, kStarWidth, kStarHeight,
        [&](double x, double y) { return inStar(x, y, 118.0, 118.0, quarter, 0.62); },
        [&](double x, double y) {
            return facet(x, y, Rgb{0.98, 0.9, 0.66}, Rgb{0.86, 0.7, 0.42}, quarter);
        });

    // The main star: its points reach the ends of the picture and its sides.
    canvas.Fill(
        0, 0, kStarWidth, kStarHeight,
        [&](double x, double y) { return inStar(x, y, 152.4, 237.4, 0.0, 0.56); },
        [](double, double) {
            return Rgb{0.5, 0.3, 0.05};
        });
    canvas.Fill(
        0, 0, kStarWidth, kStarHeight,
        [&](double x, double y) { return inStar(x, y, 149.0, 233.0, 0.0, 0.56); },
        [&](double x, double y) {
            return facet(x, y, Rgb{1.0, 0.86, 0.38}, Rgb{0.85, 0.58, 0.14}, 0.0);
        });

    // The jewel in the middle.
    canvas.Fill(
        cx - 26.0, cy - 26.0, cx + 26.0, cy + 26.0,
        [&](double x, double y) { return std::hypot(x - cx, y - cy) <= 21.0; },
        [&](double x, double y) {
            const double d = std::hypot(x - cx + 5.0, y - cy + 6.0) / 26.0;
            return Mix(Rgb{1.0, 1.0, 0.97}, Rgb{0.96, 0.7, 0.2}, Clamp01(d));
        });

    // Small sparkles, mirrored across both axes.
    const double sparkles[][3] = {{58.0, 70.0, 14.0}, {100.0, 160.0, 8.0}, {40.0, 215.0, 6.0}};
    for (const auto& s : sparkles)
        for (int corner = 0; corner < 4; ++corner) {
            const double sx = (corner & 1) ? kStarWidth - 1 - s[0] : s[0];
            const double sy = (corner & 2) ? kStarHeight - 1 - s[1] : s[1];
            const double size = s[2];
            auto inside = [&](double x, double y) {
                const double dx = std::fabs(x - sx) / size, dy = std::fabs(y - sy) / size;
                return std::pow(dx, 0.5) + std::pow(dy, 0.5) <= 1.0;
            };
            canvas.Fill(sx - size, sy - size, sx + size, sy + size, inside, [](double, double) {
                return Rgb{1.0, 0.97, 0.86};
            });
        }
    return canvas.Bytes(false, Rgb{1.0, 0.93, 0.7});
}

// ---- Output ----

void WriteBytes(FILE* file, const char* name, const std::vector<uint8_t>& bytes) {
    std::fprintf(file, "alignas(16) const unsigned char %s[%zu] =\n", name, bytes.size() + 1);
    for (size_t i = 0; i < bytes.size(); i += 64) {
        std::fputs("    \"", file);
        for (size_t j = i; j < std::min(bytes.size(), i + 64); ++j) std::fprintf(file, "\\x%02x", bytes[j]);
        std::fputs("\"\n", file);
    }
    std::fputs(";\n", file);
}

void WriteHeader(FILE* file, const char* name, uint32_t size, int width, int height, int bitCount) {
    std::fprintf(file, "const BitmapInfoHeader %s = {%u, %d, %d, 1, %d, 0, %d, 0, 0, 0, 0};\n", name, size,
                 width, height, bitCount, width * height * bitCount / 8);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT-DIRECTORY\n", argv[0]);
        return 2;
    }
    const std::string directory = argv[1];
    const std::string sourcePath = directory + "/OverlayArt.cpp";
    const std::string headerPath = directory + "/OverlayArt.h";

    FILE* header = std::fopen(headerPath.c_str(), "w");
    if (header == nullptr) return 1;
    std::fputs(
        "// The four overlay pictures of Road Sign, Wedding and Star, as bitmap\n"
        "// headers and raw pixel rows. Generated at build time by effects/art/DrawArt.cpp.\n"
        "#pragma once\n\n#include \"picture/Picture.h\"\n\nnamespace halcyra::art {\n\n"
        "extern const BitmapInfoHeader kSignHeader;\nextern const unsigned char kSignPixels[];\n"
        "extern const BitmapInfoHeader kRibbonHeader;\nextern const unsigned char kRibbonPixels[];\n"
        "extern const BitmapInfoHeader kRibbonMaskHeader;\nextern const unsigned char kRibbonMaskPixels[];\n"
        "extern const BitmapInfoHeader kStarHeader;\nextern const unsigned char kStarPixels[];\n\n"
        "}  // namespace halcyra::art\n",
        header);
    if (std::fclose(header) != 0) return 1;

    FILE* source = std::fopen(sourcePath.c_str(), "w");
    if (source == nullptr) return 1;
    std::fputs(
        "// Pixels of the overlay pictures, generated at build time by\n"
        "// effects/art/DrawArt.cpp. Rows are width times bytes per pixel long.\n"
        "#include \"effects/art/OverlayArt.h\"\n\nnamespace halcyra::art {\n\n",
        source);
    WriteHeader(source, "kSignHeader", 40, kSignWidth, kSignHeight, 32);
    WriteHeader(source, "kRibbonHeader", 40, kRibbonWidth, kRibbonHeight, 32);
    // The mask's header has always said 13 in its size field; nothing reads it.
    WriteHeader(source, "kRibbonMaskHeader", 13, kRibbonWidth, kRibbonHeight, 8);
    WriteHeader(source, "kStarHeader", 40, kStarWidth, kStarHeight, 32);
    WriteBytes(source, "kSignPixels", DrawSign());
    WriteBytes(source, "kRibbonPixels", DrawRibbon());
    WriteBytes(source, "kRibbonMaskPixels", DrawRibbonMask());
    WriteBytes(source, "kStarPixels", DrawStar());
    std::fputs("\n}  // namespace halcyra::art\n", source);
    return std::fclose(source) == 0 ? 0 : 1;
}

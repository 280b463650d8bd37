// Every processor class this machine supports against the reference, on
// thousands of random warps and resizes: sizes 1 to 67 and some large, padded
// pitches, misaligned starts, bytes biased to 0x00 and 0xFF, matrices that are
// near-singular or map mostly outside. The whole destination buffer, guard
// bytes included, must match byte for byte, and nothing outside the
// destination rectangle may change. The cubic resize gets its own run, with
// factors that put the last output column on or just past the source's rim,
// and with a first output row. The face warp with a shading folded into its
// reads must also equal the reference warp of a shaded copy. A failure prints
// the case's seed; set HALCYRA_WARP_SEED to rerun from another base seed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "picture/kernels/KernelPixel.h"
#include "picture/kernels/Resize.h"
#include "picture/kernels/Warp.h"
#include "picture/kernels/WarpRows.h"

namespace halcyra {
namespace {

using Random = std::mt19937_64;

uint64_t BaseSeed() {
    const char* text = std::getenv("HALCYRA_WARP_SEED");
    return text != nullptr ? std::strtoull(text, nullptr, 10) : 20261122u;
}

int32_t Uniform(Random& random, int32_t lo, int32_t hi) {
    return std::uniform_int_distribution<int32_t>(lo, hi)(random);
}
double UniformReal(Random& random, double lo, double hi) {
    return std::uniform_real_distribution<double>(lo, hi)(random);
}

// Mostly small sizes, now and then a large one.
int32_t PickSide(Random& random) {
    return Uniform(random, 0, 15) == 0 ? Uniform(random, 68, 400) : Uniform(random, 1, 67);
}

// A picture inside a larger buffer: a misaligned start, a padded pitch and
// guard bytes before and after.
struct Buffer {
    std::vector<uint8_t> bytes;
    int32_t offset = 0;
    int32_t width = 0;
    int32_t height = 0;
    int32_t pitch = 0;
    int32_t bytesPerPixel = 4;

    uint8_t* Data() { return bytes.data() + offset; }
};

// With guard = false the buffer ends exactly at the last pixel of the last
// row, so that a sanitizer catches any read past the picture.
Buffer MakeBuffer(Random& random, int32_t width, int32_t height, int32_t bytesPerPixel, bool guard = true) {
    Buffer b;
    b.width = width;
    b.height = height;
    b.bytesPerPixel = bytesPerPixel;
    b.pitch = width * bytesPerPixel + (Uniform(random, 0, 2) == 0 ? 0 : Uniform(random, 1, 40));
    b.offset = (guard ? 64 : 0) + Uniform(random, 0, 15);
    b.bytes.resize(static_cast<size_t>(b.offset) + static_cast<size_t>(b.pitch) * (height - 1) +
                   static_cast<size_t>(width) * bytesPerPixel + (guard ? 64 : 0));
    const int32_t bias = Uniform(random, 0, 2);
    for (uint8_t& v : b.bytes) {
        const int32_t r = Uniform(random, 0, 9);
        if (bias > 0 && r < 3) {
            v = 0x00;
        } else if (bias > 0 && r < 6) {
            v = 0xFF;
        } else {
            v = static_cast<uint8_t>(Uniform(random, 0, 255));
        }
    }
    return b;
}

KernelRect PickSourceRect(Random& random, int32_t width, int32_t height) {
    switch (Uniform(random, 0, 5)) {
        case 0: {
            const int32_t x = Uniform(random, -3, width);
            const int32_t y = Uniform(random, -3, height);
            return {x, y, Uniform(random, 1, width + 3), Uniform(random, 1, height + 3)};
        }
        case 1: {
            const int32_t x = Uniform(random, 0, width - 1);
            const int32_t y = Uniform(random, 0, height - 1);
            return {x, y, Uniform(random, 1, width - x), Uniform(random, 1, height - y)};
        }
        default:
            return {0, 0, width, height};
    }
}

KernelRect PickDestinationRect(Random& random, int32_t width, int32_t height) {
    if (Uniform(random, 0, 2) != 0) return {0, 0, width, height};
    const int32_t x = Uniform(random, 0, width - 1);
    const int32_t y = Uniform(random, 0, height - 1);
    return {x, y, Uniform(random, 1, width - x), Uniform(random, 1, height - y)};
}

// Source-to-destination coefficients {c00, c01, c02, c10, c11, c12}.
void PickAffine(Random& random, double c[6], int32_t sw, int32_t sh, int32_t dw, int32_t dh) {
    const int32_t kind = Uniform(random, 0, 9);
    double angle = UniformReal(random, -M_PI, M_PI);
    double sx = UniformReal(random, 0.2, 3.0);
    double sy = Uniform(random, 0, 1) ? sx : UniformReal(random, 0.2, 3.0);
    double shear = Uniform(random, 0, 2) == 0 ? UniformReal(random, -1.0, 1.0) : 0.0;
    if (kind == 0) angle = 0.0, sx = sy = 1.0, shear = 0.0;                    // plain translation
    if (kind == 1) angle = Uniform(random, 0, 3) * (M_PI / 2), sx = sy = 1.0;  // quarter turns
    c[0] = std::cos(angle) * sx;
    c[1] = -std::sin(angle) * sy + shear;
    c[3] = std::sin(angle) * sx;
    c[4] = std::cos(angle) * sy;
    if (Uniform(random, 0, 3) == 0) c[0] = -c[0], c[3] = -c[3];  // mirrored: the other winding
    if (kind == 2) {                                             // near-singular: the rows almost parallel
        c[3] = c[0] * (1.0 + UniformReal(random, -1e-9, 1e-9));
        c[4] = c[1] * (1.0 + UniformReal(random, -1e-9, 1e-9));
    }
    if (kind == 3) {  // very small or very large scale
        const double f = Uniform(random, 0, 1) ? 1e-3 : 40.0;
        for (int k : {0, 1, 3, 4}) c[k] *= f;
    }
    // Centre the image on a random destination point; now and then far away.
    double cx = UniformReal(random, -0.2, 1.2) * dw;
    double cy = UniformReal(random, -0.2, 1.2) * dh;
    if (kind == 4) cx += (Uniform(random, 0, 1) ? 1 : -1) * UniformReal(random, 0.8, 2.0) * dw;
    c[2] = cx - (c[0] * sw / 2 + c[1] * sh / 2);
    c[5] = cy - (c[3] * sw / 2 + c[4] * sh / 2);
    if (kind == 0 && Uniform(random, 0, 1)) c[2] = std::round(c[2]), c[5] = std::round(c[5]);
}

// A destination quadrangle of either winding, sometimes not proper.
void PickQuad(Random& random, double q[8], int32_t dw, int32_t dh) {
    const double cx = UniformReal(random, -0.3, 1.3) * dw;
    const double cy = UniformReal(random, -0.3, 1.3) * dh;
    const double r = UniformReal(random, 0.5, 1.5) * (dw + dh) / 2;
    const double start = UniformReal(random, 0, 2 * M_PI);
    const double turn = Uniform(random, 0, 1) ? 1.0 : -1.0;
    for (int32_t k = 0; k < 4; ++k) {
        const double a = start + turn * (k * M_PI / 2 + UniformReal(random, -0.6, 0.6));
        const double rr = r * UniformReal(random, 0.3, 1.0);
        q[2 * k] = cx + rr * std::cos(a);
        q[2 * k + 1] = cy + rr * std::sin(a);
        if (Uniform(random, 0, 4) == 0)
            q[2 * k] = std::round(q[2 * k]), q[2 * k + 1] = std::round(q[2 * k + 1]);
    }
}

uint32_t PickInterpolation(Random& random) {
    static const uint32_t codes[] = {
        2, 2, 2, 2, 1, 4, 2 | kInterpolationSmoothEdges, 1 | kInterpolationSmoothEdges};
    return codes[Uniform(random, 0, 7)];
}

// Bytes outside the destination rectangle must equal the initial buffer.
void ExpectUntouchedOutside(const Buffer& before, const Buffer& after, KernelRect rect,
                            const std::string& where) {
    for (size_t i = 0; i < after.bytes.size(); ++i) {
        const int64_t rel = static_cast<int64_t>(i) - after.offset;
        bool inside = false;
        if (rel >= 0) {
            const int64_t y = rel / after.pitch;
            const int64_t x = (rel % after.pitch) / after.bytesPerPixel;
            inside = y >= rect.y && y < rect.y + rect.height && x >= rect.x && x < rect.x + rect.width &&
                     (rel % after.pitch) < static_cast<int64_t>(after.width) * after.bytesPerPixel;
        }
        if (!inside && before.bytes[i] != after.bytes[i]) {
            ADD_FAILURE() << where << ": byte " << rel << " outside the destination rectangle changed";
            return;
        }
    }
}

std::vector<CpuClass> VariantClasses() {
    std::vector<CpuClass> classes;
    for (CpuClass c : {CpuClass::Avx2, CpuClass::Avx512})
        if (CpuClassSupported(c)) classes.push_back(c);
    return classes;
}

enum class Routine { Affine, Perspective, IntoQuad, Resize, ResizeCubic, ShadedIntoQuad };

// Factors for the cubic resize: growing and shrinking, products just below and
// above whole numbers (output ends on or past the last column), and big jumps.
double PickCubicFactor(Random& random, int32_t side) {
    switch (Uniform(random, 0, 5)) {
        case 0:
            return (Uniform(random, 1, 3 * side) + UniformReal(random, -1e-7, 1e-7)) / side;
        case 1:
            return Uniform(random, 1, 8);
        case 2:
            return UniformReal(random, 0.02, 0.5);
        case 3:
            return Uniform(random, 0, 1) ? 1e9 : UniformReal(random, 8.0, 40.0);
        default:
            return UniformReal(random, 0.5, 8.0);
    }
}

// Runs one random case of a routine on every class; returns the reference status.
int32_t RunCase(Routine routine, uint64_t seed) {
    Random random(seed);
    const int32_t sw = PickSide(random), sh = PickSide(random);
    const int32_t dw = PickSide(random), dh = PickSide(random);
    Buffer source = MakeBuffer(random, sw, sh, 4, false);
    const Buffer initial = MakeBuffer(random, dw, dh, 4);
    const KernelRect sourceRect = PickSourceRect(random, sw, sh);
    const KernelRect destinationRect = PickDestinationRect(random, dw, dh);
    uint32_t interpolation = PickInterpolation(random);
    int32_t shade = warp::kUnshaded;
    if (routine == Routine::ShadedIntoQuad) {
        // Folded shading samples bilinearly only; the ends of the factor range are the likely slips.
        interpolation = kInterpolationBilinear | (Uniform(random, 0, 1) ? kInterpolationSmoothEdges : 0);
        static const int32_t ends[] = {0, 1, 127, 128, 254, 255, 256};
        shade = Uniform(random, 0, 1) ? ends[Uniform(random, 0, 6)] : Uniform(random, 0, 256);
    }
    double affine[6];
    double quad[8];
    double matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    PickAffine(random, affine, sw, sh, dw, dh);
    PickQuad(random, quad, dw, dh);
    const KernelRect whole{0, 0, sw, sh};
    if (KernelPerspectiveFromQuad(&whole, quad, matrix) != kStatusOk) {
        for (int k = 0; k < 9; ++k) matrix[k] = UniformReal(random, -2, 2);
    }
    const double xFactor =
        Uniform(random, 0, 3) == 0 ? UniformReal(random, 0.01, 0.3) : UniformReal(random, 0.3, 4.0);
    const double yFactor = Uniform(random, 0, 2) == 0 ? xFactor : UniformReal(random, 0.05, 4.0);
    uint32_t resizeCode = 1u << Uniform(random, 0, 2);
    double cubicX = xFactor, cubicY = yFactor;
    int32_t firstRow = 0;
    if (routine == Routine::ResizeCubic) {
        resizeCode = kInterpolationCubic;
        cubicX = PickCubicFactor(random, sw);
        cubicY = Uniform(random, 0, 2) == 0 ? cubicX : PickCubicFactor(random, sh);
        if (Uniform(random, 0, 2) == 0) firstRow = Uniform(random, -2, dh + 2);
    }

    auto run = [&](CpuClass cpuClass, Buffer& destination) {
        const warp::WarpTable& table = warp::WarpTableFor(cpuClass);
        switch (routine) {
            case Routine::Affine:
                return warp::WarpAffineWithTable(table, source.Data(), {sw, sh}, source.pitch, sourceRect,
                                                 destination.Data(), destination.pitch, destinationRect,
                                                 affine, interpolation);
            case Routine::Perspective:
                return warp::WarpPerspectiveWithTable(table, source.Data(), {sw, sh}, source.pitch,
                                                      sourceRect, destination.Data(), destination.pitch,
                                                      destinationRect, matrix, interpolation);
            case Routine::IntoQuad:
            case Routine::ShadedIntoQuad:
                return warp::WarpPerspectiveIntoQuadWithTable(
                    table, source.Data(), {sw, sh}, source.pitch, whole, destination.Data(),
                    destination.pitch, destinationRect, quad, matrix, interpolation, shade);
            case Routine::Resize:
                return warp::Resize4WithTable(table, source.Data(), {sw, sh}, source.pitch, sourceRect,
                                              destination.Data(), destination.pitch, {dw, dh}, xFactor,
                                              yFactor, resizeCode);
            case Routine::ResizeCubic:
                return warp::Resize4WithTable(table, source.Data(), {sw, sh}, source.pitch, sourceRect,
                                              destination.Data(), destination.pitch, {dw, dh}, cubicX, cubicY,
                                              resizeCode, firstRow);
        }
        return 0;
    };
    Buffer expected = initial;
    const int32_t status = run(CpuClass::Reference, expected);
    const std::string where = "seed " + std::to_string(seed) + " (" + std::to_string(sw) + "x" +
                              std::to_string(sh) + " -> " + std::to_string(dw) + "x" + std::to_string(dh) +
                              ")";
    const bool resize = routine == Routine::Resize || routine == Routine::ResizeCubic;
    const int32_t rowsFrom = std::clamp(firstRow, 0, dh);
    ExpectUntouchedOutside(initial, expected,
                           resize ? KernelRect{0, rowsFrom, dw, dh - rowsFrom} : destinationRect, where);
    if (rowsFrom > 0) {
        // The rows from firstRow on are those of the whole resize; the ones above stay.
        Buffer whole = initial;
        const int32_t saved = firstRow;
        firstRow = 0;
        EXPECT_EQ(run(CpuClass::Reference, whole), status) << where;
        firstRow = saved;
        const size_t split =
            static_cast<size_t>(initial.offset) + static_cast<size_t>(initial.pitch) * rowsFrom;
        EXPECT_TRUE(std::equal(expected.bytes.begin(), expected.bytes.begin() + split, initial.bytes.begin()))
            << where << ": rows above " << firstRow << " changed";
        EXPECT_TRUE(
            std::equal(expected.bytes.begin() + split, expected.bytes.end(), whole.bytes.begin() + split))
            << where << ": rows from " << firstRow << " differ from the whole resize";
    }
    if (status != kStatusOk) {
        EXPECT_EQ(expected.bytes, initial.bytes) << where << ": status " << status;
    }
    if (routine == Routine::ShadedIntoQuad) {
        // Folding the shading into the reads gives the warp of a shaded copy.
        Buffer shadedSource = source;
        for (int32_t y = 0; y < sh; ++y) {
            uint8_t* row = shadedSource.Data() + static_cast<size_t>(shadedSource.pitch) * y;
            for (int32_t x = 0; x < sw; ++x) ScaleAlphaPixel(row + 4 * x, row + 4 * x, shade);
        }
        Buffer copied = initial;
        EXPECT_EQ(warp::WarpPerspectiveIntoQuadWithTable(warp::WarpTableFor(CpuClass::Reference),
                                                         shadedSource.Data(), {sw, sh}, shadedSource.pitch,
                                                         whole, copied.Data(), copied.pitch, destinationRect,
                                                         quad, matrix, interpolation),
                  status)
            << where;
        if (copied.bytes != expected.bytes)
            ADD_FAILURE() << where << ": factor " << shade << " differs from a shaded copy";
    }
    for (CpuClass cpuClass : VariantClasses()) {
        Buffer actual = initial;
        EXPECT_EQ(run(cpuClass, actual), status) << where << ", class " << static_cast<int>(cpuClass);
        if (actual.bytes != expected.bytes) {
            ADD_FAILURE() << where << ", class " << static_cast<int>(cpuClass) << ": bytes differ";
            return status;
        }
    }
    return status;
}

void RunMany(Routine routine, int32_t cases) {
    const uint64_t base = BaseSeed() + static_cast<uint64_t>(routine) * 1000003u;
    int32_t drawn = 0;
    for (int32_t i = 0; i < cases && !::testing::Test::HasFailure(); ++i)
        drawn += RunCase(routine, base + static_cast<uint64_t>(i)) == kStatusOk;
    // The generator must mostly produce cases that draw something.
    EXPECT_GT(drawn, cases / 4);
}

TEST(WarpDifferential, AffineMatchesReference) {
    RunMany(Routine::Affine, 4000);
}
TEST(WarpDifferential, PerspectiveMatchesReference) {
    RunMany(Routine::Perspective, 3000);
}
TEST(WarpDifferential, FaceQuadMatchesReference) {
    RunMany(Routine::IntoQuad, 3000);
}
TEST(WarpDifferential, ShadedFaceQuadMatchesReferenceAndShadedCopy) {
    RunMany(Routine::ShadedIntoQuad, 3000);
}
TEST(WarpDifferential, ResizeMatchesReference) {
    RunMany(Routine::Resize, 3000);
}
TEST(WarpDifferential, CubicResizeMatchesReference) {
    RunMany(Routine::ResizeCubic, 4000);
}

}  // namespace
}  // namespace halcyra

// The warps' own rules: the argument checks and their order, the matrix test,
// the demotions of the interpolation code, rule B at the last column, the
// projective map of a quadrangle, and that pixels outside the mapped source
// stay as they were.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "picture/kernels/Warp.h"

namespace halcyra {
namespace {

struct Frame {
    int32_t width, height, pitch;
    std::vector<uint8_t> bytes;
    Frame(int32_t w, int32_t h, uint8_t fill)
        : width(w), height(h), pitch(w * 4), bytes(size_t(w) * h * 4, fill) {}
    uint8_t* Pixel(int32_t x, int32_t y) { return bytes.data() + y * pitch + x * 4; }
    KernelSize Size() const { return {width, height}; }
    KernelRect Whole() const { return {0, 0, width, height}; }
};

Frame Gradient(int32_t w, int32_t h) {
    Frame f(w, h, 0);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            uint8_t* p = f.Pixel(x, y);
            p[0] = uint8_t(x * 7 + y), p[1] = uint8_t(y * 5), p[2] = uint8_t(x ^ y), p[3] = uint8_t(255 - x);
        }
    return f;
}

const double kIdentity[6] = {1, 0, 0, 0, 1, 0};

int32_t Affine(Frame& s, Frame& d, const double* c, uint32_t code = kInterpolationBilinear) {
    return KernelWarpAffine(s.bytes.data(), s.Size(), s.pitch, s.Whole(), d.bytes.data(), d.pitch, d.Whole(),
                            c, code);
}

TEST(WarpAffine, RefusalsWriteNothingAndComeInOrder) {
    Frame s = Gradient(8, 8);
    Frame d(8, 8, 0x5A);
    const auto before = d.bytes;
    const double singular[6] = {1, 1, 0, 1, 1, 0};
    // A null pointer is reported before the empty size, the size before the pitch.
    EXPECT_EQ(
        KernelWarpAffine(nullptr, {0, 0}, 0, s.Whole(), d.bytes.data(), d.pitch, d.Whole(), kIdentity, 2),
        kStatusNullPointer);
    EXPECT_EQ(KernelWarpAffine(s.bytes.data(), {0, 8}, 0, s.Whole(), d.bytes.data(), d.pitch, d.Whole(),
                               kIdentity, 2),
              kStatusBadSize);
    EXPECT_EQ(KernelWarpAffine(s.bytes.data(), s.Size(), 31, s.Whole(), d.bytes.data(), d.pitch, d.Whole(),
                               kIdentity, 3),
              kStatusBadPitch);
    EXPECT_EQ(Affine(s, d, kIdentity, 3), kStatusBadArgument);
    EXPECT_EQ(Affine(s, d, kIdentity, kInterpolationSmoothEdges), kStatusBadArgument);
    EXPECT_EQ(Affine(s, d, singular), kStatusSingularMatrix);
    EXPECT_EQ(KernelWarpAffine(s.bytes.data(), s.Size(), s.pitch, {8, 0, 4, 4}, d.bytes.data(), d.pitch,
                               d.Whole(), kIdentity, 2),
              kWarningNoSourceOverlap);
    EXPECT_EQ(KernelWarpAffine(s.bytes.data(), s.Size(), s.pitch, {7, 0, 4, 4}, d.bytes.data(), d.pitch,
                               d.Whole(), kIdentity, 2),
              kStatusRectTooSmall);
    const double away[6] = {1, 0, 100, 0, 1, 0};
    EXPECT_EQ(Affine(s, d, away), kWarningNoDestinationOverlap);
    EXPECT_EQ(d.bytes, before);
    // A source one pixel wide leaves fewer than 2 columns, whatever the code asked.
    Frame line = Gradient(1, 9);
    EXPECT_EQ(Affine(line, d, kIdentity, kInterpolationCubic), kStatusRectTooSmall);
}

TEST(WarpAffine, MatrixTestUsesRelativeDeterminant) {
    Frame s = Gradient(8, 8);
    Frame d(8, 8, 0);
    // Tiny but well-conditioned: v = (t - c01 c10) / t = 1.
    const double tiny[6] = {1e-6, 0, 0, 0, 1e-6, 0};
    EXPECT_NE(Affine(s, d, tiny), kStatusSingularMatrix);
    // A quarter turn has c00 c11 = 0; v falls back to c01 c10 = -1.
    const double quarter[6] = {0, -1, 7, 1, 0, 0};
    EXPECT_EQ(Affine(s, d, quarter), kStatusOk);
    const double nearly[6] = {1, 1, 0, 1, 1 + 1e-11, 0};
    EXPECT_EQ(Affine(s, d, nearly), kStatusSingularMatrix);
}

TEST(WarpAffine, IdentityCopiesEveryPixelIncludingLastColumnAndRow) {
    // Rule B at sx = w - 1 exactly reads the last column with fx = 1.0.
    for (uint32_t code : {kInterpolationBilinear, kInterpolationNearest, kInterpolationCubic,
                          kInterpolationBilinear | kInterpolationSmoothEdges}) {
        Frame s = Gradient(13, 7);
        Frame d(13, 7, 0);
        ASSERT_EQ(Affine(s, d, kIdentity, code), kStatusOk) << code;
        EXPECT_EQ(d.bytes, s.bytes) << code;
    }
}

TEST(WarpAffine, HalfPixelShiftAveragesNeighboursAndKeepsUncoveredPixels) {
    Frame s(4, 2, 0);
    for (int32_t y = 0; y < 2; ++y)
        for (int32_t x = 0; x < 4; ++x) s.Pixel(x, y)[0] = uint8_t(x * 11);
    Frame d(6, 2, 0xEE);
    const double shift[6] = {1, 0, 0.5, 0, 1, 0};
    ASSERT_EQ(Affine(s, d, shift), kStatusOk);
    // Columns 1..3 lie at source 0.5..2.5: trunc(mean + 0.5) of neighbours.
    EXPECT_EQ(d.Pixel(1, 0)[0], 6);   // 5.5 + 0.5
    EXPECT_EQ(d.Pixel(2, 0)[0], 17);  // 16.5 + 0.5
    EXPECT_EQ(d.Pixel(3, 1)[0], 28);
    // Column 0 maps to -0.5 and column 4 to 3.5: outside, untouched.
    EXPECT_EQ(d.Pixel(0, 0)[0], 0xEE);
    EXPECT_EQ(d.Pixel(4, 0)[0], 0xEE);
}

TEST(WarpAffine, SmoothPassBlendsOnlyOutsideARotatedPicture) {
    Frame s(20, 20, 200);
    Frame hard(40, 40, 0);
    Frame smooth(40, 40, 0);
    const double a = 0.4;
    const double turn[6] = {std::cos(a), -std::sin(a), 15, std::sin(a), std::cos(a), 5};
    ASSERT_EQ(Affine(s, hard, turn), kStatusOk);
    ASSERT_EQ(Affine(s, smooth, turn, kInterpolationBilinear | kInterpolationSmoothEdges), kStatusOk);
    int32_t blended = 0;
    for (size_t i = 0; i < hard.bytes.size(); ++i) {
        if (hard.bytes[i] == 200) {
            EXPECT_EQ(smooth.bytes[i], 200) << i;  // inside: unchanged
        }
        if (hard.bytes[i] != smooth.bytes[i]) {
            EXPECT_EQ(hard.bytes[i], 0) << i;
            EXPECT_GT(smooth.bytes[i], 0);
            EXPECT_LT(smooth.bytes[i], 200);
            ++blended;
        }
    }
    EXPECT_GT(blended, 40);
}

TEST(PerspectiveFromQuad, MapsTheCornersOntoTheQuad) {
    const KernelRect rect{0, 0, 9, 5};
    double m[9];
    // The frame's own corners give the identity exactly.
    const double frame[8] = {0, 0, 8, 0, 8, 4, 0, 4};
    ASSERT_EQ(KernelPerspectiveFromQuad(&rect, frame, m), kStatusOk);
    const double identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    for (int k = 0; k < 9; ++k) EXPECT_EQ(m[k], identity[k]) << k;
    // A true perspective quad, both windings.
    for (const auto& q : {std::vector<double>{3, 1, 40, 6, 35, 30, -2, 22},
                          std::vector<double>{-2, 22, 35, 30, 40, 6, 3, 1}}) {
        ASSERT_EQ(KernelPerspectiveFromQuad(&rect, q.data(), m), kStatusOk);
        const double corners[4][2] = {{0, 0}, {8, 0}, {8, 4}, {0, 4}};
        for (int k = 0; k < 4; ++k) {
            const double x = corners[k][0], y = corners[k][1];
            const double w = m[6] * x + m[7] * y + m[8];
            EXPECT_NEAR((m[0] * x + m[1] * y + m[2]) / w, q[2 * k], 1e-9);
            EXPECT_NEAR((m[3] * x + m[4] * y + m[5]) / w, q[2 * k + 1], 1e-9);
        }
    }
}

TEST(PerspectiveFromQuad, RefusesFlatRectanglesAndImproperQuads) {
    double m[9] = {7, 7, 7, 7, 7, 7, 7, 7, 7};
    const KernelRect rect{0, 0, 9, 5};
    const KernelRect line{0, 0, 1, 5};
    const double square[8] = {0, 0, 8, 0, 8, 8, 0, 8};
    const double bowTie[8] = {0, 0, 8, 8, 8, 0, 0, 8};
    const double triangle[8] = {0, 0, 8, 0, 8, 0, 0, 8};
    EXPECT_EQ(KernelPerspectiveFromQuad(&line, square, m), kStatusBadSize);
    EXPECT_EQ(KernelPerspectiveFromQuad(&rect, bowTie, m), kStatusImproperQuad);
    EXPECT_EQ(KernelPerspectiveFromQuad(&rect, triangle, m), kStatusImproperQuad);
    EXPECT_EQ(KernelPerspectiveFromQuad(nullptr, square, m), kStatusNullPointer);
    for (double v : m) EXPECT_EQ(v, 7);
}

TEST(WarpPerspective, FrameFillingFaceEqualsTheSourceWithNoEdgeChange) {
    Frame s = Gradient(16, 11);
    const double quad[8] = {0, 0, 15, 0, 15, 10, 0, 10};
    double m[9];
    const KernelRect whole = s.Whole();
    ASSERT_EQ(KernelPerspectiveFromQuad(&whole, quad, m), kStatusOk);
    Frame viaQuad(16, 11, 0);
    Frame viaMatrix(16, 11, 0);
    const uint32_t smooth = kInterpolationBilinear | kInterpolationSmoothEdges;
    ASSERT_EQ(WarpPerspectiveIntoQuad(s.bytes.data(), s.Size(), s.pitch, s.Whole(), viaQuad.bytes.data(),
                                      viaQuad.pitch, viaQuad.Whole(), quad, m, smooth),
              kStatusOk);
    ASSERT_EQ(KernelWarpPerspective(s.bytes.data(), s.Size(), s.pitch, s.Whole(), viaMatrix.bytes.data(),
                                    viaMatrix.pitch, viaMatrix.Whole(), m, smooth),
              kStatusOk);
    EXPECT_EQ(viaQuad.bytes, s.bytes);
    EXPECT_EQ(viaMatrix.bytes, s.bytes);
}

TEST(WarpPerspective, RefusesDegenerateMatricesAndFacesSeenEdgeOn) {
    Frame s = Gradient(8, 8);
    Frame d(8, 8, 3);
    const auto before = d.bytes;
    const double noScale[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1e-201};
    EXPECT_EQ(KernelWarpPerspective(s.bytes.data(), s.Size(), s.pitch, s.Whole(), d.bytes.data(), d.pitch,
                                    d.Whole(), noScale, 2),
              kStatusSingularMatrix);
    const double identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    const double edgeOn[8] = {0, 2, 7, 2, 7, 2, 0, 2};
    EXPECT_EQ(WarpPerspectiveIntoQuad(s.bytes.data(), s.Size(), s.pitch, s.Whole(), d.bytes.data(), d.pitch,
                                      d.Whole(), edgeOn, identity, 2),
              kStatusImproperQuad);
    // Only the smooth flag, no interpolation bit: nothing is drawn.
    EXPECT_EQ(KernelWarpPerspective(s.bytes.data(), s.Size(), s.pitch, s.Whole(), d.bytes.data(), d.pitch,
                                    d.Whole(), identity, kInterpolationSmoothEdges),
              kStatusBadArgument);
    EXPECT_EQ(d.bytes, before);
}

// Folded shading takes factors 0..256 with bilinear sampling only; anything
// else is refused after the pointer and size checks, writing nothing.
TEST(WarpPerspective, ShadedWarpRefusesWhatItCannotFold) {
    Frame s = Gradient(8, 8);
    Frame d(8, 8, 3);
    const auto before = d.bytes;
    const double quad[8] = {0, 0, 7, 1, 6, 7, 1, 6};
    double matrix[9];
    const KernelRect whole = s.Whole();
    ASSERT_EQ(KernelPerspectiveFromQuad(&whole, quad, matrix), kStatusOk);
    auto warp = [&](const uint8_t* source, uint32_t code, int32_t factor) {
        return WarpShadedPerspectiveIntoQuad(source, s.Size(), s.pitch, s.Whole(), d.bytes.data(), d.pitch,
                                             d.Whole(), quad, matrix, code, factor);
    };
    for (const int32_t factor : {-1, 257, INT32_MIN})
        EXPECT_EQ(warp(s.bytes.data(), 2, factor), kStatusBadArgument);
    EXPECT_EQ(warp(s.bytes.data(), 1, 128), kStatusBadArgument);
    EXPECT_EQ(warp(nullptr, 2, 257), kStatusNullPointer);
    EXPECT_EQ(d.bytes, before);
    EXPECT_EQ(warp(s.bytes.data(), 2 | kInterpolationSmoothEdges, 256), kStatusOk);
}

}  // namespace
}  // namespace halcyra

// The shared scan conversion: which quadrangles are proper, the clip's vertex
// order, the pixel-centre tolerance of the spans, and the edge pass's mixing
// on a hand-worked edge.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "picture/kernels/ScanConversion.h"

namespace halcyra::scan {
namespace {

TEST(ScanConversion, QuadWindingTellsProperQuadsOfEitherSense) {
    const QuadPoint square[4] = {{0, 0}, {4, 0}, {4, 4}, {0, 4}};
    const QuadPoint reversed[4] = {{0, 4}, {4, 4}, {4, 0}, {0, 0}};
    const QuadPoint bowTie[4] = {{0, 0}, {4, 4}, {4, 0}, {0, 4}};
    const QuadPoint triangle[4] = {{0, 0}, {4, 0}, {4, 0}, {0, 4}};
    const QuadPoint line[4] = {{0, 0}, {1, 1}, {2, 2}, {3, 3}};
    const QuadPoint notANumber[4] = {{0, 0}, {4, 0}, {4, NAN}, {0, 4}};
    EXPECT_EQ(QuadWinding(square), 1);
    EXPECT_EQ(QuadWinding(reversed), -1);
    EXPECT_EQ(QuadWinding(bowTie), 0);
    EXPECT_EQ(QuadWinding(triangle), 0);
    EXPECT_EQ(QuadWinding(line), 0);
    EXPECT_EQ(QuadWinding(notANumber), 0);
}

TEST(ScanConversion, ClipKeepsAnInsideQuadAndCutsAtTheBoundsExactly) {
    const PixelBounds bounds{0, 0, 9, 9};
    const QuadPoint inside[4] = {{1, 2}, {8, 1}, {7, 9}, {0.5, 6}};
    ClippedPolygon polygon;
    ClipQuad(inside, bounds, polygon);
    ASSERT_EQ(polygon.count, 4);
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(polygon.v[k].x, inside[k].x);
        EXPECT_EQ(polygon.v[k].y, inside[k].y);
    }

    const QuadPoint across[4] = {{-4, 1}, {5, 1}, {5, 3}, {-4, 3}};
    ClipQuad(across, bounds, polygon);
    ASSERT_EQ(polygon.count, 4);
    int32_t onLeftEdge = 0;
    for (int k = 0; k < polygon.count; ++k) onLeftEdge += polygon.v[k].x == 0.0;
    EXPECT_EQ(onLeftEdge, 2);

    const QuadPoint outside[4] = {{20, 20}, {30, 20}, {30, 30}, {20, 30}};
    ClipQuad(outside, bounds, polygon);
    EXPECT_EQ(polygon.count, 0);
}

std::vector<std::array<int32_t, 3>> Spans(const QuadPoint quad[4], PixelBounds bounds) {
    ClippedPolygon polygon;
    ClipQuad(quad, bounds, polygon);
    std::vector<std::array<int32_t, 3>> rows;
    ForEachSpan(polygon, bounds, [&](int32_t y, int32_t a, int32_t b) { rows.push_back({y, a, b}); });
    return rows;
}

TEST(ScanConversion, SpansTakePixelCentresOnTheEdgeOnBothSides) {
    const PixelBounds bounds{0, 0, 19, 19};
    // Edges a hair inside whole columns still include those columns.
    const QuadPoint nearlyWhole[4] = {
        {2.00000000000001, 1}, {4.99999999999999, 1}, {4.99999999999999, 3}, {2.00000000000001, 3}};
    auto rows = Spans(nearlyWhole, bounds);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0], (std::array<int32_t, 3>{1, 2, 5}));
    // Further in, they do not.
    const QuadPoint inset[4] = {{2.1, 1.5}, {4.9, 1.5}, {4.9, 3.5}, {2.1, 3.5}};
    rows = Spans(inset, bounds);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0], (std::array<int32_t, 3>{2, 3, 4}));
    EXPECT_EQ(rows[1], (std::array<int32_t, 3>{3, 3, 4}));
    // A span reaching past the bounds is clamped to them.
    const QuadPoint wide[4] = {{-5, 5}, {30, 5}, {30, 6}, {-5, 6}};
    rows = Spans(wide, bounds);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0], (std::array<int32_t, 3>{5, 0, 19}));
}

TEST(ScanConversion, EdgePassMixesOuterPixelsByTheEdgesDistance) {
    const int32_t size = 10, pitch = size * 4;
    std::vector<uint8_t> picture(size * pitch, 0);
    // The top edge slopes down by 1/16 per column, within the band of rows 2 and 3;
    // the other three edges are axis-parallel and stay hard.
    const QuadPoint quad[4] = {{0, 2.25}, {8, 2.75}, {8, 7}, {0, 7}};
    const PixelBounds bounds{0, 0, size - 1, size - 1};
    ASSERT_EQ(QuadWinding(quad), 1);
    ClippedPolygon polygon;
    ClipQuad(quad, bounds, polygon);
    ForEachSpan(polygon, bounds, [&](int32_t y, int32_t a, int32_t b) {
        for (int32_t x = a; x <= b; ++x)
            for (int c = 0; c < 4; ++c) picture[y * pitch + x * 4 + c] = 200;
    });
    const std::vector<uint8_t> filled = picture;
    EdgePass(polygon, 1, picture.data(), pitch, bounds);
    auto at = [&](int32_t x, int32_t y) { return picture[y * pitch + x * 4 + 1]; };
    // Column 0: edge at 2.25, outer row 2 gets 0 * 0.25 + 200 * 0.75 + 0.5.
    EXPECT_EQ(at(0, 2), 150);
    EXPECT_EQ(at(4, 2), 100);  // edge at 2.5
    EXPECT_EQ(at(8, 2), 50);   // edge at 2.75
    EXPECT_EQ(at(9, 2), 0);
    // Everything below the top edge, and the axis-parallel edges, are untouched.
    for (int32_t y = 3; y < size; ++y)
        for (int32_t x = 0; x < size; ++x)
            EXPECT_EQ(at(x, y), filled[y * pitch + x * 4 + 1]) << x << "," << y;
}

}  // namespace
}  // namespace halcyra::scan

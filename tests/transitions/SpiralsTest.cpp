// Spiral and Spiral Rotation: the spiral order, the tiles' time and windows,
// the tile motions, a frame without its cell map and regression checksums.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "TransitionTestSupport.h"
#include "picture/MemoryAllocator.h"
#include "transitions/Spirals.h"

namespace halcyra {
namespace {

using test::TransitionRun;

TEST(Spirals, OrderWalksClockwiseInwards) {
    MemoryAllocator allocator;
    EXPECT_EQ(SpiralOrder(2, 2, allocator), (std::vector<int32_t>{0, 1, 3, 2}));
    EXPECT_EQ(SpiralOrder(3, 3, allocator), (std::vector<int32_t>{0, 1, 2, 5, 8, 7, 6, 3, 4}));
    EXPECT_EQ(SpiralOrder(4, 2, allocator), (std::vector<int32_t>{0, 1, 2, 3, 7, 6, 5, 4}));
    EXPECT_EQ(SpiralOrder(1, 3, allocator), (std::vector<int32_t>{0, 1, 2}));
    for (const auto& [c, r] : {std::pair{10, 10}, {7, 3}, {2, 9}}) {
        std::vector<int32_t> order = SpiralOrder(c, r, allocator);
        ASSERT_EQ(order.size(), static_cast<size_t>(c * r));
        std::sort(order.begin(), order.end());
        for (int32_t i = 0; i < c * r; ++i) EXPECT_EQ(order[i], i);
    }
    EXPECT_TRUE(SpiralOrder(0, 4, allocator).empty());
}

TEST(Spirals, DepthKeepsTheTilesStillAtTheEnds) {
    EXPECT_EQ(SpiralStretchedTime(0.37, 0.0f), 0.37);
    const double b = 0.2f * 1.0f;  // single precision, a little above 0.2
    EXPECT_EQ(SpiralStretchedTime(0.2, 1.0f), 0.0);
    EXPECT_EQ(SpiralStretchedTime(0.81, 1.0f), 1.0);
    EXPECT_EQ(SpiralStretchedTime(0.5, 1.0f), (0.5 - b) / (1.0 - 0.4));
}

QuadFace Tile(Picture* first, Picture* second) {
    return QuadFace({0.5, 1, 0}, {1, 1, 0}, {1, 0.5, 0}, {0.5, 0.5, 0}, first, second, 0);
}

TEST(Spirals, TileWindowsAndPictures) {
    Picture first, second;
    // Cohesion 0: tile 2 of 4 owns 0.5 to 0.75.
    QuadFace waiting = Tile(&first, &second);
    SpiralCellTransform(waiting, 2, 4, 0.5, 0.0, 0);
    EXPECT_EQ(waiting.corners, Tile(&first, &second).corners);
    EXPECT_EQ(waiting.frontPicture, &first);
    QuadFace finished = Tile(&first, &second);
    SpiralCellTransform(finished, 2, 4, 0.75, 0.0, 0);
    EXPECT_EQ(finished.corners, Tile(&first, &second).corners);
    EXPECT_EQ(finished.frontPicture, &second);
    // The rotating plane shows the backs by its half turn alone.
    QuadFace turnedOver = Tile(&first, &second);
    SpiralRotationCellTransform(turnedOver, 2, 4, 0.9, 0.0, 0);
    EXPECT_EQ(turnedOver.frontPicture, &first);
    EXPECT_EQ(turnedOver.corners, Tile(&first, &second).corners);
    // Cohesion 1: every tile shares the whole time.
    QuadFace together = Tile(&first, &second);
    SpiralRotationCellTransform(together, 99, 100, 0.01, 1.0, 1);
    EXPECT_NE(together.corners, Tile(&first, &second).corners);
}

TEST(Spirals, TileShrinksSwapsAndCirclesTheCentre) {
    Picture first, second;
    // u = 0.5: scale 1 - sin(pi / 2) = 0, a point turned about the scene's
    // centre and sunk by 3 (1 - u).
    QuadFace middle = Tile(&first, &second);
    SpiralCellTransform(middle, 0, 1, 0.5, 1.0, 2);
    for (const Vector3D& v : middle.corners) {
        EXPECT_EQ(v, middle.corners[0]);
        EXPECT_NEAR(std::hypot(v.x, v.y), std::hypot(0.75, 0.75), 1e-6);
        EXPECT_EQ(v.z, -1.5);
    }
    EXPECT_LT(middle.corners[0].x, 0.0);
    EXPECT_EQ(middle.frontPicture, &first);  // swapped only after the midpoint
    QuadFace later = Tile(&first, &second);
    SpiralCellTransform(later, 0, 1, 0.51, 1.0, 0);
    EXPECT_EQ(later.frontPicture, &second);
}

TEST(Spirals, NoCellMapNoTiles) {
    // Without memory for the cell map the background is drawn, then the
    // frame gives up.
    TransitionRun run(new D3DSpiralRotation(), 40, 30);
    run.host.values[7].choice = 2;  // second picture behind
    auto* effect = static_cast<D3DSpiralRotation*>(run.effect);
    EXPECT_FALSE(effect->RenderScene(&run.host, &run.a.desc, &run.b.desc, &run.out.desc, 0.5, nullptr));
    EXPECT_EQ(run.out.Pixels(), run.b.Pixels());
}

// Regression checksums of 64 x 48 frames from fixed inputs.
TEST(Spirals, RegressionChecksums) {
    struct Case {
        bool rotation;
        double progress;
        bool reverse;
        int32_t spin;
        float depth;
        int32_t background;
        uint32_t crc;
    };
    const Case cases[] = {
        {true, 0.1, false, 0, 0.0f, 1, 1034189694u},   {true, 0.4, false, 0, 0.0f, 1, 260861437u},
        {true, 0.5, false, 1, 0.5f, 3, 481939851u},    {true, 0.8, false, 2, 0.0f, 0, 2272042163u},
        {true, 0.3, true, 0, 0.3f, 2, 3611762647u},    {false, 0.1, false, 0, 0.35f, 0, 483917107u},
        {false, 0.4, false, 0, 0.35f, 0, 1435497686u}, {false, 0.5, false, 1, 0.0f, 3, 2532045070u},
        {false, 0.8, false, 2, 0.35f, 1, 3240626373u}, {false, 0.6, true, 0, 0.35f, 2, 785655271u},
    };
    const auto make = [](const Case& c) -> IVideoEffect* {
        return c.rotation ? static_cast<IVideoEffect*>(new D3DSpiralRotation()) : new D3DSpiral();
    };
    test::ExpectCaseChecksums(make, cases, [](test::TestHost& host, const Case& c) {
        host.values[c.rotation ? 4 : 3].number = c.depth;
        host.values[5].choice = c.spin;
        host.values[6].flag = c.reverse ? 1 : 0;
        host.values[7].choice = c.background;
    });
}

}  // namespace
}  // namespace halcyra

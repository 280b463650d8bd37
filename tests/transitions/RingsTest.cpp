// Rotating and Bouncing Frames: the frames of tiles, their windows and
// motions, the fade and regression checksums.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "TransitionTestSupport.h"
#include "transitions/Rings.h"

namespace halcyra {
namespace {

using test::TransitionRun;

// Rotating Frames.
constexpr int32_t kTurnReverse = 6, kTurnBackground = 7;
// Bouncing Frames.
constexpr int32_t kAmplitude = 2, kDepth = 3, kCohesion = 5, kRotation = 6, kReverse = 7, kBackground = 8;

TEST(Rings, CellsPartitionTheGrid) {
    EXPECT_EQ(RingCells(0, 2), (std::vector<int32_t>{0, 1, 2, 3, 5, 6, 7, 8}));
    EXPECT_EQ(RingCells(1, 2), (std::vector<int32_t>{4}));
    EXPECT_TRUE(RingCells(2, 2).empty());
    EXPECT_TRUE(RingCells(-1, 2).empty());
    for (int32_t frames = 1; frames <= 10; ++frames) {
        const int32_t g = frames * 2 - 1;
        std::vector<int32_t> seen(static_cast<size_t>(g * g), 0);
        for (int32_t r = 0; r < frames; ++r) {
            const auto cells = RingCells(r, frames);
            EXPECT_EQ(static_cast<int32_t>(cells.size()), r == frames - 1 ? 1 : 4 * (g - 2 * r) - 4);
            for (const int32_t c : cells) ++seen[static_cast<size_t>(c)];
        }
        EXPECT_TRUE(std::all_of(seen.begin(), seen.end(), [](int32_t n) { return n == 1; })) << frames;
    }
}

QuadMesh Grid3x3(Picture* front, Picture* back, int32_t flip) {
    return QuadMeshCreator().MakeTiles(30, 30, {-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, 3, 3, front,
                                       back, flip, false);
}

TEST(Rings, FramesTurnInTheirOwnWindows) {
    Picture first, second;
    const QuadMesh grid = Grid3x3(&first, &second, kBackFlipVertical);
    const RingSystem rings(grid);
    // Cohesion 0 with two frames: frame 0 in 0..0.5, frame 1 in 0.5..1.
    const auto before = rings.TurningRings(0.5, 0.0, 2, false, false);
    EXPECT_EQ(before[4].corners, grid.faces[4].corners);  // not started: angle 0, unchanged
    // Finished: half a turn about x through the scene's origin.
    for (int32_t i : RingCells(0, 2))
        for (size_t k = 0; k < 4; ++k) {
            const Vector3D was = grid.faces[i].corners[k];
            test::ExpectNear(before[i].corners[k], {was.x, -was.y, 0.0}, 1e-6);
        }
    const auto halfway = rings.TurningRings(0.25, 0.0, 2, true, false);
    EXPECT_NEAR(halfway[0].corners[0].x, 0.0, 1e-6);  // a quarter turn about y: edge-on
    EXPECT_NEAR(halfway[0].corners[0].z, -1.0, 1e-6);
    const auto negated = rings.TurningRings(0.25, 0.0, 2, true, true);
    EXPECT_NEAR(negated[0].corners[0].z, 1.0, 1e-6);
    // Cohesion 1: all frames share one window.
    const auto together = rings.TurningRings(0.5, 1.0, 2, false, false);
    for (const int32_t i : {0, 4})
        EXPECT_NEAR(together[i].corners[0].z, -grid.faces[i].corners[0].y, 1e-6);  // a quarter turn
    EXPECT_TRUE(RingSystem(QuadMesh()).TurningRings(0.5, 0.5, 2, false, false).empty());
}

TEST(Rings, FramesRestBeforeAndAfterTheirBounce) {
    Picture mixed;
    const QuadMesh grid = Grid3x3(&mixed, &mixed, kBackFlipHorizontal);
    const RingSystem rings(grid);
    // At t = 0.5 frame 0 is done (u = 1) and frame 1 not begun (u = 0).
    for (const QuadFace& face : rings.BouncingRings(0.5, 0.0, 2, 0.5, 2))
        for (const Vector3D& c : face.corners) EXPECT_EQ(c.z, 0.0);
    const auto moving = rings.BouncingRings(0.1, 0.0, 2, 0.5, 2);  // u = 0.2
    const double z = -std::sin(6.283185307179586 * 2 * 0.2) * 0.5 * 2.0 * (1.0 - 0.2 * 0.2);
    for (int32_t i : RingCells(0, 2))
        for (const Vector3D& c : moving[i].corners) EXPECT_DOUBLE_EQ(c.z, z);
    EXPECT_EQ(moving[4].corners, grid.faces[4].corners);
}

TEST(Rings, WorldMatricesRestAtTheEnds) {
    EXPECT_EQ(TurningRingsWorldMatrix(0.0, 0.6, 0.8, 0.9), Matrix3D::Identity());
    // Depth 0: the scene stays in the plane.
    EXPECT_EQ(TurningRingsWorldMatrix(0.5, 0.0, 0.8, 0.9), Matrix3D::Identity());
    EXPECT_EQ(BouncingRingsWorldMatrix(0.5, 0.0, 0.5, 0.5, 0), Matrix3D::Identity());
    // Any body turn is a whole one and ends as it began.
    for (int32_t rotation = 1; rotation <= 6; ++rotation) {
        const Vector3D p =
            TransformPoint(BouncingRingsWorldMatrix(1.0, 0.1, 0.5, 0.5, rotation), {0.5, -0.25, 0});
        EXPECT_NEAR(p.x, 0.5, 1e-6) << rotation;
        EXPECT_NEAR(p.y, -0.25, 1e-6) << rotation;
        const Vector3D quarter =
            TransformPoint(BouncingRingsWorldMatrix(0.25, 0.0, 0.5, 0.5, rotation), {0.5, 0.5, 0.5});
        EXPECT_GT((quarter - Vector3D(0.5, 0.5, 0.5)).Length(), 0.5) << rotation;
    }
}

// Flat frames over the fade background: the frame is the mix itself.
TEST(Rings, FlatBouncingFramesShowTheQuadraticFade) {
    for (const bool reverse : {false, true}) {
        TransitionRun run(new D3DRingsVibration(), 40, 30);
        run.host.SetFloat(kAmplitude, 0.0f);
        run.host.SetFloat(kDepth, 0.0f);
        run.host.values[kReverse].flag = reverse ? 1 : 0;
        ASSERT_TRUE(run.Render(0.3));
        const double t = reverse ? 1.0 - 0.3 : 0.3;
        EXPECT_EQ(run.out.Pixels(),
                  test::MixedPixels(reverse ? run.b : run.a, reverse ? run.a : run.b,
                                    static_cast<float>(1.0 - t * t), static_cast<float>(t * t)))
            << reverse;
    }
}

struct Case {
    double progress;
    bool reverse;
    int32_t background, rotation;
    uint32_t crc;
};

// Regression checksums of 64 x 48 frames from fixed inputs.
TEST(Rings, TurningRegressionChecksums) {
    const Case cases[] = {
        {0.1, false, 0, 0, 3940784776u}, {0.3, false, 0, 0, 2280504690u}, {0.3, false, 0, 1, 1214472751u},
        {0.5, false, 0, 0, 1210982908u}, {0.8, false, 0, 0, 1880388688u}, {0.8, false, 0, 1, 2004094950u},
        {0.3, true, 0, 0, 4079473810u},  {0.3, true, 0, 1, 2120672456u},  {0.5, false, 1, 0, 2423961173u},
        {0.5, false, 2, 0, 4161574063u}, {0.5, false, 2, 1, 3657145579u}, {0.6, true, 3, 0, 586608917u},
    };
    test::ExpectCaseChecksums([](const auto&) { return new D3DRings(); }, cases,
                              [](test::TestHost& host, const auto& c) {
                                  host.values[kTurnReverse].flag = c.reverse ? 1 : 0;
                                  host.values[kTurnBackground].choice = c.background;
                                  host.values[5].choice = c.rotation;
                              });
}

TEST(Rings, BouncingRegressionChecksums) {
    const Case cases[] = {
        {0.1, false, 4, 0, 3606705919u}, {0.3, false, 4, 0, 3527392510u}, {0.5, false, 4, 0, 61839412u},
        {0.5, false, 4, 1, 466769919u},  {0.5, false, 4, 4, 1446853541u}, {0.5, false, 4, 5, 3297330382u},
        {0.3, true, 4, 0, 1613673550u},  {0.3, true, 4, 5, 220157251u},   {0.5, false, 0, 0, 2039414307u},
        {0.5, false, 3, 0, 1295634202u}, {0.6, true, 1, 0, 1860204124u},
    };
    test::ExpectCaseChecksums([](const auto&) { return new D3DRingsVibration(); }, cases,
                              [](test::TestHost& host, const auto& c) {
                                  host.values[kReverse].flag = c.reverse ? 1 : 0;
                                  host.values[kBackground].choice = c.background;
                                  host.values[kRotation].choice = c.rotation;
                                  host.SetFloat(kCohesion, 0.5f);
                              });
}

}  // namespace
}  // namespace halcyra

// Confetti and Fly Apart: the order and timing of the leaves, their flight,
// the brightness tumble, the clip of Fly Apart and regression checksums.
#include <gtest/gtest.h>

#include <cmath>

#include "TransitionTestSupport.h"
#include "picture/MemoryAllocator.h"
#include "transitions/Confetti.h"

namespace halcyra {
namespace {

using test::ExpectNear;
using test::TransitionRun;

constexpr int32_t kConfettiReverseOrder = 8, kConfettiReverse = 9, kConfettiRandom = 10;
constexpr int32_t kFlyReverse = 6, kFlyReverseOrder = 10, kFlyRandom = 11;

TEST(Confetti, FramesTooSmallForTilesShowTheSecondPicture) {
    TransitionRun run(new D3DBlowingLeaves(), 1, 9);
    ASSERT_TRUE(run.Render(0.5));
    EXPECT_EQ(run.out.Pixels(), run.b.Pixels());
}

TEST(SortFacesByDistance, StableBothWays) {
    std::vector<QuadFace> faces(5);
    for (size_t i = 0; i < faces.size(); ++i) faces[i].SetCorners({}, {}, {}, {static_cast<double>(i), 0, 0});
    const auto sorted = [&](std::vector<double> d, bool farFirst) {
        std::vector<QuadFace> list = faces;
        SortFacesByDistance(list, d, farFirst);
        std::vector<int32_t> ids;
        for (const QuadFace& f : list) ids.push_back(static_cast<int32_t>(f.corners[3].x));
        return ids;
    };
    EXPECT_EQ(sorted({3, 1, 3, 0, 1}, false), (std::vector<int32_t>{3, 1, 4, 0, 2}));
    EXPECT_EQ(sorted({3, 1, 3, 0, 1}, true), (std::vector<int32_t>{0, 2, 1, 4, 3}));
    // Lists of unequal length are left as they are.
    EXPECT_EQ(sorted({5, 4}, false), (std::vector<int32_t>{0, 1, 2, 3, 4}));
}

// A picture of one colour in memory the test owns.
struct Solid {
    Solid(int32_t w, int32_t h, uint8_t b, uint8_t g, uint8_t r) : bytes(static_cast<size_t>(w) * h * 4) {
        for (size_t i = 0; i < bytes.size(); i += 4) {
            bytes[i] = b;
            bytes[i + 1] = g;
            bytes[i + 2] = r;
            bytes[i + 3] = 255;
        }
        picture.Attach(bytes.data(), w, h, w * 4, 4);
    }
    std::vector<uint8_t> bytes;
    Picture picture;
};

TEST(MeanLuma, DividesByTheUnclippedArea) {
    const Solid grey(10, 8, 100, 100, 100);
    const int32_t mean = (100 * 255) >> 8;
    EXPECT_EQ(MeanLuma(grey.picture, 0, 0, 10, 8), mean);
    // Half of the rectangle lies beyond the picture: half the mean.
    EXPECT_EQ(MeanLuma(grey.picture, 5, 0, 10, 8), mean / 2);
    EXPECT_EQ(MeanLuma(grey.picture, -4, -4, 8, 8), mean / 4);
    EXPECT_EQ(MeanLuma(Solid(4, 4, 0, 0, 255).picture, 0, 0, 4, 4), (255 * 76) >> 8);
    EXPECT_EQ(MeanLuma(grey.picture, 0, 0, 0, 8), 0);
    EXPECT_EQ(MeanLuma(grey.picture, 20, 20, 4, 4), 0);
    EXPECT_EQ(MeanLuma(Picture(), 0, 0, 4, 4), 0);
}

TEST(MeanLuma, OnePassGivesEveryRectanglesMean) {
    test::GuardedFrame frame(37, 23, 12);
    frame.FillPattern(5);
    Picture picture;
    picture.AttachImage(frame.desc);
    const std::vector<PixelRect> rects = {{0, 0, 37, 23}, {5, 3, 10, 7}, {30, 20, 12, 9}, {-3, -2, 6, 5},
                                          {9, 4, 0, 5},   {50, 1, 3, 3}, {0, 22, 37, 1},  {12, 0, 1, 23}};
    const std::vector<uint8_t> means = MeanLumas(picture, rects);
    ASSERT_EQ(means.size(), rects.size());
    for (size_t k = 0; k < rects.size(); ++k)
        EXPECT_EQ(means[k], MeanLuma(picture, rects[k].x, rects[k].y, rects[k].width, rects[k].height)) << k;
}

TEST(LeafTumble, ConfettiAvoidsTumblesNearZero) {
    Solid black(8, 8, 0, 0, 0);
    const QuadFace face({-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, &black.picture, nullptr, 0);
    // a = b = 0: sin 0 is replaced by cos 0 in Confetti only.
    EXPECT_EQ(ConfettiTumble(face, &black.picture, &black.picture), 1.0);
    EXPECT_EQ(FlyApartTumble(face, &black.picture, &black.picture), 0.0);
    EXPECT_EQ(ConfettiTumble(face, nullptr, &black.picture), 0.0);
    const Solid grey(8, 8, 100, 100, 100);
    const double a = 99.0 / 255.0;
    EXPECT_EQ(FlyApartTumble(face, &grey.picture, &black.picture),
              std::sin((a * 0.0 + a + 0.0) * M_PI * 2.0));
}

Leave3D FlyingLeaf(const Vector3D& flight, double spin, double shrink, double tumble = 0.0) {
    const QuadFace face({0, 1, 0}, {2, 1, 0}, {2, -1, 0}, {0, -1, 0}, nullptr, nullptr, 0);
    return Leave3D(face, Vector3D(1, 0, 0) + flight, spin, shrink, 0.2, 1.0, 0.0, tumble);
}

TEST(Leave3D, FlightShrinkAndTimeWindow) {
    const Leave3D leaf = FlyingLeaf({4, 0, 0}, 0.0, 1.0);
    EXPECT_EQ(leaf.LeafMatrix(0.1), Matrix3D::Identity());  // not started yet
    EXPECT_EQ(leaf.LeafMatrix(1.0), Matrix3D::Identity());  // at its end
    // u = 0.5: halfway to the target and half its size.
    const QuadFace half = leaf.LeafFace(0.6);
    ExpectNear(half.Centre(), {3, 0, 0}, 1e-12);
    ExpectNear(half.corners[1] - half.corners[0], {1, 0, 0}, 1e-6);
    // start and end are clamped; a cut-off ends the leaf early.
    const Leave3D clamped(QuadFace(), {}, 0.0, 0.0, -1.0, 3.0, 0.5, 0.0);
    EXPECT_EQ(clamped.start, 0.0);
    EXPECT_EQ(clamped.end, 1.0);
    EXPECT_TRUE(clamped.IsLeafAlive(0.4));
    EXPECT_FALSE(clamped.IsLeafAlive(0.5));
    EXPECT_TRUE(FlyingLeaf({1, 0, 0}, 0, 0).IsLeafAlive(7.0));
}

// Equal shares, so that tiles mirrored about the centre are equally far from it.
QuadMesh Tiles(int32_t columns, int32_t rows, Picture* picture) {
    return QuadMeshCreator().MakeGrid({-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, columns, rows, picture,
                                      picture, 0);
}

double FlightLength(const Leave3D& leaf) {
    return (leaf.target - leaf.face.Centre()).Length();
}

TEST(LeafBuilders, NearLeavesGoFirstAndFlyFarthest) {
    Picture picture;
    const LeafWind wind{2.0, 1.0, false, false};
    const double r = std::sqrt(2.0);
    EXPECT_TRUE(BuildConfettiLeaves(QuadMesh(), 0.0, wind, nullptr, nullptr).leaves.empty());
    // Wind from the right: the right tile is nearest and goes at once.
    const LeaveSystem two = BuildConfettiLeaves(Tiles(2, 1, &picture), 0.0, wind, nullptr, nullptr);
    ASSERT_EQ(two.leaves.size(), 2u);
    EXPECT_GT(two.leaves[0].face.Centre().x, 0.0);
    EXPECT_EQ(two.leaves[0].start, 0.0);
    EXPECT_EQ(two.leaves[0].spin, (1.0 + 0.10000000149011612) * 2.0 * M_PI);
    EXPECT_NEAR(FlightLength(two.leaves[0]), 2.0 * r * 2.0, 1e-12);
    // The far one: f = 1, its start 0.9 + sin(1) / 2 clamped to 0.9.
    EXPECT_EQ(two.leaves[1].start, 0.8999999761581421);
    EXPECT_NEAR(FlightLength(two.leaves[1]), 2.0 * r * 0.2 * 2.0, 1e-7);
    EXPECT_EQ(two.leaves[1].shrink, 0.0);

    // Reverse Order: farthest first, and again the first to go flies farthest.
    const LeaveSystem back =
        BuildConfettiLeaves(Tiles(2, 1, &picture), 0.0, {2.0, 1.0, true, false}, nullptr, nullptr);
    EXPECT_LT(back.leaves[0].face.Centre().x, 0.0);
    EXPECT_NEAR(FlightLength(back.leaves[0]), 2.0 * r * 2.0, 1e-6);
    EXPECT_EQ(back.leaves[1].start, 0.8999999761581421 - std::sin(1.0) / 2.0);

    // Fly Apart from straight ahead: both tiles equally far, f = 0 for both.
    const LeaveSystem fly = BuildFlyApartLeaves(Tiles(2, 1, &picture), 0.0, 0.0, wind, nullptr, nullptr);
    ASSERT_EQ(fly.leaves.size(), 2u);
    EXPECT_EQ(fly.leaves[0].spin, fly.leaves[1].spin);
    EXPECT_EQ(fly.leaves[1].start, std::sin(1.0) / 2.0);
    EXPECT_EQ(fly.leaves[0].shrink, 1.0);
    // The wind turned about x by a quarter turn comes from above: the top row goes first.
    const LeaveSystem above =
        BuildFlyApartLeaves(Tiles(1, 2, &picture), 0.0, M_PI / 2.0, wind, nullptr, nullptr);
    EXPECT_GT(above.leaves[0].face.Centre().y, 0.0);
    EXPECT_EQ(above.leaves[0].start, 0.0);
}

TEST(LeaveSystem, ClipDepthDropsLeavesOutOfRange) {
    MemoryAllocator allocator;
    Picture target, leafPicture;
    ASSERT_TRUE(target.Allocate(20, 16, 4, &allocator));
    ASSERT_TRUE(leafPicture.Allocate(20, 16, 4, &allocator));
    const auto fill = [](Picture& p, uint8_t v) {
        for (int32_t y = 0; y < p.height; ++y)
            for (int32_t x = 0; x < p.width * 4; ++x) p.Row(y)[x] = v;
    };
    fill(leafPicture, 0xC0);
    Scene3D scene;
    scene.SetAllocator(&allocator);
    scene.SetTarget(target);
    scene.SetProjectionMatrix(Matrix3D::Perspective(6.0));
    LeaveSystem system;
    const QuadFace face({-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, &leafPicture, nullptr, 0);
    system.AddLeaf(Leave3D(face, {0, 0, -6}, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0));
    for (const auto& [depth, drawn] : {std::pair{0.0, true}, {4.0, true}, {2.0, false}, {3.0, false}}) {
        fill(target, 0);
        system.SetClipDepth(depth);
        system.DrawLeaves(scene, 0.5, 0x80000002u);  // the centre at z = -3
        EXPECT_EQ(target.PixelAddress(10, 8)[0], drawn ? 0xC0 : 0) << "clip depth " << depth;
    }
}

struct LeafCase {
    bool flyApart;
    double progress;
    bool reverse, reverseOrder, randomRotation;
    uint32_t crc;
};

// Regression checksums of 64 x 48 frames from fixed inputs.
TEST(Confetti, RegressionChecksums) {
    const LeafCase cases[] = {
        {false, 0.1, false, false, false, 2769233622u}, {false, 0.4, false, false, false, 4133796018u},
        {false, 0.7, false, false, false, 3097719638u}, {false, 0.95, false, false, false, 1719051933u},
        {false, 0.4, true, false, false, 3173488057u},  {false, 0.4, false, true, false, 3421283369u},
        {false, 0.4, false, false, true, 3118398245u},  {true, 0.1, false, false, false, 2207779785u},
        {true, 0.4, false, false, false, 403766782u},   {true, 0.7, false, false, false, 2960635764u},
        {true, 0.95, false, false, false, 2653043129u}, {true, 0.6, true, false, false, 4165660879u},
        {true, 0.4, false, true, false, 1550667703u},   {true, 0.4, false, false, true, 1639439859u},
    };
    const auto make = [](const LeafCase& c) -> IVideoEffect* {
        return c.flyApart ? static_cast<IVideoEffect*>(new D3DLeafBlower()) : new D3DBlowingLeaves();
    };
    test::ExpectCaseChecksums(make, cases, [](test::TestHost& host, const LeafCase& c) {
        host.values[c.flyApart ? kFlyReverse : kConfettiReverse].flag = c.reverse ? 1 : 0;
        host.values[c.flyApart ? kFlyReverseOrder : kConfettiReverseOrder].flag = c.reverseOrder ? 1 : 0;
        host.values[c.flyApart ? kFlyRandom : kConfettiRandom].flag = c.randomRotation ? 1 : 0;
    });
}

}  // namespace
}  // namespace halcyra

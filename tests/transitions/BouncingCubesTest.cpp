// Bouncing Cubes: parameters, motion rules, ends of the transition and
// regression checksums.
#include <gtest/gtest.h>

#include <cmath>

#include "TransitionTestSupport.h"
#include "transitions/BouncingCubes.h"

namespace halcyra {
namespace {

using test::TransitionRun;

constexpr int32_t kReverse = 7;
constexpr int32_t kBackground = 8;
constexpr int32_t kColour = 9;

TEST(BouncingCubes, ParametersAndReadingOrder) {
    TransitionRun run(new D3DMNCubesFly(), 32, 24);
    EXPECT_STREQ(run.effect->GetName(), "Corvane 3D Bouncing Cubes");
    EXPECT_EQ(run.effect->GetInputCount(), 2);
    const char* names[] = {"Shading", "Columns",  "Rows",    "Cohesion",   "Depth",
                           "Zigzag",  "Rotation", "Reverse", "Background", "Background Color"};
    test::ExpectParameterNames(run.effect, names);
    EXPECT_EQ(run.host.values[kBackground].choice, 3);
    EXPECT_EQ(run.host.values[kColour].colour, 0x606060u);
    run.Render(0.5);
    EXPECT_EQ(run.host.requested, (std::vector<int32_t>{0, 1, 2, 3, 6, 7, 9, 8, 4, 5}));
}

TEST(BouncingCubes, QueryInterfaceHasTheSceneForm) {
    D3DMNCubesFly* effect = new D3DMNCubesFly();
    EXPECT_EQ(effect->QueryInterface(IID_IVideoEffect, nullptr), kStatusFail);
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(effect->QueryInterface(IID_IHostAllocator, &out), kStatusNoInterface);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(effect->QueryInterface(IID_IUnknown, &out), kStatusOk);
    EXPECT_EQ(out, static_cast<IVideoEffect*>(effect));
    EXPECT_EQ(effect->Release(), 1u);
    EXPECT_EQ(effect->Release(), 0u);
}

TEST(BouncingCubes, EndsShowThePlainPictures) {
    TransitionRun run(new D3DMNCubesFly(), 32, 24);
    test::ExpectPlainEnds(run, kReverse);
}

TEST(BouncingCubes, ColourBackgroundKeepsTheFramesAlpha) {
    TransitionRun run(new D3DMNCubesFly(), 48, 32);
    run.host.values[kBackground].choice = 0;
    run.host.values[kColour].colour = 0x302010;
    EXPECT_TRUE(run.Render(0.5));
    const uint8_t* corner = run.out.Pixel(0, 0);  // the grid has receded from the corner
    EXPECT_EQ(corner[0], 0x30);
    EXPECT_EQ(corner[1], 0x20);
    EXPECT_EQ(corner[2], 0x10);
    EXPECT_EQ(corner[3], 0x5A);
}

TEST(BouncingCubes, DepthStretchesTheTilesTime) {
    EXPECT_EQ(CubesStretchedTime(0.3, 0.0f), 0.3);
    const double a = static_cast<double>(0.2f * 0.5f);
    EXPECT_EQ(CubesStretchedTime(a * 0.99, 0.5f), 0.0);
    EXPECT_EQ(CubesStretchedTime(0.95, 0.5f), 1.0);
    EXPECT_EQ(CubesStretchedTime(0.5, 0.5f), (0.5 - a) / static_cast<double>(1.0f - 0.4f * 0.5f));
    EXPECT_EQ(CubesWorldMatrix(0.0, 0.35, 0.7, 0.7), Matrix3D::Identity());
    const Vector3D moved = TransformPoint(CubesWorldMatrix(1.0, 0.35, 0.7, 0.7), {0.5, 0.5, 0});
    EXPECT_NEAR(moved.x, 0.5, 1e-14);
    EXPECT_NEAR(moved.z, 0.0, 1e-14);
}

QuadMesh UnitBox(Picture* front, Picture* back) {
    return QuadMeshCreator().MakeBox({-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, -2.0, front, back, 0);
}

TEST(BouncingCubes, BoxWindowsFollowCohesion) {
    Picture first, second;
    // Cohesion 1: every box starts at 0 and lasts the whole transition.
    QuadMesh moving = UnitBox(&first, &second);
    CubeMotion(moving, 16, 15, 0.01, 1.0, 0);
    EXPECT_NE(moving.faces[0].corners[0], Vector3D(-1, 1, 0));
    // Cohesion 0: box i of 4 waits until i / 4.
    QuadMesh waiting = UnitBox(&first, &second);
    CubeMotion(waiting, 4, 2, 0.49, 0.0, 0);
    EXPECT_EQ(waiting.faces[0].corners[0], Vector3D(-1, 1, 0));
    EXPECT_EQ(waiting.faces[0].frontPicture, &first);
    QuadMesh done = UnitBox(&first, &second);
    CubeMotion(done, 4, 2, 0.75, 0.0, 0);
    EXPECT_EQ(done.faces[0].corners[0], Vector3D(-1, 1, 0));
    EXPECT_EQ(done.faces[0].frontPicture, &second);
}

TEST(BouncingCubes, BoxCollapsesBeforeItSwaps) {
    Picture first, second;
    QuadMesh box = UnitBox(&first, &second);
    CubeMotion(box, 1, 0, 0.125, 1.0, 0);  // p = 0.125: scale 1 - sin(pi / 2) = 0
    const Vector3D c = box.faces[0].corners[0];
    for (const QuadFace& f : box.faces)
        for (const Vector3D& v : f.corners) EXPECT_EQ(v, c);
    EXPECT_EQ(box.faces[0].frontPicture, &first);
    QuadMesh later = UnitBox(&first, &second);
    CubeMotion(later, 1, 0, 0.25, 1.0, 1);  // p = 0.25: k = 0, full size again, spinning
    EXPECT_EQ(later.faces[0].frontPicture, &second);
    EXPECT_NEAR((later.faces[0].corners[1] - later.faces[0].corners[0]).Length(), 2.0, 1e-6);
}

// Regression checksums of 64 x 48 frames from fixed inputs.
TEST(BouncingCubes, RegressionChecksums) {
    const test::CrcCase cases[] = {
        {0.1, false, 3, 2598807907u}, {0.25, false, 3, 4246936333u}, {0.5, false, 3, 967376842u},
        {0.8, false, 3, 3562633037u}, {0.25, true, 3, 4079418151u},  {0.5, true, 3, 101686412u},
        {0.5, false, 0, 594529347u},  {0.5, false, 1, 161953442u},   {0.5, false, 2, 71235973u},
        {0.65, true, 1, 2485860405u},
    };
    test::ExpectChecksums([] { return new D3DMNCubesFly(); }, cases, kReverse, kBackground);
}

}  // namespace
}  // namespace halcyra

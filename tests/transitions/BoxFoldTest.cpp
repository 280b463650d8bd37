// Box Fold: parameters, the fold's time, the world motion, the unfolded box
// at a quarter and a half turn, ends of the transition and regression
// checksums.
#include <gtest/gtest.h>

#include <cmath>

#include "TransitionTestSupport.h"
#include "transitions/BoxFold.h"

namespace halcyra {
namespace {

using test::TransitionRun;

constexpr int32_t kReverse = 4;
constexpr int32_t kBackground = 5;

TEST(BoxFold, ParametersAndReadingOrder) {
    TransitionRun run(new D3DBoxInversion(), 32, 24);
    EXPECT_STREQ(run.effect->GetName(), "Corvane 3D Box Fold");
    const char* names[] = {"Shading", "Speed", "Depth", "Tilt", "Reverse", "Background", "Background Color"};
    test::ExpectParameterNames(run.effect, names);
    EXPECT_EQ(run.host.values[kBackground].choice, 3);
    EXPECT_EQ(run.host.values[3].point[0], 1.0f);
    run.Render(0.5);
    EXPECT_EQ(run.host.requested, (std::vector<int32_t>{0, 1, 3, 2, 4, 6, 5}));
}

TEST(BoxFold, FoldTakesTheMiddleShareOfTime) {
    // Speed value 1: V = 1, the fold spreads over all the time.
    const float fastest = 1.0f * 0.9f + 0.1f;
    EXPECT_EQ(BoxFoldTime(0.3, fastest), 0.3 / static_cast<double>(fastest));
    // Speed value 0: V = 0.1, h = 0.45, the fold takes the middle tenth.
    const float slowest = 0.0f * 0.9f + 0.1f;
    EXPECT_EQ(BoxFoldTime(0.44, slowest), 0.0);
    EXPECT_EQ(BoxFoldTime(0.56, slowest), 1.0);
    EXPECT_NEAR(BoxFoldTime(0.5, slowest), 0.5, 1e-6);
}

TEST(BoxFold, WorldMotion) {
    EXPECT_EQ(BoxFoldWorldMatrix(0.0, 1.45, 0.0, 1.0, 1.0), Matrix3D::Identity());
    // Tilt (0.5, 0.5) makes all three rotations vanish: only the moves remain.
    const double d = 0.9f * 1.5f + 0.1f;
    const Vector3D p = TransformPoint(BoxFoldWorldMatrix(0.5, d, 0.5, 0.5, 1.0), {1, 1, 0});
    EXPECT_EQ(p.x, 1.0);
    EXPECT_EQ(p.y, 1.0 + (-d * 0.6000000238418579));
    EXPECT_EQ(p.z, -10.0 * d + -2.0 * std::sin(M_PI * 0.5 * 0.5));
    // At the end the box has moved back by its own depth.
    const Vector3D end = TransformPoint(BoxFoldWorldMatrix(1.0, d, 0.0, 1.0, 1.0), {0, 0, 2});
    EXPECT_NEAR(end.z, 0.0, 1e-9);
}

QuadMesh Box(Picture* front, Picture* back) {
    return QuadMeshCreator().MakeBox({-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, -2.0, front, back, 0);
}

void ExpectCentre(const QuadFace& face, double x, double y, double z) {
    const Vector3D c = face.Centre();
    EXPECT_NEAR(c.x, x, 1e-6);
    EXPECT_NEAR(c.y, y, 1e-6);
    EXPECT_NEAR(c.z, z, 1e-6);
}

TEST(BoxFold, UnfoldsIntoACrossAndThrough) {
    Picture first, second;
    EXPECT_TRUE(FoldBox(QuadMesh(), 0.5).faces.empty());
    const QuadMesh closed = Box(&first, &second);
    const QuadMesh cross = FoldBox(closed, 0.5);
    ASSERT_EQ(cross.faces.size(), 6u);
    EXPECT_EQ(cross.faces[0].corners, closed.faces[0].corners);  // the front stays
    ExpectCentre(cross.faces[1], 2, 0, 0);
    ExpectCentre(cross.faces[2], 0, 4, 0);  // the rear beyond the top
    ExpectCentre(cross.faces[3], -2, 0, 0);
    ExpectCentre(cross.faces[4], 0, 2, 0);
    ExpectCentre(cross.faces[5], 0, -2, 0);
    const QuadMesh inverted = FoldBox(closed, 1.0);
    ExpectCentre(inverted.faces[2], 0, 0, 2);  // the rear over the front
    ExpectCentre(inverted.faces[1], 1, 0, 1);
    ExpectCentre(inverted.faces[4], 0, 1, 1);
    // The rear ends upright: its first corner (b') at the top right.
    EXPECT_NEAR(inverted.faces[2].corners[0].x, 1.0, 1e-6);
    EXPECT_NEAR(inverted.faces[2].corners[0].y, 1.0, 1e-6);
}

TEST(BoxFold, EndsShowThePlainPictures) {
    // Progress 0 is drawn: the closed box's front fills the frame.
    TransitionRun run(new D3DBoxInversion(), 40, 30);
    test::ExpectPlainEnds(run, kReverse);
}

// Regression checksums of 64 x 48 frames from fixed inputs.
TEST(BoxFold, RegressionChecksums) {
    const test::CrcCase cases[] = {
        {0.1, false, 3, 4139874325u}, {0.3, false, 3, 1951686371u}, {0.5, false, 3, 703791529u},
        {0.7, false, 3, 1806261490u}, {0.9, false, 3, 700706618u},  {0.4, true, 3, 3036642146u},
        {0.5, false, 0, 3428298731u}, {0.5, false, 1, 1365916933u}, {0.6, false, 2, 2326225354u},
        {0.75, true, 1, 1309420901u},
    };
    test::ExpectChecksums([] { return new D3DBoxInversion(); }, cases, kReverse, kBackground);
}

}  // namespace
}  // namespace halcyra

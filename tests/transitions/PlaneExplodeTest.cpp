// Plane Explode: parameters, the plane's motion, the pieces, the trail of
// earlier moments, ends of the transition and regression checksums.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "OddInput.h"
#include "TransitionTestSupport.h"
#include "picture/PictureOps.h"
#include "transitions/PlaneExplode.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TransitionRun;

constexpr int32_t kDelay = 0;
constexpr int32_t kVelocity = 1;
constexpr int32_t kColumns = 2;
constexpr int32_t kTrailCount = 4;
constexpr int32_t kTrailSpacing = 5;
constexpr int32_t kReverse = 7;

TEST(PlaneExplode, ParametersAndReadingOrder) {
    TransitionRun run(new D3DPlaneExplode(), 32, 24);
    EXPECT_STREQ(run.effect->GetName(), "Corvane 3D Plane Explode");
    EXPECT_EQ(run.effect->GetInputCount(), 2);
    const char* names[] = {"Delay",       "Velocity",      "Columns", "Rows",
                           "Trail Count", "Trail Spacing", "Incline", "Reverse"};
    for (int32_t i = 0; i < 8; ++i) {
        ParameterInfo info;
        std::memset(&info, 0x77, sizeof info);
        ASSERT_TRUE(run.effect->GetParameterInfo(i, &info));
        EXPECT_STREQ(info.name, names[i]);
        if (i == 2 || i == 3) EXPECT_EQ(info.rangeExtra, 0) << i;
        if (i == 4) EXPECT_EQ(info.maximum, 5.0f);
    }
    ParameterInfo info{};
    EXPECT_FALSE(run.effect->GetParameterInfo(8, &info));
    uint32_t bits;
    std::memcpy(&bits, &run.host.values[kVelocity].number, 4);
    EXPECT_EQ(bits, 0x3E851EB8u);
    run.Render(0.5);
    // The trail's parameters are Render's own; the scene reads the rest.
    EXPECT_EQ(run.host.requested, (std::vector<int32_t>{4, 5, 7, 0, 1, 2, 3, 6, 7}));
}

TEST(PlaneExplode, PlaneFliesBackAndShrinks) {
    EXPECT_EQ(TransformPoint(PlaneWorldMatrix(0.0, 0.2, 0.9), {0.5, -1.0, 0.0}), Vector3D(0.5, -1.0, 0.0));
    // Incline (0.5, 0.5) gives no rotation.
    const Vector3D p = TransformPoint(PlaneWorldMatrix(0.5, 0.5, 0.5), {1.0, 1.0, 0.0});
    EXPECT_EQ(p, Vector3D(0.75, 0.75, -5.0));
    const Vector3D gone = TransformPoint(PlaneWorldMatrix(1.0, 0.3, 0.8), {1.0, -1.0, 0.0});
    EXPECT_EQ(gone, Vector3D(0.0, 0.0, -10.0));
    const Vector3D tilted = TransformPoint(PlaneWorldMatrix(0.5, 1.0, 0.5), {1.0, 0.0, 0.0});
    // Turned about y by 1.5 radians, scaled by 0.75 and moved back by 5.
    EXPECT_NEAR(tilted.x, 0.75 * std::cos(1.5), 1e-6);
    EXPECT_NEAR(tilted.z, 0.75 * std::sin(1.5) - 5.0, 1e-6);
}

TEST(PlaneExplode, PiecesFlyOutFromTheCentre) {
    Picture picture;
    const QuadMesh grid = QuadMeshCreator().MakeGrid({-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, 3, 3,
                                                     &picture, &picture, 0);
    const ParticleSystem system = BuildPlaneParticles(grid, 3.6);
    ASSERT_EQ(system.particles.size(), 9u);
    ASSERT_EQ(system.meshes.size(), 9u);
    const Vector3D middle = grid.Centre();
    for (size_t i = 0; i < 9; ++i) {
        const Vector3D c = grid.faces[i].Centre();
        EXPECT_EQ(system.particles[i].start, c);
        EXPECT_EQ(system.particles[i].end, c + (c - middle) * 3.6);
        EXPECT_EQ(system.particles[i].scale, Vector3D());
        EXPECT_EQ(system.meshes[i].faces.size(), 1u);
    }
    EXPECT_NEAR((system.particles[4].end - system.particles[4].start).Length(), 0.0, 1e-15);
}

TEST(PlaneExplode, EndsDependOnTheTrail) {
    TransitionRun run(new D3DPlaneExplode(), 32, 24);
    // t = 0 is drawn, with the plane still standing in the frame.
    EXPECT_TRUE(run.Render(0.0));
    EXPECT_EQ(run.out.Pixels(), run.a.Pixels());
    EXPECT_TRUE(run.Render(1.0));
    EXPECT_EQ(run.out.Pixels(), run.b.Pixels());
    run.host.values[kReverse].flag = 1;
    EXPECT_TRUE(run.Render(0.0));
    EXPECT_EQ(run.out.Pixels(), run.a.Pixels());
    // With a trail the two swaps cancel and only the time runs backward.
    run.host.SetFloat(kTrailCount, 0.1f);
    EXPECT_TRUE(run.Render(0.0));
    EXPECT_EQ(run.out.Pixels(), run.b.Pixels());
    EXPECT_TRUE(run.Render(1.0));
    EXPECT_EQ(run.out.Pixels(), run.a.Pixels());
    EXPECT_TRUE(run.out.GuardsIntact());
}

// The trail is the oldest moment, then each newer one mixed in by halves.
TEST(PlaneExplode, TrailMixesEarlierMoments) {
    const double progress = 0.5;
    TransitionRun trail(new D3DPlaneExplode(), 48, 32);
    trail.host.SetFloat(kTrailCount, 0.1f);  // n = 4
    EXPECT_FALSE(trail.Render(progress));    // false even though the output is complete

    TransitionRun single(new D3DPlaneExplode(), 48, 32);
    GuardedFrame expected(48, 32);
    Picture e, moment;
    e.AttachImage(expected.desc);
    moment.AttachImage(single.out.desc);
    const float step = 0.1f * 0.5f / 4.0f;
    for (int32_t i = 3; i >= 0; --i) {
        ASSERT_TRUE(single.Render(progress - step * static_cast<float>(i)));
        if (i == 3)
            PictureOps::CopyPicture(moment, e);
        else
            PictureOps::MixPictures(moment, e, e, 0.5f, 0.5f);
    }
    EXPECT_EQ(trail.out.Pixels(), expected.Pixels());

    // Early on the oldest moments fall before 0 and nothing is copied first:
    // the output's own bytes take part in the mix.
    TransitionRun early(new D3DPlaneExplode(), 48, 32);
    early.host.SetFloat(kTrailCount, 0.1f);
    early.host.SetFloat(kTrailSpacing, 1.0f);  // step 0.125
    early.Render(0.1);
    const auto withOld = early.out.Pixels();
    early.out.Fill(0x00);
    early.Render(0.1);
    EXPECT_NE(early.out.Pixels(), withOld);
}

TEST(PlaneExplode, RegressionChecksums) {
    struct Case {
        double progress;
        bool reverse;
        float delay;
        float trail;
        uint32_t crc;
    };
    const Case cases[] = {
        {0.1, false, 0.25f, 0.0f, 3833163353u}, {0.25, false, 0.25f, 0.0f, 3595461642u},
        {0.4, false, 0.25f, 0.0f, 1317058552u}, {0.7, false, 0.25f, 0.0f, 603078310u},
        {0.4, true, 0.25f, 0.0f, 3000499030u},  {0.5, false, 0.0f, 0.0f, 3966644306u},
        {0.8, false, 1.0f, 0.0f, 171562089u},   {0.6, false, 0.25f, 0.2f, 1875759241u},
        {0.6, true, 0.25f, 0.2f, 3369171853u},
    };
    for (const auto& c : cases) {
        TransitionRun run(new D3DPlaneExplode(), 64, 48);
        run.host.values[kReverse].flag = c.reverse ? 1 : 0;
        run.host.SetFloat(kDelay, c.delay);
        run.host.SetFloat(kTrailCount, c.trail);
        run.host.SetFloat(kColumns, 0.4f);
        run.Render(c.progress);
        EXPECT_TRUE(run.out.GuardsIntact());
        EXPECT_EQ(run.out.Crc(), c.crc) << "progress " << c.progress << " reverse " << c.reverse << " delay "
                                        << c.delay << " trail " << c.trail;
    }
}

TEST(PlaneExplode, OddInputDoesNoHarm) {
    test::ExpectOddInputHarmless([] { return new D3DPlaneExplode(); }, {0, 1, 2, 3, 4, 5});
}

}  // namespace
}  // namespace halcyra

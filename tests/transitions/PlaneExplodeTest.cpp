// Plane Explode: the trail of earlier moments, the ends of a reversed trail
// and regression checksums.
#include <gtest/gtest.h>

#include "TransitionTestSupport.h"
#include "picture/PictureOps.h"
#include "transitions/PlaneExplode.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TransitionRun;

constexpr int32_t kDelay = 0, kColumns = 2, kTrailCount = 4, kTrailSpacing = 5, kReverse = 7;

// Reversed with a trail, the two swaps of the pictures cancel and only the
// time runs backward.
TEST(PlaneExplode, ReversedTrailEndsOnTheFirstPicture) {
    TransitionRun run(new D3DPlaneExplode(), 32, 24);
    run.host.values[kReverse].flag = 1;
    run.host.SetFloat(kTrailCount, 0.1f);
    EXPECT_TRUE(run.Render(0.0));
    EXPECT_EQ(run.out.Pixels(), run.b.Pixels());
    EXPECT_TRUE(run.Render(1.0));
    EXPECT_EQ(run.out.Pixels(), run.a.Pixels());
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
        float delay, trail;
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

}  // namespace
}  // namespace halcyra

// Wave (3D): the two phases, the bend and the roll, and regression
// checksums.
#include <gtest/gtest.h>

#include <cmath>

#include "TransitionTestSupport.h"
#include "transitions/Wave3D.h"

namespace halcyra {
namespace {

constexpr int32_t kBank = 1, kDepth = 3, kReverse = 4;

TEST(Wave3D, TimeSplitsAtTheDelay) {
    const double shortest = 0.0f * 0.5f + 0.01f;  // Delay 0 still bends first
    const double longest = 1.0f * 0.5f + 0.01f;
    EXPECT_EQ(longest, static_cast<double>(0.51f));
    EXPECT_EQ(SplitWaveTime(shortest / 2.0, shortest).p, 0.5);
    EXPECT_EQ(SplitWaveTime(shortest, shortest).q, 0.0);
    const WavePhases after = SplitWaveTime(0.51 + 1e-9, longest);
    EXPECT_EQ(after.p, 1.0);
    EXPECT_GT(after.q, 0.0);
    EXPECT_LT(after.q, 1e-6);
    EXPECT_EQ(SplitWaveTime(0.755, 0.51).q, 0.5);
}

QuadMesh Strips(Picture* picture) {
    return QuadMeshCreator().MakeTiles(20, 40, {-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, 1, 40, picture,
                                       picture, 0, false);
}

TEST(Wave3D, RollFollowsTheBendWithoutAJump) {
    Picture picture;
    QuadMesh sheet = Strips(&picture);
    BendIntoWave(sheet, 1.0);
    EXPECT_NEAR(sheet.faces[0].corners[0].z, M_PI / 2.0, 1e-15);  // top edge: asin(1)
    EXPECT_NEAR(sheet.faces[39].corners[3].z, -M_PI / 2.0, 1e-15);
    QuadMesh bent = sheet;
    for (QuadFace& face : sheet.faces) RollWave(face, 1e-9, 20.0);
    for (size_t i = 0; i < sheet.faces.size(); ++i)
        for (size_t k = 0; k < 4; ++k) {
            EXPECT_NEAR(sheet.faces[i].corners[k].y, bent.faces[i].corners[k].y, 1e-7);
            EXPECT_EQ(sheet.faces[i].corners[k].x, bent.faces[i].corners[k].x);
        }
    // Near the end the sheet has collapsed onto y = 0.
    QuadMesh late = bent;
    for (QuadFace& face : late.faces) RollWave(face, 0.999, 5.0);
    for (const QuadFace& face : late.faces)
        for (const Vector3D& c : face.corners) EXPECT_LE(std::fabs(c.y), 0.002);
}

TEST(Wave3D, RegressionChecksums) {
    struct Case {
        double progress;
        bool reverse;
        float bank, depth;
        uint32_t crc;
    };
    const Case cases[] = {
        {0.02, false, 0.5f, 0.5f, 3543588922u}, {0.05, false, 0.5f, 0.5f, 3589853399u},
        {0.2, false, 0.5f, 0.5f, 3728886171u},  {0.5, false, 0.5f, 0.5f, 3820133987u},
        {0.8, false, 0.5f, 0.5f, 34775564u},    {0.5, true, 0.5f, 0.5f, 3127258869u},
        {0.5, false, 1.0f, 0.5f, 2488536723u},  {0.5, false, 0.0f, 1.0f, 1701211409u},
        {0.3, true, 0.8f, 0.0f, 893269946u},
    };
    test::ExpectCaseChecksums([](const auto&) { return new D3DWave(); }, cases,
                              [](test::TestHost& host, const auto& c) {
                                  host.values[kReverse].flag = c.reverse ? 1 : 0;
                                  host.SetFloat(kBank, c.bank);
                                  host.SetFloat(kDepth, c.depth);
                              });
}

}  // namespace
}  // namespace halcyra

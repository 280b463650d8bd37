// Wave (3D): the two phases, the bend and the roll, ends of the transition
// and regression checksums.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "OddInput.h"
#include "TransitionTestSupport.h"
#include "transitions/Wave3D.h"

namespace halcyra {
namespace {

using test::TransitionRun;

constexpr int32_t kBank = 1;
constexpr int32_t kDelay = 2;
constexpr int32_t kDepth = 3;
constexpr int32_t kReverse = 4;

TEST(Wave3D, ParametersAndReadingOrder) {
    TransitionRun run(new D3DWave(), 32, 24);
    EXPECT_STREQ(run.effect->GetName(), "Corvane 3D Wave");
    EXPECT_EQ(run.effect->GetInputCount(), 2);
    const char* names[] = {"Shading", "Bank", "Delay", "Depth", "Reverse"};
    ParameterInfo info{};
    test::ExpectParameterNames(run.effect, names);
    ASSERT_TRUE(run.effect->GetParameterInfo(kBank, &info));
    EXPECT_EQ(info.minimum, -100.0f);
    uint32_t bits;
    std::memcpy(&bits, &run.host.values[kDelay].number, 4);
    EXPECT_EQ(bits, 0x3D8F5C29u);
    run.Render(0.5);
    EXPECT_EQ(run.host.requested, (std::vector<int32_t>{0, 1, 2, 3, 4}));
}

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

TEST(Wave3D, BankTurnsTheSheetWholly) {
    EXPECT_EQ(WaveBankMatrix(0.7, 0.0), Matrix3D::Identity());  // default Bank 0.5 gives B = 0
    for (const double bank : {1.0, -1.0}) {
        const Vector3D end = TransformPoint(WaveBankMatrix(1.0, bank), {0.5, 0.25, 0.0});
        EXPECT_NEAR(end.x, 0.5, 1e-6);
        EXPECT_NEAR(end.y, 0.25, 1e-6);
    }
    const Vector3D quarter = TransformPoint(WaveBankMatrix(0.25, 1.0), {1.0, 0.0, 0.0});
    EXPECT_NEAR(quarter.y, -1.0, 1e-6);  // clockwise as seen by the viewer
}

TEST(Wave3D, EndsShowThePlainPictures) {
    TransitionRun run(new D3DWave(), 32, 24);
    test::ExpectPlainEnds(run, kReverse);
}

TEST(Wave3D, RegressionChecksums) {
    struct Case {
        double progress;
        bool reverse;
        float bank;
        float depth;
        uint32_t crc;
    };
    const Case cases[] = {
        {0.02, false, 0.5f, 0.5f, 3543588922u}, {0.05, false, 0.5f, 0.5f, 3589853399u},
        {0.2, false, 0.5f, 0.5f, 3728886171u},  {0.5, false, 0.5f, 0.5f, 3820133987u},
        {0.8, false, 0.5f, 0.5f, 34775564u},    {0.5, true, 0.5f, 0.5f, 3127258869u},
        {0.5, false, 1.0f, 0.5f, 2488536723u},  {0.5, false, 0.0f, 1.0f, 1701211409u},
        {0.3, true, 0.8f, 0.0f, 893269946u},
    };
    for (const auto& c : cases) {
        TransitionRun run(new D3DWave(), 64, 48);
        run.host.values[kReverse].flag = c.reverse ? 1 : 0;
        run.host.SetFloat(kBank, c.bank);
        run.host.SetFloat(kDepth, c.depth);
        ASSERT_TRUE(run.Render(c.progress));
        EXPECT_TRUE(run.out.GuardsIntact());
        EXPECT_EQ(run.out.Crc(), c.crc)
            << "progress " << c.progress << " reverse " << c.reverse << " bank " << c.bank;
    }
}

TEST(Wave3D, OddInputDoesNoHarm) {
    test::ExpectOddInputHarmless([] { return new D3DWave(); }, {0, 1, 2, 3});
}

}  // namespace
}  // namespace halcyra

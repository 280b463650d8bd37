// Wiggle: the rising and running wave, the cross-fade on the strips and
// regression checksums.
#include <gtest/gtest.h>

#include <cmath>

#include "TransitionTestSupport.h"
#include "transitions/Wiggle.h"

namespace halcyra {
namespace {

using test::TransitionRun;

constexpr int32_t kAmplitude = 2, kPhase = 3, kFrequency = 4, kDirection = 5, kReverse = 6, kBackground = 7;

QuadMesh Sheet(Picture* picture, bool byY) {
    return QuadMeshCreator().MakeTiles(100, 80, {-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, byY ? 1 : 50,
                                       byY ? 50 : 1, picture, picture, 0, false);
}

TEST(Wiggle, SheetHasNoGapsAndNoJump) {
    Picture picture;
    for (const bool byY : {false, true}) {
        QuadMesh raised = Sheet(&picture, byY);
        RaiseWiggle(raised, 1.0, 5.0, 0.3, 5.9, byY);
        // Neighbouring strips share the z of their common edge.
        for (size_t i = 0; i + 1 < raised.faces.size(); ++i) {
            const auto& a = raised.faces[i].corners;
            const auto& b = raised.faces[i + 1].corners;
            EXPECT_EQ(a[byY ? 3 : 1].z, b[0].z);
            EXPECT_EQ(a[2].z, b[byY ? 1 : 3].z);
        }
        EXPECT_NE(raised.faces[0].corners[0].z, raised.faces[0].corners[byY ? 3 : 1].z);
        // The run phase starts where the rise ended.
        QuadMesh run = raised;
        for (QuadFace& face : run.faces) RunWiggle(face, 0.0, 5.0, 0.3, 5.9, byY);
        for (size_t i = 0; i < run.faces.size(); ++i)
            EXPECT_EQ(run.faces[i].corners, raised.faces[i].corners);
        for (QuadFace& face : run.faces) RunWiggle(face, 1.0, 5.0, 0.3, 5.9, byY);
        for (const QuadFace& face : run.faces)
            for (const Vector3D& c : face.corners) EXPECT_EQ(c.z, 0.0);
    }
    // Frequency 0 moves the sheet as one plane.
    QuadMesh flat = Sheet(&picture, false);
    RaiseWiggle(flat, 0.5, 0.0, 1.0, 2.0, false);
    for (const QuadFace& face : flat.faces)
        for (const Vector3D& c : face.corners) EXPECT_EQ(c.z, std::sin(1.0) * 2.0 * 0.5);
}

// Amplitude 0 leaves a plain cross-fade over the strips.
TEST(Wiggle, FlatSheetIsACrossFade) {
    for (const int32_t direction : {0, 1}) {
        TransitionRun run(new D3DKnolls(), 120, 60);
        run.host.SetFloat(kAmplitude, 0.0f);
        run.host.values[kDirection].choice = direction;
        ASSERT_TRUE(run.Render(0.35));
        EXPECT_EQ(run.out.Pixels(), test::MixedPixels(run.a, run.b, static_cast<float>(1.0 - 0.35), 0.35f))
            << direction;
    }
}

TEST(Wiggle, RegressionChecksums) {
    struct Case {
        double progress;
        bool reverse;
        int32_t direction, background;
        float phase, frequency;
        uint32_t crc;
    };
    const Case cases[] = {
        {0.02, false, 0, 0, 0.0f, 0.5f, 3295818090u}, {0.1, false, 0, 0, 0.0f, 0.5f, 2249868672u},
        {0.5, false, 0, 0, 0.0f, 0.5f, 791797173u},   {0.9, false, 0, 0, 0.0f, 0.5f, 3869993790u},
        {0.4, true, 0, 0, 0.0f, 0.5f, 965205361u},    {0.5, false, 1, 3, 0.0f, 0.5f, 2353763787u},
        {0.3, false, 1, 1, 0.25f, 0.2f, 3083030275u}, {0.7, true, 0, 2, 0.6f, 1.0f, 2713676281u},
    };
    test::ExpectCaseChecksums([](const auto&) { return new D3DKnolls(); }, cases,
                              [](test::TestHost& host, const auto& c) {
                                  host.values[kReverse].flag = c.reverse ? 1 : 0;
                                  host.values[kDirection].choice = c.direction;
                                  host.values[kBackground].choice = c.background;
                                  host.SetFloat(kPhase, c.phase);
                                  host.SetFloat(kFrequency, c.frequency);
                              });
}

}  // namespace
}  // namespace halcyra

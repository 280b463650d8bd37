// Twist: slice windows and turns, the back picture ending upright for every
// orientation, glow and regression checksums.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <tuple>

#include "TransitionTestSupport.h"
#include "transitions/Twist.h"

namespace halcyra {
namespace {

using test::TransitionRun;

constexpr int32_t kShading = 0, kGlow = 4, kOrientation = 5, kRotate = 6, kFlip = 7, kReverse = 8,
                  kBackground = 9;

TEST(Twist, SliceWindows) {
    // Two slices without cohesion turn strictly one after the other.
    for (const auto& [t, first, second] : {std::tuple{0.25, 0.5, 0.0}, {0.5, 1.0, 0.0}, {0.75, 1.0, 0.5}}) {
        EXPECT_EQ(TwistSliceAngle(0, 2, t, 0.0), M_PI * first) << t;
        EXPECT_EQ(TwistSliceAngle(1, 2, t, 0.0), M_PI * second) << t;
    }
    // Full cohesion turns them all as one.
    for (int32_t i = 0; i < 12; ++i) EXPECT_EQ(TwistSliceAngle(i, 12, 0.3, 1.0), 0.3 * M_PI);
    // The last window ends exactly at 1.
    EXPECT_NEAR(TwistSliceAngle(11, 12, 1.0, std::sqrt(0.85f)), M_PI, 1e-9);
}

TEST(Twist, SlicesTurnAboutTheirShortAxis) {
    Picture first, second;
    const QuadMesh mesh = QuadMeshCreator().MakeTiles(64, 48, {-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0},
                                                      1, 4, &first, &second, 1, true);
    const TwistSystem system(mesh);
    const auto turned = system.TurnedFaces(0.5, 1.0, true, false);  // all at a quarter turn about y
    ASSERT_EQ(turned.size(), 4u);
    for (size_t i = 0; i < turned.size(); ++i) {
        test::ExpectNear(turned[i].Centre(), mesh.faces[i].Centre(), 1e-7);
        EXPECT_NEAR(turned[i].corners[0].x, 0.0, 1e-7);  // edge-on: the ends swing through depth
        EXPECT_NEAR(std::fabs(turned[i].corners[0].z), 1.0, 1e-7);
    }
    EXPECT_EQ(system.mesh.faces[0].corners, mesh.faces[0].corners);  // the system's own mesh stays
    const auto negative = system.TurnedFaces(0.5, 1.0, false, true);
    EXPECT_NEAR(negative[0].corners[0].y, mesh.faces[0].Centre().y, 1e-7);
    const double halfHeight = (mesh.faces[0].corners[0].y - mesh.faces[0].corners[3].y) * 0.5;
    EXPECT_NEAR(negative[0].corners[0].z, halfHeight, 1e-7);  // the top edge comes toward the viewer
}

// Four flat quadrants, so that a mirrored or upside-down picture shows.
void FillQuadrants(test::GuardedFrame& f) {
    const uint8_t colours[4][4] = {
        {0, 0, 255, 255}, {0, 255, 0, 255}, {255, 0, 0, 255}, {255, 255, 255, 255}};
    for (int32_t y = 0; y < f.height; ++y)
        for (int32_t x = 0; x < f.width; ++x) {
            const int q = (y < f.height / 2 ? 0 : 2) + ((x < f.width / 2) == (y < f.height / 2) ? 0 : 1);
            std::memcpy(f.Pixel(x, y), colours[q], 4);
        }
}

TEST(Twist, SecondPictureEndsUpright) {
    for (int32_t orientation : {0, 1}) {
        for (bool rotate : {false, true}) {
            for (bool flip : {false, true}) {
                TransitionRun run(new D3DTwist(), 64, 48);
                FillQuadrants(run.b);
                run.host.values[kOrientation].choice = orientation;
                run.host.values[kRotate].flag = rotate ? 1 : 0;
                run.host.values[kFlip].flag = flip ? 1 : 0;
                run.host.values[kBackground].choice = 3;
                ASSERT_TRUE(run.Render(0.999));
                for (const auto& [x, y] : {std::pair{14, 10}, {50, 10}, {14, 38}, {50, 38}})
                    EXPECT_EQ(std::memcmp(run.out.Pixel(x, y), run.b.Pixel(x, y), 4), 0)
                        << "orientation " << orientation << " rotate " << rotate << " flip " << flip << " at "
                        << x << "," << y;
            }
        }
    }
}

// The checksums hold the glow mid-way; at the start it must be nothing.
TEST(Twist, NoGlowAtTheStart) {
    TransitionRun plain(new D3DTwist(), 48, 36), glowing(new D3DTwist(), 48, 36);
    glowing.host.values[kGlow].number = 0.3f;
    plain.Render(0.0);
    glowing.Render(0.0);
    EXPECT_EQ(glowing.out.Pixels(), plain.out.Pixels());
}

// Regression checksums of 64 x 48 frames from fixed inputs.
TEST(Twist, RegressionChecksums) {
    struct Case {
        double progress;
        int32_t orientation;
        bool rotate, flip, reverse;
        float glow, shading;
        int32_t background;
        uint32_t crc;
    };
    const Case cases[] = {
        {0.1, 0, true, false, false, 0.0f, 0.0f, 1, 719131061u},
        {0.3, 0, true, false, false, 0.0f, 0.0f, 1, 2143471382u},
        {0.5, 0, true, false, false, 0.0f, 0.0f, 1, 1290966564u},
        {0.8, 0, true, false, false, 0.0f, 0.0f, 1, 4046550618u},
        {0.5, 1, true, false, false, 0.0f, 0.0f, 1, 207078403u},
        {0.4, 1, false, true, false, 0.0f, 0.0f, 2, 2831379968u},
        {0.6, 0, false, false, true, 0.0f, 0.0f, 0, 3725041619u},
        {0.5, 0, true, false, false, 0.5f, 0.0f, 3, 1194560920u},
        {0.35, 1, true, true, false, 0.2f, 0.7f, 1, 215512579u},
        {0.7, 0, true, false, false, 0.0f, 1.0f, 3, 3038930816u},
    };
    test::ExpectCaseChecksums([](const auto&) { return new D3DTwist(); }, cases,
                              [](test::TestHost& host, const auto& c) {
                                  host.values[kOrientation].choice = c.orientation;
                                  host.values[kRotate].flag = c.rotate ? 1 : 0;
                                  host.values[kFlip].flag = c.flip ? 1 : 0;
                                  host.values[kReverse].flag = c.reverse ? 1 : 0;
                                  host.values[kGlow].number = c.glow;
                                  host.values[kShading].number = c.shading;
                                  host.values[kBackground].choice = c.background;
                              });
}

}  // namespace
}  // namespace halcyra

// Box Explode: parameters and the extra reads hosts see, the ends of the
// transition, the box's motion, the burst and regression checksums.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "TransitionTestSupport.h"
#include "transitions/BoxExplode.h"

namespace halcyra {
namespace {

using test::TransitionRun;

constexpr int32_t kDelay = 0;
constexpr int32_t kSpin = 2;
constexpr int32_t kReverse = 3;

TEST(BoxExplode, ParametersAndReadingOrder) {
    TransitionRun run(new D3DBoxExplode(), 32, 24);
    EXPECT_STREQ(run.effect->GetName(), "Corvane 3D Box Explode");
    EXPECT_EQ(run.effect->GetInputCount(), 2);
    ParameterInfo info{};
    const char* names[] = {"Delay", "Power", "Spin", "Reverse"};
    for (int32_t i = 0; i < 4; ++i) {
        ASSERT_TRUE(run.effect->GetParameterInfo(i, &info));
        EXPECT_STREQ(info.name, names[i]);
    }
    ASSERT_TRUE(run.effect->GetParameterInfo(kSpin, &info));
    EXPECT_EQ(info.minimum, -100.0f);
    EXPECT_FALSE(run.effect->GetParameterInfo(4, &info));
    EXPECT_FLOAT_EQ(run.host.values[kDelay].number, 0.51f);
    // Reverse once before the frame, then the frame's own reads with the
    // index no parameter has.
    run.Render(0.5);
    EXPECT_EQ(run.host.requested, (std::vector<int32_t>{3, 0, 1, 2, 7, 3}));
}

TEST(BoxExplode, EndsShowThePlainPictures) {
    // At t = 0 the scene is drawn: the box's front fills the frame exactly,
    // reversed at progress 1 with the second picture's box.
    TransitionRun run(new D3DBoxExplode(), 40, 30);
    test::ExpectPlainEnds(run, kReverse);
}

TEST(BoxExplode, MatrixSpinsShrinksAndRecedes) {
    // S = 0: no turn, only the shrink about the box's centre and the recession.
    const Vector3D p = TransformPoint(BoxExplodeMatrix(0.3, 0.0, 1.0, 0.5, 1.0), {1, 1, 0});
    const double q = 1.0 - 0.3 * 0.3;
    const Vector3D expected(q, q, q - 1.0 - 4.5);
    EXPECT_NEAR(p.x, expected.x, 1e-15);
    EXPECT_NEAR(p.y, expected.y, 1e-15);
    EXPECT_NEAR(p.z, expected.z, 1e-14);
    // After the burst the size stays that of the burst and the extra swing is
    // gone at t = 1.
    const Vector3D last = TransformPoint(BoxExplodeMatrix(1.0, 0.0, 1.0, 0.5, 1.0), {1, 1, 0});
    EXPECT_NEAR(last.x, 0.75, 1e-15);
    EXPECT_NEAR(last.z, 0.75 - 1.0 - 7.5, 1e-14);
    const Vector3D swing = TransformPoint(BoxExplodeMatrix(0.7, 0.0, 1.0, 0.5, 1.0), {1, 1, 0});
    EXPECT_NEAR(swing.z, 0.75 - 1.0 - 7.5 - 0.2 * 15.0 * 0.09, 1e-14);
    // L = 0 bursts at once: u stays 0, and only the turn after the burst acts.
    const Matrix3D early = BoxExplodeMatrix(0.25, -1.25, 1.0, 0.0, 1.0);
    const Vector3D turned = TransformPoint(early, {0, 0, -1});  // the box's centre
    EXPECT_NEAR(turned.x, 0.0, 1e-15);
    EXPECT_NEAR(turned.z, -1.0 - 0.25 * 15.0 * 0.75 * 0.75, 1e-14);
    EXPECT_GT(std::fabs(TransformPoint(early, {1, 1, 0}).x - 1.0), 0.05);
    // At t = 0 the box stands in place.
    for (const Vector3D v : {Vector3D(1, 1, 0), Vector3D(-1, -1, -2)}) {
        const Vector3D same = TransformPoint(BoxExplodeMatrix(0.0, -1.25, 1.0, 0.51, 1.0), v);
        EXPECT_EQ(same, v);
    }
}

TEST(BoxExplode, WithoutBurstTheShrunkenBoxStays) {
    TransitionRun run(new D3DBoxExplode(), 48, 36);
    run.host.values[kDelay].number = 1.0f;
    ASSERT_TRUE(run.Render(0.8));
    // The corner shows the second picture; the small box is still there.
    const std::vector<uint8_t> out = run.out.Pixels(), second = run.b.Pixels();
    EXPECT_TRUE(std::equal(out.begin(), out.begin() + 4, second.begin()));
    EXPECT_NE(out, second);
}

// Odd frames and values: inputs of other sizes than the output, tiny frames,
// a progress or delay that is no number. Nothing may be written outside the
// output.
TEST(BoxExplode, OddFramesStayInside) {
    struct Sizes {
        int32_t aw, ah, bw, bh, ow, oh;
    };
    const Sizes sizes[] = {{20, 10, 40, 30, 40, 30},
                           {40, 30, 12, 50, 25, 20},
                           {1, 1, 1, 1, 1, 1},
                           {2, 2, 2, 2, 2, 2},
                           {3, 40, 3, 40, 3, 40}};
    for (const Sizes& z : sizes) {
        for (const double progress : {0.3, 0.8, std::nan("")}) {
            for (const float delay : {0.51f, std::nanf("")}) {
                IVideoEffect* effect = new D3DBoxExplode();
                test::TestHost host;
                host.UseDefaults(effect);
                host.values[kDelay].number = delay;
                test::GuardedFrame a(z.aw, z.ah), b(z.bw, z.bh), out(z.ow, z.oh, 8);
                a.FillPattern(1);
                b.FillPattern(2);
                RenderInfo info = test::MakeRenderInfo(progress);
                EXPECT_TRUE(effect->Render(&host, &a.desc, &b.desc, &out.desc, &info));
                EXPECT_TRUE(out.GuardsIntact()) << z.ow << "x" << z.oh << " at " << progress;
                effect->Release();
            }
        }
    }
}

struct BoxCase {
    double progress;
    bool reverse;
    float delay;
    float spin;
    uint32_t crc;
};

// Regression checksums of 64 x 48 frames from fixed inputs. Delay 0.3 at
// progress (double)0.3f takes the burst branch at time 0.
TEST(BoxExplode, RegressionChecksums) {
    const BoxCase cases[] = {
        {0.1, false, 0.51f, 0.25f, 2407811124u},
        {0.3, false, 0.51f, 0.25f, 1374351687u},
        {0.5, false, 0.51f, 0.25f, 2840748126u},
        {0.6, false, 0.51f, 0.25f, 2887270584u},
        {0.8, false, 0.51f, 0.25f, 358059842u},
        {0.95, false, 0.51f, 0.25f, 3482484537u},
        {0.3, true, 0.51f, 0.25f, 3431058125u},
        {0.7, true, 0.51f, 0.25f, 4247226363u},
        {static_cast<double>(0.3f), false, 0.3f, 0.25f, 1518038626u},
        {0.2, false, 0.0f, 0.25f, 1307072700u},
        {0.9, false, 1.0f, 0.25f, 3955753834u},
        {0.7, false, 0.51f, 0.5f, 1626106551u},
        {0.4, false, 0.51f, 0.9f, 88028908u},
    };
    for (const auto& c : cases) {
        TransitionRun run(new D3DBoxExplode(), 64, 48);
        run.host.values[kReverse].flag = c.reverse ? 1 : 0;
        run.host.values[kDelay].number = c.delay;
        run.host.values[kSpin].number = c.spin;
        ASSERT_TRUE(run.Render(c.progress));
        EXPECT_TRUE(run.out.GuardsIntact());
        EXPECT_EQ(run.out.Crc(), c.crc) << "progress " << c.progress << " reverse " << c.reverse << " delay "
                                        << c.delay << " spin " << c.spin;
    }
}

}  // namespace
}  // namespace halcyra

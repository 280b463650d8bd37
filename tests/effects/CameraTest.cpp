// Active Camera and Shake: the generator's exact sequence and seeding, the
// motion walk (continuity at the joints, the strict comparisons, termination
// on absurd input), the camera matrix, the still camera and its echo, the
// layer weights of Shake, and regression checksums of both effects.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "EffectTestSupport.h"
#include "effects/Camera.h"
#include "frame/Wrappers.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;

TEST(CameraRandom, RuntimeSequenceSignedDrawsAndSeeding) {
    RandomSequence random(1);
    for (int32_t expected : {41, 18467, 6334, 26500, 19169, 15724, 11478, 29358, 26962, 24464})
        EXPECT_EQ(random.Draw(), expected);

    random.Seed(1);  // draw 41: (41 / 256 - 1) * a
    EXPECT_EQ(SignedRandom(random, 2.0f), (41.0f / 256.0f - 1.0f) * 2.0f);

    // Active Camera seeds with stream + trunc(x * m).
    RandomSequence seeded, plain;
    SeedFromTime(seeded, MotionVariant::ActiveCamera, 0.5f, 12345.0f, 444);
    plain.Seed(444 + 6172);
    EXPECT_EQ(seeded.Draw(), plain.Draw());
    // Shake's (x + m / 2) * m = 6173 * 12345 = 76205685 rounds to the float 76205688.
    SeedFromTime(seeded, MotionVariant::Shake, 0.5f, 12345.0f, 7);
    plain.Seed(7 + 76205688u);
    EXPECT_EQ(seeded.Draw(), plain.Draw());
    // A negative product is added in 32 bits.
    SeedFromTime(seeded, MotionVariant::ActiveCamera, -1.0f, 641.0f, 111);
    plain.Seed(static_cast<uint32_t>(111 - 641));
    EXPECT_EQ(seeded.Draw(), plain.Draw());
}

constexpr MotionInputs kCameraInputs{0.9f, 0.3f, 0.5f, 444, 111};

TEST(CameraMotion, StartsAtTheKeyOfTimeZeroAndClampsNegativeTime) {
    // At time 0 the first held leg has no jitter yet and both keys are that of time 0.
    RandomSequence random;
    SeedFromTime(random, MotionVariant::ActiveCamera, 0.0f, 641.0f, kCameraInputs.keyStream);
    const float key = SignedRandom(random, 1.0f);
    EXPECT_EQ(MotionValue(MotionVariant::ActiveCamera, kCameraInputs, 0.0f), key);
    EXPECT_EQ(MotionValue(MotionVariant::ActiveCamera, kCameraInputs, -4.0f), key);
}

TEST(CameraMotion, ContinuousAtTheJointsUnlessHoldLeavesNoSwing) {
    // Keys meet at the joints of held legs and swings, and the jitter returns
    // to 0 at the ends of each leg, so small time steps give small changes.
    // With Hold at 1 the swings have length 0 and the camera jumps.
    for (float hold : {0.0f, 0.3f, 1.0f}) {
        MotionInputs inputs = kCameraInputs;
        inputs.hold = hold;
        float previous = MotionValue(MotionVariant::ActiveCamera, inputs, 0.0f);
        float largest = 0.0f;
        for (int i = 1; i < 40000; ++i) {
            const float v = MotionValue(MotionVariant::ActiveCamera, inputs, static_cast<float>(i) * 2e-4f);
            ASSERT_TRUE(std::isfinite(v)) << hold << " " << i;
            largest = std::max(largest, std::fabs(v - previous));
            previous = v;
        }
        if (hold < 1.0f) {
            EXPECT_LT(largest, 0.02f) << hold;
        } else {
            EXPECT_GT(largest, 0.1f);
        }
    }
}

TEST(CameraMotion, RegressionValues) {
    struct Case {
        float time;
        uint32_t camera;
        uint32_t shake;
    };
    const Case cases[] = {{0.5f, 0x3f299ca0u, 0x3f253375u},
                          {1.7f, 0x3e51d657u, 0x3ef2cf07u},
                          {3.3f, 0x3d8155c6u, 0x3e8e6e2cu},
                          {12.25f, 0x3e1f864du, 0x3ee1de6du},
                          {100.0f, 0x3c90daf0u, 0x3e0f4b08u}};
    const MotionInputs shakeInputs{0.66f, 0.0f, 0.66f, 1234, 222};
    for (const Case& c : cases) {
        EXPECT_EQ(std::bit_cast<uint32_t>(MotionValue(MotionVariant::ActiveCamera, kCameraInputs, c.time)),
                  c.camera)
            << c.time;
        EXPECT_EQ(std::bit_cast<uint32_t>(MotionValue(MotionVariant::Shake, shakeInputs, c.time)), c.shake)
            << c.time;
    }
}

TEST(CameraMotion, AbsurdTimesAndParametersEndTheWalk) {
    // Each walk must end; the values themselves are not meaningful.
    MotionValue(MotionVariant::ActiveCamera, {1.0f, 0.0f, 0.5f, 444, 111}, 1e30f);
    MotionValue(MotionVariant::Shake, {1.0f, 0.0f, 1.0f, 444, 111}, 3e7f);
    MotionValue(MotionVariant::ActiveCamera, {2.0f, 0.3f, 0.5f, 444, 111}, 5.0f);  // negative period
    MotionValue(MotionVariant::ActiveCamera, {0.5f, -3.0f, 1e5f, 444, 111}, 50.0f);
}

TEST(CameraMatrix, ShiftsTheCentreAndTurnsAndScalesAboutIt) {
    const auto m = CameraMatrix(40.0f, 20.0f, 3.0f, -2.0f, 0.5f, 2.0f);
    // The centre (20, 10) moves by the shift alone.
    const auto [cx, cy] = test::MapPoint(m, 20.0f, 10.0f);
    EXPECT_NEAR(cx, 23.0f, 1e-4f);
    EXPECT_NEAR(cy, 8.0f, 1e-4f);
    // A pixel right of it is turned by 0.5 (a row vector times the rotation
    // gives (cos, sin)), twice as far, then shifted.
    const auto [x, y] = test::MapPoint(m, 21.0f, 10.0f);
    EXPECT_NEAR(x, 23.0f + 2.0f * std::cos(0.5f), 1e-4f);
    EXPECT_NEAR(y, 8.0f + 2.0f * std::sin(0.5f), 1e-4f);
}

// Parameters of Active Camera in index order.
enum { kHorizontal, kVertical, kRotation, kCrop, kRate, kJitter, kHold, kBlur, kSynchronize };

TEST(Activecamera, StillCameraCopiesAndTheEchoBlendsIn255ths) {
    test::Rig<CActivecamera> camera;
    for (int i : {kHorizontal, kVertical, kRotation, kCrop, kBlur}) camera[i].number = 0.0f;
    GuardedFrame in(31, 17, 8), out(31, 17, 0);
    in.FillPattern(5);
    out.Fill(0x5a);
    // The identity warp resamples exactly.
    EXPECT_EQ(camera.Render(in, nullptr, out, 0.5, 3.25), in.Pixels());
    // The echo is the same still picture, but 204 + 51 255ths of a byte need
    // not add up to the byte, so the output is the input only to within 1.
    camera[kBlur].number = 0.4f;
    test::ExpectEachByte(camera.Render(in, nullptr, out, 0.5, 3.25), in.Pixels(), {},
                         [](uint8_t s, uint8_t) { return Div255(s * 204u) + Div255(s * 51u); });
}

// Shake's Horizontal, Vertical, Rotation, Crop, Blur and Cross Fade.
constexpr int kShakeStill[] = {0, 1, 2, 3, 5};
constexpr int kShakeCrossFade = 7;

TEST(Shake, LayerSharesCountTheFirstWeightTwice) {
    // A still camera (no amplitudes, no crop, no blur) leaves only the fade.
    test::Rig<CShake> shake;
    for (int i : kShakeStill) shake[i].number = 0.0f;
    shake[kShakeCrossFade].number = 1.0f;
    GuardedFrame a(21, 9), b(21, 9), out(21, 9);
    a.FillPattern(3);
    b.FillPattern(4);
    // p = 0.45: fade 0.55, so the second clip's share is 0.45 / (0.55 + 0.55),
    // weight 104, against 256 - 104.
    test::ExpectEachByte(shake.Render(a, &b, out, 0.45, 1.0), a.Pixels(), b.Pixels(),
                         [](uint8_t x, uint8_t y) { return test::Blend255(x, y, 152, 104); });
    // p = 0.5 turns the order around with both weights 0.5: the share is
    // 0.5 / 1.0, the weights 128 and 128 are equal and the blend averages.
    test::ExpectEachByte(shake.Render(a, &b, out, 0.5, 1.0), a.Pixels(), b.Pixels(), AverageHalfEven);
}

TEST(CameraEffects, RegressionChecksums) {
    test::ChecksumFrames frames;
    struct Case {
        bool shake;  // or the active camera through its wrapper
        double progress, time;
        uint32_t crc;
    };
    const Case cases[] = {{true, 0.25, 0.5, 1711309702u}, {true, 0.5, 1.0, 2376244481u},
                          {true, 0.7, 1.4, 3483434169u},  {false, 0.0, 0.1, 636274374u},
                          {false, 0.0, 2.0, 2843656116u}, {false, 0.0, 7.3, 298564470u}};
    for (const Case& c : cases)
        EXPECT_EQ(c.shake ? test::ChecksumOf<CShake>(frames, true, c.progress, c.time)
                          : test::ChecksumOf<CWrapActivecamera>(frames, false, c.progress, c.time),
                  c.crc)
            << c.shake << " " << c.progress << " " << c.time;
}

}  // namespace
}  // namespace halcyra

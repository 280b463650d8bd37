// Roll, Spin and Smear: the roll's motion and wrap-around, its blur axis,
// Spin's empty texts and its unscaled forward length, the symmetry of an even
// smear, and regression checksums.
#include <gtest/gtest.h>

#include <cstring>

#include "EffectTestSupport.h"
#include "effects/Roll.h"
#include "effects/Shear.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;

enum { kRate, kRollBlur, kRollCrossFade, kOrientation };
enum { kSpinAmount, kSpinDirection, kSpinCentre, kSpinCrossFade, kSpinBackground };
enum { kSmearBlur, kSmearAngle, kSmearDirection, kSmearCrossFade, kSmearBackgroundChoice };

TEST(RollMotion, AcceleratesToTheMiddleAndStopsOnAnOddWholeTurn) {
    // Rate 1: speed 10 over a 2 s transition, half 1, so dist = floor(5) + 0.5.
    RollMotion m = RollMotionAt(1.0f, 2.0, 1.0f);
    EXPECT_TRUE(m.forward);
    EXPECT_EQ(m.position, 11.0);
    EXPECT_EQ(RollMotionAt(0.5f, 1.0, 1.0f).position, 5.5);
    EXPECT_EQ(RollMotionAt(0.25f, 0.5, 1.0f).position, 11.0 * 0.5 * 0.5 / 2.0);
    // Rate 0.5: no speed, yet one picture length in all.
    m = RollMotionAt(1.0f, 3.0, 0.5f);
    EXPECT_EQ(m.position, 1.0);
    // Below 0.5 the roll runs the other way.
    EXPECT_FALSE(RollMotionAt(0.3f, 0.6, 0.34f).forward);
    // p = 0: the length is taken as 1 and nothing has moved.
    EXPECT_EQ(RollMotionAt(0.0f, 0.0, 0.9f).position, 0.0);
}

TEST(Roll, WrapsRoundByThePosition) {
    test::Rig<CRoll> roll;
    roll[kRate].number = 1.0f;
    roll[kRollBlur].number = 0.0f;
    roll[kRollCrossFade].number = 0.0f;  // the first clip alone before the middle
    GuardedFrame a(32, 16), b(32, 16), out(32, 16);
    a.FillPattern(3);
    b.FillPattern(4);
    // At p = 0.25, time 0.5 the position is 1.375. Horizontal: (int)(1.375 * 32) % 32 = 12,
    // forward, so the shift is 32 - 12; vertical: (int)(1.375 * 16) % 16 = 6, shift 10.
    for (int32_t vertical : {0, 1}) {
        roll[kOrientation].choice = vertical;
        roll.Render(a, &b, out, 0.25, 0.5);
        for (int32_t y = 0; y < 16; ++y)
            for (int32_t x = 0; x < 32; ++x) {
                const uint8_t* source = vertical ? a.Pixel(x, (y + 10) % 16) : a.Pixel((x + 20) % 32, y);
                ASSERT_EQ(std::memcmp(out.Pixel(x, y), source, 4), 0) << vertical << ": " << x << "," << y;
            }
    }
}

TEST(Roll, BlurRunsAlongTheRollOnly) {
    // Rows of one colour each: a horizontal roll, blur included, cannot
    // change them; a vertical one mixes the rows.
    test::Rig<CRoll> roll;
    GuardedFrame a(40, 24), out(40, 24);
    for (int32_t y = 0; y < 24; ++y)
        for (int32_t x = 0; x < 40; ++x)
            for (int c = 0; c < 4; ++c) a.Pixel(x, y)[c] = static_cast<uint8_t>(y * 10 + c);
    // p = 0.1: the first clip, blur at 0.2 of Blur.
    EXPECT_EQ(roll.Render(a, &a, out, 0.1, 0.2), a.Pixels());
    roll[kOrientation].choice = 1;
    EXPECT_NE(roll.Render(a, &a, out, 0.1, 0.2), a.Pixels());
    for (int32_t y = 0; y < 24; ++y)  // still constant along each row
        for (int32_t x = 1; x < 40; ++x) ASSERT_EQ(std::memcmp(out.Pixel(x, y), out.Pixel(0, y), 4), 0);
}

TEST(Spin, TextsAreEmpty) {
    CSpin effect;
    for (int32_t i = 0; i < 5; ++i) {
        ParameterInfo info{};
        ASSERT_TRUE(effect.GetParameterInfo(i, &info));
        EXPECT_STREQ(info.name, "");
        if (info.type == kParamChoice) {
            EXPECT_EQ(info.choiceCount, 4);
            for (int32_t k = 0; k < 4; ++k) EXPECT_STREQ(info.choices[k], "");
        }
    }
}

TEST(Spin, TheForwardLengthIgnoresTheAmount) {
    // At p = 0 the first clip's total is 0, yet its forward length is
    // -direction * amount: that way gets no pass (the logarithm is not a
    // number), and the other way is smeared by the opposite length.
    test::Rig<CSpin> spin;
    spin[kSpinAmount].number = 1.0f;
    spin[kSpinDirection].number = 1.0f;
    GuardedFrame a(32, 32), b(32, 32), out(32, 32);
    a.FillPattern(5);
    b.FillPattern(6);
    EXPECT_NE(spin.Render(a, &b, out, 0.0), a.Pixels());
    // Direction 0 (displayed -100): no length either way, and the forward
    // copy weighs 255, so the first clip comes through unchanged.
    spin[kSpinDirection].number = 0.0f;
    EXPECT_EQ(spin.Render(a, &b, out, 0.0), a.Pixels());
}

TEST(Smear, AnEvenDirectionTreatsBothClipsAlike) {
    test::Rig<CSmear> smear;
    smear[kSmearCrossFade].number = 1.0f;  // both clips at half strength at p = 0.5
    smear[kSmearAngle].number = 0.2f;
    GuardedFrame a(36, 20), b(36, 20), out(36, 20);
    a.FillPattern(7);
    b.FillPattern(8);
    EXPECT_EQ(smear.Render(a, &b, out, 0.5), smear.Render(b, &a, out, 0.5));
    // Off the middle the direction is mirrored between the clips.
    smear[kSmearDirection].number = 0.3f;
    EXPECT_NE(smear.Render(a, &b, out, 0.5), smear.Render(b, &a, out, 0.5));
    // No blur: the cross-fade of the two clips, an average at the middle.
    smear[kSmearDirection].number = 0.5f;
    smear[kSmearBlur].number = 0.0f;
    test::ExpectEachByte(smear.Render(a, &b, out, 0.5), a.Pixels(), b.Pixels(), AverageHalfEven);
}

TEST(RollEffects, RegressionChecksums) {
    test::ChecksumFrames frames;
    struct Case {
        int32_t which;  // 0 Roll, 1 Spin, 2 Smear
        double progress;
        int32_t choice;  // Roll's orientation, the others' background
        uint32_t crc;
    };
    const Case cases[] = {
        {0, 0.2, 0, 1902759991u},  {0, 0.5, 0, 1182627652u}, {0, 0.8, 1, 274478655u},
        {0, 0.35, 1, 1447931597u}, {1, 0.2, 2, 827456718u},  {1, 0.5, 0, 620965316u},
        {1, 0.8, 3, 3884884086u},  {2, 0.2, 2, 1963463177u}, {2, 0.5, 1, 2709398359u},
        {2, 0.8, 3, 1721395109u},
    };
    for (const Case& c : cases) {
        // Spin's direction and Smear's angle are both their second value, the background their fifth.
        auto smearing = [&](auto& rig) {
            rig[kSpinBackground].choice = c.choice;
            rig[kSpinDirection].number = 0.35f;
        };
        const double time = c.progress * 1.5;
        const uint32_t crc =
            c.which == 0   ? test::ChecksumOf<CRoll>(frames, true, c.progress, time,
                                                   [&](auto& roll) { roll[kOrientation].choice = c.choice; })
            : c.which == 1 ? test::ChecksumOf<CSpin>(frames, true, c.progress, time, smearing)
                           : test::ChecksumOf<CSmear>(frames, true, c.progress, time, smearing);
        EXPECT_EQ(crc, c.crc) << c.which << " " << c.progress;
    }
}

}  // namespace
}  // namespace halcyra

// Roll, Spin and Smear: the roll's motion and wrap-around, its blur axis, the
// ends of the transition, Spin's empty texts and its unscaled forward length,
// the symmetry of an even smear, and regression checksums.
#include <gtest/gtest.h>

#include <cstring>

#include "TestHost.h"
#include "effects/Roll.h"
#include "effects/Shear.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TestHost;

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

TEST(Roll, EndsGiveThePlainClips) {
    TestHost host;
    CRoll effect;
    host.UseDefaults(&effect);
    GuardedFrame a(27, 13), b(27, 13, 8), out(27, 13);
    a.FillPattern(1);
    b.FillPattern(2);
    for (int32_t orientation = 0; orientation < 2; ++orientation) {
        host.values[kOrientation].choice = orientation;
        // At p = 1 with the time at the length, the roll has made whole turns.
        RenderInfo info = test::MakeRenderInfo(0.0, 0.0);
        effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
        EXPECT_EQ(out.Pixels(), a.Pixels());
        info = test::MakeRenderInfo(1.0, 2.0);
        effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
        EXPECT_EQ(out.Pixels(), b.Pixels());
    }
    EXPECT_TRUE(out.GuardsIntact());
}

TEST(Roll, WrapsRoundByThePosition) {
    TestHost host;
    CRoll effect;
    host.UseDefaults(&effect);
    host.values[kRate].number = 1.0f;
    host.values[kRollBlur].number = 0.0f;
    host.values[kRollCrossFade].number = 0.0f;  // the first clip alone before the middle
    GuardedFrame a(32, 16), b(32, 16), out(32, 16);
    a.FillPattern(3);
    b.FillPattern(4);
    RenderInfo info = test::MakeRenderInfo(0.25, 0.5);  // position 1.375
    // Horizontal: (int)(1.375 * 32) % 32 = 12, forward, so the shift is 32 - 12.
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    for (int32_t y = 0; y < 16; ++y)
        for (int32_t x = 0; x < 32; ++x)
            ASSERT_EQ(std::memcmp(out.Pixel(x, y), a.Pixel((x + 20) % 32, y), 4), 0) << x << "," << y;
    // Vertical: (int)(1.375 * 16) % 16 = 6, shift 10.
    host.values[kOrientation].choice = 1;
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    for (int32_t y = 0; y < 16; ++y)
        for (int32_t x = 0; x < 32; ++x)
            ASSERT_EQ(std::memcmp(out.Pixel(x, y), a.Pixel(x, (y + 10) % 16), 4), 0) << x << "," << y;
}

TEST(Roll, BlurRunsAlongTheRollOnly) {
    // Rows of one colour each: a horizontal roll, blur included, cannot
    // change them; a vertical one mixes the rows.
    TestHost host;
    CRoll effect;
    host.UseDefaults(&effect);
    GuardedFrame a(40, 24), out(40, 24);
    for (int32_t y = 0; y < 24; ++y)
        for (int32_t x = 0; x < 40; ++x)
            for (int c = 0; c < 4; ++c) a.Pixel(x, y)[c] = static_cast<uint8_t>(y * 10 + c);
    RenderInfo info = test::MakeRenderInfo(0.1, 0.2);  // the first clip, blur at 0.2 of Blur
    effect.Render(&host, &a.desc, &a.desc, &out.desc, &info);
    EXPECT_EQ(out.Pixels(), a.Pixels());
    host.values[kOrientation].choice = 1;
    effect.Render(&host, &a.desc, &a.desc, &out.desc, &info);
    EXPECT_NE(out.Pixels(), a.Pixels());
    for (int32_t y = 0; y < 24; ++y)  // still constant along each row
        for (int32_t x = 1; x < 40; ++x) ASSERT_EQ(std::memcmp(out.Pixel(x, y), out.Pixel(0, y), 4), 0);
}

TEST(Spin, TextsAreEmptyYetTheBackgroundIndexSelects) {
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
    TestHost host;
    host.UseDefaults(&effect);
    host.values[kSpinAmount].number = 1.0f;
    GuardedFrame a(30, 30), b(30, 30), out(30, 30);
    a.Fill(0xFF);
    b.Fill(0xFF);
    RenderInfo info = test::MakeRenderInfo(0.3);
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    EXPECT_LT(out.Pixel(0, 0)[3], 255);  // the turned corners leave the corner partly empty
    host.values[kSpinBackground].choice = kSmearOverFirst;
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    EXPECT_EQ(out.Pixel(0, 0)[3], 255);
}

TEST(Spin, TheForwardLengthIgnoresTheAmount) {
    // At p = 0 the first clip's total is 0, yet its forward length is
    // -direction * amount: that way gets no pass (the logarithm is not a
    // number), and the other way is smeared by the opposite length.
    TestHost host;
    CSpin effect;
    host.UseDefaults(&effect);
    host.values[kSpinAmount].number = 1.0f;
    host.values[kSpinDirection].number = 1.0f;
    GuardedFrame a(32, 32), b(32, 32), out(32, 32);
    a.FillPattern(5);
    b.FillPattern(6);
    RenderInfo info = test::MakeRenderInfo(0.0);
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    EXPECT_NE(out.Pixels(), a.Pixels());
    // Direction 0 (displayed -100): no length either way, and the forward
    // copy weighs 255, so the first clip comes through unchanged.
    host.values[kSpinDirection].number = 0.0f;
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    EXPECT_EQ(out.Pixels(), a.Pixels());
}

TEST(Smear, AnEvenDirectionTreatsBothClipsAlike) {
    TestHost host;
    CSmear effect;
    host.UseDefaults(&effect);
    host.values[kSmearCrossFade].number = 1.0f;  // both clips at half strength at p = 0.5
    host.values[kSmearAngle].number = 0.2f;
    GuardedFrame a(36, 20), b(36, 20), out(36, 20);
    a.FillPattern(7);
    b.FillPattern(8);
    RenderInfo info = test::MakeRenderInfo(0.5);
    auto render = [&](GuardedFrame& first, GuardedFrame& second) {
        effect.Render(&host, &first.desc, &second.desc, &out.desc, &info);
        return out.Pixels();
    };
    EXPECT_EQ(render(a, b), render(b, a));
    // Off the middle the direction is mirrored between the clips.
    host.values[kSmearDirection].number = 0.3f;
    EXPECT_NE(render(a, b), render(b, a));
    // No blur: the cross-fade of the two clips, an average at the middle.
    host.values[kSmearDirection].number = 0.5f;
    host.values[kSmearBlur].number = 0.0f;
    const auto plain = render(a, b);
    const auto first = a.Pixels(), second = b.Pixels();
    for (size_t i = 0; i < plain.size(); ++i) ASSERT_EQ(plain[i], AverageHalfEven(first[i], second[i])) << i;
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
        TestHost host;
        IVideoEffect* effect = c.which == 0   ? static_cast<IVideoEffect*>(new CRoll())
                               : c.which == 1 ? static_cast<IVideoEffect*>(new CSpin())
                                              : static_cast<IVideoEffect*>(new CSmear());
        host.UseDefaults(effect);
        if (c.which == 0) {
            host.values[kOrientation].choice = c.choice;
        } else {
            host.values[4].choice = c.choice;
            host.values[1].number = 0.35f;  // spin direction / smear angle
        }
        const uint32_t crc =
            frames.Render(effect, &host, &frames.b.desc, test::MakeRenderInfo(c.progress, c.progress * 1.5));
        effect->Release();
        const std::string key = std::to_string(c.which) + "_" + std::to_string(c.progress);
        RecordProperty(key, std::to_string(crc));
        EXPECT_EQ(crc, c.crc) << key;
    }
}

}  // namespace
}  // namespace halcyra

// Colorize and Motion Blur: the hue match (reach, ties, wrap, gain), grey
// output when no hue reaches and the order of parameter reads, the motion
// blur's direction and its blur-free blend, and regression checksums through
// both wrappers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "EffectTestSupport.h"
#include "effects/Colorize.h"
#include "frame/Wrappers.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;

TEST(MatchHue, NearestReachingHueWinsTiesKeepTheEarlierAndGainScales) {
    HueKeys keys{{100, 120, 0}, {30, 30, 0}, 256};
    uint8_t hue, saturation;
    // 110 is 10 from both: the first key stays, the comparison being strict.
    MatchHue(keys, 110, 200, hue, saturation);
    EXPECT_EQ(hue, 100);
    EXPECT_EQ(saturation, 200u * 256u * 20u / (30u << 8));
    MatchHue(keys, 117, 200, hue, saturation);
    EXPECT_EQ(hue, 120);
    // Out of reach of all: own hue, no saturation.
    MatchHue(keys, 60, 200, hue, saturation);
    EXPECT_EQ(hue, 60);
    EXPECT_EQ(saturation, 0);
    // Only one wrap of the circle: 5 is 11 below 250 going round, found; the
    // other way round (250 against a key at 5) is not looked at.
    keys = HueKeys{{250, 0, 5}, {20, 0, 20}, 256};
    MatchHue(keys, 5, 100, hue, saturation);
    EXPECT_EQ(hue, 5);  // distance 0 to the third key beats 11 to the first
    MatchHue(keys, 3, 100, hue, saturation);
    EXPECT_EQ(hue, 5);
    keys.reach[2] = 0;  // a strength of 0 switches a key off
    MatchHue(keys, 3, 100, hue, saturation);
    EXPECT_EQ(hue, 250);
    MatchHue(keys, 252, 100, hue, saturation);
    EXPECT_EQ(hue, 250);
    keys = HueKeys{{5, 0, 0}, {20, 0, 0}, 256};
    MatchHue(keys, 252, 100, hue, saturation);
    EXPECT_EQ(saturation, 0);  // 247 away: the wrap the other way is not taken
    // Saturation 1 (gain 512) doubles the saturation on the hue, capped.
    keys = HueKeys{{40, 0, 0}, {128, 0, 0}, 512};
    MatchHue(keys, 40, 100, hue, saturation);
    EXPECT_EQ(saturation, 200);
    MatchHue(keys, 40, 130, hue, saturation);
    EXPECT_EQ(saturation, 255);
}

// Colorize parameters in index order.
enum { kColorA, kStrengthA, kColorB, kStrengthB, kColorC, kStrengthC, kFilter, kSaturation };

TEST(Colorize, NoStrengthGivesGreyOfEachPixelsValueAndKeepsAlpha) {
    test::Rig<CColorize> colorize;
    colorize[kStrengthA].number = 0.0f;
    colorize[kStrengthC].number = 0.0f;
    colorize[kFilter].number = 0.5f;
    GuardedFrame in(21, 13, 4), out(21, 13, 8);
    in.FillPattern(4);
    colorize.Filter(in, out);
    EXPECT_EQ(colorize.host.requested, (std::vector<int32_t>{0, 2, 4, 1, 3, 5, 6, 7}));  // colours first
    for (int32_t y = 0; y < 13; ++y)
        for (int32_t x = 0; x < 21; ++x) {
            const uint8_t* s = in.Pixel(x, y);
            const uint8_t value = std::max({s[0], s[1], s[2]});
            const uint8_t expected[4] = {value, value, value, s[3]};
            ASSERT_EQ(std::memcmp(out.Pixel(x, y), expected, 4), 0) << x << "," << y;
        }
}

// Motion Blur parameters in index order.
enum { kBlur, kAngle, kDirection, kBlend, kEdges };

TEST(Motionblur, NoBlurLeavesTheBlendOfThePictureWithItself) {
    test::Rig<CMotionblur> blur;
    blur[kBlur].number = 0.0f;
    blur[kDirection].number = 1.0f;
    blur[kBlend].number = 1.0f;
    GuardedFrame in(19, 9, 4), out(19, 9);
    in.FillPattern(2);
    test::MakeOpaque(in);  // the edge composite changes nothing
    EXPECT_EQ(blur.Filter(in, out), in.Pixels());
    // The edge list's "equals the input for any Blend" does not hold: mix =
    // 191.25 gives the weights 191 and 63, whose 255ths lose one.
    blur[kBlend].number = 0.5f;
    test::ExpectEachByte(blur.Filter(in, out), in.Pixels(), {},
                         [](uint8_t s, uint8_t) { return Div255(s * 191u) + Div255(s * 63u); });
}

TEST(Motionblur, DirectionChoosesTheSideOfTheSmear) {
    // One bright column on opaque black, smeared horizontally (Angle 0) and
    // shown alone (Blend 1). Direction 1 smears only forward (to greater x),
    // Direction 0 only backward.
    test::Rig<CMotionblur> blur;
    blur[kAngle].number = 0.0f;
    blur[kBlend].number = 1.0f;
    // Length 8 on 40 pixels: three passes of 0.5, 1 and 2 pixels reach 3.5
    // pixels, as the first step is the length over 2^(n + 1).
    blur[kBlur].number = 0.4f;
    GuardedFrame in(40, 6), out(40, 6);
    in.Fill(0);
    for (int32_t y = 0; y < 6; ++y) std::memset(in.Pixel(20, y), 255, 3);
    test::MakeOpaque(in);
    for (float direction : {1.0f, 0.0f}) {
        blur[kDirection].number = direction;
        blur.Filter(in, out);
        int lit[2] = {0, 0};  // columns lit before and after the bright one
        for (int32_t x = 0; x < 40; ++x)
            if (x != 20 && out.Pixel(x, 3)[1] > 0) ++lit[x > 20 ? 1 : 0];
        const int ahead = direction > 0.5f ? 1 : 0;
        EXPECT_EQ(lit[ahead], 4) << direction;
        EXPECT_EQ(lit[1 - ahead], 0) << direction;
    }
}

TEST(ColorizeEffects, RegressionChecksums) {
    test::ChecksumFrames frames;
    auto check = [&](auto&& rig, uint32_t crc, const char* what) {
        frames.out.Fill(0);
        rig.Filter(frames.a, frames.out);
        EXPECT_EQ(frames.out.Crc(), crc) << what;
    };
    // Colorize: the wrapper's defaults, the inner defaults, and the inner
    // effect with smoothing and a strong third key.
    check(test::Rig<CWrapColorize>(), 2873364291u, "colorize wrapped");
    check(test::Rig<CColorize>(), 2958140610u, "colorize");
    test::Rig<CColorize> smooth;
    smooth[kFilter].number = 0.6f;
    smooth[kStrengthC].number = 0.9f;
    smooth[kSaturation].number = 1.0f;
    check(smooth, 2404806019u, "colorize smoothed");
    // Motion Blur through its wrapper at three angles, and the inner defaults
    // (both directions, blank edges).
    const std::pair<float, uint32_t> angles[] = {
        {0.0f, 790234987u}, {0.3f, 2106673494u}, {0.8f, 3918582454u}};
    for (auto [angle, crc] : angles) {
        test::Rig<CWrapMotionblur> wrapped;
        wrapped[1].number = angle;
        check(wrapped, crc, "motion blur wrapped");
    }
    test::Rig<CMotionblur> blankEdges;
    blankEdges[kEdges].choice = 0;
    check(blankEdges, 1905376635u, "motion blur");
}

}  // namespace
}  // namespace halcyra

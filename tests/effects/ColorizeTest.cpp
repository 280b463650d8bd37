// Colorize and Motion Blur: the hue match (reach, ties, wrap, gain), grey
// output when no hue reaches and the order of parameter reads, the motion
// blur's direction and its blur-free blend, its clearing of a larger output,
// and regression checksums through both wrappers.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "TestHost.h"
#include "effects/Colorize.h"
#include "frame/Wrappers.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TestHost;

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
    TestHost host;
    CColorize effect;
    host.UseDefaults(&effect);
    host.values[kStrengthA].number = 0.0f;
    host.values[kStrengthC].number = 0.0f;
    host.values[kFilter].number = 0.5f;
    GuardedFrame in(21, 13, 4), out(21, 13, 8);
    in.FillPattern(4);
    effect.Render(&host, &in.desc, nullptr, &out.desc, nullptr);
    EXPECT_EQ(host.requested, (std::vector<int32_t>{0, 2, 4, 1, 3, 5, 6, 7}));  // colours first
    for (int32_t y = 0; y < 13; ++y)
        for (int32_t x = 0; x < 21; ++x) {
            const uint8_t* s = in.Pixel(x, y);
            const uint8_t* o = out.Pixel(x, y);
            const uint8_t value = std::max({s[0], s[1], s[2]});
            ASSERT_EQ(o[0], value) << x << "," << y;
            ASSERT_EQ(o[1], value);
            ASSERT_EQ(o[2], value);
            ASSERT_EQ(o[3], s[3]);
        }
    EXPECT_TRUE(out.GuardsIntact());
}

// Motion Blur parameters in index order.
enum { kBlur, kAngle, kDirection, kBlend, kEdges };

TEST(Motionblur, NoBlurLeavesTheBlendOfThePictureWithItself) {
    TestHost host;
    CMotionblur effect;
    host.UseDefaults(&effect);
    host.values[kBlur].number = 0.0f;
    host.values[kDirection].number = 1.0f;
    GuardedFrame in(19, 9, 4), out(19, 9);
    in.FillPattern(2);
    for (int32_t y = 0; y < 9; ++y)
        for (int32_t x = 0; x < 19; ++x)
            in.Pixel(x, y)[3] = 255;  // opaque: the edge composite changes nothing
    host.values[kBlend].number = 1.0f;
    effect.Render(&host, &in.desc, nullptr, &out.desc, nullptr);
    EXPECT_EQ(out.Pixels(), in.Pixels());
    // The edge list's "equals the input for any Blend" does not hold: mix =
    // 191.25 gives the weights 191 and 63, whose 255ths lose one.
    host.values[kBlend].number = 0.5f;
    effect.Render(&host, &in.desc, nullptr, &out.desc, nullptr);
    const auto source = in.Pixels(), result = out.Pixels();
    for (size_t i = 0; i < source.size(); ++i)
        ASSERT_EQ(result[i], Div255(source[i] * 191u) + Div255(source[i] * 63u)) << i;
}

TEST(Motionblur, DirectionChoosesTheSideOfTheSmear) {
    // One bright column on opaque black, smeared horizontally (Angle 0) and
    // shown alone (Blend 1). Direction 1 smears only forward (to greater x),
    // Direction 0 only backward.
    TestHost host;
    CMotionblur effect;
    host.UseDefaults(&effect);
    host.values[kAngle].number = 0.0f;
    host.values[kBlend].number = 1.0f;
    // Length 8 on 40 pixels: three passes of 0.5, 1 and 2 pixels reach 3.5
    // pixels, as the first step is the length over 2^(n + 1).
    host.values[kBlur].number = 0.4f;
    GuardedFrame in(40, 6), out(40, 6);
    for (int32_t y = 0; y < 6; ++y)
        for (int32_t x = 0; x < 40; ++x) {
            uint8_t* p = in.Pixel(x, y);
            p[0] = p[1] = p[2] = x == 20 ? 255 : 0;
            p[3] = 255;
        }
    for (float direction : {1.0f, 0.0f}) {
        host.values[kDirection].number = direction;
        effect.Render(&host, &in.desc, nullptr, &out.desc, nullptr);
        int lit[2] = {0, 0};  // columns lit before and after the bright one
        for (int32_t x = 0; x < 40; ++x)
            if (x != 20 && out.Pixel(x, 3)[1] > 0) ++lit[x > 20 ? 1 : 0];
        const int ahead = direction > 0.5f ? 1 : 0;
        EXPECT_EQ(lit[ahead], 4) << direction;
        EXPECT_EQ(lit[1 - ahead], 0) << direction;
    }
}

TEST(Motionblur, BlurPassesClearALargerOutput) {
    // The output is the scratch picture of the smear, cleared whole, so
    // pixels outside the input do not keep what the host gave them.
    TestHost host;
    auto* wrapper = new CWrapMotionblur();
    host.UseDefaults(wrapper);
    GuardedFrame in(20, 12), out(33, 21);
    in.FillPattern(3);
    out.Fill(0x5a);
    wrapper->Render(&host, &in.desc, nullptr, &out.desc, nullptr);
    wrapper->Release();
    EXPECT_EQ(out.Pixel(25, 3)[1], 0);
    EXPECT_EQ(out.Pixel(3, 15)[2], 0);
    EXPECT_TRUE(out.GuardsIntact());
}

TEST(ColorizeEffects, RegressionChecksums) {
    GuardedFrame in(64, 48, 12), out(64, 48, 0, true);
    in.FillPattern(11);
    // Colorize: the wrapper's defaults, the inner defaults, and the inner
    // effect with smoothing and a strong third key.
    const uint32_t colorizeCrcs[3] = {2873364291u, 2958140610u, 2404806019u};
    for (int i = 0; i < 3; ++i) {
        TestHost host;
        IVideoEffect* effect = i == 0 ? static_cast<IVideoEffect*>(new CWrapColorize()) : new CColorize();
        host.UseDefaults(effect);
        if (i == 2) {
            host.values[kFilter].number = 0.6f;
            host.values[kStrengthC].number = 0.9f;
            host.values[kSaturation].number = 1.0f;
        }
        out.Fill(0);
        effect->Render(&host, &in.desc, nullptr, &out.desc, nullptr);
        effect->Release();
        RecordProperty("colorize" + std::to_string(i), std::to_string(out.Crc()));
        EXPECT_EQ(out.Crc(), colorizeCrcs[i]) << i;
    }
    // Motion Blur through its wrapper at three angles, and the inner defaults
    // (both directions, blank edges).
    const float angles[] = {0.0f, 0.3f, 0.8f};
    const uint32_t motionCrcs[4] = {790234987u, 2106673494u, 3918582454u, 1905376635u};
    for (int i = 0; i < 4; ++i) {
        TestHost host;
        IVideoEffect* effect = i < 3 ? static_cast<IVideoEffect*>(new CWrapMotionblur()) : new CMotionblur();
        host.UseDefaults(effect);
        if (i < 3) host.values[1].number = angles[i];
        if (i == 3) host.values[kEdges].choice = 0;
        out.Fill(0);
        effect->Render(&host, &in.desc, nullptr, &out.desc, nullptr);
        effect->Release();
        RecordProperty("motionblur" + std::to_string(i), std::to_string(out.Crc()));
        EXPECT_EQ(out.Crc(), motionCrcs[i]) << i;
    }
}

}  // namespace
}  // namespace halcyra

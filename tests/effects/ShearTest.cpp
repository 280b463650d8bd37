// Shear and Shear Energy: the pass counts and steps, the shear step, the
// two-way smear frame (clip amounts, direction weights, backgrounds, the
// cross-fade), the filter's scratch use of the output, and regression
// checksums.
#include <gtest/gtest.h>

#include <cmath>

#include "TestHost.h"
#include "effects/Shear.h"
#include "frame/Wrappers.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TestHost;

// Parameters of both effects in index order (Cross Fade is Blend in the filter).
enum { kHShear, kVShear, kAngle, kDirection, kCenter, kCrossFade, kBackground };

void MakeOpaque(GuardedFrame& frame) {
    for (int32_t y = 0; y < frame.height; ++y)
        for (int32_t x = 0; x < frame.width; ++x) frame.Pixel(x, y)[3] = 255;
}

// The bytes of BlendPictures(second, first, wb, wa) on two copies.
std::vector<uint8_t> Blended(const std::vector<uint8_t>& first, const std::vector<uint8_t>& second,
                             uint32_t wa, uint32_t wb) {
    std::vector<uint8_t> out(first.size());
    for (size_t i = 0; i < first.size(); ++i)
        out[i] = wa == wb
                     ? AverageHalfEven(first[i], second[i])
                     : static_cast<uint8_t>(std::min(255u, Div255(second[i] * wb) + Div255(first[i] * wa)));
    return out;
}

TEST(ShearPasses, CountsFromTheWidthAndHalfEachWay) {
    // (0.5 + 0.25) * 64 * 0.3 + 0.5 = 14.9: three passes, first step 1/16 of the half.
    const ShearPasses s = ShearPassesFor(1.0f, 0.5f, 64.0f);
    EXPECT_EQ(s.forwardPasses, 3);
    EXPECT_EQ(s.backwardPasses, 3);
    EXPECT_EQ(s.forwardH, 0.5f / 16.0f);
    EXPECT_EQ(s.forwardV, 0.25f / 16.0f);
    EXPECT_EQ(s.backwardH, -0.5f / 16.0f);
    EXPECT_EQ(s.backwardV, -0.25f / 16.0f);
    // No shear: log(0.5) / log(2) is exactly -1, not 0; either way no pass runs.
    const ShearPasses none = ShearPassesFor(0.0f, 0.0f, 1920.0f);
    EXPECT_EQ(none.forwardPasses, -1);
    EXPECT_EQ(none.backwardPasses, -1);
    EXPECT_EQ(SmearPassCount(std::nanf("")), INT32_MIN);
    EXPECT_EQ(SmearPassCount(-3.0f), INT32_MIN);
}

TEST(ShearStep, ShearsAboutTheCentre) {
    // Centre (10, 5) of 40 x 20; with no turn x moves by sh * (y - 5), y by sv * (x - 10).
    const PictureTransform m = ShearStep(0.5f, 0.25f, 0.0f, 0.25f, 0.25f, 40.0f, 20.0f);
    auto map = [&](float x, float y) {
        return std::pair{m.matrix[0][0] * x + m.matrix[1][0] * y + m.matrix[2][0],
                         m.matrix[0][1] * x + m.matrix[1][1] * y + m.matrix[2][1]};
    };
    EXPECT_EQ(map(10.0f, 5.0f), std::pair(10.0f, 5.0f));
    EXPECT_EQ(map(10.0f, 9.0f), std::pair(12.0f, 9.0f));
    EXPECT_EQ(map(18.0f, 5.0f), std::pair(18.0f, 7.0f));
}

TEST(Shear, WithoutShearOnlyTheCrossFadeShowsWhateverTheBackground) {
    TestHost host;
    CShear effect;
    host.UseDefaults(&effect);
    host.values[kHShear].number = 0.0f;
    host.values[kVShear].number = 0.0f;
    // Direction 0.5 weighs the two copies 127 and 127, an exact average; at
    // the default 0.24 the weights 61 and 193 lose one in 255ths.
    host.values[kDirection].number = 0.5f;
    GuardedFrame a(23, 9, 4), b(23, 9), out(23, 9);
    a.FillPattern(1);
    b.FillPattern(2);
    MakeOpaque(a);
    MakeOpaque(b);
    const float start = 0.5f - 0.34f * 0.5f;
    const float f = ((0.4f - start) / 0.34f) * 255.0f;
    const auto faded = Blended(a.Pixels(), b.Pixels(), static_cast<uint32_t>(TruncToInt32(255.0f - f)),
                               static_cast<uint32_t>(TruncToInt32(f)));
    for (int32_t background = 0; background < 4; ++background) {
        SCOPED_TRACE(background);
        host.values[kBackground].choice = background;
        for (double p : {0.0, 1.0, 0.4}) {
            RenderInfo info = test::MakeRenderInfo(p);
            out.Fill(0x33);
            effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
            EXPECT_EQ(out.Pixels(), p == 0.0 ? a.Pixels() : (p == 1.0 ? b.Pixels() : faded)) << p;
        }
    }
    // Cross Fade 0 at p = 0.5: 0 / 0 gives INT32_MIN weights, clamped to equal ones.
    host.values[kCrossFade].number = 0.0f;
    RenderInfo info = test::MakeRenderInfo(0.5);
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    EXPECT_EQ(out.Pixels(), Blended(a.Pixels(), b.Pixels(), 0, 0));
    EXPECT_TRUE(out.GuardsIntact());
}

TEST(Shear, BackgroundsFillWhatTheWarpsLeftEmpty) {
    TestHost host;
    CShear effect;
    host.UseDefaults(&effect);
    host.values[kHShear].number = 1.0f;
    GuardedFrame a(32, 20), b(32, 20), out(32, 20);
    a.Fill(0xC0);  // opaque grey: the smear of a flat picture is flat where it reaches
    b.Fill(0x40);
    MakeOpaque(a);
    MakeOpaque(b);
    RenderInfo info = test::MakeRenderInfo(0.1);  // the first clip only
    auto corner = [&](int32_t background) {
        host.values[kBackground].choice = background;
        effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
        return std::vector<uint8_t>(out.Pixel(0, 0), out.Pixel(0, 0) + 4);
    };
    // The strong shear leaves the corner partly uncovered: transparent grey,
    // then topped up from the first, the second clip, or the clip itself.
    const auto transparent = corner(kSmearTransparent);
    EXPECT_LT(transparent[3], 255);
    const auto overFirst = corner(kSmearOverFirst);
    EXPECT_EQ(overFirst[3], 255);
    EXPECT_EQ(corner(kSmearOverItself), overFirst);
    const auto overSecond = corner(kSmearOverSecond);
    EXPECT_EQ(overSecond[3], 255);
    EXPECT_LT(overSecond[0], overFirst[0]);
    // A choice outside the list keeps the last smear pass: still defined.
    const auto other = corner(9);
    EXPECT_EQ(corner(9), other);
}

TEST(Shear, FullTurnOfTheAngleGivesNearlyTheSameShear) {
    TestHost host;
    CShear effect;
    host.UseDefaults(&effect);
    GuardedFrame a(48, 30), b(48, 30), out(48, 30);
    a.FillPattern(3);
    b.FillPattern(4);
    RenderInfo info = test::MakeRenderInfo(0.3);
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    const auto atZero = out.Pixels();
    host.values[kAngle].number = 1.0f;
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    // 6.283185 is not exactly a turn: sin of it is about 1e-7, which moves a
    // sample by far less than a level, and rounding differs in a few bytes.
    const auto atTurn = out.Pixels();
    int differing = 0;
    for (size_t i = 0; i < atZero.size(); ++i) {
        ASSERT_LE(std::abs(atZero[i] - atTurn[i]), 1) << i;
        differing += atZero[i] != atTurn[i];
    }
    EXPECT_LT(differing, static_cast<int>(atZero.size() / 50));
}

TEST(Shearenergy, WithoutShearTheInputComesBack) {
    TestHost host;
    CShearenergy effect;
    host.UseDefaults(&effect);
    host.values[kHShear].number = 0.0f;
    host.values[kVShear].number = 0.0f;
    // Blend 1 and Direction 0.5 weigh by 255 and by equal halves; other weights lose one in 255ths.
    host.values[kCrossFade].number = 1.0f;
    GuardedFrame in(19, 11, 8, true), out(19, 11, 0, true);
    in.FillPattern(5);
    MakeOpaque(in);
    effect.Render(&host, &in.desc, nullptr, &out.desc, nullptr);
    EXPECT_EQ(out.Pixels(), in.Pixels());
    EXPECT_TRUE(out.GuardsIntact());
}

TEST(Shearenergy, TheOutputIsTheScratchAndEdgesShowTheInput) {
    TestHost host;
    CShearenergy effect;
    host.UseDefaults(&effect);
    host.values[kCrossFade].number = 1.0f;
    GuardedFrame in(20, 10), out(30, 16);
    in.Fill(0xFF);
    out.Fill(0x77);
    host.values[kBackground].choice = 0;  // Edges "Blank"
    effect.Render(&host, &in.desc, nullptr, &out.desc, nullptr);
    // Clearing the scratch covers all of it, past the input.
    EXPECT_EQ(out.Pixel(25, 3)[1], 0);
    EXPECT_EQ(out.Pixel(3, 14)[2], 0);
    EXPECT_LT(out.Pixel(0, 0)[3], 255);   // the corner is left partly empty by the shear
    host.values[kBackground].choice = 1;  // "Original Image"
    effect.Render(&host, &in.desc, nullptr, &out.desc, nullptr);
    EXPECT_EQ(out.Pixel(0, 0)[3], 255);
    EXPECT_TRUE(out.GuardsIntact());
    EXPECT_TRUE(in.GuardsIntact());
}

TEST(ShearEffects, RegressionChecksums) {
    test::ChecksumFrames frames;
    struct Case {
        double progress;
        int32_t background;
        uint32_t crc;
    };
    const Case shearCases[] = {
        {0.2, 2, 973929563u},   {0.5, 2, 1060155502u},  {0.8, 2, 4133362461u},
        {0.45, 0, 3755278652u}, {0.55, 1, 1346462226u}, {0.6, 3, 1553702068u},
    };
    for (const Case& c : shearCases) {
        TestHost host;
        CShear effect;
        host.UseDefaults(&effect);
        host.values[kAngle].number = 0.1f;
        host.values[kCenter].point[0] = 0.4f;
        host.values[kBackground].choice = c.background;
        const uint32_t crc = frames.Render(&effect, &host, &frames.b.desc, test::MakeRenderInfo(c.progress));
        RecordProperty("shear" + std::to_string(c.progress), std::to_string(crc));
        EXPECT_EQ(crc, c.crc) << c.progress;
    }
    // Shear Energy through its wrapper at three strengths, angle and centre off the defaults.
    const float shears[] = {0.2f, 0.6f, 1.0f};
    const uint32_t energyCrcs[] = {286686925u, 695388150u, 1797642763u};
    for (int i = 0; i < 3; ++i) {
        TestHost host;
        auto* wrapper = new CWrapShearenergy();
        host.UseDefaults(wrapper);
        host.values[0].number = shears[i];
        host.values[1].number = 1.0f - shears[i];
        host.values[2].number = 0.3f;
        host.values[3].point[0] = 0.3f;
        const uint32_t crc = frames.Render(wrapper, &host, nullptr, test::MakeRenderInfo(0.5));
        wrapper->Release();
        RecordProperty("shearenergy" + std::to_string(i), std::to_string(crc));
        EXPECT_EQ(crc, energyCrcs[i]) << shears[i];
    }
}

}  // namespace
}  // namespace halcyra

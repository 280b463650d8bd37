// Shear and Shear Energy: the pass counts and steps, the shear step, the
// two-way smear frame (clip amounts, direction weights, backgrounds, the
// cross-fade), the filter's edges, and regression checksums.
#include <gtest/gtest.h>

#include <cmath>

#include "EffectTestSupport.h"
#include "effects/Shear.h"
#include "frame/Wrappers.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;

// Parameters of both effects in index order (Cross Fade is Blend in the filter).
enum { kHShear, kVShear, kAngle, kDirection, kCenter, kCrossFade, kBackground };

// The bytes of the blend of two pictures with weights in 255ths.
std::vector<uint8_t> Blended(const std::vector<uint8_t>& first, const std::vector<uint8_t>& second,
                             uint32_t wa, uint32_t wb) {
    std::vector<uint8_t> out(first.size());
    for (size_t i = 0; i < first.size(); ++i) out[i] = test::Blend255(first[i], second[i], wa, wb);
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
    EXPECT_EQ(test::MapPoint(m, 10.0f, 5.0f), std::pair(10.0f, 5.0f));
    EXPECT_EQ(test::MapPoint(m, 10.0f, 9.0f), std::pair(12.0f, 9.0f));
    EXPECT_EQ(test::MapPoint(m, 18.0f, 5.0f), std::pair(18.0f, 7.0f));
}

TEST(Shear, WithoutShearOnlyTheCrossFadeShowsWhateverTheBackground) {
    test::Rig<CShear> shear;
    shear[kHShear].number = 0.0f;
    shear[kVShear].number = 0.0f;
    // Direction 0.5 weighs the two copies 127 and 127, an exact average; at
    // the default 0.24 the weights 61 and 193 lose one in 255ths.
    shear[kDirection].number = 0.5f;
    GuardedFrame a(23, 9, 4), b(23, 9), out(23, 9);
    a.FillPattern(1);
    b.FillPattern(2);
    test::MakeOpaque(a);
    test::MakeOpaque(b);
    const float start = 0.5f - 0.34f * 0.5f;
    const float f = ((0.4f - start) / 0.34f) * 255.0f;
    const auto faded = Blended(a.Pixels(), b.Pixels(), static_cast<uint32_t>(TruncToInt32(255.0f - f)),
                               static_cast<uint32_t>(TruncToInt32(f)));
    for (int32_t background = 0; background < 4; ++background) {
        SCOPED_TRACE(background);
        shear[kBackground].choice = background;
        for (double p : {0.0, 1.0, 0.4})
            EXPECT_EQ(shear.Render(a, &b, out, p), p == 0.0 ? a.Pixels() : (p == 1.0 ? b.Pixels() : faded))
                << p;
    }
    // Cross Fade 0 at p = 0.5: 0 / 0 gives INT32_MIN weights, clamped to equal ones.
    shear[kCrossFade].number = 0.0f;
    EXPECT_EQ(shear.Render(a, &b, out, 0.5), Blended(a.Pixels(), b.Pixels(), 0, 0));
}

TEST(Shear, BackgroundsFillWhatTheWarpsLeftEmpty) {
    test::Rig<CShear> shear;
    shear[kHShear].number = 1.0f;
    GuardedFrame a(32, 20), b(32, 20), out(32, 20);
    a.Fill(0xC0);  // opaque grey: the smear of a flat picture is flat where it reaches
    b.Fill(0x40);
    test::MakeOpaque(a);
    test::MakeOpaque(b);
    auto corner = [&](int32_t background) {
        shear[kBackground].choice = background;
        shear.Render(a, &b, out, 0.1);  // the first clip only
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
}

TEST(Shearenergy, WithoutShearTheInputComesBack) {
    test::Rig<CShearenergy> energy;
    energy[kHShear].number = 0.0f;
    energy[kVShear].number = 0.0f;
    // Blend 1 and Direction 0.5 weigh by 255 and by equal halves; other weights lose one in 255ths.
    energy[kCrossFade].number = 1.0f;
    GuardedFrame in(19, 11, 8, true), out(19, 11, 0, true);
    in.FillPattern(5);
    test::MakeOpaque(in);
    EXPECT_EQ(energy.Filter(in, out), in.Pixels());
}

TEST(Shearenergy, BlankEdgesLeaveTheCornerEmptyAndOriginalImageFillsIt) {
    test::Rig<CShearenergy> energy;
    energy[kCrossFade].number = 1.0f;
    GuardedFrame in(20, 10), out(20, 10);
    in.Fill(0xFF);
    energy[kBackground].choice = 0;  // "Blank"
    energy.Filter(in, out);
    EXPECT_LT(out.Pixel(0, 0)[3], 255);  // the shear leaves the corner partly empty
    energy[kBackground].choice = 1;      // "Original Image"
    energy.Filter(in, out);
    EXPECT_EQ(out.Pixel(0, 0)[3], 255);
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
        auto setup = [&](auto& shear) {
            shear[kAngle].number = 0.1f;
            shear[kCenter].point[0] = 0.4f;
            shear[kBackground].choice = c.background;
        };
        EXPECT_EQ(test::ChecksumOf<CShear>(frames, true, c.progress, 0.0, setup), c.crc) << c.progress;
    }
    // Shear Energy through its wrapper at three strengths, angle and centre off the defaults.
    const std::pair<float, uint32_t> energyCases[] = {
        {0.2f, 286686925u}, {0.6f, 695388150u}, {1.0f, 1797642763u}};
    for (auto [amount, crc] : energyCases) {
        auto setup = [amount](auto& energy) {
            energy[0].number = amount;
            energy[1].number = 1.0f - amount;
            energy[2].number = 0.3f;
            energy[3].point[0] = 0.3f;
        };
        EXPECT_EQ(test::ChecksumOf<CWrapShearenergy>(frames, false, 0.5, 0.0, setup), crc) << amount;
    }
}

}  // namespace
}  // namespace halcyra

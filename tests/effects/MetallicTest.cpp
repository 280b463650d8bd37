// Metallic: the table-driven pixel loop against the per-pixel formula, the
// precision split between transition and filter, the ends of the transition,
// and regression checksums.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "TestHost.h"
#include "effects/Metallic.h"
#include "frame/Wrappers.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TestHost;

// The pixel function one pixel at a time, as written.
void MetalPixel(const uint8_t* s, uint8_t* d, const double tint[3], double picture, double metal, double f,
                double shine, double phase) {
    d[3] = s[3];
    const double l = (s[2] + s[1] + s[0]) / 768.0;
    double v = (std::sin(l * f + phase * 3.1415 * 2.0) * shine + 1.0) * 0.5 + l;
    v = v * (metal * 256.0);
    for (int k = 0; k < 3; ++k) {
        const uint8_t sc = s[2 - k];
        const int32_t whole = TruncToInt32(v * tint[k] + sc * picture);
        d[2 - k] = ClampToByte(static_cast<int16_t>(static_cast<uint16_t>(whole)));
    }
}

TEST(Metallic, FilterMatchesThePerPixelFunctionWithFloatFactors) {
    TestHost host;
    CMetallicEffect effect;
    host.UseDefaults(&effect);
    host.values[0].colour = 0x3380ff;
    GuardedFrame in(37, 9, 8), out(37, 9, 8);
    in.FillPattern(7);
    out.Fill(0);
    RenderInfo info = test::MakeRenderInfo(0.3);
    ASSERT_TRUE(effect.Render(&host, &in.desc, nullptr, &out.desc, &info));
    const double tint[3] = {static_cast<float>(0xff) / 256.0f, static_cast<float>(0x80) / 256.0f,
                            static_cast<float>(0x33) / 256.0f};
    const float complexity = host.values[2].number;
    const double f = (complexity * 6.0f + 1.0f) * 2.0f * 3.1415f;  // float arithmetic, then widened
    for (int32_t y = 0; y < 9; ++y)
        for (int32_t x = 0; x < 37; ++x) {
            uint8_t expected[4];
            MetalPixel(in.Pixel(x, y), expected, tint, host.values[5].number, host.values[4].number, f,
                       host.values[1].number, host.values[3].number);
            ASSERT_EQ(std::memcmp(expected, out.Pixel(x, y), 4), 0) << x << "," << y;
        }
    EXPECT_TRUE(out.GuardsIntact());
}

TEST(Metallic, TabledLoopOfLargePicturesMatchesThePerPixelFunction) {
    // Large enough for the (sum, byte) tables; factors that wrap the 16-bit
    // value (metal 90), go negative (picture -1) and reach the indefinite
    // integer (NaN shine) included.
    constexpr int32_t width = 1024, height = 600;
    std::vector<uint8_t> source(static_cast<size_t>(width) * height * 4), target(source.size());
    for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>((i * 2654435761u) >> 11);
    Picture in, out;
    in.Attach(source.data(), width, height, width * 4, 4);
    out.Attach(target.data(), width, height, width * 4, 4);
    const MetalFactors cases[] = {
        {{0.8, 0.5, 0.1}, 0.45, 0.65, 30.1, 0.84, 0.25},
        {{0.99, 0.99, 0.99}, -1.0, 90.0, 6.3, 1.0, 0.0},
        {{0.5, 0.5, 0.5}, 1.0, 1.0, 6.3, std::nan(""), 0.5},
    };
    for (const MetalFactors& f : cases) {
        MetalPixels(in, out, width, height, f);
        for (size_t i = 0; i < source.size(); i += 4 * 97) {
            uint8_t expected[4];
            MetalPixel(&source[i], expected, f.tint, f.picture, f.metal, f.frequencyTerm, f.shine, f.phase);
            ASSERT_EQ(std::memcmp(expected, &target[i], 4), 0) << i / 4;
        }
    }
}

TEST(Metallic, BlackIsNotBlackAndShineZeroRemovesBands) {
    TestHost host;
    CMetallicEffect effect;
    host.UseDefaults(&effect);
    host.values[0].colour = 0xffffff;
    host.values[1].number = 0.0f;  // Shine
    host.values[5].number = 0.0f;  // Picture
    host.values[4].number = 1.0f;  // Metal
    GuardedFrame in(2, 1), out(2, 1);
    in.Fill(0);
    RenderInfo info = test::MakeRenderInfo(0.0);
    effect.Render(&host, &in.desc, nullptr, &out.desc, &info);
    // v = 0.5 * 256 and tint 255/256: trunc(127.5) = 127.
    EXPECT_EQ(out.Pixel(0, 0)[0], 127);
    EXPECT_EQ(out.Pixel(0, 0)[2], 127);
    EXPECT_EQ(out.Pixel(0, 0)[3], 0);
}

TEST(Metallic, TransitionEndsGiveThePlainClips) {
    TestHost host;
    CMetallic effect;
    host.UseDefaults(&effect);
    GuardedFrame a(19, 7), b(19, 7), out(19, 7);
    a.FillPattern(1);
    b.FillPattern(2);
    for (double p : {0.0, -3.0, 1.0, 7.5}) {
        RenderInfo info = test::MakeRenderInfo(p);
        out.Fill(0x33);
        effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
        EXPECT_EQ(out.Pixels(), p <= 0.0 ? a.Pixels() : b.Pixels()) << p;
    }
}

TEST(Metallic, TransitionMiddleUsesDoubleFactorsAndTheCrossFade) {
    TestHost host;
    CMetallic effect;
    host.UseDefaults(&effect);
    GuardedFrame a(23, 5), b(23, 5), out(23, 5);
    a.FillPattern(3);
    b.FillPattern(4);
    RenderInfo info = test::MakeRenderInfo(0.5);
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    // At 0.5: u = 1, f = 0.5 of the cross-fade; mix weights 127 and 127 in 256ths.
    const uint32_t colour = host.values[0].colour;
    const double tint[3] = {(colour & 0xff) / 256.0, ((colour >> 8) & 0xff) / 256.0,
                            ((colour >> 16) & 0xff) / 256.0};
    const double f = (static_cast<double>(host.values[2].number) * 6.0 + 1.0) * 2.0 * 3.1415;
    for (int32_t x = 0; x < 23; ++x) {
        uint8_t mixed[4];
        for (int c = 0; c < 4; ++c)
            mixed[c] = static_cast<uint8_t>((a.Pixel(x, 2)[c] * 127 + b.Pixel(x, 2)[c] * 127) >> 8);
        uint8_t expected[4];
        MetalPixel(mixed, expected, tint, host.values[5].number, host.values[4].number, f,
                   host.values[1].number, host.values[3].number);
        ASSERT_EQ(std::memcmp(expected, out.Pixel(x, 2), 4), 0) << x;
    }
}

TEST(Metallic, ZeroCrossFadeAtTheMidpointMixesAllFirst) {
    TestHost host;
    CMetallic effect;
    host.UseDefaults(&effect);
    host.values[7].number = 0.0f;  // Cross Fade
    host.values[4].number = 0.0f;  // Metal: the output shows the mix itself
    host.values[5].number = 1.0f;  // Picture
    GuardedFrame a(4, 2), b(4, 2), out(4, 2);
    a.Fill(255);
    b.Fill(0);
    RenderInfo info = test::MakeRenderInfo(0.5);
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    EXPECT_EQ(out.Pixel(0, 0)[0], 254);  // weight 1.0 turns 255 into 254
}

TEST(Metallic, RegressionChecksums) {
    struct Case {
        bool wrapped;
        double progress;
        uint32_t crc;
    };
    const Case cases[] = {{false, 0.25, 2471834881u},
                          {false, 0.5, 2064252246u},
                          {false, 0.6, 1482007672u},
                          {true, 0.5, 217691735u}};
    GuardedFrame a(64, 48, 12), b(64, 48, 12, true), out(64, 48, 0, true);
    a.FillPattern(11);
    b.FillPattern(12);
    for (const Case& c : cases) {
        TestHost host;
        IVideoEffect* effect = c.wrapped ? static_cast<IVideoEffect*>(new CWrapMetallic()) : new CMetallic();
        host.UseDefaults(effect);
        RenderInfo info = test::MakeRenderInfo(c.progress);
        effect->Render(&host, &a.desc, &b.desc, &out.desc, &info);
        EXPECT_EQ(out.Crc(), c.crc) << "wrapped " << c.wrapped << " at " << c.progress;
        effect->Release();
    }
}

}  // namespace
}  // namespace halcyra

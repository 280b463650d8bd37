// Metallic: the table-driven pixel loop against the per-pixel formula, the
// precision split between transition and filter, the mix at the middle, and
// regression checksums.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "EffectTestSupport.h"
#include "effects/Metallic.h"
#include "frame/Wrappers.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;

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

TEST(Metallic, FilterWidensFloatFactorsAndTheTransitionWorksInDoublesOnItsMix) {
    GuardedFrame a(23, 5, 8), b(23, 5), out(23, 5, 8);
    a.FillPattern(3);
    b.FillPattern(4);
    auto expectMetal = [&](const std::vector<ParameterData>& v, const double(&tint)[3], double f,
                           auto source) {
        for (int32_t y = 0; y < 5; ++y)
            for (int32_t x = 0; x < 23; ++x) {
                uint8_t s[4], expected[4];
                for (int c = 0; c < 4; ++c) s[c] = source(x, y, c);
                MetalPixel(s, expected, tint, v[5].number, v[4].number, f, v[1].number, v[3].number);
                ASSERT_EQ(std::memcmp(expected, out.Pixel(x, y), 4), 0) << x << "," << y;
            }
    };
    test::Rig<CMetallicEffect> filter;
    filter[0].colour = 0x3380ff;
    filter.Render(a, nullptr, out, 0.3);
    const double floatTint[3] = {static_cast<float>(0xff) / 256.0f, static_cast<float>(0x80) / 256.0f,
                                 static_cast<float>(0x33) / 256.0f};
    expectMetal(filter.host.values, floatTint, (filter[2].number * 6.0f + 1.0f) * 2.0f * 3.1415f,
                [&](int32_t x, int32_t y, int c) { return a.Pixel(x, y)[c]; });
    // At 0.5: u = 1, f = 0.5 of the cross-fade; mix weights 127 and 127 in 256ths.
    test::Rig<CMetallic> transition;
    transition.Render(a, &b, out, 0.5);
    const uint32_t colour = transition[0].colour;
    const double tint[3] = {(colour & 0xff) / 256.0, ((colour >> 8) & 0xff) / 256.0,
                            ((colour >> 16) & 0xff) / 256.0};
    expectMetal(transition.host.values, tint,
                (static_cast<double>(transition[2].number) * 6.0 + 1.0) * 2.0 * 3.1415,
                [&](int32_t x, int32_t y, int c) {
                    return static_cast<uint8_t>((a.Pixel(x, y)[c] * 127 + b.Pixel(x, y)[c] * 127) >> 8);
                });
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
    test::Rig<CMetallicEffect> metallic;
    metallic[0].colour = 0xffffff;
    metallic[1].number = 0.0f;  // Shine
    metallic[5].number = 0.0f;  // Picture
    metallic[4].number = 1.0f;  // Metal
    GuardedFrame in(2, 1), out(2, 1);
    in.Fill(0);
    metallic.Render(in, nullptr, out, 0.0);
    // v = 0.5 * 256 and tint 255/256: trunc(127.5) = 127.
    EXPECT_EQ(out.Pixel(0, 0)[0], 127);
    EXPECT_EQ(out.Pixel(0, 0)[2], 127);
    EXPECT_EQ(out.Pixel(0, 0)[3], 0);
}

TEST(Metallic, ZeroCrossFadeAtTheMidpointMixesAllFirst) {
    test::Rig<CMetallic> metallic;
    metallic[7].number = 0.0f;  // Cross Fade
    metallic[4].number = 0.0f;  // Metal: the output shows the mix itself
    metallic[5].number = 1.0f;  // Picture
    GuardedFrame a(4, 2), b(4, 2), out(4, 2);
    a.Fill(255);
    b.Fill(0);
    metallic.Render(a, &b, out, 0.5);
    EXPECT_EQ(out.Pixel(0, 0)[0], 254);  // weight 1.0 turns 255 into 254
}

TEST(Metallic, RegressionChecksums) {
    test::ChecksumFrames frames;
    const std::pair<double, uint32_t> cases[] = {{0.25, 2471834881u}, {0.5, 2064252246u}, {0.6, 1482007672u}};
    for (auto [progress, crc] : cases)
        EXPECT_EQ(test::ChecksumOf<CMetallic>(frames, true, progress), crc) << progress;
    EXPECT_EQ(test::ChecksumOf<CWrapMetallic>(frames, true, 0.5), 217691735u) << "wrapped";
}

}  // namespace
}  // namespace halcyra

// Glow and Halo: the triangular blur with its margins against a direct
// reading, the bloom and the disc dilation on pictures worked out by hand, the
// halo's near form against its literal steps, the tempo curve, Halo's
// presets, and regression checksums.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <random>

#include "EffectTestSupport.h"
#include "effects/Glow.h"
#include "picture/MemoryAllocator.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;

// Glow parameter indices.
constexpr size_t kGlowCrossFade = 5;
// Halo parameter indices.
constexpr size_t kHaloWidth = 0, kHaloRim = 1, kHaloCrossFade = 3;

// The divisor rules of the separable filters.
uint8_t DivideLikeTheFilter(int32_t s, int32_t divisor) {
    if (divisor == 1) return ClampToByte(s);
    if (std::has_single_bit(static_cast<uint32_t>(divisor))) {
        if (s <= 0) return 0;
        const uint32_t shift = static_cast<uint32_t>(std::countr_zero(static_cast<uint32_t>(divisor)));
        return static_cast<uint8_t>(
            std::min<uint32_t>(255, ShiftRoundHalfEven(static_cast<uint32_t>(s), shift)));
    }
    return RoundRuleR(static_cast<float>(s) * (1.0f / static_cast<float>(divisor)));
}

TEST(GlowBlur, MatchesADirectReadingOfItsMarginsAndAnchors) {
    test::ForEachCpuClass([&] {
        // Widths 5 and up keep the replicated interior non-empty.
        constexpr int32_t w = 11, h = 9;
        Picture source;
        source.Allocate(w, h, 4, nullptr);
        std::mt19937 random(5);
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w * 4; ++x) source.Row(y)[x] = static_cast<uint8_t>(random());
        for (int32_t taps : {1, 2, 3, 4, 5, 6, 9, 12}) {
            const int32_t margin = taps >> 1;
            std::vector<int32_t> k(static_cast<size_t>(taps));
            int32_t sum = 0;
            for (int32_t i = 0; i < taps; ++i) sum += k[static_cast<size_t>(i)] = std::min(i + 1, taps - i);
            // The interior that survives replication, in picture coordinates: the
            // outer two pixels go, and an odd kernel keeps one more on the far side.
            const int32_t hiX = w + taps - 2 * margin - 3, hiY = h + taps - 2 * margin - 3;
            auto at = [&](int32_t x, int32_t y, int c) {
                return source.Row(std::clamp(y, 2, hiY))[std::clamp(x, 2, hiX) * 4 + c];
            };
            // One pass of the kernel along x or y over a reader of clamped places.
            const int32_t back = taps - margin - 1;
            auto pass = [&](auto read, int32_t x, int32_t y, int c, bool alongX) {
                int32_t s = 0;
                for (int32_t j = 0; j < taps; ++j)
                    s += read(alongX ? x - back + j : x, alongX ? y : y - back + j, c) *
                         k[static_cast<size_t>(taps - 1 - j)];
                return DivideLikeTheFilter(s, sum);
            };
            std::vector<uint8_t> columns(static_cast<size_t>(w * h * 4));
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w; ++x)
                    for (int c = 0; c < 3; ++c)
                        columns[static_cast<size_t>((y * w + x) * 4 + c)] = pass(at, x, y, c, false);
            auto column = [&](int32_t x, int32_t y, int c) {
                return columns[static_cast<size_t>((std::clamp(y, 2, hiY) * w + std::clamp(x, 2, hiX)) * 4 +
                                                   c)];
            };
            Picture out;
            out.Allocate(w, h, 4, nullptr);
            for (int32_t y = 0; y < h; ++y) std::memset(out.Row(y), 0x5c, w * 4);
            MemoryAllocator allocator;
            ASSERT_TRUE(TriangularBlur(source, out, w, h, taps, allocator));
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w; ++x) {
                    for (int c = 0; c < 3; ++c)
                        ASSERT_EQ(out.Row(y)[x * 4 + c], pass(column, x, y, c, true))
                            << "taps " << taps << " at " << x << "," << y << " channel " << c;
                    ASSERT_EQ(out.Row(y)[x * 4 + 3], 0x5c);  // alpha stays
                }
        }
    });
}

TEST(GlowTempo, RisesToTheMiddleAndEarlierWithMoreTempo) {
    for (float tempo : {0.0f, 0.54f, 1.0f}) {
        EXPECT_EQ(TempoCurveAt(0.0f, tempo).crossFadeWeight, 255);
        EXPECT_EQ(TempoCurveAt(1.0f, tempo).crossFadeWeight, 255);
        EXPECT_EQ(TempoCurveAt(0.5f, tempo).u, 1.0f);
        EXPECT_EQ(TempoCurveAt(0.5f, tempo).crossFadeWeight, 0);
        EXPECT_EQ(TempoCurveAt(0.2f, tempo).u, TempoCurveAt(0.8f, tempo).u);
    }
    EXPECT_LT(TempoCurveAt(0.2f, 0.0f).u, TempoCurveAt(0.2f, 1.0f).u);
    // Tempo 0 is linear, u = t; in floats 1 - u is 0.6f, a hair above 0.6, so a is 153.
    EXPECT_EQ(TempoCurveAt(0.2f, 0.0f).crossFadeWeight, 153);
}

TEST(Glow, BloomsUniformPicturesAsWorkedOutByHand) {
    test::ForEachCpuClass([&] {
        test::Rig<CGlow> glow;
        glow[kGlowCrossFade].number = 0.0f;  // at 0.5: the mix with weights 1 and 0, 255ths of 256
        struct Case {
            uint8_t grey, alpha;
            uint8_t expected[4];
        };
        // gain 481, threshold 40 + trunc(72 * 0.21) = 55; the paper 0xffff00 has no red.
        const Case cases[] = {
            // mixed 99: base 98, bright 184, bloom by 86 * 255 >> 8 = 85.
            {100, 10, {184, 184, 0, 184}},
            // mixed 19: base 18, bright 33 is below base + threshold: 19 + 55.
            {20, 200, {74, 74, 0, 199}},
        };
        for (const Case& c : cases) {
            GuardedFrame in(13, 24), out(13, 24);  // K = trunc(0.188 * 24) + 1 = 5
            for (int32_t y = 0; y < 24; ++y)
                for (int32_t x = 0; x < 13; ++x) {
                    std::memset(in.Pixel(x, y), c.grey, 3);
                    in.Pixel(x, y)[3] = c.alpha;
                }
            glow.Render(in, &in, out, 0.5);
            for (int32_t y = 0; y < 24; ++y)
                for (int32_t x = 0; x < 13; ++x)
                    ASSERT_EQ(std::memcmp(out.Pixel(x, y), c.expected, 4), 0)
                        << int(c.grey) << " at " << x << "," << y;
        }
    });
}

// 3x3 window sums in the kernels' order, rows top down, stored with rule R.
template <class Source>
uint8_t Window(Source source, int32_t x, int32_t y, float outer, float centre) {
    float s = 0.0f;
    for (int32_t j = -1; j <= 1; ++j)
        for (int32_t i = -1; i <= 1; ++i) s += source(x + i, y + j) * (i == 0 && j == 0 ? centre : outer);
    return RoundRuleR(s);
}

TEST(Halo, DilatesByADiscThenDrawsRimsAndSoftens) {
    test::ForEachCpuClass([&] {
        for (float rim : {0.0f, 1.0f}) {  // at p = 0.5 the rim weight is 0 or 255
            test::Rig<CHalo> halo;
            halo[kHaloWidth].number = 0.75f;  // trunc(0.75 * 60 * 0.1) = 4: diameter 5, radius 2
            halo[kHaloRim].number = rim;
            halo[kHaloCrossFade].number = 0.0f;
            GuardedFrame in(60, 60), out(60, 60);
            in.Fill(0);
            std::memset(in.Pixel(30, 30), 255, 4);
            halo.Render(in, &in, out, 0.5);
            // The mix turns 255 into 254; the disc holds the offsets with dx² + dy² <= 4.
            auto disc = [](int32_t x, int32_t y) {
                return (x - 30) * (x - 30) + (y - 30) * (y - 30) <= 4 ? 254.0f : 0.0f;
            };
            auto edge = [&](int32_t x, int32_t y) {
                return static_cast<float>(Window(disc, x, y, 1.0f, -7.0f));
            };
            const float outer = 0.0555555559694767f, centre = 0.5555555820465088f;
            for (int32_t y = 20; y < 40; ++y)
                for (int32_t x = 20; x < 40; ++x) {
                    const uint8_t expected =
                        rim == 0.0f ? Window(disc, x, y, outer, centre) : Window(edge, x, y, outer, centre);
                    for (int c = 0; c < 4; ++c)
                        ASSERT_EQ(out.Pixel(x, y)[c], expected) << rim << " at " << x << "," << y << " " << c;
                }
            EXPECT_EQ(out.Pixel(0, 0)[0], 0);
            EXPECT_EQ(out.Pixel(59, 59)[0], 0);
            if (rim == 0.0f) {
                // Worked out: the centre keeps 254; two across, three neighbours are in the disc.
                EXPECT_EQ(out.Pixel(30, 30)[0], 254);
                EXPECT_EQ(out.Pixel(32, 30)[0], 183);
                EXPECT_EQ(out.Pixel(33, 30)[0], 14);
            } else {
                // Inside the disc the edge kernel gives the value back (8 - 7); the
                // rim is brightest just outside it.
                EXPECT_GT(out.Pixel(33, 30)[0], out.Pixel(30, 30)[0]);
            }
        }
    });
}

// The effect computes the halo only where it reaches the output; the literal
// reading over full margins must give the same bytes for every shape of input:
// pictures narrower than the disc, rim weights at and past their ends, an
// output larger than the frame (its outside stays), a diameter of 1 and
// frames too small for the inner picture (both run the literal form).
TEST(Halo, TheNearFormEqualsTheLiteralSteps) {
    test::ForEachCpuClass([&] {
        std::mt19937 random(21);
        auto pick = [&](int32_t lo, int32_t hi) {
            return std::uniform_int_distribution<int32_t>(lo, hi)(random);
        };
        for (int trial = 0; trial < 120; ++trial) {
            const int32_t w = pick(1, 48), h = pick(1, 40);
            const int32_t diameter = 2 * pick(0, trial % 4 == 0 ? 30 : 6) + 1;
            const int32_t rims[] = {0, 1, 86, 254, 255, 300, -5};
            const int32_t rimWeight = rims[pick(0, 6)];
            Picture mixed, near, literal;
            mixed.Allocate(w, h, 4, nullptr);
            near.Allocate(w + 3, h + 2, 4, nullptr);
            literal.Allocate(w + 3, h + 2, 4, nullptr);
            const int32_t smooth = pick(0, 1);  // shapes as well as noise
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w * 4; ++x)
                    mixed.Row(y)[x] =
                        static_cast<uint8_t>(smooth ? ((x / 4 / 5 + y / 7) % 3) * 120 : random());
            for (int32_t y = 0; y < h + 2; ++y) {
                std::memset(near.Row(y), 0x3c, static_cast<size_t>(w + 3) * 4);
                std::memset(literal.Row(y), 0x3c, static_cast<size_t>(w + 3) * 4);
            }
            MemoryAllocator allocator;
            HaloStep(mixed, near, w, h, diameter, rimWeight, allocator);
            HaloStepLiteral(mixed, literal, w, h, diameter, rimWeight, allocator);
            for (int32_t y = 0; y < h + 2; ++y)
                ASSERT_EQ(std::memcmp(near.Row(y), literal.Row(y), static_cast<size_t>(w + 3) * 4), 0)
                    << w << "x" << h << " diameter " << diameter << " rim " << rimWeight << " row " << y;
        }
    });
}

TEST(Halo, PresetNamesAndValues) {
    CHalo halo;
    const char* names[] = {"Fat Blob", "Thin Blob", "Big Halos", "Defocus"};
    const float widths[] = {1.0f, 0.445f, 1.0f, 0.275f};
    for (int32_t i = 0; i < 4; ++i) {
        EXPECT_STREQ(halo.GetPresetName(i), names[i]);
        uint8_t bytes[8];
        std::memset(bytes, 0xee, 8);
        ASSERT_TRUE(halo.GetPresetValue(i, 0, bytes));
        EXPECT_EQ(std::bit_cast<float>(std::array{bytes[0], bytes[1], bytes[2], bytes[3]}), widths[i]);
        EXPECT_EQ(bytes[4] | bytes[5] | bytes[6] | bytes[7], 0);  // a float clears the rest of the value
        ASSERT_TRUE(halo.GetPresetValue(i, 2, bytes));
        EXPECT_EQ(std::bit_cast<float>(std::array{bytes[0], bytes[1], bytes[2], bytes[3]}), 0.29f);
    }
    EXPECT_EQ(halo.GetPresetName(4), nullptr);
    EXPECT_EQ(halo.GetPresetName(-1), nullptr);
    EXPECT_EQ(CGlow().GetPresetName(0), nullptr);
}

TEST(GlowAndHalo, RegressionChecksums) {
    test::ForEachCpuClass([&] {
        struct Case {
            bool glow;  // or halo
            double progress;
            uint32_t crc;
        };
        const Case cases[] = {
            {true, 0.25, 3537365159u},  {true, 0.5, 2873756625u}, {true, 0.7, 2049311712u},
            {false, 0.25, 1075425262u}, {false, 0.5, 831895570u}, {false, 0.7, 16782249u},
        };
        GuardedFrame a(64, 48, 12), b(64, 48, 12, true), out(64, 48, 0, true);
        test::FillShapes(a);
        test::FillShapes(b, 5);
        for (const Case& c : cases) {
            out.Fill(0);
            if (c.glow)
                test::Rig<CGlow>().Render(a, &b, out, c.progress);
            else
                test::Rig<CHalo>().Render(a, &b, out, c.progress);
            EXPECT_EQ(out.Crc(), c.crc) << (c.glow ? "glow " : "halo ") << c.progress;
        }
    });
}

}  // namespace
}  // namespace halcyra

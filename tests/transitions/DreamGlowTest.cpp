// The dream glow post effect: the cases where it must leave a face alone, the
// colour ceiling, the halo's reach, tiny pictures, and the pixel rule against
// a plain 64-bit reading of it.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "TestHost.h"
#include "picture/MemoryAllocator.h"
#include "transitions/DreamGlow.h"

namespace halcyra {
namespace {

// A face picture filled with one BGRA pixel.
void FillUniform(Picture& p, uint8_t b, uint8_t g, uint8_t r, uint8_t a) {
    const uint8_t px[4] = {b, g, r, a};
    for (int32_t y = 0; y < p.height; ++y)
        for (int32_t x = 0; x < p.width; ++x) std::memcpy(p.PixelAddress(x, y, 0), px, 4);
}

void FillRandom(Picture& p, uint32_t seed) {
    std::mt19937 random(seed);
    for (int32_t y = 0; y < p.height; ++y)
        for (int32_t x = 0; x < p.width * 4; ++x) p.Row(y)[x] = static_cast<uint8_t>(random());
}

std::vector<uint8_t> Bytes(const Picture& p) {
    std::vector<uint8_t> out;
    for (int32_t y = 0; y < p.height; ++y) out.insert(out.end(), p.Row(y), p.Row(y) + p.width * 4);
    return out;
}

std::vector<uint8_t> PixelAt(const Picture& p, int32_t x, int32_t y) {
    return {p.Row(y) + x * 4, p.Row(y) + x * 4 + 4};
}

struct GlowFixture : ::testing::Test {
    test::TestHost host;
    MemoryAllocator allocator{&host};
};

TEST_F(GlowFixture, LeavesTheFaceAloneWithoutGainOrSpread) {
    Picture p;
    ASSERT_TRUE(p.Allocate(20, 12, 4, &allocator));
    FillRandom(p, 3);
    const auto before = Bytes(p);
    PRDreamGlowEffect(0x102030, 0.0f, 0.0f, &allocator).ProcessPicture(p);
    EXPECT_EQ(Bytes(p), before);  // not even the colour ceiling applies
    // No gain: every pixel keeps its colour under a white ceiling and its alpha.
    PRDreamGlowEffect(0xFFFFFF, 0.7f, 0.0f, &allocator).ProcessPicture(p);
    EXPECT_EQ(Bytes(p), before);
}

TEST_F(GlowFixture, UniformFaceFollowsThePixelRule) {
    // Blurring a uniform picture changes nothing, so the rule can be worked
    // by hand: lum = (100 * 255) >> 8 = 99.
    Picture p;
    ASSERT_TRUE(p.Allocate(16, 16, 4, &allocator));
    for (const float spread : {0.0f, 0.5f}) {
        // gain 0.1: g = sqrt(0.08) * 1.5, gainInt 217, bright (99 * 217) >> 8 = 83 below base 99.
        FillUniform(p, 100, 100, 100, 50);
        PRDreamGlowEffect(0x00FF40, spread, 0.1f, &allocator).ProcessPicture(p);
        // Blue to its ceiling 0, green under 255, red to 0x40, alpha raised to bright.
        EXPECT_EQ(PixelAt(p, 7, 9), (std::vector<uint8_t>{0, 100, 64, 83}));
        // gain 0.3: gainInt trunc(sqrt(0.24) * 1.5 * 512) = 376; lum = base = 89,
        // bright (89 * 376) >> 8 = 130, d = 41, each channel + (41 * 255) >> 8 = 40.
        FillUniform(p, 10, 100, 100, 200);
        PRDreamGlowEffect(0xFFFFFF, spread, 0.3f, &allocator).ProcessPicture(p);
        EXPECT_EQ(PixelAt(p, 15, 0), (std::vector<uint8_t>{50, 140, 140, 200}));
    }
}

TEST_F(GlowFixture, HaloReachesAboutHalfTheKernel) {
    // A bright square on black, 40 high: spread 1 gives b = 1.3416 and
    // K = trunc(b * 40 * 0.2) + 1 = 11, half of which lies each side.
    Picture p;
    ASSERT_TRUE(p.Allocate(40, 40, 4, &allocator));
    FillUniform(p, 0, 0, 0, 0);
    for (int32_t y = 18; y < 22; ++y)
        for (int32_t x = 18; x < 22; ++x) std::memset(p.PixelAddress(x, y, 0), 255, 4);
    Picture sharp;
    ASSERT_TRUE(sharp.Allocate(40, 40, 4, &allocator));
    std::memcpy(sharp.data, p.data, static_cast<size_t>(p.pitch) * 40);
    PRDreamGlowEffect(0xFFFFFF, 1.0f, 1.0f, &allocator).ProcessPicture(p);
    EXPECT_GT(p.PixelAddress(14, 20, 0)[3], 0);  // 4 beyond the square: lit
    EXPECT_EQ(p.PixelAddress(12, 20, 0)[3], 0);  // 6 beyond: out of reach
    EXPECT_EQ(p.PixelAddress(20, 20, 0)[3], 255);
    // Without spread the kernel is one tap: nothing beyond the square glows.
    PRDreamGlowEffect(0xFFFFFF, 0.0f, 1.0f, &allocator).ProcessPicture(sharp);
    EXPECT_EQ(sharp.PixelAddress(17, 20, 0)[3], 0);
    EXPECT_EQ(sharp.PixelAddress(18, 20, 0)[3], 255);
}

TEST_F(GlowFixture, TinyAndOddFacesAreSafeAndRepeatable) {
    for (const auto& [w, h] : {std::pair{1, 1}, {2, 3}, {4, 4}, {5, 1}, {64, 2}}) {
        std::vector<uint8_t> first;
        for (int run = 0; run < 2; ++run) {
            // Garbage in the allocator's fresh memory must not reach the face.
            Picture dirt;
            ASSERT_TRUE(dirt.Allocate(w + 40, h + 40, 4, &allocator));
            std::memset(dirt.data, run == 0 ? 0x11 : 0xEE, static_cast<size_t>(dirt.pitch) * dirt.height);
            dirt.Release();
            Picture p;
            ASSERT_TRUE(p.Allocate(w, h, 4, &allocator));
            FillRandom(p, 9);
            PRDreamGlowEffect(0xFFFFFF, 1.0f, 0.6f, &allocator).ProcessPicture(p);
            if (run == 0)
                first = Bytes(p);
            else
                EXPECT_EQ(Bytes(p), first) << w << "x" << h;
        }
    }
    Picture empty;
    PRDreamGlowEffect(0xFFFFFF, 1.0f, 1.0f, &allocator).ProcessPicture(empty);
    EXPECT_EQ(empty.data, nullptr);
}

// The rule read with 64-bit sums and no limit on the gain.
void ReferenceRow(const uint8_t* l, const uint8_t* s, uint8_t* o, int32_t width, int64_t gainInt,
                  uint32_t colour) {
    const int64_t bound[3] = {(colour >> 16) & 0xff, (colour >> 8) & 0xff, colour & 0xff};
    for (int32_t x = 0; x < width; ++x, l += 4, s += 4, o += 4) {
        const int64_t bright = (((l[2] * 76 + l[1] * 149 + l[0] * 30) >> 8) * gainInt) >> 8;
        const int64_t base = (s[2] * 76 + s[1] * 149 + s[0] * 30) >> 8;
        for (int c = 0; c < 3; ++c) {
            int64_t v = base < bright ? s[c] + (((bright - base) * bound[c]) >> 8) : s[c];
            o[c] = static_cast<uint8_t>(std::min(v, bound[c]));
        }
        o[3] = static_cast<uint8_t>(std::min<int64_t>(255, std::max<int64_t>(bright, s[3])));
    }
}

TEST(DreamGlowRow, HoldingTheGainChangesNoResult) {
    constexpr int32_t kWidth = 257;
    std::mt19937 random(5);
    std::vector<uint8_t> l(kWidth * 4), s(kWidth * 4), got(kWidth * 4), want(kWidth * 4);
    for (auto& v : l) v = static_cast<uint8_t>(random());
    for (auto& v : s) v = static_cast<uint8_t>(random());
    l[0] = l[1] = l[2] = 0;
    l[4] = 1, l[5] = l[6] = 0;  // the faintest blurred pixel
    for (const int32_t gain :
         {0, 1, 217, 686, 4095, 1 << 22, (1 << 22) + 1, 1 << 30, INT32_MAX, -5, -(1 << 22) - 7, INT32_MIN}) {
        for (const uint32_t colour : {0xFFFFFFu, 0x00FF40u, 0x123456u}) {
            KernelDreamGlowRow(l.data(), s.data(), got.data(), kWidth, gain, colour);
            ReferenceRow(l.data(), s.data(), want.data(), kWidth, gain, colour);
            EXPECT_EQ(got, want) << "gain " << gain << " colour " << colour;
        }
    }
}

}  // namespace
}  // namespace halcyra

// The resize routines: the produced-size rule with its -201 refusal, the
// column choice of the nearest code, the bilinear spread whose ends meet the
// rectangle's ends, rule C on whole positions, a resize from a first row, and
// the 1-byte form agreeing with one channel of the 4-byte form.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "picture/kernels/Resize.h"
#include "picture/kernels/Warp.h"

namespace halcyra {
namespace {

std::vector<uint8_t> Ramp(int32_t w, int32_t h, int32_t channels) {
    std::vector<uint8_t> bytes(size_t(w) * h * channels);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(i * 37 + i / 7);
    return bytes;
}

// Produced width of a w-wide rectangle at factor f into a 100-wide destination;
// 0 when refused with -201. Unwritten destination bytes stay 0xCC.
int32_t ProducedWidth(int32_t w, double f, int32_t room = 100) {
    const auto source = Ramp(w, 1, 1);
    std::vector<uint8_t> destination(room, 0xCC);
    const int32_t status = KernelResize1(source.data(), {w, 1}, w, {0, 0, w, 1}, destination.data(), room,
                                         {room, 1}, f, 1.0, kInterpolationNearest);
    if (status == kStatusResizeTooSmall) return 0;
    EXPECT_EQ(status, kStatusOk);
    int32_t produced = 0;
    while (produced < room && destination[produced] != 0xCC) ++produced;
    return produced;
}

TEST(Resize, ProducedSizeRule) {
    EXPECT_EQ(ProducedWidth(10, 0.5), 5);
    EXPECT_EQ(ProducedWidth(3, 0.99999999), 3);    // 2.99999997 + 1e-7 reaches 3
    EXPECT_EQ(ProducedWidth(10, 0.06), 1);         // 0.6: raised to one pixel
    EXPECT_EQ(ProducedWidth(10, 0.04), 0);         // 0.4: below half a pixel, -201
    EXPECT_EQ(ProducedWidth(10, 30.0, 100), 100);  // limited to the destination
    EXPECT_EQ(ProducedWidth(10, 1e300, 100), 100);
}

TEST(Resize, RefusalsWriteNothing) {
    const auto source = Ramp(8, 8, 4);
    std::vector<uint8_t> destination(16 * 16 * 4, 0x77);
    const auto before = destination;
    auto call = [&](KernelRect rect, double fx, uint32_t code, int32_t pitch = 64) {
        return KernelResize4(source.data(), {8, 8}, 32, rect, destination.data(), pitch, {16, 16}, fx, 1.0,
                             code);
    };
    EXPECT_EQ(call({0, 0, 8, 8}, 1.0, 2, 63), kStatusBadPitch);
    EXPECT_EQ(call({0, 0, 8, 8}, 0.0, 2), kStatusBadArgument);
    EXPECT_EQ(call({0, 0, 8, 8}, 1.0, 3), kStatusBadArgument);
    EXPECT_EQ(call({0, 0, 8, 8}, 1.0, 2 | kInterpolationSmoothEdges), kStatusBadArgument);
    EXPECT_EQ(call({8, 0, 8, 8}, 1.0, 2), kWarningNoSourceOverlap);
    EXPECT_EQ(call({0, 0, 0, 8}, 1.0, 2), kStatusBadSize);
    EXPECT_EQ(destination, before);
}

TEST(Resize, NearestReadsTheColumnOfTheOutputCentre) {
    const std::vector<uint8_t> source = {0, 10, 20, 30, 40, 50, 60, 70, 80, 90};
    std::vector<uint8_t> destination(4, 0);
    // f = 0.4: X reads trunc((X + 0.5) / 0.4 + 1e-7) = 1, 3, 6, 8.
    ASSERT_EQ(KernelResize1(source.data(), {10, 1}, 10, {0, 0, 10, 1}, destination.data(), 4, {4, 1}, 0.4,
                            1.0, kInterpolationBilinear),
              kStatusOk);  // a source one row high lowers every code to nearest
    EXPECT_EQ(destination, (std::vector<uint8_t>{10, 30, 60, 80}));
}

TEST(Resize, BilinearAndCubicEndsMeetTheRectangleEnds) {
    const int32_t w = 9, h = 6;
    const auto source = Ramp(w, h, 4);
    for (uint32_t code : {kInterpolationBilinear, kInterpolationCubic}) {
        std::vector<uint8_t> destination(size_t(40) * 40 * 4, 0);
        // The rectangle (2, 1, 5, 4) grown by 3.
        ASSERT_EQ(KernelResize4(source.data(), {w, h}, w * 4, {2, 1, 5, 4}, destination.data(), 160, {40, 40},
                                3.0, 3.0, code),
                  kStatusOk);
        auto sourcePixel = [&](int32_t x, int32_t y) {
            return std::vector<uint8_t>(&source[(y * w + x) * 4], &source[(y * w + x) * 4] + 4);
        };
        auto outPixel = [&](int32_t x, int32_t y) {
            return std::vector<uint8_t>(&destination[(y * 40 + x) * 4], &destination[(y * 40 + x) * 4] + 4);
        };
        EXPECT_EQ(outPixel(0, 0), sourcePixel(2, 1)) << code;
        EXPECT_EQ(outPixel(14, 0), sourcePixel(6, 1)) << code;
        EXPECT_EQ(outPixel(14, 11), sourcePixel(6, 4)) << code;
        EXPECT_EQ(outPixel(15, 0), std::vector<uint8_t>(4, 0)) << code;  // beyond the produced 15 x 12
        EXPECT_EQ(outPixel(0, 12), std::vector<uint8_t>(4, 0)) << code;
    }
}

TEST(Resize, FromRowProducesTheLowerRowsOfTheWholeResize) {
    const int32_t w = 11, h = 9;
    const auto source = Ramp(w, h, 4);
    for (uint32_t code : {kInterpolationNearest, kInterpolationBilinear, kInterpolationCubic}) {
        std::vector<uint8_t> whole(size_t(40) * 30 * 4, 0x55);
        ASSERT_EQ(KernelResize4(source.data(), {w, h}, w * 4, {0, 0, w, h}, whole.data(), 160, {40, 30}, 3.3,
                                2.9, code),
                  kStatusOk);
        for (int32_t firstRow : {-4, 0, 7, 25, 26, 1000}) {
            std::vector<uint8_t> part(whole.size(), 0x55);
            ASSERT_EQ(KernelResize4FromRow(source.data(), {w, h}, w * 4, {0, 0, w, h}, part.data(), 160,
                                           {40, 30}, 3.3, 2.9, code, firstRow),
                      kStatusOk);
            const size_t split = size_t(160) * std::clamp(firstRow, 0, 30);
            for (size_t i = 0; i < part.size(); ++i)
                ASSERT_EQ(part[i], i < split ? 0x55 : whole[i])
                    << "code " << code << " first row " << firstRow << " byte " << i;
        }
    }
}

TEST(Resize, OneByteFormAgreesWithAChannelOfTheFourByteForm) {
    const int32_t w = 23, h = 17;
    const auto colour = Ramp(w, h, 4);
    for (uint32_t code : {kInterpolationNearest, kInterpolationBilinear, kInterpolationCubic}) {
        for (int32_t channel = 0; channel < 4; ++channel) {
            std::vector<uint8_t> plane(size_t(w) * h);
            for (size_t i = 0; i < plane.size(); ++i) plane[i] = colour[i * 4 + channel];
            std::vector<uint8_t> wide(size_t(50) * 50 * 4, 0), narrow(size_t(50) * 50, 0);
            ASSERT_EQ(KernelResize4(colour.data(), {w, h}, w * 4, {1, 2, 20, 14}, wide.data(), 200, {50, 50},
                                    1.7, 0.8, code),
                      kStatusOk);
            ASSERT_EQ(KernelResize1(plane.data(), {w, h}, w, {1, 2, 20, 14}, narrow.data(), 50, {50, 50}, 1.7,
                                    0.8, code),
                      kStatusOk);
            for (size_t i = 0; i < narrow.size(); ++i)
                ASSERT_EQ(narrow[i], wide[i * 4 + channel])
                    << "code " << code << " channel " << channel << " at " << i;
        }
    }
}

}  // namespace
}  // namespace halcyra

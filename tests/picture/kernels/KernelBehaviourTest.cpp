// The routines' own arithmetic and argument checks, on small hand-made inputs,
// through the public entry points (so with the class chosen for this machine).
#include <gtest/gtest.h>

#include <vector>

#include "picture/kernels/Kernels.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

std::vector<uint8_t> Pixels(std::initializer_list<int> bytes) {
    std::vector<uint8_t> v;
    for (int b : bytes) v.push_back(static_cast<uint8_t>(b));
    return v;
}

TEST(KernelNumerics, RuleRAndDivisionBy255) {
    EXPECT_EQ(RoundRuleR(2.5f), 2);
    EXPECT_EQ(RoundRuleR(3.5f), 4);
    EXPECT_EQ(RoundRuleR(0.5f), 0);
    EXPECT_EQ(RoundRuleR(0.5000001f), 1);
    EXPECT_EQ(RoundRuleR(254.6f), 255);
    EXPECT_EQ(RoundRuleR(-3.0f), 0);
    EXPECT_EQ(RoundRuleR(1e30f), 255);
    EXPECT_EQ(RoundRuleR(std::nanf("")), 0);
    EXPECT_EQ(Div255(1), 0u);
    for (uint32_t a = 0; a < 256; ++a) EXPECT_EQ(Div255(a * 255), a);
    EXPECT_EQ(ShiftRoundHalfEven(6, 2), 2u);
    EXPECT_EQ(ShiftRoundHalfEven(10, 2), 2u);
    EXPECT_EQ(ShiftRoundHalfEven(14, 2), 4u);
    EXPECT_EQ(ShiftRoundHalfEven(7, 2), 2u);
}

TEST(KernelBytes, AddScaleAndComposite) {
    auto dst = Pixels({2, 2, 255, 0});
    const auto src = Pixels({1, 3, 255, 0});
    ASSERT_EQ(KernelAddBytes4(src.data(), 4, dst.data(), 4, {1, 1}, 1), kStatusOk);
    EXPECT_EQ(dst, Pixels({2, 2, 255, 0}));  // 1+2 -> 2, 3+2 -> 2, halves to even
    dst = Pixels({200, 56, 255, 0});
    ASSERT_EQ(KernelAddBytes4(src.data(), 4, dst.data(), 4, {1, 1}, 0), kStatusOk);
    EXPECT_EQ(dst, Pixels({201, 59, 255, 0}));
    EXPECT_EQ(KernelAddBytes4(src.data(), 4, dst.data(), 4, {1, 1}, 2), kStatusBadArgument);

    auto picture = Pixels({0, 1, 128, 255});
    const uint8_t keep[4] = {255, 255, 255, 255}, mixed[4] = {255, 0, 128, 128};
    ASSERT_EQ(KernelScaleBytes4(keep, picture.data(), 4, {1, 1}), kStatusOk);
    EXPECT_EQ(picture, Pixels({0, 1, 128, 255}));
    ASSERT_EQ(KernelScaleBytes4(mixed, picture.data(), 4, {1, 1}), kStatusOk);
    EXPECT_EQ(picture, Pixels({0, 0, 64, 128}));

    // Straight alpha: a transparent first over an opaque second shows the second.
    const auto clear = Pixels({9, 99, 199, 0}), opaque = Pixels({10, 20, 30, 255});
    std::vector<uint8_t> out(4);
    ASSERT_EQ(KernelAlphaComposite(clear.data(), 4, opaque.data(), 4, out.data(), 4, {1, 1}, 0), kStatusOk);
    EXPECT_EQ(out, Pixels({10, 20, 30, 255}));
    // The straight sum wraps as a byte; the premultiplied one saturates.
    const auto half = Pixels({255, 255, 0, 128}), white = Pixels({255, 255, 255, 255});
    ASSERT_EQ(KernelAlphaComposite(half.data(), 4, white.data(), 4, out.data(), 4, {1, 1}, 0), kStatusOk);
    EXPECT_EQ(out, Pixels({(128 + 127) & 255, 255, 127, 255}));
    ASSERT_EQ(KernelAlphaComposite(half.data(), 4, white.data(), 4, out.data(), 4, {1, 1}, 6), kStatusOk);
    EXPECT_EQ(out, Pixels({255, 255, 127, 255}));
    EXPECT_EQ(KernelAlphaComposite(half.data(), 4, white.data(), 4, out.data(), 4, {1, 1}, 1),
              kStatusBadArgument);
}

// A blend of a picture with itself, or with a picture it overlaps, must give
// what the three separate steps give, not what the fused pass would.
TEST(KernelBytes, BlendOfSharedMemoryRunsTheSteps) {
    const auto start = Pixels({200, 100, 40, 255, 10, 20, 30, 40, 90, 180, 250, 7});
    for (int32_t offset : {0, 4}) {
        auto fused = start, steps = start;
        ASSERT_EQ(KernelBlendBytes4(fused.data(), 8, fused.data() + offset, 8, {2, 1}, 200, 90), kStatusOk);
        const uint8_t fa[4] = {200, 200, 200, 200}, fb[4] = {90, 90, 90, 90};
        KernelScaleBytes4(fa, steps.data(), 8, {2, 1});
        KernelScaleBytes4(fb, steps.data() + offset, 8, {2, 1});
        KernelAddBytes4(steps.data(), 8, steps.data() + offset, 8, {2, 1}, 0);
        EXPECT_EQ(fused, steps) << offset;
    }
    auto first = start, second = start;
    ASSERT_EQ(KernelBlendBytes4(first.data(), 12, second.data(), 12, {3, 1}, 255, 255), kStatusOk);
    EXPECT_EQ(first, start);
    EXPECT_EQ(second, Pixels({255, 200, 80, 255, 20, 40, 60, 80, 180, 255, 255, 14}));
    EXPECT_EQ(KernelBlendBytes4(first.data(), 12, second.data(), 12, {3, 1}, 256, 0), kStatusBadArgument);
    EXPECT_EQ(KernelBlendBytes4(first.data(), 11, second.data(), 12, {3, 1}, 1, 0), kStatusBadPitch);
}

// The wrapped product and the negative alpha it can give keep their low bytes.
TEST(KernelBytes, ScaleAlphaWrapsOutOfRangeFactors) {
    const auto pixel = Pixels({255, 128, 1, 255});
    std::vector<uint8_t> out(4);
    ASSERT_EQ(KernelScaleAlpha4(pixel.data(), 4, out.data(), 4, {1, 1}, 127), kStatusOk);
    EXPECT_EQ(out, Pixels({125, 63, 0, 126}));
    ASSERT_EQ(KernelScaleAlpha4(pixel.data(), 4, out.data(), 4, {1, 1}, 1000), kStatusOk);
    EXPECT_EQ(out, Pixels({254, 127, 0, 255}));
    // alpha' = (255 * -2) >> 8 = -2: colours (-510 >> 8) = -2, (-256 >> 8) = -1, (-2 >> 8) = -1.
    ASSERT_EQ(KernelScaleAlpha4(pixel.data(), 4, out.data(), 4, {1, 1}, -2), kStatusOk);
    EXPECT_EQ(out, Pixels({254, 255, 255, 254}));
    // 255 * 0x01010101 wraps to 0xFFFFFFFF: alpha' = -1.
    ASSERT_EQ(KernelScaleAlpha4(pixel.data(), 4, out.data(), 4, {1, 1}, 0x01010101), kStatusOk);
    EXPECT_EQ(out, Pixels({255, 255, 255, 255}));
    EXPECT_EQ(KernelScaleAlpha4(pixel.data(), 4, nullptr, 4, {1, 1}, 1), kStatusNullPointer);
    EXPECT_EQ(KernelScaleAlpha4(pixel.data(), 4, out.data(), 4, {0, 1}, 1), kStatusBadSize);
}

TEST(KernelChecks, OrderOfStatuses) {
    uint8_t buffer[64] = {};
    const int32_t kernel[3] = {1, 2, 1};
    // Pointers first, then sizes, then pitches, then the routine's own arguments.
    EXPECT_EQ(FilterPictureRows(nullptr, 1, buffer, 1, {0, 0}, kernel, 3, 9, 0), kStatusNullPointer);
    EXPECT_EQ(FilterPictureRows(buffer, 1, buffer, 1, {0, 1}, kernel, 3, 9, 0), kStatusBadSize);
    EXPECT_EQ(FilterPictureRows(buffer, 1, buffer, 1, {1, 1}, kernel, 0, 9, 0), kStatusBadSize);
    EXPECT_EQ(FilterPictureRows(buffer, 1, buffer, 4, {1, 1}, kernel, 3, 9, 0), kStatusBadPitch);
    EXPECT_EQ(FilterPictureRows(buffer, 4, buffer, 4, {1, 1}, kernel, 3, 9, 0), kStatusBadArgument);
    EXPECT_EQ(FilterPictureColumns(buffer, 4, buffer, 4, {1, 1}, kernel, 3, 1, 0), kStatusZeroDivisor);
    EXPECT_EQ(KernelSet4(nullptr, buffer, 4, {1, 1}), kStatusNullPointer);
    EXPECT_EQ(KernelSet1(0, buffer, 4, {-1, 1}), kStatusBadSize);
    EXPECT_EQ(KernelCopy4(buffer, 7, buffer + 32, 8, {2, 1}), kStatusBadPitch);
    EXPECT_EQ(KernelMean(buffer, 8, buffer, 8, {1, 1}, 44), kStatusBadArgument);
    const float weights[1] = {1.0f};
    EXPECT_EQ(KernelConvolve(buffer, 4, buffer + 8, 4, {1, 1}, weights, {1, 0}, {0, 0}), kStatusBadSize);
    EXPECT_EQ(KernelConvolve(buffer, 4, buffer + 8, 4, {1, 1}, weights, {1, 1}, {1, 0}), kStatusBadArgument);
    EXPECT_EQ(KernelDilateFree(nullptr), kStatusNullPointer);
    DilateState* state = nullptr;
    EXPECT_EQ(KernelDilateCreate(4, buffer, {1, 1}, {1, 0}, &state), kStatusBadArgument);
    EXPECT_EQ(state, nullptr);
    // A refused call writes nothing.
    for (uint8_t b : buffer) EXPECT_EQ(b, 0);
}

TEST(KernelFilters, DivisorRulesAndAlpha) {
    // Kernel {1} over a column of one pixel: the sum is the byte itself times 1,
    // so choose bytes that give the sums of interest with divisor 4.
    const int32_t one[1] = {1};
    const auto source = Pixels({6, 10, 14, 77});
    auto out = Pixels({0, 0, 0, 200});
    ASSERT_EQ(FilterPictureColumns(source.data(), 4, out.data(), 4, {1, 1}, one, 1, 0, 4), kStatusOk);
    EXPECT_EQ(out, Pixels({2, 2, 4, 200}));  // byte 3 stays
    ASSERT_EQ(FilterPictureRows(source.data(), 4, out.data(), 4, {1, 1}, one, 1, 0, 1), kStatusOk);
    EXPECT_EQ(out, Pixels({6, 10, 14, 200}));
    const int32_t negative[1] = {-1};
    ASSERT_EQ(FilterPictureRows(source.data(), 4, out.data(), 4, {1, 1}, negative, 1, 0, 2), kStatusOk);
    EXPECT_EQ(out, Pixels({0, 0, 0, 200}));
    // Any other divisor goes through the float reciprocal and rule R: 10 / 4.0 = 2.5 -> 2 with divisor 4
    // above; with divisor 20, 10 * (1/20) = 0.5 -> 0 and 14 * (1/20) = 0.7 -> 1.
    ASSERT_EQ(FilterPictureRows(source.data(), 4, out.data(), 4, {1, 1}, one, 1, 0, 20), kStatusOk);
    EXPECT_EQ(out, Pixels({0, 0, 1, 200}));
}

TEST(KernelFilters, TrueConvolutionOrientation) {
    // An impulse through a true convolution reproduces the kernel in its own
    // order (a correlation would reverse it): 9, 18, 27 around the anchor.
    std::vector<uint8_t> row(5 * 4, 0);
    row[2 * 4] = 9;
    std::vector<uint8_t> out(3 * 4, 0);
    const int32_t kernel[3] = {1, 2, 3};
    ASSERT_EQ(FilterPictureRows(row.data() + 4, 20, out.data(), 12, {3, 1}, kernel, 3, 1, 1), kStatusOk);
    EXPECT_EQ((std::vector<int>{out[0], out[4], out[8]}), (std::vector<int>{9, 18, 27}));
    std::vector<uint8_t> convolved(3 * 4, 0);
    const float weights[3] = {1.0f, 2.0f, 3.0f};
    ASSERT_EQ(KernelConvolve(row.data() + 4, 20, convolved.data(), 12, {3, 1}, weights, {3, 1}, {1, 0}),
              kStatusOk);
    EXPECT_EQ((std::vector<int>{convolved[0], convolved[4], convolved[8]}), (std::vector<int>{9, 18, 27}));
}

TEST(KernelMean, ConstantFieldsAndBorders) {
    std::vector<uint8_t> field(7 * 7, 255), out(9, 1);
    ASSERT_EQ(KernelMean(field.data() + 2 * 7 + 2, 7, out.data(), 3, {3, 3}, kMeanMask5x5), kStatusOk);
    EXPECT_EQ(out, std::vector<uint8_t>(9, 255));
    std::fill(field.begin(), field.end(), 0);
    field[3 * 7 + 3] = 90;  // 90 / 9 = 10 in the 3x3 form, 90 / 25 = 3.6 -> 4 in the 5x5 form
    ASSERT_EQ(KernelMean(field.data() + 3 * 7 + 3, 7, out.data(), 1, {1, 1}, kMeanMask3x3), kStatusOk);
    EXPECT_EQ(out[0], 10);
    ASSERT_EQ(KernelMean(field.data() + 3 * 7 + 3, 7, out.data(), 1, {1, 1}, kMeanMask5x5), kStatusOk);
    EXPECT_EQ(out[0], 4);
}

TEST(KernelReplicate, BordersAndOverflow) {
    // 2x1 source into a 4x3 destination with top 1, left 1.
    const auto source = Pixels({1, 2});
    std::vector<uint8_t> out(12, 0);
    ASSERT_EQ(KernelReplicate1(source.data(), 2, {2, 1}, out.data(), 4, {4, 3}, 1, 1), kStatusOk);
    EXPECT_EQ(out, Pixels({1, 1, 2, 2, 1, 1, 2, 2, 1, 1, 2, 2}));
    std::vector<uint8_t> untouched(12, 7);
    EXPECT_LT(KernelReplicate1(source.data(), 2, {2, 1}, untouched.data(), 4, {4, 3}, 0, 3), 0);
    EXPECT_LT(KernelReplicate4(source.data(), 8, {2, 1}, untouched.data(), 8, {2, 1}, 1, 0), 0);
    EXPECT_EQ(untouched, std::vector<uint8_t>(12, 7));
    // In place: the interior of a 4x4 picture spreads to its rim.
    std::vector<uint8_t> picture(16 * 4, 0);
    for (int y = 1; y < 3; ++y)
        for (int x = 1; x < 3; ++x) picture[(y * 4 + x) * 4] = static_cast<uint8_t>(10 * y + x);
    ASSERT_EQ(KernelReplicate4(picture.data() + 5 * 4, 16, {2, 2}, picture.data(), 16, {4, 4}, 1, 1),
              kStatusOk);
    const int expected[16] = {11, 11, 12, 12, 11, 11, 12, 12, 21, 21, 22, 22, 21, 21, 22, 22};
    for (int i = 0; i < 16; ++i) EXPECT_EQ(picture[i * 4], expected[i]) << i;
}

TEST(KernelHsv, GreyAndHueWrap) {
    auto pixel = Pixels({77, 77, 77, 5});
    ASSERT_EQ(KernelRgbToHsv(pixel.data(), 4, pixel.data(), 4, {1, 1}), kStatusOk);
    EXPECT_EQ(pixel, Pixels({0, 0, 77, 5}));
    // Pure byte 0 (read as r): h = (g - b) / C = 0. Pure byte 2 (read as b): 4 -> 170.
    pixel = Pixels({200, 0, 0, 1});
    ASSERT_EQ(KernelRgbToHsv(pixel.data(), 4, pixel.data(), 4, {1, 1}), kStatusOk);
    EXPECT_EQ(pixel, Pixels({0, 255, 200, 1}));
    pixel = Pixels({0, 0, 200, 1});
    ASSERT_EQ(KernelRgbToHsv(pixel.data(), 4, pixel.data(), 4, {1, 1}), kStatusOk);
    EXPECT_EQ(pixel, Pixels({170, 255, 200, 1}));
    // Hue 255 is taken as hue 0, so it gives what hue 0 gives.
    auto wrap = Pixels({255, 255, 200, 9}), zero = Pixels({0, 255, 200, 9});
    ASSERT_EQ(KernelHsvToRgb(wrap.data(), 4, wrap.data(), 4, {1, 1}), kStatusOk);
    ASSERT_EQ(KernelHsvToRgb(zero.data(), 4, zero.data(), 4, {1, 1}), kStatusOk);
    EXPECT_EQ(wrap, zero);
    EXPECT_EQ(zero, Pixels({200, 0, 0, 9}));
    // No saturation: all three are the value.
    auto grey = Pixels({123, 0, 66, 9});
    ASSERT_EQ(KernelHsvToRgb(grey.data(), 4, grey.data(), 4, {1, 1}), kStatusOk);
    EXPECT_EQ(grey, Pixels({66, 66, 66, 9}));
}

TEST(KernelDilate, MaskMembersAndReplicatedBorder) {
    // A mask of two members, (0, 0) and (2, 0), anchor (1, 0): each pixel takes
    // the larger of its left and right neighbours (edges replicated), not itself.
    const uint8_t mask[3] = {1, 0, 5};
    DilateState* state = nullptr;
    ASSERT_EQ(KernelDilateCreate(4, mask, {3, 1}, {1, 0}, &state), kStatusOk);
    std::vector<uint8_t> source(16, 0), out(16, 0);
    const int values[4] = {4, 9, 1, 3};
    for (int x = 0; x < 4; ++x) source[4 * x] = static_cast<uint8_t>(values[x]);
    ASSERT_EQ(KernelDilate(source.data(), 16, out.data(), 16, {4, 1}, kBorderReplicate, state), kStatusOk);
    const int expected[4] = {9, 4, 9, 3};
    for (int x = 0; x < 4; ++x) EXPECT_EQ(out[4 * x], expected[x]) << x;
    EXPECT_EQ(KernelDilate(source.data(), 16, out.data(), 16, {4, 1}, 0, state), kStatusBadArgument);
    EXPECT_EQ(KernelDilate(source.data(), 20, out.data(), 20, {5, 1}, kBorderReplicate, state),
              kStatusBadArgument);
    EXPECT_EQ(KernelDilateFree(state), kStatusOk);
}

}  // namespace
}  // namespace halcyra

// The operations on whole pictures, on small pictures of known bytes: the
// mix's 256ths weights (whose loss at full weight is part of the look), the
// blends, alpha, channel copies, HSV, 2D kernels and disc dilation, the
// transform's composition order and warp, and rectangle copy, fill and border
// replication. Each works on the overlap of its pictures.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"

namespace halcyra {
namespace {

// A picture over its own vector, rows `padding` bytes longer than the pixels.
struct Owned {
    Owned(int32_t width, int32_t height, int32_t bytes, uint8_t fill = 0, int32_t padding = 8)
        : bytes(static_cast<size_t>(width * bytes + padding) * height, fill) {
        picture.Attach(this->bytes.data(), width, height, width * bytes + padding, bytes);
    }
    uint8_t* At(int32_t x, int32_t y) { return picture.PixelAddress(x, y); }
    void Set(int32_t x, int32_t y, std::initializer_list<int> values) {
        int c = 0;
        for (int v : values) At(x, y)[c++] = static_cast<uint8_t>(v);
    }
    std::vector<uint8_t> Get(int32_t x, int32_t y) {
        return std::vector<uint8_t>(At(x, y), At(x, y) + picture.bytesPerPixel);
    }
    void Pattern() {
        for (int32_t y = 0; y < picture.height; ++y)
            for (int32_t x = 0; x < picture.width; ++x)
                for (int32_t c = 0; c < picture.bytesPerPixel; ++c)
                    At(x, y)[c] = uint8_t(x * 3 + y * 17 + c * 50);
    }
    std::vector<uint8_t> bytes;
    Picture picture;
};

std::vector<uint8_t> Px(std::initializer_list<int> v) {
    return std::vector<uint8_t>(v.begin(), v.end());
}

TEST(MixPictures, WeightsInTwoHundredFiftySixths) {
    Owned first(2, 2, 4, 255), second(2, 2, 4, 255), third(2, 2, 4);
    const float nan = std::nanf("");
    // 1.0 alone loses a step; two full weights take the clamped branch; NaN weighs 0.
    const struct {
        float a, b;
        int expected;
    } cases[] = {{1.0f, 0.0f, 254}, {1.0f, 1.0f, 255}, {0.5f, 0.5f, 253}, {nan, 2.0f, 254}};
    for (const auto& c : cases) {
        ASSERT_TRUE(PictureOps::MixPictures(first.picture, second.picture, third.picture, c.a, c.b));
        EXPECT_EQ(third.Get(1, 1), Px({c.expected, c.expected, c.expected, c.expected})) << c.a << " " << c.b;
    }
}

TEST(MixPictures, MixAndCopyWorkOnTheOverlap) {
    Owned first(3, 3, 4, 100), second(3, 3, 4, 100), third(2, 1, 4, 0, 0);
    ASSERT_TRUE(PictureOps::MixPictures(first.picture, second.picture, third.picture, 0.5f, 0.5f));
    EXPECT_EQ(third.bytes, std::vector<uint8_t>(8, 99));
    Picture empty;
    EXPECT_FALSE(PictureOps::MixPictures(first.picture, empty, third.picture, 0.5f, 0.5f));
    Owned source(2, 2, 4, 5, 0), destination(3, 1, 4, 9, 0);
    ASSERT_TRUE(PictureOps::CopyPicture(source.picture, destination.picture));
    EXPECT_EQ(destination.bytes, (std::vector<uint8_t>{5, 5, 5, 5, 5, 5, 5, 5, 9, 9, 9, 9}));
}

TEST(BlendPictures, EqualWeightsAverageIntoTheSecondOthersScaleBoth) {
    for (int weight : {128, 0, 255, 300}) {
        Owned first(2, 1, 4), second(2, 1, 4);
        first.Set(0, 0, {1, 3, 255, 10});
        second.Set(0, 0, {2, 2, 255, 20});
        ASSERT_TRUE(PictureOps::BlendPictures(first.picture, second.picture, weight, weight));
        EXPECT_EQ(first.Get(0, 0), Px({1, 3, 255, 10}));
        EXPECT_EQ(second.Get(0, 0), Px({2, 2, 255, 15}));
    }
    Owned first(1, 1, 4), second(1, 1, 4);
    first.Set(0, 0, {255, 100, 0, 255});
    second.Set(0, 0, {255, 100, 50, 0});
    ASSERT_TRUE(PictureOps::BlendPictures(first.picture, second.picture, 128, 127));
    EXPECT_EQ(first.Get(0, 0), Px({128, 50, 0, 128}));
    EXPECT_EQ(second.Get(0, 0), Px({255, 99, 24, 128}));  // d(100 * 127) = 49, d(50 * 127) = 24
    // Out-of-range weights clamp to 255 and 0: the second becomes the first.
    first.Set(0, 0, {9, 8, 7, 6});
    ASSERT_TRUE(PictureOps::BlendPictures(first.picture, second.picture, 300, -5));
    EXPECT_EQ(second.Get(0, 0), Px({9, 8, 7, 6}));
    EXPECT_EQ(first.Get(0, 0), Px({9, 8, 7, 6}));
    Picture empty;
    EXPECT_FALSE(PictureOps::BlendPictures(empty, second.picture, 1, 2));
}

TEST(AlphaOverPictures, StraightAndPremultipliedInPlace) {
    Owned first(1, 1, 4), second(1, 1, 4);
    first.Set(0, 0, {50, 60, 70, 0});
    second.Set(0, 0, {1, 2, 3, 255});
    ASSERT_TRUE(PictureOps::AlphaOverPictures(first.picture, second.picture, first.picture, false));
    EXPECT_EQ(first.Get(0, 0), Px({1, 2, 3, 255}));
    first.Set(0, 0, {200, 10, 0, 128});
    second.Set(0, 0, {255, 255, 255, 255});
    ASSERT_TRUE(PictureOps::AlphaOverPictures(first.picture, second.picture, first.picture, true));
    EXPECT_EQ(first.Get(0, 0), Px({255, 137, 127, 255}));
}

TEST(CopyPictureChannel, DirectionComesFromPixelSizes) {
    Owned colour(2, 2, 4, 7), mask(3, 3, 1, 1), other(2, 2, 4, 9);
    colour.Set(1, 1, {10, 20, 30, 40});
    ASSERT_TRUE(PictureOps::CopyPictureChannel(colour.picture, mask.picture, 2, 99));
    EXPECT_EQ(mask.Get(1, 1), Px({30}));
    EXPECT_EQ(mask.Get(0, 0), Px({7}));
    EXPECT_EQ(mask.Get(2, 2), Px({1}));  // outside the overlap
    mask.Set(1, 1, {77});
    ASSERT_TRUE(PictureOps::CopyPictureChannel(mask.picture, colour.picture, 99, 1));
    EXPECT_EQ(colour.Get(1, 1), Px({10, 77, 30, 40}));
    EXPECT_FALSE(PictureOps::CopyPictureChannel(colour.picture, other.picture, 0, 0));
    EXPECT_EQ(other.Get(0, 0), Px({9, 9, 9, 9}));
    EXPECT_FALSE(PictureOps::CopyPictureChannel(mask.picture, mask.picture, 0, 0));
}

TEST(ConvertPicture, HsvRoundTripKeepsAlpha) {
    Owned picture(2, 1, 4);
    picture.Set(0, 0, {255, 0, 0, 2});
    picture.Set(1, 0, {10, 200, 90, 3});
    ASSERT_TRUE(PictureOps::ConvertPictureToHsv(picture.picture, picture.picture));
    EXPECT_EQ(picture.Get(0, 0), Px({0, 255, 255, 2}));
    ASSERT_TRUE(PictureOps::ConvertPictureToRgb(picture.picture, picture.picture));
    EXPECT_EQ(picture.Get(0, 0), Px({255, 0, 0, 2}));
    EXPECT_EQ(picture.Get(1, 0)[3], 3);
}

TEST(ConvolvePicture, InteriorOnlyAndOverlap) {
    Owned source(5, 4, 4), destination(4, 4, 4, 99);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x) source.Set(x, y, {x * 10, y * 10, 100, 255});
    const float sharpen[9] = {0, -1, 0, -1, 5, -1, 0, -1, 0};
    ASSERT_TRUE(PictureOps::ConvolvePicture(source.picture, destination.picture, sharpen, 3));
    // A linear ramp is its own sharpened picture; the rim of one pixel stays.
    EXPECT_EQ(destination.Get(1, 1), Px({10, 10, 100, 255}));
    EXPECT_EQ(destination.Get(2, 2), Px({20, 20, 100, 255}));
    EXPECT_EQ(destination.Get(0, 1), Px({99, 99, 99, 99}));
    EXPECT_EQ(destination.Get(3, 1), Px({99, 99, 99, 99}));  // overlap is 4 wide: interior x = 1..2
    EXPECT_EQ(destination.Get(1, 3), Px({99, 99, 99, 99}));
    EXPECT_FALSE(PictureOps::ConvolvePicture(source.picture, destination.picture, sharpen, 9));
    EXPECT_FALSE(PictureOps::ConvolvePicture(source.picture, destination.picture, nullptr, 3));
}

TEST(MorphPicture, DiscMaximumWithReplicatedBorder) {
    Owned source(9, 7, 4);
    uint32_t seed = 7;
    for (auto& b : source.bytes) b = static_cast<uint8_t>((seed = seed * 214013 + 2531011) >> 16);
    Owned copy(9, 7, 4);
    ASSERT_TRUE(PictureOps::MorphPicture(source.picture, copy.picture, 1, nullptr));
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 9; ++x) EXPECT_EQ(copy.Get(x, y), source.Get(x, y));
    MemoryAllocator allocator;
    for (int diameter : {4, 5}) {
        Owned out(9, 7, 4);
        ASSERT_TRUE(PictureOps::MorphPicture(source.picture, out.picture, diameter, &allocator));
        const int r = diameter >> 1;
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 9; ++x)
                for (int c = 0; c < 4; ++c) {
                    int best = 0;
                    for (int j = 0; j < diameter; ++j)
                        for (int i = 0; i < diameter; ++i)
                            if ((i - r) * (i - r) + (j - r) * (j - r) <= r * r)
                                best = std::max<int>(best, source.Get(std::clamp(x + i - r, 0, 8),
                                                                      std::clamp(y + j - r, 0, 6))[c]);
                    ASSERT_EQ(out.Get(x, y)[c], best) << diameter << " " << x << "," << y;
                }
    }
    EXPECT_FALSE(PictureOps::MorphPicture(source.picture, copy.picture, 0, nullptr));
}

// Where the transform sends point (x, y).
std::pair<float, float> Map(const PictureTransform& t, float x, float y) {
    return {t.matrix[0][0] * x + t.matrix[1][0] * y + t.matrix[2][0],
            t.matrix[0][1] * x + t.matrix[1][1] * y + t.matrix[2][1]};
}

TEST(PictureTransform, StepsActInTheOrderCalled) {
    PictureTransform scaleFirst, translateFirst, turned, sheared;
    scaleFirst.Scale(2);
    scaleFirst.Translate(5, 0);
    translateFirst.Translate(5, 0);
    translateFirst.Scale(2);
    EXPECT_EQ(Map(scaleFirst, 1, 0).first, 7.0f);
    EXPECT_EQ(Map(translateFirst, 1, 0).first, 12.0f);
    turned.Rotate(0);
    const PictureTransform identity;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_EQ(turned.matrix[i][j], identity.matrix[i][j]);
    sheared.Shear(0.5f, 0.25f);
    EXPECT_EQ(Map(sheared, 2, 4), std::make_pair(4.0f, 4.5f));  // x + a y, b x + y
}

TEST(PictureTransform, WarpWritesOnlyTheImageOfTheSourceAndRefusesWhatItCannot) {
    Owned source(30, 20, 4), destination(30, 20, 4, 0xAB);
    source.Pattern();
    PictureTransform t;
    t.Translate(10, 0);
    ASSERT_TRUE(t.Warp(source.picture, destination.picture));
    for (int32_t y = 0; y < 20; ++y)
        for (int32_t x = 0; x < 30; ++x)
            ASSERT_EQ(destination.Get(x, y), x < 10 ? Px({0xAB, 0xAB, 0xAB, 0xAB}) : source.Get(x - 10, y))
                << x << "," << y;
    // A singular matrix, an overlap too narrow, and a warp in place.
    Owned other(30, 20, 4, 2), narrow(1, 20, 4, 3);
    PictureTransform flat;
    flat.Scale(0);
    EXPECT_FALSE(flat.Warp(source.picture, other.picture));
    EXPECT_FALSE(PictureTransform().Warp(source.picture, narrow.picture));
    EXPECT_FALSE(PictureTransform().Warp(source.picture, source.picture));
    EXPECT_EQ(other.bytes, std::vector<uint8_t>(other.bytes.size(), 2));
    EXPECT_EQ(narrow.bytes, std::vector<uint8_t>(narrow.bytes.size(), 3));
}

TEST(PictureOps, CopyPictureRectCopiesWhatFits) {
    Owned source(10, 8, 4), destination(6, 6, 4);
    source.Pattern();
    ASSERT_TRUE(PictureOps::CopyPictureRect(source.picture, 7, 2, 100, 100, destination.picture, 1, 1));
    // Width: min(100, 10 - 7, 6 - 1) = 3; height: min(100, 8 - 2, 6 - 1) = 5.
    for (int32_t y = 0; y < 6; ++y)
        for (int32_t x = 0; x < 6; ++x) {
            const bool inside = x >= 1 && x < 4 && y >= 1 && y < 6;
            EXPECT_EQ(destination.Get(x, y), inside ? source.Get(x + 6, y + 1) : Px({0, 0, 0, 0}))
                << x << "," << y;
        }
    EXPECT_FALSE(PictureOps::CopyPictureRect(source.picture, 10, 0, 2, 2, destination.picture, 0, 0));
    EXPECT_FALSE(PictureOps::CopyPictureRect(source.picture, 0, 0, 0, 2, destination.picture, 0, 0));
}

TEST(PictureOps, FillPictureByPixelSize) {
    Owned colour(5, 3, 4, 9), mask(5, 3, 1, 9), rgb(5, 3, 3, 9);
    ASSERT_TRUE(PictureOps::FillPicture(colour.picture, 0xFF000000u));
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 5; ++x) EXPECT_EQ(colour.Get(x, y), Px({0, 0, 0, 0xFF}));
    ASSERT_TRUE(PictureOps::FillPicture(mask.picture, 0x12345678u));
    EXPECT_EQ(*mask.At(4, 2), 0x78);
    EXPECT_FALSE(PictureOps::FillPicture(rgb.picture, 0));
    EXPECT_EQ(*rgb.At(0, 0), 9);
}

TEST(PictureOps, ReplicatePictureBorderInPlaceRepairsTheRim) {
    Owned p(100, 100, 4);
    p.Pattern();
    const std::vector<uint8_t> original = p.bytes;
    ASSERT_TRUE(PictureOps::ReplicatePictureBorder(p.picture, p.picture, 3, 3));
    for (int32_t y = 0; y < 100; ++y)
        for (int32_t x = 0; x < 100; ++x) {
            const int32_t nx = std::clamp(x, 3, 96), ny = std::clamp(y, 3, 96);
            ASSERT_EQ(p.At(x, y)[1], original[static_cast<size_t>(ny) * p.picture.pitch + nx * 4 + 1])
                << x << "," << y;
        }
    Owned mask(4, 4, 1);
    EXPECT_FALSE(PictureOps::ReplicatePictureBorder(p.picture, mask.picture, 3, 3));
}

}  // namespace
}  // namespace halcyra

// The compositing and filter operations on pictures: weights, alpha, channel
// copies, HSV, 2D kernels and disc dilation, on small pictures of known bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"

namespace halcyra {
namespace {

// A picture over its own vector, with a few bytes of padding per row.
struct Owned {
    Owned(int32_t width, int32_t height, int32_t bytes, uint8_t fill = 0)
        : bytes(static_cast<size_t>(width * bytes + 8) * height, fill) {
        picture.Attach(this->bytes.data(), width, height, width * bytes + 8, bytes);
    }
    uint8_t* At(int32_t x, int32_t y) { return picture.PixelAddress(x, y); }
    void Set(int32_t x, int32_t y, std::initializer_list<int> values) {
        int c = 0;
        for (int v : values) At(x, y)[c++] = static_cast<uint8_t>(v);
    }
    std::vector<uint8_t> Get(int32_t x, int32_t y) {
        return std::vector<uint8_t>(At(x, y), At(x, y) + picture.bytesPerPixel);
    }
    std::vector<uint8_t> bytes;
    Picture picture;
};

std::vector<uint8_t> Px(std::initializer_list<int> v) {
    return std::vector<uint8_t>(v.begin(), v.end());
}

TEST(BlendPictures, EqualWeightsAverageAndLeaveTheFirst) {
    for (int weight : {128, 0, 255, 300}) {
        Owned first(2, 1, 4), second(2, 1, 4);
        first.Set(0, 0, {1, 3, 255, 10});
        second.Set(0, 0, {2, 2, 255, 20});
        ASSERT_TRUE(PictureOps::BlendPictures(first.picture, second.picture, weight, weight));
        EXPECT_EQ(first.Get(0, 0), Px({1, 3, 255, 10}));
        EXPECT_EQ(second.Get(0, 0), Px({2, 2, 255, 15}));
    }
}

TEST(BlendPictures, UnequalWeightsScaleBothInPlace) {
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

TEST(ScalePictureAlpha, DarkensColourAndAlphaTogether) {
    Owned picture(1, 1, 4);
    picture.Set(0, 0, {200, 100, 255, 255});
    ASSERT_TRUE(PictureOps::ScalePictureAlpha(picture.picture, picture.picture, 127));
    // alpha' = (255 * 127) >> 8 = 126, colours times 126 / 256.
    EXPECT_EQ(picture.Get(0, 0), Px({98, 49, 125, 126}));
    Owned bright(1, 1, 4), out(1, 1, 4);
    bright.Set(0, 0, {255, 0, 10, 255});
    ASSERT_TRUE(PictureOps::ScalePictureAlpha(bright.picture, out.picture, 600));
    EXPECT_EQ(out.Get(0, 0), Px({254, 0, 9, 255}));
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
    Owned picture(3, 1, 4);
    picture.Set(0, 0, {77, 77, 77, 1});
    picture.Set(1, 0, {255, 0, 0, 2});
    picture.Set(2, 0, {10, 200, 90, 3});
    ASSERT_TRUE(PictureOps::ConvertPictureToHsv(picture.picture, picture.picture));
    EXPECT_EQ(picture.Get(0, 0), Px({0, 0, 77, 1}));
    EXPECT_EQ(picture.Get(1, 0), Px({0, 255, 255, 2}));
    ASSERT_TRUE(PictureOps::ConvertPictureToRgb(picture.picture, picture.picture));
    EXPECT_EQ(picture.Get(0, 0), Px({77, 77, 77, 1}));
    EXPECT_EQ(picture.Get(1, 0), Px({255, 0, 0, 2}));
    EXPECT_EQ(picture.Get(2, 0)[3], 3);
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

}  // namespace
}  // namespace halcyra

// CopyPicture and MixPictures: the overlap of the pictures and the 256ths
// weights of the mix, whose loss at full weight is part of the look.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "picture/PictureOps.h"

namespace halcyra {
namespace {

struct Owned {
    Owned(int32_t width, int32_t height, uint8_t fill)
        : bytes(static_cast<size_t>(width) * height * 4, fill) {
        picture.Attach(bytes.data(), width, height, width * 4, 4);
    }
    std::vector<uint8_t> bytes;
    Picture picture;
};

TEST(MixPictures, WeightsInTwoHundredFiftySixths) {
    Owned first(2, 2, 255), second(2, 2, 255), third(2, 2, 0);
    ASSERT_TRUE(PictureOps::MixPictures(first.picture, second.picture, third.picture, 1.0f, 0.0f));
    EXPECT_EQ(third.bytes[0], 254);
    ASSERT_TRUE(PictureOps::MixPictures(first.picture, second.picture, third.picture, 1.0f, 1.0f));
    EXPECT_EQ(third.bytes[0], 255);  // the clamped branch
    ASSERT_TRUE(PictureOps::MixPictures(first.picture, second.picture, third.picture, 0.5f, 0.5f));
    EXPECT_EQ(third.bytes[0], 253);  // 127 + 127 of 256
    // Without the clamp the byte wraps: 255 * 255 + 255 * 0 below 256 total stays in range,
    // so only a sum of weights at 256 or more can saturate. NaN weighs 0.
    ASSERT_TRUE(PictureOps::MixPictures(first.picture, second.picture, third.picture, std::nanf(""), 2.0f));
    EXPECT_EQ(third.bytes[0], 254);
}

TEST(MixPictures, WorksOnTheOverlapOfAllThree) {
    Owned first(3, 3, 100), second(3, 3, 100), third(2, 1, 0);
    ASSERT_TRUE(PictureOps::MixPictures(first.picture, second.picture, third.picture, 0.5f, 0.5f));
    EXPECT_EQ(third.bytes, std::vector<uint8_t>(8, 99));
    Picture empty;
    EXPECT_FALSE(PictureOps::MixPictures(first.picture, empty, third.picture, 0.5f, 0.5f));
}

TEST(CopyPicture, CopiesTheOverlap) {
    Owned source(2, 2, 5), destination(3, 1, 9);
    ASSERT_TRUE(PictureOps::CopyPicture(source.picture, destination.picture));
    EXPECT_EQ(destination.bytes, (std::vector<uint8_t>{5, 5, 5, 5, 5, 5, 5, 5, 9, 9, 9, 9}));
}

}  // namespace
}  // namespace halcyra

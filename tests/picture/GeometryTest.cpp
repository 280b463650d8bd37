// PictureTransform's composition order and warp, and the rectangle copy, fill
// and border replication on pictures.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "picture/PictureOps.h"

namespace halcyra {
namespace {

// Where the transform sends point (x, y).
void Map(const PictureTransform& t, float x, float y, float& outX, float& outY) {
    outX = t.matrix[0][0] * x + t.matrix[1][0] * y + t.matrix[2][0];
    outY = t.matrix[0][1] * x + t.matrix[1][1] * y + t.matrix[2][1];
}

struct OwnedPicture {
    std::vector<uint8_t> bytes;
    Picture picture;
    OwnedPicture(int32_t w, int32_t h, int32_t bytesPerPixel, uint8_t fill = 0)
        : bytes(size_t(w) * h * bytesPerPixel + 16, fill) {
        picture.Attach(bytes.data(), w, h, w * bytesPerPixel, bytesPerPixel);
    }
    uint8_t* At(int32_t x, int32_t y) { return picture.PixelAddress(x, y); }
};

void FillPattern(OwnedPicture& p) {
    for (int32_t y = 0; y < p.picture.height; ++y)
        for (int32_t x = 0; x < p.picture.width; ++x)
            for (int32_t c = 0; c < p.picture.bytesPerPixel; ++c)
                p.At(x, y)[c] = uint8_t(x * 3 + y * 17 + c * 50);
}

TEST(PictureTransform, StepsActInTheOrderCalled) {
    PictureTransform scaleFirst;
    scaleFirst.Scale(2);
    scaleFirst.Translate(5, 0);
    PictureTransform translateFirst;
    translateFirst.Translate(5, 0);
    translateFirst.Scale(2);
    float x = 0, y = 0;
    Map(scaleFirst, 1, 0, x, y);
    EXPECT_EQ(x, 7.0f);
    Map(translateFirst, 1, 0, x, y);
    EXPECT_EQ(x, 12.0f);

    PictureTransform turned;
    turned.Rotate(0);
    const PictureTransform identity;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_EQ(turned.matrix[i][j], identity.matrix[i][j]);

    PictureTransform sheared;
    sheared.Shear(0.5f, 0.25f);
    Map(sheared, 2, 4, x, y);
    EXPECT_EQ(x, 4.0f);  // x + a y
    EXPECT_EQ(y, 4.5f);  // b x + y
}

TEST(PictureTransform, WarpWritesOnlyTheImageOfTheSource) {
    OwnedPicture source(30, 20, 4);
    FillPattern(source);
    OwnedPicture destination(30, 20, 4, 0xAB);
    PictureTransform t;
    t.Translate(10, 0);
    ASSERT_TRUE(t.Warp(source.picture, destination.picture));
    for (int32_t y = 0; y < 20; ++y) {
        for (int32_t x = 0; x < 30; ++x) {
            for (int32_t c = 0; c < 4; ++c) {
                const uint8_t expected = x < 10 ? 0xAB : source.At(x - 10, y)[c];
                ASSERT_EQ(destination.At(x, y)[c], expected) << x << "," << y;
            }
        }
    }
}

TEST(PictureTransform, WarpRefusesSingularMatricesAndNarrowOverlaps) {
    OwnedPicture source(30, 20, 4, 1);
    OwnedPicture destination(30, 20, 4, 2);
    OwnedPicture narrow(1, 20, 4, 3);
    PictureTransform flat;
    flat.Scale(0);
    EXPECT_FALSE(flat.Warp(source.picture, destination.picture));
    EXPECT_FALSE(PictureTransform().Warp(source.picture, narrow.picture));
    EXPECT_FALSE(PictureTransform().Warp(source.picture, source.picture));
    EXPECT_EQ(destination.bytes, std::vector<uint8_t>(destination.bytes.size(), 2));
    EXPECT_EQ(narrow.bytes, std::vector<uint8_t>(narrow.bytes.size(), 3));
}

TEST(PictureOps, CopyPictureRectCopiesWhatFits) {
    OwnedPicture source(10, 8, 4);
    FillPattern(source);
    OwnedPicture destination(6, 6, 4, 0);
    ASSERT_TRUE(PictureOps::CopyPictureRect(source.picture, 7, 2, 100, 100, destination.picture, 1, 1));
    // Width: min(100, 10 - 7, 6 - 1) = 3; height: min(100, 8 - 2, 6 - 1) = 5.
    for (int32_t y = 0; y < 6; ++y)
        for (int32_t x = 0; x < 6; ++x) {
            const bool inside = x >= 1 && x < 4 && y >= 1 && y < 6;
            EXPECT_EQ(destination.At(x, y)[2], inside ? source.At(x + 6, y + 1)[2] : 0) << x << "," << y;
        }
    EXPECT_FALSE(PictureOps::CopyPictureRect(source.picture, 10, 0, 2, 2, destination.picture, 0, 0));
    EXPECT_FALSE(PictureOps::CopyPictureRect(source.picture, 0, 0, 0, 2, destination.picture, 0, 0));
}

TEST(PictureOps, FillPictureByPixelSize) {
    OwnedPicture colour(5, 3, 4, 9);
    ASSERT_TRUE(PictureOps::FillPicture(colour.picture, 0xFF000000u));
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 5; ++x)
            EXPECT_EQ(std::vector<uint8_t>(colour.At(x, y), colour.At(x, y) + 4),
                      (std::vector<uint8_t>{0, 0, 0, 0xFF}));
    OwnedPicture mask(5, 3, 1, 9);
    ASSERT_TRUE(PictureOps::FillPicture(mask.picture, 0x12345678u));
    EXPECT_EQ(*mask.At(4, 2), 0x78);
    OwnedPicture rgb(5, 3, 3, 9);
    EXPECT_FALSE(PictureOps::FillPicture(rgb.picture, 0));
    EXPECT_EQ(*rgb.At(0, 0), 9);
}

TEST(PictureOps, ReplicatePictureBorderInPlaceRepairsTheRim) {
    OwnedPicture p(100, 100, 4);
    FillPattern(p);
    OwnedPicture original(100, 100, 4);
    std::copy(p.bytes.begin(), p.bytes.end(), original.bytes.begin());
    ASSERT_TRUE(PictureOps::ReplicatePictureBorder(p.picture, p.picture, 3, 3));
    for (int32_t y = 0; y < 100; ++y)
        for (int32_t x = 0; x < 100; ++x) {
            const int32_t nx = std::clamp(x, 3, 96), ny = std::clamp(y, 3, 96);
            ASSERT_EQ(p.At(x, y)[1], original.At(nx, ny)[1]) << x << "," << y;
        }
    OwnedPicture mask(4, 4, 1);
    EXPECT_FALSE(PictureOps::ReplicatePictureBorder(p.picture, mask.picture, 3, 3));
}

}  // namespace
}  // namespace halcyra

// Zoom and Zoom Blur: the zoom step, the doubling blur and its pass counts,
// the blur-free blend, the cross-fade weights and their unguarded zero, and
// regression checksums.
#include <gtest/gtest.h>

#include <cmath>

#include "EffectTestSupport.h"
#include "effects/Zoom.h"
#include "frame/Wrappers.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;

TEST(ZoomStep, ScalesAboutTheCentre) {
    const PictureTransform m = ZoomStep(1.5f, 0.25f, 0.5f, 40.0f, 20.0f);
    // (10, 10) is the centre; (14, 6) lies (4, -4) from it and goes to (6, -6) from it.
    EXPECT_EQ(test::MapPoint(m, 10.0f, 10.0f), std::pair(10.0f, 10.0f));
    EXPECT_EQ(test::MapPoint(m, 14.0f, 6.0f), std::pair(16.0f, 4.0f));
}

TEST(DoublingBlur, ClearsTheWholeScratchAndKeepsAFlatPicture) {
    GuardedFrame frame(12, 7), scratchFrame(16, 9);
    frame.Fill(0x80);
    scratchFrame.Fill(0x5a);
    Picture picture, scratch;
    picture.AttachImage(frame.desc);
    scratch.AttachImage(scratchFrame.desc);
    ZoomDoublingBlur(picture, scratch, 0.5f, 0, 0.5f, 0.5f, 12.0f, 7.0f);
    EXPECT_EQ(scratchFrame.Pixel(15, 8)[0], 0x5a);  // no pass, nothing touched
    ZoomDoublingBlur(picture, scratch, 0.01f, 3, 0.5f, 0.5f, 12.0f, 7.0f);
    // Each warp covers the picture (centre inside, scale above 1): the
    // average of a flat picture with itself stays flat.
    for (uint8_t byte : frame.Pixels()) ASSERT_EQ(byte, 0x80);
    EXPECT_EQ(scratchFrame.Pixel(15, 8)[0], 0);  // outside the picture: cleared
    EXPECT_TRUE(scratchFrame.GuardsIntact());
}

// Parameters of Zoom Blur in index order.
enum { kZoom, kPosition, kBlend, kCenter };

TEST(Zoomblur, ZeroZoomKeepsThePictureBlendedIn255ths) {
    test::Rig<CZoomblur> blur;
    blur[kZoom].number = 0.0f;
    blur[kBlend].number = 1.0f;
    GuardedFrame in(29, 13, 4, true), out(29, 13, 0, true);
    in.FillPattern(21);
    EXPECT_EQ(blur.Filter(in, out), in.Pixels());
    // With Blend 0.5 the weights are 191 and 63 (mix = 191.25), whose 255ths
    // lose one: the output is not quite the input.
    blur[kBlend].number = 0.5f;
    test::ExpectEachByte(blur.Filter(in, out), in.Pixels(), {},
                         [](uint8_t s, uint8_t) { return Div255(s * 191u) + Div255(s * 63u); });
}

// Parameters of Zoom in index order.
enum { kZoomAmount, kSmooth, kCrossFade, kStart, kEnd };

TEST(Zoom, CrossFadeWeightsAndTheUnguardedZero) {
    test::Rig<CZoom> zoom;
    zoom[kZoomAmount].number = 0.0f;  // no zoom: only the cross-fade is seen
    GuardedFrame a(18, 6), b(18, 6), out(18, 6);
    a.FillPattern(5);
    b.FillPattern(6);
    // Cross Fade 0.54 at p = 0.4: f = (0.4 - 0.23) / 0.54 * 255.
    const float start = 0.5f - 0.54f * 0.5f;
    const float f = ((0.4f - start) / 0.54f) * 255.0f;
    const uint32_t wb = static_cast<uint32_t>(TruncToInt32(f)),
                   wa = static_cast<uint32_t>(TruncToInt32(255.0f - f));
    test::ExpectEachByte(zoom.Render(a, &b, out, 0.4), a.Pixels(), b.Pixels(),
                         [&](uint8_t x, uint8_t y) { return test::Blend255(x, y, wa, wb); });
    // Cross Fade 0 at p = 0.5: 0 / 0. Both weights convert to INT32_MIN and
    // clamp to 0, and equal weights average.
    zoom[kCrossFade].number = 0.0f;
    test::ExpectEachByte(zoom.Render(a, &b, out, 0.5), a.Pixels(), b.Pixels(), AverageHalfEven);
}

TEST(ZoomEffects, RegressionChecksums) {
    test::ChecksumFrames frames;
    const std::pair<double, uint32_t> zoomCases[] = {
        {0.2, 3015068826u}, {0.5, 383775867u}, {0.8, 4082893523u}};
    for (auto [progress, crc] : zoomCases)
        EXPECT_EQ(test::ChecksumOf<CZoom>(frames, true, progress), crc) << progress;
    // Zoom Blur through its wrapper at three zoom amounts, centre off the middle.
    const std::pair<float, uint32_t> blurCases[] = {
        {0.2f, 2558672239u}, {0.51f, 4062045519u}, {1.0f, 3029203166u}};
    for (auto [amount, crc] : blurCases) {
        auto setup = [amount](auto& blur) {
            blur[0].number = amount;
            blur[1].number = 0.7f;
            blur[2].point[0] = 0.3f;
            blur[2].point[1] = 0.6f;
        };
        EXPECT_EQ(test::ChecksumOf<CWrapZoomblur>(frames, false, 0.5, 0.0, setup), crc) << amount;
    }
}

}  // namespace
}  // namespace halcyra

// Zoom and Zoom Blur: the zoom step, the doubling blur and its pass counts,
// the ends of the transition, the cross-fade weights, what the blur's scratch
// use does to a larger output, and regression checksums.
#include <gtest/gtest.h>

#include <cmath>

#include "TestHost.h"
#include "effects/Zoom.h"
#include "frame/Wrappers.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TestHost;

TEST(ZoomStep, ScalesAboutTheCentre) {
    const PictureTransform m = ZoomStep(1.5f, 0.25f, 0.5f, 40.0f, 20.0f);
    // (10, 10) is the centre; (14, 6) lies (4, -4) from it and goes to (6, -6) from it.
    EXPECT_EQ(m.matrix[0][0] * 10.0f + m.matrix[1][0] * 10.0f + m.matrix[2][0], 10.0f);
    EXPECT_EQ(m.matrix[0][1] * 10.0f + m.matrix[1][1] * 10.0f + m.matrix[2][1], 10.0f);
    EXPECT_EQ(m.matrix[0][0] * 14.0f + m.matrix[1][0] * 6.0f + m.matrix[2][0], 16.0f);
    EXPECT_EQ(m.matrix[0][1] * 14.0f + m.matrix[1][1] * 6.0f + m.matrix[2][1], 4.0f);
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
    TestHost host;
    CZoomblur effect;
    host.UseDefaults(&effect);
    host.values[kZoom].number = 0.0f;
    GuardedFrame in(29, 13, 4, true), out(29, 13, 0, true);
    in.FillPattern(21);
    host.values[kBlend].number = 1.0f;
    effect.Render(&host, &in.desc, nullptr, &out.desc, nullptr);
    EXPECT_EQ(out.Pixels(), in.Pixels());
    // With Blend 0.5 the weights are 191 and 63 (mix = 191.25), whose 255ths
    // lose one: the output is not quite the input.
    host.values[kBlend].number = 0.5f;
    effect.Render(&host, &in.desc, nullptr, &out.desc, nullptr);
    const auto source = in.Pixels(), result = out.Pixels();
    for (size_t i = 0; i < source.size(); ++i)
        ASSERT_EQ(result[i], Div255(source[i] * 191u) + Div255(source[i] * 63u)) << i;
}

TEST(Zoomblur, BlurPassesClearALargerOutput) {
    // The output is the blur's scratch picture, and clearing it covers all of
    // it, so pixels outside the input do not keep what the host gave them.
    TestHost host;
    CZoomblur effect;
    host.UseDefaults(&effect);
    GuardedFrame in(20, 10), out(30, 16);
    in.FillPattern(4);
    out.Fill(0x77);
    effect.Render(&host, &in.desc, nullptr, &out.desc, nullptr);
    EXPECT_EQ(out.Pixel(25, 3)[1], 0);
    EXPECT_EQ(out.Pixel(3, 14)[2], 0);
    EXPECT_TRUE(out.GuardsIntact());
    EXPECT_TRUE(in.GuardsIntact());
}

// Parameters of Zoom in index order.
enum { kZoomAmount, kSmooth, kCrossFade, kStart, kEnd };

TEST(Zoom, EndsGiveThePlainClips) {
    TestHost host;
    CZoom effect;
    host.UseDefaults(&effect);
    GuardedFrame a(25, 14), b(25, 14, 8), out(25, 14);
    a.FillPattern(1);
    b.FillPattern(2);
    for (double p : {0.0, -2.0, 1.0, 3.0}) {
        RenderInfo info = test::MakeRenderInfo(p);
        out.Fill(0x33);
        effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
        EXPECT_EQ(out.Pixels(), p <= 0.0 ? a.Pixels() : b.Pixels()) << p;
    }
}

TEST(Zoom, CrossFadeWeightsAndTheUnguardedZero) {
    TestHost host;
    CZoom effect;
    host.UseDefaults(&effect);
    host.values[kZoomAmount].number = 0.0f;  // no zoom: only the cross-fade is seen
    GuardedFrame a(18, 6), b(18, 6), out(18, 6);
    a.FillPattern(5);
    b.FillPattern(6);
    // Cross Fade 0.54 at p = 0.4: f = (0.4 - 0.23) / 0.54 * 255.
    const float start = 0.5f - 0.54f * 0.5f;
    const float f = ((0.4f - start) / 0.54f) * 255.0f;
    const uint32_t wb = static_cast<uint32_t>(TruncToInt32(f)),
                   wa = static_cast<uint32_t>(TruncToInt32(255.0f - f));
    RenderInfo info = test::MakeRenderInfo(0.4);
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    const auto first = a.Pixels(), second = b.Pixels(), result = out.Pixels();
    for (size_t i = 0; i < first.size(); ++i)
        ASSERT_EQ(result[i], std::min(255u, Div255(second[i] * wb) + Div255(first[i] * wa))) << i;

    // Cross Fade 0 at p = 0.5: 0 / 0. Both weights convert to INT32_MIN and
    // clamp to 0, and equal weights average.
    host.values[kCrossFade].number = 0.0f;
    info = test::MakeRenderInfo(0.5);
    effect.Render(&host, &a.desc, &b.desc, &out.desc, &info);
    const auto averaged = out.Pixels();
    for (size_t i = 0; i < first.size(); ++i)
        ASSERT_EQ(averaged[i], AverageHalfEven(first[i], second[i])) << i;
    EXPECT_TRUE(out.GuardsIntact());
}

TEST(ZoomEffects, RegressionChecksums) {
    test::ChecksumFrames frames;
    struct Case {
        double progress;
        uint32_t crc;
    };
    const Case zoomCases[] = {{0.2, 3015068826u}, {0.5, 383775867u}, {0.8, 4082893523u}};
    for (const Case& c : zoomCases) {
        TestHost host;
        CZoom effect;
        host.UseDefaults(&effect);
        const uint32_t crc = frames.Render(&effect, &host, &frames.b.desc, test::MakeRenderInfo(c.progress));
        RecordProperty("zoom" + std::to_string(c.progress), std::to_string(crc));
        EXPECT_EQ(crc, c.crc) << c.progress;
    }
    // Zoom Blur through its wrapper at three zoom amounts, centre off the middle.
    const float zooms[] = {0.2f, 0.51f, 1.0f};
    const uint32_t zoomblurCrcs[] = {2558672239u, 4062045519u, 3029203166u};
    for (int i = 0; i < 3; ++i) {
        TestHost host;
        auto* wrapper = new CWrapZoomblur();
        host.UseDefaults(wrapper);
        host.values[0].number = zooms[i];
        host.values[1].number = 0.7f;
        host.values[2].point[0] = 0.3f;
        host.values[2].point[1] = 0.6f;
        const uint32_t crc = frames.Render(wrapper, &host, nullptr, test::MakeRenderInfo(0.5));
        wrapper->Release();
        RecordProperty("zoomblur" + std::to_string(i), std::to_string(crc));
        EXPECT_EQ(crc, zoomblurCrcs[i]) << zooms[i];
    }
}

}  // namespace
}  // namespace halcyra

// Wave and Earthquake: the line warp's shift, crop and edge forms and the
// sameness of its two orientations, the wave's cross-fade, the earthquake's
// walk (restarts, continuation, reflection, far frames) and its frame 0, and
// regression checksums.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "EffectTestSupport.h"
#include "effects/Wave.h"
#include "frame/Wrappers.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

using test::GuardedFrame;

// Pictures over guarded frames, for the warp alone.
struct Attached {
    explicit Attached(GuardedFrame& frame) { picture.AttachImage(frame.desc); }
    Picture picture;
};

// The one-line form of the warp's interpolation with the weight 0.
uint8_t Weight255(uint8_t byte) {
    return static_cast<uint8_t>((byte * 255) >> 8);
}

TEST(WaveLineWarp, ShiftsByTheSineAndCropsTheEnds) {
    GuardedFrame in(20, 3), out(20, 3);
    in.FillPattern(3);
    Attached sourceFrame(in), targetFrame(out);
    Picture &source = sourceFrame.picture, &target = targetFrame.picture;
    // sin(1.5707964f) is 1 in floats: every line (freq 0) shifts by amp * L = 4.
    WaveLineSettings settings{0.0f, 1.5707964f, 0.2f, 0.0f, 0, false};
    WaveLineWarp(source, target, 20, 3, settings);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 20; ++x)
            for (int c = 0; c < 4; ++c) {
                // Crop 0 still leaves the last pixel out: hi is L - 1 and the
                // pair read there would need the pixel past it.
                const uint8_t expected = x + 4 < 19 ? Weight255(in.Pixel(x + 4, y)[c]) : 0;
                ASSERT_EQ(out.Pixel(x, y)[c], expected) << x << "," << y;
            }

    // No shift, crop 0.25 of 20: lo 5, hi 14. "Replicate" (0) blanks outside,
    // any other choice that is not "Stretch" repeats the pixels at lo and hi.
    for (int32_t edges : {0, 2}) {
        settings = WaveLineSettings{0.0f, 0.0f, 0.0f, 0.25f, edges, false};
        WaveLineWarp(source, target, 20, 3, settings);
        for (int32_t x = 0; x < 20; ++x) {
            const uint8_t* got = out.Pixel(x, 1);
            for (int c = 0; c < 4; ++c) {
                uint8_t expected;
                if (x < 5)
                    expected = edges == 0 ? 0 : in.Pixel(5, 1)[c];
                else if (x < 14)
                    expected = Weight255(in.Pixel(x, 1)[c]);
                else
                    expected = edges == 0 ? 0 : in.Pixel(14, 1)[c];
                ASSERT_EQ(got[c], expected) << edges << ":" << x;
            }
        }
    }
    EXPECT_TRUE(out.GuardsIntact());
}

TEST(WaveLineWarp, VerticalFormIsTheHorizontalOneTransposed) {
    const int32_t w = 23, h = 14;
    GuardedFrame in(w, h, 8), out(w, h), inT(h, w), outT(h, w, 4);
    in.FillPattern(5);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) std::memcpy(inT.Pixel(y, x), in.Pixel(x, y), 4);
    Attached sourceFrame(in), targetFrame(out), sourceTFrame(inT), targetTFrame(outT);
    Picture &source = sourceFrame.picture, &target = targetFrame.picture, &sourceT = sourceTFrame.picture,
            &targetT = targetTFrame.picture;
    for (int32_t edges : {0, 1}) {
        WaveLineSettings settings{9.0f, 0.7f, 0.35f, 0.1f, edges, true};
        WaveLineWarp(source, target, w, h, settings);
        settings.vertical = false;
        WaveLineWarp(sourceT, targetT, h, w, settings);
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x)
                ASSERT_EQ(std::memcmp(out.Pixel(x, y), outT.Pixel(y, x), 4), 0)
                    << edges << ":" << x << "," << y;
    }
}

// Parameters of Wave in index order.
enum { kRate, kStrength, kDrift, kCrossFade, kCrop, kEdges, kOrientation };

TEST(Wave, BeforeTheFadeTheSecondClipIsNotSeenAndAtTheEndOnlyIt) {
    test::Rig<CWave> wave;
    GuardedFrame a(26, 18), b(26, 18), c(26, 18), out(26, 18), alone(26, 18);
    a.FillPattern(1);
    b.FillPattern(2);
    c.FillPattern(3);
    // Cross Fade 0.24: the fade starts at p = 0.38.
    EXPECT_EQ(wave.Render(a, &b, out, 0.3, 0.75), wave.Render(a, &c, out, 0.3, 0.75));
    // At p = 1 the second clip's amplitude is 0 and the copy branch shows it
    // alone; its warp is the plain line warp with amp 0.
    wave.Render(a, &b, out, 1.0, 0.75);
    Attached sourceFrame(b), targetFrame(alone);
    Picture &source = sourceFrame.picture, &target = targetFrame.picture;
    const WaveLineSettings settings{
        0.34f * 0.34f * 20.0f * 6.283f, 0.54f * 30.0f * 0.75f, 0.0f, 0.32f * 0.0499f, 1, true};
    WaveLineWarp(source, target, 26, 18, settings);
    EXPECT_EQ(out.Pixels(), alone.Pixels());
}

TEST(Wave, StrengthZeroStretchLosesOneStepOfWeight) {
    // Strength 0 does not pass the picture through unchanged as the edge
    // list says: the weight 255 of the unshifted pixel is shifted by 8.
    test::Rig<CWave> wave;
    wave[kStrength].number = 0.0f;
    wave[kCrop].number = 0.0f;
    GuardedFrame a(31, 17, 4), b(31, 17), out(31, 17);
    a.FillPattern(8);
    b.FillPattern(9);
    for (int32_t orientation : {0, 1}) {
        wave[kOrientation].choice = orientation;
        wave.Render(a, &b, out, 0.2, 3.0);
        // Stretch bends nothing, whichever of two neighbours the float
        // position lands on; the last pixel of a line reaches hi and may be copied.
        for (int32_t y = 0; y < (orientation ? 16 : 17); ++y)
            for (int32_t x = 0; x < (orientation ? 31 : 30); ++x)
                for (int c = 0; c < 4; ++c)
                    ASSERT_EQ(out.Pixel(x, y)[c], Weight255(a.Pixel(x, y)[c]))
                        << orientation << ":" << x << "," << y;
    }
}

TEST(EarthquakeWalk, StepsReflectAtTheRangeWithAStrictLowerBound) {
    // Draw 128 moves by exactly 0; 0 moves by -stride and 254 by 0.984375 * stride.
    EXPECT_EQ(EarthquakeStepValue(-0.5f, 128, 0.5f, 0.25f), -0.5f);
    EXPECT_EQ(EarthquakeStepValue(0.5f, 128, 0.5f, 0.25f), 0.5f);
    EXPECT_EQ(EarthquakeStepValue(-0.5f, 0, 0.5f, 0.25f), -0.25f);
    EXPECT_EQ(EarthquakeStepValue(0.5f, 254, 0.5f, 0.25f), 0.5f - 0.984375f * 0.25f);
    EXPECT_EQ(EarthquakeStepValue(0.125f, 255 + 128, 0.5f, 0.25f), 0.125f);  // the draw counts modulo 255
}

TEST(EarthquakeWalk, RestartsContinuesAndRepeats) {
    CEarthquake fresh;
    const EarthquakeStep at40 = fresh.Walk(40, 0.06f, 0.05f);
    // Running forward frame by frame reaches the same place.
    CEarthquake stepping;
    EarthquakeStep step;
    for (uint32_t f = 0; f <= 40; ++f) step = stepping.Walk(f, 0.06f, 0.05f);
    EXPECT_EQ(std::memcmp(&step, &at40, sizeof step), 0);
    // A frame behind the walk restarts it from zero.
    CEarthquake back;
    back.Walk(90, 0.06f, 0.05f);
    step = back.Walk(40, 0.06f, 0.05f);
    EXPECT_EQ(std::memcmp(&step, &at40, sizeof step), 0);
    // The same frame again takes no step: no echo and no previous position.
    step = back.Walk(40, 0.06f, 0.05f);
    EXPECT_EQ(step.x, at40.x);
    EXPECT_EQ(step.rotation, at40.rotation);
    EXPECT_EQ(step.px, 0.0f);
    EXPECT_EQ(step.py, 0.0f);
    EXPECT_EQ(step.echo, 0);
    // Frame 0 takes no step at all.
    CEarthquake none;
    step = none.Walk(0, 0.06f, 0.05f);
    EXPECT_EQ(step.x, 0.0f);
    EXPECT_EQ(step.y, 0.0f);
    EXPECT_EQ(step.rotation, 0.0f);
}

TEST(EarthquakeWalk, StaysInRangeAndFindsFarStillFramesAtOnce) {
    CEarthquake walk;
    for (uint32_t f = 1; f <= 2000; ++f) {
        const EarthquakeStep step = walk.Walk(f, 0.06f, 0.06f);
        ASSERT_LE(std::max({std::fabs(step.x), std::fabs(step.y), std::fabs(step.rotation)}), 0.06f) << f;
    }
    // With a zero stride nothing moves; a far frame costs nothing, and a
    // frame gets the echo of the walk taken frame by frame.
    CEarthquake still, stillSteps;
    EXPECT_EQ(still.Walk(3000000000u, 0.06f, 0.0f).x, 0.0f);
    EarthquakeStep near;
    for (uint32_t f = 0; f <= 3000; ++f) near = stillSteps.Walk(f, 0.06f, 0.0f);
    const EarthquakeStep again = still.Walk(3000, 0.06f, 0.0f);
    EXPECT_EQ(std::memcmp(&again, &near, sizeof near), 0);
}

TEST(Earthquake, FrameZeroIsTheEnlargedPictureAndNegativeTimeIsFrameZero) {
    GuardedFrame in(40, 22, 4), out(40, 22), expected(40, 22);
    in.FillPattern(9);
    Attached sourceFrame(in), targetFrame(expected);
    Picture &source = sourceFrame.picture, &target = targetFrame.picture;
    PictureTransform m;
    m.Translate(-20.0f, -11.0f);
    m.Scale(1.18f);
    m.Translate(20.0f, 11.0f);
    m.Warp(source, target);
    for (double time : {0.0, -3.0})
        EXPECT_EQ(test::Rig<CWrapEarthquake>().Render(in, nullptr, out, 0.5, time), expected.Pixels())
            << time;
}

TEST(WaveEffects, RegressionChecksums) {
    GuardedFrame a(64, 48, 12), b(64, 48, 0, true), out(64, 48, 4);
    a.FillPattern(11);
    b.FillPattern(12);
    struct Case {
        double progress;
        int32_t edges;
        int32_t orientation;
        uint32_t crc;
    };
    const Case waveCases[] = {
        {0.0, 1, 1, 3207377693u}, {0.3, 1, 1, 3117843239u}, {0.5, 1, 1, 2977777747u},
        {0.7, 0, 0, 3502002417u}, {1.0, 0, 1, 102800082u},
    };
    for (const Case& c : waveCases) {
        test::Rig<CWave> wave;
        wave[kEdges].choice = c.edges;
        wave[kOrientation].choice = c.orientation;
        out.Fill(0);
        wave.Render(a, &b, out, c.progress, 1.3);
        EXPECT_EQ(out.Crc(), c.crc) << c.progress;
    }
    // The earthquake through its wrapper over a run of frames, one object, so
    // each frame continues the walk of the one before; frames 9 and 11 echo.
    const uint32_t quakeCrcs[] = {2254219077u, 1822860764u, 2959227942u, 4149158471u};
    test::Rig<CWrapEarthquake> quake;
    for (int i = 0; i < 4; ++i) {
        out.Fill(0);
        quake.Render(a, nullptr, out, 0.0, (8 + i) / 30.0);
        EXPECT_EQ(out.Crc(), quakeCrcs[i]) << i;
    }
}

}  // namespace
}  // namespace halcyra

// Line Drawing, Pastel Sketch and Airbrush: the contrast table, the recolouring
// of edges worked out by hand, the rim repair, the airbrush's K = 0 case and
// its size taken from the input frame, and regression checksums.
// Most cases go through the wrappers, which is how a host reaches them.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "EffectTestSupport.h"
#include "effects/Sketch.h"
#include "frame/Wrappers.h"

namespace halcyra {
namespace {

using test::GuardedFrame;

// Left half black, right half white, all opaque.
void FillStep(GuardedFrame& frame, int32_t edge) {
    for (int32_t y = 0; y < frame.height; ++y)
        for (int32_t x = 0; x < frame.width; ++x) {
            uint8_t* p = frame.Pixel(x, y);
            std::memset(p, x < edge ? 0 : 255, 3);
            p[3] = static_cast<uint8_t>(100 + y);
        }
}

TEST(SketchContrast, PivotsAtTheMiddle) {
    const auto identity = ContrastTable(0.5f);  // g = 1, offset 0
    for (int32_t i = 0; i < 96; ++i) EXPECT_EQ(identity[static_cast<size_t>(i)], i * 255 / 96) << i;
    const auto steep = ContrastTable(1.0f);  // g = 10, offset -4.5
    for (int32_t i = 0; i <= 43; ++i) EXPECT_EQ(steep[static_cast<size_t>(i)], 0) << i;
    for (int32_t i = 53; i < 96; ++i) EXPECT_EQ(steep[static_cast<size_t>(i)], 255) << i;
    const auto flat = ContrastTable(0.0f);  // g = 0.1, offset 0.45
    EXPECT_EQ(flat[0], 114);
    EXPECT_EQ(flat[95], 139);
}

// Ink in column 7, the dark side of FillStep's edge, paper elsewhere; the
// alpha is the input's, its rim rows copies of their neighbours.
void ExpectInkAtTheEdge(GuardedFrame& in, GuardedFrame& out, std::array<uint8_t, 3> ink,
                        std::array<uint8_t, 3> paper) {
    for (int32_t y = 0; y < out.height; ++y)
        for (int32_t x = 0; x < out.width; ++x) {
            const auto& colour = x == 7 ? ink : paper;
            ASSERT_EQ(std::memcmp(out.Pixel(x, y), colour.data(), 3), 0) << x << "," << y;
            ASSERT_EQ(out.Pixel(x, y)[3], in.Pixel(x, std::clamp(y, 1, out.height - 2))[3]) << x << "," << y;
        }
}

TEST(SketchLooks, InkOnTheDarkSideOfAnEdgeAndTheRimRepaired) {
    test::ForEachCpuClass([&] {
        GuardedFrame in(16, 6), out(16, 6);
        FillStep(in, 8);
        test::Rig<CWrapLinedrawing> drawing;
        drawing[0].colour = 0x302010;  // paper: red 0x10, green 0x20, blue 0x30
        drawing[1].colour = 0x0a0b0c;  // ink: red 0x0c
        drawing[2].number = 1.0f;      // Density: the kernel scaled by 20.3
        out.Fill(0x77);
        drawing.Render(in, nullptr, out, 0.5);
        // Column 7 sees 765 over the sum: table[95] = 252, so (paper * 3 + ink * 252) >> 8.
        // Elsewhere the weight is 0 and paper * 255 >> 8 loses one step.
        ExpectInkAtTheEdge(in, out, {10, 11, 12}, {47, 31, 15});
        // Pastel with no Blend: the wrapper's ink 0x060304 (red 4) in memory
        // order; the paper stays 255 here.
        test::Rig<CWrapPastelsketch> pastel;
        pastel[1].number = 0.0f;  // Blend
        pastel.Render(in, nullptr, out, 0.5);
        ExpectInkAtTheEdge(in, out, {6, 3, 4}, {255, 255, 255});
    });
}

TEST(PastelSketch, FullBlendIsTheInputWithItsRimRepaired) {
    test::ForEachCpuClass([&] {
        test::Rig<CPastelsketch> pastel;
        pastel[3].number = 1.0f;  // Blend
        GuardedFrame in(10, 8), out(10, 8);
        in.FillPattern(4);
        out.Fill(0);
        pastel.Render(in, nullptr, out, 0.5);
        for (int32_t y = 0; y < 8; ++y)
            for (int32_t x = 0; x < 10; ++x)
                ASSERT_EQ(std::memcmp(out.Pixel(x, y), in.Pixel(std::clamp(x, 1, 8), std::clamp(y, 1, 6)), 4),
                          0)
                    << x << "," << y;
    });
}

TEST(Airbrush, NoTapsLeavesThePixelPassOnWhatTheOutputHeld) {
    test::ForEachCpuClass([&] {
        // Spray 0 on 40 rows: K = trunc(0.1 * 40 * 0.15) = 0; the filters refuse.
        // Edge 0: threshold 245, a pixel darker than the held one's lit value
        // brightens; the rest take the darker of the two.
        test::Rig<CAirbrush> airbrush;
        airbrush[0].number = 0.0f;
        airbrush[1].number = 0.0f;
        GuardedFrame in(23, 40), out(23, 40), held(23, 40);
        in.FillPattern(5);
        held.FillPattern(6);
        std::copy(held.block.begin(), held.block.end(), out.block.begin());
        airbrush.Render(in, nullptr, out, 0.5);
        EXPECT_EQ(airbrush.host.requested, (std::vector<int32_t>{1, 0}));  // Edge is read before Spray
        int brightened = 0;
        for (int32_t y = 0; y < 40; ++y)
            for (int32_t x = 0; x < 23; ++x) {
                const uint8_t* s = in.Pixel(x, y);
                const uint8_t* o = held.Pixel(x, y);
                const int lit = (((o[2] * 76 + o[1] * 149 + o[0] * 30) >> 8) * 245) >> 8;
                const int own = (s[2] * 76 + s[1] * 149 + s[0] * 30) >> 8;
                for (int c = 0; c < 3; ++c)
                    ASSERT_EQ(out.Pixel(x, y)[c],
                              own < lit ? std::min(255, s[c] + lit - own) : std::min(s[c], o[c]))
                        << x << "," << y << " " << c;
                brightened += own < lit;
            }
        EXPECT_GT(brightened, 0);
    });
}

TEST(Airbrush, BlurSizeFollowsTheInputFrameNotTheCommonHeight) {
    test::ForEachCpuClass([&] {
        // 80 input rows give K = trunc(0.1 * 80 * 0.15) = 1, although only 40 are
        // drawn: a one-tap blur, which is the picture with its outer two pixels
        // replaced (one on the far side), and then the darker of it and the source.
        test::Rig<CWrapAirbrush> airbrush;
        airbrush[0].number = 0.0f;
        GuardedFrame in(30, 80), out(30, 40);
        in.FillPattern(7);
        out.Fill(0);
        airbrush.Render(in, nullptr, out, 0.5);
        for (int32_t y = 0; y < 40; ++y)
            for (int32_t x = 0; x < 30; ++x)
                for (int c = 0; c < 3; ++c) {
                    const uint8_t blurred = in.Pixel(std::clamp(x, 2, 28), std::clamp(y, 2, 38))[c];
                    ASSERT_EQ(out.Pixel(x, y)[c], std::min(blurred, in.Pixel(x, y)[c]))
                        << x << "," << y << " " << c;
                }
    });
}

template <class Effect>
void Draw(GuardedFrame& in, GuardedFrame& out) {
    test::Rig<Effect>().Render(in, nullptr, out, 0.5);
}

TEST(Sketch, RegressionChecksums) {
    // The wrappers, then the inner effects with their own defaults.
    const std::pair<void (*)(GuardedFrame&, GuardedFrame&), uint32_t> cases[] = {
        {Draw<CWrapLinedrawing>, 1613537387u}, {Draw<CWrapPastelsketch>, 3855719652u},
        {Draw<CWrapAirbrush>, 2071440819u},    {Draw<CLinedrawing>, 2626088641u},
        {Draw<CPastelsketch>, 2953214453u},    {Draw<CAirbrush>, 194180267u},
    };
    test::ForEachCpuClass([&] {
        GuardedFrame in(64, 48, 12), out(64, 48, 0, true);
        test::FillShapes(in);
        int row = 0;
        for (const auto& [render, crc] : cases) {
            out.Fill(0x20);
            render(in, out);
            EXPECT_EQ(out.Crc(), crc) << "row " << row++;
        }
    });
}

}  // namespace
}  // namespace halcyra

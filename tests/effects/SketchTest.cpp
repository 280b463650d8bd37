// Line Drawing, Pastel Sketch and Airbrush: the contrast table, the recolouring
// of edges worked out by hand, the rim repair, the airbrush's K = 0 case and
// its size taken from the input frame, tiny frames, and regression checksums.
// Most cases go through the wrappers, which is how a host reaches them.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "GlowTestSupport.h"
#include "TestHost.h"
#include "effects/Sketch.h"
#include "frame/Wrappers.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TestHost;

// Left half black, right half white, all opaque.
void FillStep(GuardedFrame& frame, int32_t edge) {
    for (int32_t y = 0; y < frame.height; ++y)
        for (int32_t x = 0; x < frame.width; ++x) {
            uint8_t* p = frame.Pixel(x, y);
            std::memset(p, x < edge ? 0 : 255, 3);
            p[3] = static_cast<uint8_t>(100 + y);
        }
}

void Render(IVideoEffect& effect, IVideoHost& host, GuardedFrame& in, GuardedFrame& out) {
    RenderInfo info = test::MakeRenderInfo(0.5);
    ASSERT_TRUE(effect.Render(&host, &in.desc, nullptr, &out.desc, &info));
    EXPECT_TRUE(out.GuardsIntact());
    EXPECT_TRUE(in.GuardsIntact());
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

TEST(LineDrawing, InkOnTheDarkSideOfAnEdgeAndTheRimRepaired) {
    test::ForEachCpuClass([&] {
        TestHost host;
        CWrapLinedrawing effect;
        host.UseDefaults(&effect);
        host.values[0].colour = 0x302010;  // paper: red 0x10, green 0x20, blue 0x30
        host.values[1].colour = 0x0a0b0c;  // ink: red 0x0c
        host.values[2].number = 1.0f;      // Density: the kernel scaled by 20.3
        GuardedFrame in(16, 6), out(16, 6);
        FillStep(in, 8);
        out.Fill(0x77);
        Render(effect, host, in, out);
        for (int32_t y = 0; y < 6; ++y)
            for (int32_t x = 0; x < 16; ++x) {
                // Column 7 sees 765 over the sum: table[95] = 252, so (paper * 3 + ink * 252) >> 8.
                // Elsewhere the weight is 0 and paper * 255 >> 8 loses one step.
                const uint8_t alpha = in.Pixel(x, std::clamp(y, 1, 4))[3];  // the rim rows are copies
                const uint8_t ink[4] = {10, 11, 12, alpha};
                const uint8_t paper[4] = {47, 31, 15, alpha};
                ASSERT_EQ(std::memcmp(out.Pixel(x, y), x == 7 ? ink : paper, 4), 0) << x << "," << y;
            }
    });
}

TEST(PastelSketch, FullBlendIsTheInputWithItsRimRepaired) {
    test::ForEachCpuClass([&] {
        TestHost host;
        CPastelsketch effect;
        host.UseDefaults(&effect);
        host.values[3].number = 1.0f;  // Blend
        GuardedFrame in(10, 8), out(10, 8);
        in.FillPattern(4);
        out.Fill(0);
        Render(effect, host, in, out);
        for (int32_t y = 0; y < 8; ++y)
            for (int32_t x = 0; x < 10; ++x)
                ASSERT_EQ(std::memcmp(out.Pixel(x, y), in.Pixel(std::clamp(x, 1, 8), std::clamp(y, 1, 6)), 4),
                          0)
                    << x << "," << y;
    });
}

TEST(PastelSketch, NoBlendSplitsPaperFromInkAtTheEdge) {
    test::ForEachCpuClass([&] {
        TestHost host;
        CWrapPastelsketch effect;
        host.UseDefaults(&effect);
        host.values[1].number = 0.0f;  // Blend
        GuardedFrame in(16, 6), out(16, 6);
        FillStep(in, 8);
        Render(effect, host, in, out);
        for (int32_t y = 0; y < 6; ++y)
            for (int32_t x = 0; x < 16; ++x) {
                const uint8_t alpha = in.Pixel(x, std::clamp(y, 1, 4))[3];
                // The wrapper's ink 0x060304 (red 4) in memory order; the paper stays 255 here.
                const uint8_t ink[4] = {6, 3, 4, alpha};
                const uint8_t paper[4] = {255, 255, 255, alpha};
                ASSERT_EQ(std::memcmp(out.Pixel(x, y), x == 7 ? ink : paper, 4), 0) << x << "," << y;
            }
    });
}

TEST(Airbrush, NoTapsLeavesThePixelPassOnWhatTheOutputHeld) {
    test::ForEachCpuClass([&] {
        // Spray 0 on 40 rows: K = trunc(0.1 * 40 * 0.15) = 0; the filters refuse.
        GuardedFrame in(23, 40), out(23, 40), held(23, 40);
        in.FillPattern(5);
        held.FillPattern(6);
        {
            // Through the wrapper, Edge is 1: threshold 0, the darker of the two.
            TestHost host;
            CWrapAirbrush effect;
            host.UseDefaults(&effect);
            host.values[0].number = 0.0f;
            std::copy(held.block.begin(), held.block.end(), out.block.begin());
            Render(effect, host, in, out);
            for (int32_t y = 0; y < 40; ++y)
                for (int32_t x = 0; x < 23; ++x)
                    for (int c = 0; c < 4; ++c) {
                        const uint8_t expected =
                            c == 3 ? in.Pixel(x, y)[3] : std::min(in.Pixel(x, y)[c], held.Pixel(x, y)[c]);
                        ASSERT_EQ(out.Pixel(x, y)[c], expected) << x << "," << y << " " << c;
                    }
        }
        {
            // Edge 0: threshold 245, a pixel darker than the held one's lit value brightens.
            TestHost host;
            CAirbrush effect;
            host.UseDefaults(&effect);
            host.values[0].number = 0.0f;
            host.values[1].number = 0.0f;
            std::copy(held.block.begin(), held.block.end(), out.block.begin());
            Render(effect, host, in, out);
            EXPECT_EQ(host.requested, (std::vector<int32_t>{1, 0}));  // Edge is read before Spray
            int brightened = 0;
            for (int32_t y = 0; y < 40; ++y)
                for (int32_t x = 0; x < 23; ++x) {
                    const uint8_t* s = in.Pixel(x, y);
                    const uint8_t* o = held.Pixel(x, y);
                    const int lit = (((o[2] * 76 + o[1] * 149 + o[0] * 30) >> 8) * 245) >> 8;
                    const int own = (s[2] * 76 + s[1] * 149 + s[0] * 30) >> 8;
                    for (int c = 0; c < 3; ++c) {
                        const int expected =
                            own < lit ? std::min(255, s[c] + lit - own) : std::min(s[c], o[c]);
                        ASSERT_EQ(out.Pixel(x, y)[c], expected) << x << "," << y << " " << c;
                    }
                    brightened += own < lit;
                }
            EXPECT_GT(brightened, 0);
        }
    });
}

TEST(Airbrush, BlurSizeFollowsTheInputFrameNotTheCommonHeight) {
    test::ForEachCpuClass([&] {
        // 80 input rows give K = trunc(0.1 * 80 * 0.15) = 1, although only 40 are
        // drawn: a one-tap blur, which is the picture with its outer two pixels
        // replaced (one on the far side), and then the darker of it and the source.
        TestHost host;
        CWrapAirbrush effect;
        host.UseDefaults(&effect);
        host.values[0].number = 0.0f;
        GuardedFrame in(30, 80), out(30, 40);
        in.FillPattern(7);
        out.Fill(0);
        Render(effect, host, in, out);
        for (int32_t y = 0; y < 40; ++y)
            for (int32_t x = 0; x < 30; ++x)
                for (int c = 0; c < 3; ++c) {
                    const uint8_t blurred = in.Pixel(std::clamp(x, 2, 28), std::clamp(y, 2, 38))[c];
                    ASSERT_EQ(out.Pixel(x, y)[c], std::min(blurred, in.Pixel(x, y)[c]))
                        << x << "," << y << " " << c;
                }
    });
}

TEST(Sketch, TinyAndMismatchedFramesStayInside) {
    test::ForEachCpuClass([&] {
        std::unique_ptr<VideoEffectBase> effects[] = {std::make_unique<CLinedrawing>(),
                                                      std::make_unique<CPastelsketch>(),
                                                      std::make_unique<CAirbrush>()};
        for (auto& effect : effects)
            for (auto [w, h, ow, oh] :
                 {std::array{1, 1, 1, 1}, std::array{2, 3, 2, 3}, std::array{4, 4, 4, 4},
                  std::array{3, 5, 7, 9}, std::array{9, 8, 4, 3}}) {
                std::vector<uint8_t> results[2];
                for (int fill = 0; fill < 2; ++fill) {
                    test::FilledMemoryHost host(effect.get(), fill == 0 ? 0x00 : 0xff);
                    GuardedFrame in(w, h), out(ow, oh);
                    in.FillPattern(10);
                    out.Fill(0x42);
                    RenderInfo info = test::MakeRenderInfo(0.5);
                    effect->Render(&host, &in.desc, nullptr, &out.desc, &info);
                    EXPECT_TRUE(out.GuardsIntact()) << effect->GetName() << " " << w << "x" << h;
                    results[fill] = out.Pixels();
                }
                EXPECT_EQ(results[0], results[1]) << effect->GetName() << " " << w << "x" << h;
            }
    });
}

TEST(Sketch, RegressionChecksums) {
    test::ForEachCpuClass([&] {
        struct Case {
            int which;  // wrapped 0 line drawing, 1 pastel, 2 airbrush; 3..5 the inner effects with their own
                        // defaults
            uint32_t crc;
        };
        const Case cases[] = {{0, 1613537387u}, {1, 3855719652u}, {2, 2071440819u},
                              {3, 2626088641u}, {4, 2953214453u}, {5, 194180267u}};
        GuardedFrame in(64, 48, 12), out(64, 48, 0, true);
        test::FillShapes(in);
        for (const Case& c : cases) {
            std::unique_ptr<IVideoEffect, void (*)(IVideoEffect*)> effect(
                nullptr, [](IVideoEffect* e) { e->Release(); });
            switch (c.which) {
                case 0:
                    effect.reset(new CWrapLinedrawing);
                    break;
                case 1:
                    effect.reset(new CWrapPastelsketch);
                    break;
                case 2:
                    effect.reset(new CWrapAirbrush);
                    break;
                case 3:
                    effect.reset(new CLinedrawing);
                    break;
                case 4:
                    effect.reset(new CPastelsketch);
                    break;
                default:
                    effect.reset(new CAirbrush);
                    break;
            }
            TestHost host;
            host.UseDefaults(effect.get());
            out.Fill(0x20);
            RenderInfo info = test::MakeRenderInfo(0.5);
            effect->Render(&host, &in.desc, nullptr, &out.desc, &info);
            RecordProperty("crc", std::to_string(out.Crc()));
            EXPECT_EQ(out.Crc(), c.crc) << effect->GetName();
        }
    });
}

}  // namespace
}  // namespace halcyra

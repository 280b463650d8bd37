// Behaviour several effects share: transitions show the plain clips at and
// past their ends, the filters that use the output as scratch clear all of
// it, and the blur-based effects read no memory nothing wrote on frames too
// small for their replicated interior.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>

#include "EffectTestSupport.h"
#include "effects/Camera.h"
#include "effects/Glow.h"
#include "effects/Metallic.h"
#include "effects/Roll.h"
#include "effects/Sketch.h"
#include "effects/Zoom.h"
#include "frame/Wrappers.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TestHost;

using Owned = std::unique_ptr<IVideoEffect, void (*)(IVideoEffect*)>;
using Factory = Owned (*)();
template <class Effect>
Owned Make() {
    return {new Effect(), [](IVideoEffect* e) { e->Release(); }};
}

TEST(Transitions, EndsAndProgressBeyondThemGiveThePlainClips) {
    // Roll's two orientations are choice 0 and 1 of its fourth parameter.
    const std::pair<Factory, int> cases[] = {{Make<CGlow>, -1},     {Make<CHalo>, -1}, {Make<CShake>, -1},
                                             {Make<CMetallic>, -1}, {Make<CZoom>, -1}, {Make<CRoll>, 0},
                                             {Make<CRoll>, 1}};
    test::ForEachCpuClass([&] {
        for (const auto& [make, orientation] : cases) {
            auto effect = make();
            TestHost host;
            host.UseDefaults(effect.get());
            if (orientation >= 0) host.values[3].choice = orientation;
            GuardedFrame a(21, 17), b(21, 17, 8), out(21, 17);
            a.FillPattern(3);
            b.FillPattern(4);
            for (double p : {0.0, -2.0, 1.0, 9.0}) {
                // The time runs with the progress, so Roll's whole turns end aligned.
                RenderInfo info = test::MakeRenderInfo(p, 2.0 * std::max(p, 0.0));
                out.Fill(0x33);
                effect->Render(&host, &a.desc, &b.desc, &out.desc, &info);
                EXPECT_EQ(out.Pixels(), p <= 0.0 ? a.Pixels() : b.Pixels()) << effect->GetName() << " " << p;
            }
        }
    });
}

TEST(ScratchFilters, ClearTheWholeOfALargerOutput) {
    // The output is the scratch picture of their passes, cleared whole, so
    // pixels outside the input do not keep what the host gave them.
    for (Factory make : {Make<CWrapMotionblur>, Make<CWrapZoomblur>, Make<CWrapShearenergy>}) {
        auto effect = make();
        TestHost host;
        host.UseDefaults(effect.get());
        GuardedFrame in(20, 12), out(33, 21);
        in.FillPattern(3);
        out.Fill(0x5a);
        effect->Render(&host, &in.desc, nullptr, &out.desc, nullptr);
        EXPECT_EQ(out.Pixel(25, 3)[1], 0) << effect->GetName();
        EXPECT_EQ(out.Pixel(3, 15)[2], 0) << effect->GetName();
    }
}

TEST(BlurBasedEffects, TinyFramesReadNoMemoryNothingWrote) {
    // Frames of 4 pixels or less leave the replicated interior empty; the
    // margins must then not carry whatever the allocator handed out. The
    // sketch looks also get outputs larger and smaller than the input.
    const std::pair<Factory, bool> effects[] = {{Make<CGlow>, true},
                                                {Make<CHalo>, true},
                                                {Make<CLinedrawing>, false},
                                                {Make<CPastelsketch>, false},
                                                {Make<CAirbrush>, false}};
    const std::array<int32_t, 4> sizes[] = {{4, 4, 4, 4}, {3, 7, 3, 7}, {9, 2, 9, 2}, {1, 1, 1, 1},
                                            {2, 3, 2, 3}, {3, 5, 7, 9}, {9, 8, 4, 3}};
    test::ForEachCpuClass([&] {
        for (const auto& [make, transition] : effects)
            for (auto [w, h, ow, oh] : sizes) {
                std::vector<uint8_t> results[2];
                for (int fill = 0; fill < 2; ++fill) {
                    auto effect = make();
                    TestHost host;
                    host.UseDefaults(effect.get());
                    host.offerAllocator = true;
                    host.allocator.fill = fill == 0 ? 0x00 : 0xff;
                    GuardedFrame a(w, h), b(w, h), out(ow, oh);
                    a.FillPattern(8);
                    b.FillPattern(9);
                    out.Fill(0x10);
                    RenderInfo info = test::MakeRenderInfo(0.45);
                    effect->Render(&host, &a.desc, transition ? &b.desc : nullptr, &out.desc, &info);
                    results[fill] = out.Pixels();
                }
                EXPECT_EQ(results[0], results[1]) << make()->GetName() << " " << w << "x" << h;
            }
    });
}

}  // namespace
}  // namespace halcyra

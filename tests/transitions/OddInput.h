// Rendering a transition on input that no sane host sends: tiny and mismatched
// frames, a bottom-up output, progress outside 0..1 or not a number, floats
// far outside their range. Nothing may crash or touch memory outside the
// frames, and the inputs stay as they were.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <initializer_list>
#include <utility>

#include "TestHost.h"
#include "frame/EffectInterfaces.h"

namespace halcyra::test {

inline void ExpectOddInputHarmless(const std::function<IVideoEffect*()>& make,
                                   std::initializer_list<int32_t> floats) {
    struct Sizes {
        int32_t aw, ah, bw, bh, ow, oh;
    };
    const Sizes sizes[] = {{1, 1, 1, 1, 1, 1},    {2, 2, 2, 2, 2, 2}, {3, 90, 3, 90, 3, 90},
                           {90, 3, 90, 3, 90, 3}, {5, 4, 9, 2, 7, 9}, {20, 12, 12, 20, 16, 16}};
    const double progresses[] = {0.5, 0.02, std::nan(""), -1e300, 1e300};
    const float values[] = {0.5f, std::nanf(""), 1e9f, -1e9f, 3.0f};
    for (const Sizes& s : sizes)
        for (const double progress : progresses)
            for (const float value : values) {
                IVideoEffect* effect = make();
                GuardedFrame a(s.aw, s.ah), b(s.bw, s.bh), out(s.ow, s.oh, 4, true);
                a.FillPattern(5);
                b.FillPattern(6);
                out.Fill(0x33);
                const auto firstBefore = a.Pixels();
                const auto secondBefore = b.Pixels();
                TestHost host;
                host.UseDefaults(effect);
                for (const int32_t index : floats) host.SetFloat(static_cast<size_t>(index), value);
                RenderInfo info = MakeRenderInfo(progress);
                effect->Render(&host, &a.desc, &b.desc, &out.desc, &info);
                EXPECT_TRUE(out.GuardsIntact() && a.GuardsIntact() && b.GuardsIntact())
                    << s.ow << "x" << s.oh << " progress " << progress << " value " << value;
                EXPECT_EQ(a.Pixels(), firstBefore);
                EXPECT_EQ(b.Pixels(), secondBefore);
                effect->Release();
            }
}

}  // namespace halcyra::test

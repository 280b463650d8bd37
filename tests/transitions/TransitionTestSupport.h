// Rendering a transition in tests: two patterned inputs, an output prefilled
// with a known byte, the effect's own defaults as parameter values.
#pragma once

#include <gtest/gtest.h>

#include "TestHost.h"
#include "frame/EffectInterfaces.h"

namespace halcyra::test {

struct TransitionRun {
    TransitionRun(IVideoEffect* effect, int32_t w, int32_t h) : a(w, h), b(w, h), out(w, h), effect(effect) {
        a.FillPattern(11);
        b.FillPattern(12);
        out.Fill(0x5A);
        host.UseDefaults(effect);
    }
    ~TransitionRun() { effect->Release(); }
    bool Render(double progress) {
        RenderInfo info = MakeRenderInfo(progress);
        return effect->Render(&host, &a.desc, &b.desc, &out.desc, &info);
    }
    GuardedFrame a, b, out;
    TestHost host;
    IVideoEffect* effect;
};

struct CrcCase {
    double progress;
    bool reverse;
    int32_t background;
    uint32_t crc;
};

}  // namespace halcyra::test

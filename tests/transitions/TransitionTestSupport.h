// Rendering a transition in tests: two patterned inputs, an output prefilled
// with a known byte, the effect's own defaults as parameter values; checksum
// and end-of-transition checks, a plain mix of two frames, and a tolerance
// comparison for scene points.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "TestHost.h"
#include "frame/EffectInterfaces.h"
#include "picture/PictureOps.h"
#include "scene/Math3D.h"

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

// Regression checksums of 64 x 48 frames from fixed inputs: each case sets
// Reverse and Background on the defaults, renders and compares.
template <size_t N>
void ExpectChecksums(const std::function<IVideoEffect*()>& make, const CrcCase (&cases)[N],
                     int32_t reverseIndex, int32_t backgroundIndex) {
    for (const CrcCase& c : cases) {
        TransitionRun run(make(), 64, 48);
        run.host.values[reverseIndex].flag = c.reverse ? 1 : 0;
        run.host.values[backgroundIndex].choice = c.background;
        ASSERT_TRUE(run.Render(c.progress));
        EXPECT_TRUE(run.out.GuardsIntact());
        EXPECT_EQ(run.out.Crc(), c.crc)
            << "progress " << c.progress << " reverse " << c.reverse << " background " << c.background;
    }
}

// The same for cases of any shape: `make` gives the effect for a case and
// `adjust` sets the case on its defaults.
template <class Case, size_t N, class Make, class Adjust>
void ExpectCaseChecksums(Make make, const Case (&cases)[N], Adjust adjust) {
    for (size_t i = 0; i < N; ++i) {
        TransitionRun run(make(cases[i]), 64, 48);
        adjust(run.host, cases[i]);
        ASSERT_TRUE(run.Render(cases[i].progress)) << "case " << i;
        EXPECT_TRUE(run.out.GuardsIntact());
        EXPECT_EQ(run.out.Crc(), cases[i].crc) << "case " << i << ", progress " << cases[i].progress;
    }
}

// Progress 0 shows the first picture and 1 the second, with Reverse off and
// on: Reverse swaps the pictures as well as the time.
inline void ExpectPlainEnds(TransitionRun& run, int32_t reverseIndex) {
    for (int32_t r = 0; r < 2; ++r) {
        run.host.values[reverseIndex].flag = r;
        EXPECT_TRUE(run.Render(0.0));
        EXPECT_EQ(run.out.Pixels(), run.a.Pixels()) << "reverse " << r;
        EXPECT_TRUE(run.Render(1.0));
        EXPECT_EQ(run.out.Pixels(), run.b.Pixels()) << "reverse " << r;
    }
    EXPECT_TRUE(run.out.GuardsIntact());
}

// The parameter names in order, and nothing after the last.
template <class Names>
void ExpectParameterNames(IVideoEffect* effect, const Names& names) {
    ParameterInfo info{};
    int32_t i = 0;
    for (const char* name : names) {
        ASSERT_TRUE(effect->GetParameterInfo(i, &info)) << i;
        EXPECT_STREQ(info.name, name);
        info = ParameterInfo{};
        ++i;
    }
    EXPECT_FALSE(effect->GetParameterInfo(i, &info));
}

// The plain mix first * firstWeight + second * secondWeight of two frames.
inline std::vector<uint8_t> MixedPixels(const GuardedFrame& first, const GuardedFrame& second,
                                        float firstWeight, float secondWeight) {
    GuardedFrame mixed(first.width, first.height);
    Picture a, b, m;
    a.AttachImage(first.desc);
    b.AttachImage(second.desc);
    m.AttachImage(mixed.desc);
    PictureOps::MixPictures(a, b, m, firstWeight, secondWeight);
    return mixed.Pixels();
}

inline void ExpectNear(const Vector3D& got, const Vector3D& want, double tolerance) {
    EXPECT_NEAR(got.x, want.x, tolerance);
    EXPECT_NEAR(got.y, want.y, tolerance);
    EXPECT_NEAR(got.z, want.z, tolerance);
}

}  // namespace halcyra::test

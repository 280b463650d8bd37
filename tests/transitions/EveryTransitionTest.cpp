// What every 3D transition here shares, checked from one table: parameter
// names and the order in which a frame asks for them, the plain pictures at
// the ends, frames drawn into memory of unknown content, and odd frames and
// values. Also the ranges, defaults and options that a host shows and that
// the regression checksums do not reach.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "TransitionTestSupport.h"
#include "transitions/BoxExplode.h"
#include "transitions/BoxFold.h"
#include "transitions/Confetti.h"
#include "transitions/PlaneExplode.h"
#include "transitions/Rings.h"
#include "transitions/Spirals.h"
#include "transitions/Twist.h"
#include "transitions/Wave3D.h"
#include "transitions/Wiggle.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TestHost;
using test::TransitionRun;

struct Transition {
    Transition(const char* label, IVideoEffect* (*make)(), int32_t reverse, std::vector<int32_t> reads,
               std::vector<const char*> names)
        : label(label), make(make), reverse(reverse), reads(std::move(reads)), names(std::move(names)) {}
    const char* label;
    IVideoEffect* (*make)();
    int32_t reverse;
    std::vector<int32_t> reads;  // the indices asked for, in order, by one frame
    std::vector<const char*> names;
};

template <class Effect>
IVideoEffect* Make() {
    return new Effect();
}

const std::vector<int32_t> kInOrder{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
std::vector<int32_t> FirstOf(size_t n) {
    return {kInOrder.begin(), kInOrder.begin() + static_cast<ptrdiff_t>(n)};
}

const Transition kTransitions[] = {
    Transition("Confetti", Make<D3DBlowingLeaves>, 9, FirstOf(11),
               {"Shading", "Columns", "Rows", "Power", "Wind direction", "Flutter", "Depth", "Tilt",
                "Reverse Order", "Reverse", "Random rotation"}),
    Transition("FlyApart", Make<D3DLeafBlower>, 6, FirstOf(12),
               {"Shading", "Columns", "Rows", "Speed", "Latitude", "Longitude", "Reverse", "Depth", "Tilt",
                "Flutter", "Reverse Order", "Random rotation"}),
    Transition("RotatingFrames", Make<D3DRings>, 6, FirstOf(9),
               {"Shading", "Frames", "Cohesion", "Depth", "Tilt", "Rotation", "Reverse", "Background",
                "Background Color"}),
    Transition("BouncingFrames", Make<D3DRingsVibration>, 7, FirstOf(10),
               {"Shading", "Frames", "Amplitude", "Depth", "Tilt", "Cohesion", "Rotation", "Reverse",
                "Background", "Background Color"}),
    // Reverse once before the frame, then the frame's own reads with an index
    // no parameter has.
    Transition("BoxExplode", Make<D3DBoxExplode>, 3, {3, 0, 1, 2, 7, 3},
               {"Delay", "Power", "Spin", "Reverse"}),
    Transition("BoxFold", Make<D3DBoxInversion>, 4, {0, 1, 3, 2, 4, 6, 5},
               {"Shading", "Speed", "Depth", "Tilt", "Reverse", "Background", "Background Color"}),
    // The trail's parameters are Render's own; the scene reads the rest.
    Transition(
        "PlaneExplode", Make<D3DPlaneExplode>, 7, {4, 5, 7, 0, 1, 2, 3, 6, 7},
        {"Delay", "Velocity", "Columns", "Rows", "Trail Count", "Trail Spacing", "Incline", "Reverse"}),
    Transition("Spiral", Make<D3DSpiral>, 6, FirstOf(9),
               {"Columns", "Rows", "Cohesion", "Depth", "Spiral Center", "Rotation", "Reverse", "Background",
                "Background Color"}),
    Transition("SpiralRotation", Make<D3DSpiralRotation>, 6, FirstOf(9),
               {"Shading", "Columns", "Rows", "Cohesion", "Depth", "Rotation", "Reverse", "Background",
                "Background Color"}),
    // Reverse is read once more ahead of the scene, to no effect.
    Transition("Twist", Make<D3DTwist>, 8, {8, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10},
               {"Shading", "Slices", "Cohesion", "Depth", "Glow", "Orientation", "Rotate", "Flip", "Reverse",
                "Background", "Background Color"}),
    Transition("Wave", Make<D3DWave>, 4, FirstOf(5), {"Shading", "Bank", "Delay", "Depth", "Reverse"}),
    Transition("Wiggle", Make<D3DKnolls>, 6, FirstOf(9),
               {"Shading", "Delay", "Amplitude", "Phase", "Frequency", "Direction", "Reverse", "Background",
                "Background Color"}),
};

void PrintTo(const Transition& transition, std::ostream* out) {
    *out << transition.label;
}

class EveryTransition : public ::testing::TestWithParam<Transition> {};

TEST_P(EveryTransition, ParameterNamesAndReadingOrder) {
    TransitionRun run(GetParam().make(), 32, 24);
    test::ExpectParameterNames(run.effect, GetParam().names);
    run.Render(0.5);
    EXPECT_EQ(run.host.requested, GetParam().reads);
}

TEST_P(EveryTransition, EndsShowThePlainPictures) {
    // Progress 0 is drawn as a frame of the motion: the scene still fills the frame.
    TransitionRun run(GetParam().make(), 40, 30);
    test::ExpectPlainEnds(run, GetParam().reverse);
}

// An output larger than the inputs, prefilled with different bytes, with and
// without the host's memory: no old byte may show, except that the colour
// background leaves (or blends with) the alpha the host delivered.
TEST_P(EveryTransition, LargerOutputShowsNoOldMemory) {
    for (const bool chooseColour : {false, true}) {
        std::vector<uint8_t> frames[2];
        bool colour = false;
        for (int32_t k = 0; k < 2; ++k) {
            TransitionRun run(GetParam().make(), 32, 24);
            GuardedFrame out(48, 32);
            out.Fill(k == 0 ? 0x11 : 0xEE);
            run.host.offerAllocator = k == 1;
            ParameterInfo info{};
            for (int32_t i = 0; run.effect->GetParameterInfo(i, &info); ++i, info = ParameterInfo{})
                if (std::string(info.name) == "Background") {
                    // A default of Colour gives way to Transparent, so that each kind is seen.
                    int32_t& choice = run.host.values[static_cast<size_t>(i)].choice;
                    choice = chooseColour ? 0 : (choice == 0 ? 3 : choice);
                    colour = chooseColour;
                }
            RenderInfo renderInfo = test::MakeRenderInfo(0.4);
            run.effect->Render(&run.host, &run.a.desc, &run.b.desc, &out.desc, &renderInfo);
            EXPECT_TRUE(out.GuardsIntact());
            frames[k] = out.Pixels();
        }
        for (size_t i = 0; i < frames[0].size(); ++i)
            ASSERT_TRUE(frames[0][i] == frames[1][i] || (colour && i % 4 == 3))
                << "byte " << i << (colour ? " with the colour background" : "");
    }
}

// Where a frame draws over a work picture, no output memory mid-way leaves
// nothing to draw in, and the frame says so; the plain ends need none.
TEST(TransitionsWithAWorkPicture, NoOutputMemoryGivesFalse) {
    for (IVideoEffect* (*make)() : {Make<D3DRingsVibration>, Make<D3DKnolls>}) {
        TransitionRun run(make(), 16, 16);
        ImageDesc empty{};
        RenderInfo middle = test::MakeRenderInfo(0.5), start = test::MakeRenderInfo(0.0);
        EXPECT_FALSE(run.effect->Render(&run.host, &run.a.desc, &run.b.desc, &empty, &middle));
        EXPECT_TRUE(run.effect->Render(&run.host, &run.a.desc, &run.b.desc, &empty, &start));
    }
}

// Thin, tiny and mismatched frames, a bottom-up output, progress near 0 or no
// number, every float at NaN or far outside its range with every switch on.
// Nothing may be written outside the output, nor into the inputs.
TEST_P(EveryTransition, OddFramesAndValuesStayInside) {
    struct Sizes {
        int32_t aw, ah, bw, bh, ow, oh;
    };
    const Sizes sizes[] = {{2, 2, 2, 2, 2, 2},      {3, 90, 3, 90, 3, 90},    {90, 3, 90, 3, 90, 3},
                           {5, 4, 9, 2, 7, 9},      {20, 12, 12, 20, 16, 16}, {20, 10, 40, 30, 40, 30},
                           {40, 30, 12, 50, 25, 20}};
    const float values[] = {std::nanf(""), 3.0f, -1e9f};
    for (const Sizes& s : sizes)
        for (const double progress : {0.02, 0.5, 0.8, std::nan("")})
            for (const float value : values) {
                IVideoEffect* effect = GetParam().make();
                GuardedFrame a(s.aw, s.ah), b(s.bw, s.bh), out(s.ow, s.oh, 4, true);
                a.FillPattern(5);
                b.FillPattern(6);
                const auto firstBefore = a.block, secondBefore = b.block;
                TestHost host;
                host.UseDefaults(effect);
                ParameterInfo info{};
                for (int32_t i = 0; effect->GetParameterInfo(i, &info); ++i, info = ParameterInfo{})
                    if (info.type == kParamFloat)
                        host.SetFloat(static_cast<size_t>(i), value);
                    else if (info.type == kParamBool)
                        host.values[static_cast<size_t>(i)].flag = 1;
                RenderInfo renderInfo = test::MakeRenderInfo(progress);
                effect->Render(&host, &a.desc, &b.desc, &out.desc, &renderInfo);
                EXPECT_TRUE(out.GuardsIntact())
                    << s.ow << "x" << s.oh << " progress " << progress << " value " << value;
                EXPECT_EQ(a.block, firstBefore);
                EXPECT_EQ(b.block, secondBefore);
                effect->Release();
            }
}

INSTANTIATE_TEST_SUITE_P(Transitions, EveryTransition, ::testing::ValuesIn(kTransitions),
                         [](const ::testing::TestParamInfo<Transition>& info) { return info.param.label; });

ParameterInfo InfoOf(IVideoEffect* effect, int32_t index) {
    ParameterInfo info;
    std::memset(&info, 0x77, sizeof info);
    EXPECT_TRUE(effect->GetParameterInfo(index, &info)) << index;
    effect->Release();
    return info;
}

TEST(TransitionParameters, RangesDefaultsAndOptions) {
    EXPECT_EQ(InfoOf(new D3DBoxExplode(), 2).minimum, -100.0f);  // Spin
    EXPECT_EQ(InfoOf(new D3DWave(), 1).minimum, -100.0f);        // Bank
    EXPECT_EQ(InfoOf(new D3DBoxExplode(), 0).value.number, 0.51f);
    // Columns and Rows clear the field after their range; Trail Count stops at 5.
    EXPECT_EQ(InfoOf(new D3DPlaneExplode(), 2).rangeExtra, 0);
    EXPECT_EQ(InfoOf(new D3DPlaneExplode(), 3).rangeExtra, 0);
    EXPECT_EQ(InfoOf(new D3DPlaneExplode(), 4).maximum, 5.0f);
    const ParameterInfo background = InfoOf(new D3DRingsVibration(), 8);
    EXPECT_EQ(background.value.choice, 4);
    EXPECT_EQ(background.choiceCount, 5);
    // The last option runs on past its 20-byte field.
    EXPECT_STREQ(background.choices[4], "Fade first frame to second");
    const ParameterInfo rotation = InfoOf(new D3DRingsVibration(), 6);
    EXPECT_EQ(rotation.choiceCount, 7);
    EXPECT_STREQ(rotation.choices[6], "Y-Anticlockwise");
    // Default backgrounds, which every checksum case overrides.
    EXPECT_EQ(InfoOf(new D3DRings(), 7).value.choice, 0);
    EXPECT_EQ(InfoOf(new D3DBoxInversion(), 5).value.choice, 3);
    EXPECT_EQ(InfoOf(new D3DSpiralRotation(), 7).value.choice, 1);
    EXPECT_EQ(InfoOf(new D3DSpiral(), 7).value.choice, 0);
    EXPECT_EQ(InfoOf(new D3DTwist(), 9).value.choice, 1);
    EXPECT_EQ(InfoOf(new D3DTwist(), 6).value.flag, 1);  // Rotate
}

}  // namespace
}  // namespace halcyra

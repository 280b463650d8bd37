// Wiggle: the rising and running wave, the cross-fade on the strips, ends of
// the transition and regression checksums.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "OddInput.h"
#include "TransitionTestSupport.h"
#include "picture/PictureOps.h"
#include "transitions/Wiggle.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TransitionRun;

constexpr int32_t kShading = 0;
constexpr int32_t kDelay = 1;
constexpr int32_t kAmplitude = 2;
constexpr int32_t kPhase = 3;
constexpr int32_t kFrequency = 4;
constexpr int32_t kDirection = 5;
constexpr int32_t kReverse = 6;
constexpr int32_t kBackground = 7;

TEST(Wiggle, ParametersAndReadingOrder) {
    TransitionRun run(new D3DKnolls(), 32, 24);
    EXPECT_STREQ(run.effect->GetName(), "Corvane 3D Wiggle");
    EXPECT_EQ(run.effect->GetInputCount(), 2);
    const char* names[] = {"Shading",   "Delay",   "Amplitude",  "Phase",           "Frequency",
                           "Direction", "Reverse", "Background", "Background Color"};
    test::ExpectParameterNames(run.effect, names);
    uint32_t bits;
    std::memcpy(&bits, &run.host.values[kShading].number, 4);
    EXPECT_EQ(bits, 0x3DF5C28Fu);
    std::memcpy(&bits, &run.host.values[kDelay].number, 4);
    EXPECT_EQ(bits, 0x3D8F5C29u);
    EXPECT_EQ(run.host.values[kBackground].choice, 0);
    run.Render(0.5);
    EXPECT_EQ(run.host.requested, (std::vector<int32_t>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
}

QuadMesh Sheet(Picture* picture, bool byY) {
    return QuadMeshCreator().MakeTiles(100, 80, {-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, byY ? 1 : 50,
                                       byY ? 50 : 1, picture, picture, 0, false);
}

TEST(Wiggle, SheetHasNoGapsAndNoJump) {
    Picture picture;
    for (const bool byY : {false, true}) {
        QuadMesh raised = Sheet(&picture, byY);
        RaiseWiggle(raised, 1.0, 5.0, 0.3, 5.9, byY);
        // Neighbouring strips share the z of their common edge.
        for (size_t i = 0; i + 1 < raised.faces.size(); ++i) {
            const auto& a = raised.faces[i].corners;
            const auto& b = raised.faces[i + 1].corners;
            EXPECT_EQ(byY ? a[3].z : a[1].z, byY ? b[0].z : b[0].z);
            EXPECT_EQ(byY ? a[2].z : a[2].z, byY ? b[1].z : b[3].z);
        }
        EXPECT_NE(raised.faces[0].corners[0].z, raised.faces[0].corners[byY ? 3 : 1].z);
        // The run phase starts where the rise ended.
        QuadMesh run = raised;
        for (QuadFace& face : run.faces) RunWiggle(face, 0.0, 5.0, 0.3, 5.9, byY);
        for (size_t i = 0; i < run.faces.size(); ++i)
            EXPECT_EQ(run.faces[i].corners, raised.faces[i].corners);
        for (QuadFace& face : run.faces) RunWiggle(face, 1.0, 5.0, 0.3, 5.9, byY);
        for (const QuadFace& face : run.faces)
            for (const Vector3D& c : face.corners) EXPECT_EQ(c.z, 0.0);
    }
    // Frequency 0 moves the sheet as one plane.
    QuadMesh flat = Sheet(&picture, false);
    RaiseWiggle(flat, 0.5, 0.0, 1.0, 2.0, false);
    for (const QuadFace& face : flat.faces)
        for (const Vector3D& c : face.corners) EXPECT_EQ(c.z, std::sin(1.0) * 2.0 * 0.5);
}

TEST(Wiggle, EndsShowThePlainPictures) {
    TransitionRun run(new D3DKnolls(), 32, 24);
    test::ExpectPlainEnds(run, kReverse);
}

// Amplitude 0 leaves a plain cross-fade over the strips.
TEST(Wiggle, FlatSheetIsACrossFade) {
    for (const int32_t direction : {0, 1}) {
        TransitionRun run(new D3DKnolls(), 120, 60);
        run.host.SetFloat(kAmplitude, 0.0f);
        run.host.values[kDirection].choice = direction;
        ASSERT_TRUE(run.Render(0.35));
        GuardedFrame expected(120, 60);
        Picture a, b, e;
        a.AttachImage(run.a.desc);
        b.AttachImage(run.b.desc);
        e.AttachImage(expected.desc);
        PictureOps::MixPictures(a, b, e, static_cast<float>(1.0 - 0.35), static_cast<float>(0.35));
        EXPECT_EQ(run.out.Pixels(), expected.Pixels()) << direction;
    }
}

TEST(Wiggle, LargerOutputAndNoWorkPicture) {
    std::vector<uint8_t> frames[2];
    for (int32_t k = 0; k < 2; ++k) {
        D3DKnolls* effect = new D3DKnolls();
        GuardedFrame a(32, 24), b(32, 24), out(48, 32);
        a.FillPattern(1);
        b.FillPattern(2);
        out.Fill(k == 0 ? 0x11 : 0xEE);
        test::TestHost host;
        host.UseDefaults(effect);
        host.values[kBackground].choice = 3;
        host.offerAllocator = k == 1;
        RenderInfo info = test::MakeRenderInfo(0.6);
        EXPECT_TRUE(effect->Render(&host, &a.desc, &b.desc, &out.desc, &info));
        EXPECT_TRUE(out.GuardsIntact());
        frames[k] = out.Pixels();
        effect->Release();
    }
    EXPECT_EQ(frames[0], frames[1]);

    D3DKnolls* effect = new D3DKnolls();
    GuardedFrame a(16, 16), b(16, 16);
    ImageDesc empty{};
    test::TestHost host;
    host.UseDefaults(effect);
    RenderInfo middle = test::MakeRenderInfo(0.5);
    EXPECT_FALSE(effect->Render(&host, &a.desc, &b.desc, &empty, &middle));
    effect->Release();
}

TEST(Wiggle, RegressionChecksums) {
    struct Case {
        double progress;
        bool reverse;
        int32_t direction;
        int32_t background;
        float phase;
        float frequency;
        uint32_t crc;
    };
    const Case cases[] = {
        {0.02, false, 0, 0, 0.0f, 0.5f, 3295818090u}, {0.1, false, 0, 0, 0.0f, 0.5f, 2249868672u},
        {0.5, false, 0, 0, 0.0f, 0.5f, 791797173u},   {0.9, false, 0, 0, 0.0f, 0.5f, 3869993790u},
        {0.4, true, 0, 0, 0.0f, 0.5f, 965205361u},    {0.5, false, 1, 3, 0.0f, 0.5f, 2353763787u},
        {0.3, false, 1, 1, 0.25f, 0.2f, 3083030275u}, {0.7, true, 0, 2, 0.6f, 1.0f, 2713676281u},
    };
    for (const auto& c : cases) {
        TransitionRun run(new D3DKnolls(), 64, 48);
        run.host.values[kReverse].flag = c.reverse ? 1 : 0;
        run.host.values[kDirection].choice = c.direction;
        run.host.values[kBackground].choice = c.background;
        run.host.SetFloat(kPhase, c.phase);
        run.host.SetFloat(kFrequency, c.frequency);
        ASSERT_TRUE(run.Render(c.progress));
        EXPECT_TRUE(run.out.GuardsIntact());
        EXPECT_EQ(run.out.Crc(), c.crc) << "progress " << c.progress << " reverse " << c.reverse
                                        << " direction " << c.direction << " background " << c.background;
    }
}

TEST(Wiggle, OddInputDoesNoHarm) {
    test::ExpectOddInputHarmless([] { return new D3DKnolls(); }, {0, 1, 2, 3, 4});
}

}  // namespace
}  // namespace halcyra

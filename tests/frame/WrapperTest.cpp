// The wrapper mechanism: two faces over one count, parameter answers from the
// tables, passing-on of host calls, and the shown lists of all ten wrappers.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "TestHost.h"
#include "frame/ActivationManager.h"
#include "frame/Wrappers.h"

namespace halcyra {
namespace {

using test::TestHost;

// An inner effect that asks its host for chosen parameters and keeps the answers.
class ProbeEffect final : public VideoEffectBase {
public:
    ProbeEffect() : VideoEffectBase(kDescriptor) {}
    bool Render(IVideoHost* host, ImageDesc*, ImageDesc*, ImageDesc*, RenderInfo*) override {
        answers.clear();
        for (int32_t index : asks) {
            ParameterValue value{};
            std::memset(&value, 0xEE, sizeof value);
            const bool ok = host->GetParameterValue(index, &value, kParamFloat);
            answers.push_back({ok, value});
        }
        void* service = nullptr;
        allocatorQuery = host->QueryInterface(IID_IHostAllocator, &service);
        if (service != nullptr) static_cast<IUnknown*>(service)->Release();
        return true;
    }
    struct Answer {
        bool ok;
        ParameterValue value;
    };
    std::vector<int32_t> asks;
    std::vector<Answer> answers;
    int32_t allocatorQuery = 0;
    static inline const EffectDescriptor kDescriptor{"Probe", 5, {}};
};

using ProbeWrapper = WrappedEffect<ProbeEffect>;

TEST(Wrapper, FixedValuesAnswerWithoutTheRealHostAndShownOnesAreRenumbered) {
    auto* wrapper = new ProbeWrapper(kWrapActivecamera);
    TestHost host;
    host.values.resize(5);
    for (int i = 0; i < 5; ++i) host.values[i].number = 0.1f * static_cast<float>(i + 1);
    wrapper->InnerEffect().asks = {8, 3, 6, 9};
    RenderInfo info = test::MakeRenderInfo(0.5);
    EXPECT_TRUE(wrapper->Render(&host, nullptr, nullptr, nullptr, &info));
    const auto& answers = wrapper->InnerEffect().answers;
    ASSERT_EQ(answers.size(), 4u);
    // Inner 8 "Synchronize Axes" is a fixed true byte; the rest of the record is untouched.
    EXPECT_TRUE(answers[0].ok);
    EXPECT_EQ(answers[0].value.value.bytes[0], 1);
    EXPECT_EQ(answers[0].value.value.bytes[1], 0xEE);
    EXPECT_EQ(answers[0].value.type, kParamFloat);  // the type is written for fixed answers too
    // Inner 3 "Crop" reaches the real host as shown parameter 2.
    EXPECT_TRUE(answers[1].ok);
    EXPECT_FLOAT_EQ(answers[1].value.value.number, 0.3f);
    // Inner 6 "Hold" is the float 0.105 with its exact bit pattern.
    EXPECT_EQ(std::bit_cast<uint32_t>(answers[2].value.value.number), 0x3DD70A3Du);
    // Past the table: false, but the type was already written.
    EXPECT_FALSE(answers[3].ok);
    EXPECT_EQ(answers[3].value.type, kParamFloat);
    EXPECT_EQ(host.requested, std::vector<int32_t>{2});
    // The inner effect's allocator query is passed on to the real host.
    EXPECT_EQ(wrapper->InnerEffect().allocatorQuery, kStatusNoInterface);
    EXPECT_EQ(host.queries, 1);
    wrapper->Release();
}

TEST(Wrapper, BeforeAnyRenderTheHostFaceRefuses) {
    auto* wrapper = new ProbeWrapper(kWrapZoomblur);
    IVideoHost* hostFace = wrapper;
    ParameterValue value;
    std::memset(&value, 0x11, sizeof value);
    EXPECT_FALSE(hostFace->GetParameterValue(0, &value, kParamFloat));
    EXPECT_EQ(value.type, 0x11111111);  // nothing written
    EXPECT_FALSE(hostFace->HostReservedA(1, nullptr, 0));
    EXPECT_EQ(hostFace->HostReservedB(nullptr, nullptr), 0);
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(hostFace->QueryInterface(IID_IHostAllocator, &out), kStatusNoInterface);
    EXPECT_EQ(out, nullptr);
    wrapper->Release();
}

// The two faces over one count are checked on every real wrapper from outside.
TEST(Wrapper, ReservedCallsPassOnAfterARender) {
    auto* wrapper = new ProbeWrapper(kWrapMetallic);
    IVideoHost* hostFace = wrapper;
    EXPECT_EQ(wrapper->GetInputCount(), 1);  // the inner 5 is not consulted
    TestHost host;
    RenderInfo info = test::MakeRenderInfo(0.0);
    wrapper->Render(&host, nullptr, nullptr, nullptr, &info);
    EXPECT_TRUE(hostFace->HostReservedA(1, nullptr, 0));
    EXPECT_EQ(hostFace->HostReservedB(nullptr, nullptr), 7);
    EXPECT_FALSE(hostFace->HostReservedC(nullptr, nullptr));  // never passed on
    EXPECT_EQ(host.reservedCalls, 2);
    EXPECT_EQ(hostFace->Release(), 0u);  // the whole wrapper goes with either face (ASan checks)
}

TEST(Wrapper, ShownListsOfAllTen) {
    const struct {
        const WrapperDescriptor* descriptor;
        int32_t count, lastPrimary, innerCount;
    } expected[] = {
        {&kWrapAirbrush, 1, 0, 2},       {&kWrapColorize, 4, 198, 8},     {&kWrapLinedrawing, 3, 132, 4},
        {&kWrapMetallic, 3, 330, 6},     {&kWrapPastelsketch, 2, 198, 4}, {&kWrapEarthquake, 1, 0, 2},
        {&kWrapMotionblur, 3, 198, 5},   {&kWrapShearenergy, 5, 198, 7},  {&kWrapZoomblur, 3, 198, 4},
        {&kWrapActivecamera, 5, 330, 9},
    };
    for (const auto& e : expected) {
        SCOPED_TRACE(e.descriptor->displayName);
        ProbeWrapper wrapper(*e.descriptor);
        ParameterInfo info{};
        int32_t count = 0;
        while (wrapper.GetParameterInfo(count, &info)) {
            EXPECT_EQ(info.layoutValid, 1);
            EXPECT_EQ(std::strncmp(info.name, "$$$/CV/", 7), 0);
            ++count;
            if (count == e.count) {
                EXPECT_EQ(info.layoutPrimary, e.lastPrimary);
            }
            info = ParameterInfo{};
        }
        EXPECT_EQ(count, e.count);
        EXPECT_EQ(static_cast<int32_t>(e.descriptor->inner.size()), e.innerCount);
        // Every shown parameter is reached by exactly one inner row.
        std::vector<int> uses(static_cast<size_t>(e.count));
        for (const auto& source : e.descriptor->inner)
            if (source.shownIndex >= 0) ++uses.at(static_cast<size_t>(source.shownIndex));
        for (int u : uses) EXPECT_EQ(u, 1);
    }
}

TEST(Wrapper, ConstantsHaveTheirExactFloatPatterns) {
    auto bits = [](const WrapperDescriptor& d, size_t i) { return d.inner[i].fixedBits; };
    EXPECT_EQ(bits(kWrapActivecamera, 7), 0x3F0A3D71u);
    EXPECT_EQ(bits(kWrapColorize, 7), 0x3F1D70A4u);
    EXPECT_EQ(bits(kWrapMetallic, 2), 0x3F68F5C3u);
    EXPECT_EQ(bits(kWrapMetallic, 3), 0x3EF33333u);
    EXPECT_EQ(bits(kWrapShearenergy, 3), 0x3F028F5Cu);
    EXPECT_EQ(bits(kWrapEarthquake, 1), 0x3F533333u);
    EXPECT_EQ(bits(kWrapPastelsketch, 1), 0x060304u);
    ParameterInfo info{};
    ProbeWrapper wrapper(kWrapShearenergy);
    ASSERT_TRUE(wrapper.GetParameterInfo(3, &info));
    EXPECT_EQ(std::bit_cast<uint32_t>(info.value.point[0]), 0x3EFA0BE5u);
    EXPECT_EQ(std::bit_cast<uint32_t>(info.value.point[1]), 0x3EEE23AFu);
    EXPECT_EQ(info.layoutSecondary, 90);
    ProbeWrapper activecamera(kWrapActivecamera);
    EXPECT_FALSE(activecamera.GetParameterInfo(5, &info));
}

TEST(Wrapper, MetallicWrapperHandsTheFrameToTheLicenceGate) {
    CWrapMetallic* wrapper = new CWrapMetallic();
    TestHost host;
    host.UseDefaults(wrapper);
    test::GuardedFrame in(8, 4), out(8, 4);
    in.FillPattern(1);
    RenderInfo info = test::MakeRenderInfo(0.5);
    const uint64_t before = ActivationManager().FramesSeen();
    EXPECT_TRUE(wrapper->Render(&host, &in.desc, nullptr, &out.desc, &info));
    EXPECT_EQ(ActivationManager().FramesSeen(), before + 1);
    EXPECT_EQ(wrapper->OuterHost(), &host);  // kept after the call
    wrapper->Release();
}

}  // namespace
}  // namespace halcyra

// The binary contract, checked from outside: this program includes only the
// SDK header and loads the built library with dlopen. For every catalogue row
// that exists it checks names, input counts, parameter records, presets,
// reference counting, and renders with guard bytes around every frame,
// negative pitches, the host allocator on and off, a larger output, repeated
// renders and odd input.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "frame/EffectInterfaces.h"

using namespace halcyra;

namespace {

// The catalogue as a host knows it; rows 23 to 32 are the one-input filters.
// clang-format off
const char* const kNames[37] = {
    "Corvane Roll", "Corvane Shake", "Corvane Shear", "Corvane Smear", "Corvane Spin", "Corvane Wave",
    "Corvane Zoom", "Corvane 3D Plane Explode", "Corvane 3D Box Explode", "Corvane 3D Twist",
    "Corvane 3D Rotating Frames", "Corvane 3D Checker Board", "Corvane 3D Bouncing Cubes",
    "Corvane 3D Spiral", "Corvane 3D Spiral Rotation", "Corvane 3D Box Fold", "Corvane 3D Bouncing Frames",
    "Corvane 3D Wave", "Corvane 3D Wiggle", "Corvane 3D Confetti", "Corvane Glow", "Corvane Halo",
    "Corvane Metallic", "Airbrush HY", "Colorize HY", "Linedrawing HY", "Metallic HY", "Pastelsketch HY",
    "Earthquake HY", "Motionblur HY", "Shearenergy HY", "Zoomblur HY", "Activecamera HY",
    "Corvane 3D Fly Apart", "Corvane Road Sign", "Corvane Wedding", "Corvane Star"};
// clang-format on

const auto IsWrapper = [](int32_t index) { return index >= 23 && index <= 32; };
const auto Is3D = [](int32_t index) { return (index >= 7 && index <= 19) || index == 33; };
// The earthquake's walk goes on between frames.
const auto KeepsState = [](int32_t index) { return index == 28; };
// Rows whose own steps write the whole output: the 3D backgrounds, and the
// zooms, the active camera, the shear and motion blur filters, which clear
// their scratch (the output) whole, and Colorize, which converts the whole
// output back from HSV.
const auto DrawsWholeOutput = [](int32_t index) {
    return Is3D(index) || index == 6 || index == 24 || (index >= 29 && index <= 32);
};
// Spin and Star give hosts zero-length parameter names.
const auto HasEmptyNames = [](int32_t index) { return index == 4 || index == 36; };

class Library {
public:
    Library() {
        handle = dlopen(HALCYRA_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) return;
        auto entry = reinterpret_cast<GetEffectsLibraryFunction>(dlsym(handle, "GetEffectsLibrary"));
        if (entry != nullptr) library = entry();
    }
    ~Library() {
        if (library != nullptr) library->Release();
        // The library stays loaded: effects may still be around in a failing test.
    }
    void* handle = nullptr;
    IEffectLibrary* library = nullptr;
};

Library& TheLibrary() {
    static Library instance;
    return instance;
}

class Allocator final : public IHostAllocator {
public:
    int32_t QueryInterface(const Guid&, void** out) override {
        *out = nullptr;
        return kStatusNoInterface;
    }
    uint32_t AddRef() override { return ++count; }
    uint32_t Release() override { return --count; }
    int32_t Allocate(void** out, uint32_t size) override {
        *out = std::malloc(size);
        ++live;
        return 0;
    }
    void Free(void* p) override {
        std::free(p);
        --live;
    }
    int32_t AllocatePicture(void** out, int32_t w, int32_t h, int32_t c, int32_t* pitch) override {
        *pitch = w * c + 4;
        *out = std::malloc(static_cast<size_t>(*pitch) * h);
        ++live;
        return 0;
    }
    void FreePicture(void* p) override {
        std::free(p);
        --live;
    }
    int32_t count = 0;
    int32_t live = 0;
};

class Host final : public IVideoHost {
public:
    int32_t QueryInterface(const Guid& iid, void** out) override {
        if (offerAllocator && SameGuid(iid, IID_IHostAllocator)) {
            *out = &allocator;
            allocator.AddRef();
            return kStatusOk;
        }
        *out = nullptr;
        return kStatusNoInterface;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    bool GetParameterValue(int32_t index, ParameterValue* value, int32_t type) override {
        if (index < 0 || static_cast<size_t>(index) >= values.size()) return false;
        value->value = values[static_cast<size_t>(index)];
        value->type = type;
        return true;
    }
    bool HostReservedA(int32_t, void*, uint8_t) override { return false; }
    intptr_t HostReservedB(void*, void*) override { return 0; }
    bool HostReservedC(void*, void*) override { return false; }
    void HostReservedD(void*) override {}
    std::vector<ParameterData> values;
    bool offerAllocator = false;
    Allocator allocator;
};

class Frame {
public:
    static constexpr size_t kGuard = 256;
    Frame(int32_t w, int32_t h, bool negative = false, int32_t padding = 8)
        : w(w), h(h), pitch(w * 4 + padding) {
        block.assign(kGuard * 2 + static_cast<size_t>(pitch) * static_cast<size_t>(h > 0 ? h : 0), 0xA5);
        desc.width = w;
        desc.height = h;
        desc.bytesPerPixel = 4;
        uint8_t* base = block.data() + kGuard;
        desc.data = negative && h > 0 ? base + static_cast<size_t>(pitch) * (h - 1) : base;
        desc.pitch = negative ? -pitch : pitch;
    }
    // Pixel (x, y) in memory order: a negative pitch describes the same memory
    // from its last row, and must give the same bytes as the positive description.
    uint8_t* Px(int32_t x, int32_t y) {
        return block.data() + kGuard + static_cast<size_t>(pitch) * y + x * 4;
    }
    void Pattern(uint32_t seed) {
        std::mt19937 r(seed);
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x) {
                // Smooth gradients with noise: effects that measure brightness or edges see structure.
                uint8_t* p = Px(x, y);
                p[0] = static_cast<uint8_t>(x * 255 / (w > 1 ? w - 1 : 1) + (r() & 15));
                p[1] = static_cast<uint8_t>(y * 255 / (h > 1 ? h - 1 : 1));
                p[2] = static_cast<uint8_t>(((x / 8 + y / 8) & 1) ? 220 : 30);
                p[3] = static_cast<uint8_t>(200 + (r() & 55));
            }
    }
    void Fill(uint8_t v) {
        for (int32_t y = 0; y < h; ++y) std::memset(Px(0, y), v, static_cast<size_t>(w) * 4);
    }
    std::vector<uint8_t> Pixels() {
        std::vector<uint8_t> out;
        for (int32_t y = 0; y < h; ++y) out.insert(out.end(), Px(0, y), Px(0, y) + w * 4);
        return out;
    }
    bool GuardsIntact() const {
        for (size_t i = 0; i < kGuard; ++i)
            if (block[i] != 0xA5 || block[block.size() - 1 - i] != 0xA5) return false;
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = w * 4; x < pitch; ++x)
                if (block[kGuard + static_cast<size_t>(y) * pitch + x] != 0xA5) return false;
        return true;
    }
    int32_t w, h, pitch;
    ImageDesc desc{};
    std::vector<uint8_t> block;
};

RenderInfo Info(double progress, double time = 0.4) {
    RenderInfo info{};
    info.progress = progress;
    info.time = time;
    info.fieldMode = 3;
    return info;
}

std::vector<int32_t> ExistingRows() {
    std::vector<int32_t> rows;
    if (TheLibrary().library == nullptr) return rows;
    for (int32_t i = 0; i < 37; ++i) {
        IVideoEffect* e = TheLibrary().library->CreateEffect(i);
        if (e != nullptr) {
            rows.push_back(i);
            e->Release();
        }
    }
    return rows;
}

std::vector<ParameterData> Defaults(IVideoEffect* effect) {
    std::vector<ParameterData> values;
    for (int32_t i = 0;; ++i) {
        ParameterInfo info{};
        if (!effect->GetParameterInfo(i, &info)) break;
        values.push_back(info.value);
    }
    return values;
}

// Renders one 61 x 37 frame of an effect between two patterned inputs, with
// the output and one input padded differently, and checks what must always hold.
std::vector<uint8_t> RenderOnce(int32_t index, double progress, bool negative, bool offerAllocator) {
    IVideoEffect* effect = TheLibrary().library->CreateEffect(index);
    Host host;
    host.offerAllocator = offerAllocator;
    host.values = Defaults(effect);
    Frame a(61, 37, negative), b(61, 37, negative, 0), out(61, 37, negative, 12);
    a.Pattern(1);
    b.Pattern(2);
    out.Fill(0x3C);
    const auto aBefore = a.block, bBefore = b.block;
    RenderInfo info = Info(progress);
    EXPECT_TRUE(effect->Render(&host, &a.desc, &b.desc, &out.desc, &info));
    EXPECT_TRUE(a.block == aBefore && b.block == bBefore) << "input written";
    EXPECT_TRUE(out.GuardsIntact()) << "write outside the output";
    EXPECT_EQ(host.allocator.live, 0) << "host memory leaked";
    EXPECT_EQ(host.allocator.count, 0) << "host allocator reference leaked";
    effect->Release();
    return out.Pixels();
}

class EveryEffect : public ::testing::TestWithParam<int32_t> {};

TEST(Abi, LibraryLoadsAndExportsOneEntry) {
    ASSERT_NE(TheLibrary().handle, nullptr) << dlerror();
    ASSERT_NE(TheLibrary().library, nullptr);
    EXPECT_STREQ(TheLibrary().library->GetName(), "Corvane Halcyra Suite");
    EXPECT_EQ(TheLibrary().library->CreateEffect(37), nullptr);
    EXPECT_EQ(TheLibrary().library->CreateEffect(-1), nullptr);
    EXPECT_EQ(dlsym(TheLibrary().handle, "_ZN7halcyra8CHalcyra7GetNameEv"), nullptr)
        << "internal symbol exported";
    EXPECT_FALSE(ExistingRows().empty());
}

TEST_P(EveryEffect, NamesCountsAndParameterRecords) {
    const int32_t index = GetParam();
    IVideoEffect* effect = TheLibrary().library->CreateEffect(index);
    if (effect == nullptr) GTEST_SKIP() << "row not built";
    EXPECT_STREQ(effect->GetName(), kNames[index]);
    EXPECT_EQ(effect->GetInputCount(), IsWrapper(index) ? 1 : 2);
    EXPECT_EQ(effect->ReservedEffectSlot(nullptr, 3), 0);
    int32_t count = 0;
    for (;; ++count) {
        ParameterInfo info{};
        if (!effect->GetParameterInfo(count, &info)) {
            ParameterInfo cleared{};
            EXPECT_EQ(std::memcmp(&info, &cleared, sizeof info), 0) << "record touched past the last";
            break;
        }
        SCOPED_TRACE(info.name);
        if (!HasEmptyNames(index)) EXPECT_GT(std::strlen(info.name), 0u);
        EXPECT_LT(std::strlen(info.name), 40u);
        EXPECT_TRUE(info.type >= 0 && info.type <= 4) << info.type;
        if (info.type == kParamFloat) {
            EXPECT_LT(info.minimum, info.maximum);
            EXPECT_TRUE(info.value.number >= 0.0f && info.value.number <= 1.0f) << info.value.number;
        }
        if (info.type == kParamChoice) {
            EXPECT_TRUE(info.choiceCount > 0 && info.choiceCount <= 10) << info.choiceCount;
            EXPECT_TRUE(info.value.choice >= 0 && info.value.choice < info.choiceCount) << info.value.choice;
        }
        if (IsWrapper(index)) {
            EXPECT_EQ(info.layoutValid, 1);
            EXPECT_EQ(std::strncmp(info.name, "$$$/CV/", 7), 0);
        } else {
            EXPECT_EQ(info.layoutValid, 0);
            EXPECT_EQ(info.layoutPrimary, 0);
            EXPECT_EQ(info.layoutSecondary, 0);
        }
        // Asking again gives the same record: questions read no state.
        ParameterInfo again{};
        ASSERT_TRUE(effect->GetParameterInfo(count, &again));
        EXPECT_EQ(std::memcmp(&info, &again, sizeof info), 0);
    }
    EXPECT_LT(count, 30);
    // Presets: names until null, values for every parameter.
    int32_t presets = 0;
    while (effect->GetPresetName(presets) != nullptr) {
        uint8_t value[8] = {};
        for (int32_t p = 0; p < count; ++p) EXPECT_TRUE(effect->GetPresetValue(presets, p, value));
        EXPECT_FALSE(effect->GetPresetValue(presets, count, value));
        ++presets;
    }
    uint64_t untouched = 0x1122334455667788ull;
    EXPECT_FALSE(effect->GetPresetValue(presets, 0, &untouched));
    EXPECT_EQ(untouched, 0x1122334455667788ull);
    EXPECT_EQ(effect->Release(), 0u);
}

TEST_P(EveryEffect, ReferenceCountingAndInterfaces) {
    const int32_t index = GetParam();
    IVideoEffect* effect = TheLibrary().library->CreateEffect(index);
    if (effect == nullptr) GTEST_SKIP() << "row not built";
    void* out = nullptr;
    ASSERT_EQ(effect->QueryInterface(IID_IUnknown, &out), kStatusOk);
    EXPECT_EQ(out, static_cast<void*>(effect));
    ASSERT_EQ(effect->QueryInterface(IID_IVideoEffect, &out), kStatusOk);
    EXPECT_EQ(effect->AddRef(), 4u);
    EXPECT_EQ(effect->Release(), 3u);
    out = reinterpret_cast<void*>(1);
    EXPECT_EQ(effect->QueryInterface(IID_IEffectLibrary, &out), kStatusNoInterface);
    EXPECT_EQ(out, nullptr);
    if (IsWrapper(index)) {
        ASSERT_EQ(effect->QueryInterface(IID_IVideoHost, &out), kStatusOk);
        auto* hostFace = static_cast<IVideoHost*>(out);
        EXPECT_EQ(hostFace->AddRef(), 5u);
        void* back = nullptr;
        ASSERT_EQ(hostFace->QueryInterface(IID_IVideoEffect, &back), kStatusOk);
        EXPECT_EQ(back, static_cast<void*>(effect));
        ParameterValue value{};
        EXPECT_FALSE(hostFace->GetParameterValue(0, &value, kParamFloat));  // no render yet
        for (int i = 0; i < 5; ++i) hostFace->Release();
        EXPECT_EQ(hostFace->Release(), 0u);  // the whole object goes with either face
    } else {
        EXPECT_EQ(effect->QueryInterface(IID_IVideoHost, &out), kStatusNoInterface);
        effect->Release();
        effect->Release();
        EXPECT_EQ(effect->Release(), 0u);
    }
}

TEST_P(EveryEffect, RendersInsideItsFramesAndRepeatsItself) {
    const int32_t index = GetParam();
    IVideoEffect* probe = TheLibrary().library->CreateEffect(index);
    if (probe == nullptr) GTEST_SKIP() << "row not built";
    probe->Release();
    for (double progress : {0.0, 0.3, 0.5, 1.0}) {
        SCOPED_TRACE(progress);
        const auto first = RenderOnce(index, progress, false, false);
        if (!KeepsState(index))
            EXPECT_EQ(RenderOnce(index, progress, false, false), first) << "renders differ";
        EXPECT_EQ(RenderOnce(index, progress, true, false), first) << "negative pitch differs";
        EXPECT_EQ(RenderOnce(index, progress, false, true), first) << "host allocator changes the picture";
    }
}

TEST_P(EveryEffect, LargerOutputAndOddFrames) {
    const int32_t index = GetParam();
    IVideoEffect* effect = TheLibrary().library->CreateEffect(index);
    if (effect == nullptr) GTEST_SKIP() << "row not built";
    Host host;
    host.values = Defaults(effect);
    RenderInfo info = Info(0.45);
    {
        Frame a(20, 12), b(20, 12), out(33, 21);
        a.Pattern(3);
        b.Pattern(4);
        out.Fill(0x5A);
        EXPECT_TRUE(effect->Render(&host, &a.desc, &b.desc, &out.desc, &info));
        EXPECT_TRUE(out.GuardsIntact());
        if (!DrawsWholeOutput(index)) {
            // Most 2D effects draw only the overlap; the rest keeps its old pixels.
            for (int32_t y = 0; y < 21; ++y)
                for (int32_t x = (y < 12 ? 20 : 0); x < 33; ++x)
                    ASSERT_EQ(out.Px(x, y)[0], 0x5A) << x << "," << y;
        }
    }
    // Tiny, empty and mismatched frames, hostile parameter values, a host that
    // refuses every parameter, hostile progress and time: no crash, nothing
    // written outside the output or into an input. 3D rows may refuse.
    auto renderOdd = [&](int32_t w, int32_t h, RenderInfo odd) {
        SCOPED_TRACE(testing::Message() << w << "x" << h << " progress " << odd.progress);
        Frame a(w, h), b(w + 3, h + 1), out(w, h);
        a.Pattern(5);
        b.Pattern(6);
        const auto before = a.block;
        const bool ok = effect->Render(&host, &a.desc, &b.desc, &out.desc, &odd);
        if (!Is3D(index)) EXPECT_TRUE(ok);
        EXPECT_TRUE(out.GuardsIntact());
        EXPECT_EQ(a.block, before);
    };
    for (auto [w, h] : {std::pair{1, 1}, {2, 1}, {1, 3}, {5, 4}, {0, 0}, {0, 7}}) renderOdd(w, h, info);
    {
        Frame a(9, 9), b(9, 9);
        ImageDesc nullOutput{nullptr, 9, 9, 36, 4};
        effect->Render(&host, &a.desc, &b.desc, &nullOutput, &info);
    }
    for (float v :
         {std::numeric_limits<float>::quiet_NaN(), 1e30f, -1e30f, std::numeric_limits<float>::infinity()}) {
        for (auto& value : host.values) value.number = v;
        renderOdd(17, 11, info);
    }
    host.values.clear();
    for (double t : {0.0, -5.0, 1e12, std::numeric_limits<double>::quiet_NaN()}) renderOdd(13, 8, Info(t, t));
    effect->Release();
}

// Only rows this build offers; the others answer null, which the first test checks.
INSTANTIATE_TEST_SUITE_P(Catalogue, EveryEffect, ::testing::ValuesIn(ExistingRows()),
                         [](const ::testing::TestParamInfo<int32_t>& info) {
                             return "Row" + std::to_string(info.param);
                         });

}  // namespace

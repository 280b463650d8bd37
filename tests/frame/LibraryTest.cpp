// The library object, the catalogue and the parameter records.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/ActivationManager.h"
#include "frame/Catalogue.h"
#include "frame/Halcyra.h"
#include "frame/ParameterTable.h"

namespace halcyra {
namespace {

TEST(Library, NameCountAndIdentity) {
    IEffectLibrary* a = GetEffectsLibrary();
    IEffectLibrary* b = GetEffectsLibrary();
    ASSERT_NE(a, b);  // not a singleton
    EXPECT_STREQ(a->GetName(), "Corvane Halcyra Suite");
    EXPECT_EQ(a->AddRef(), 2u);
    EXPECT_EQ(a->Release(), 1u);  // a count of 2 releases to 1
    EXPECT_EQ(a->GetActivationManager(), b->GetActivationManager());
    EXPECT_EQ(a->LibraryReservedB(), 0);
    a->LibraryReservedA(nullptr, 5);
    EXPECT_EQ(a->AddRef(), 2u);
    a->Release();
    EXPECT_EQ(a->Release(), 0u);
    EXPECT_EQ(b->Release(), 0u);
}

TEST(Library, QueryInterfaceAnswersOnlyItsOwnInterfaces) {
    IEffectLibrary* library = GetEffectsLibrary();
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(library->QueryInterface(IID_IVideoEffect, &out), kStatusNoInterface);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(library->QueryInterface(IID_IUnknown, &out), kStatusOk);
    EXPECT_EQ(out, static_cast<void*>(library));
    EXPECT_EQ(library->QueryInterface(IID_IEffectLibrary, &out), kStatusOk);
    EXPECT_EQ(library->Release(), 2u);
    library->Release();
    EXPECT_EQ(library->Release(), 0u);
}

TEST(Library, CreateEffectTreatsIndexAsUnsigned) {
    IEffectLibrary* library = GetEffectsLibrary();
    EXPECT_EQ(library->CreateEffect(37), nullptr);
    EXPECT_EQ(library->CreateEffect(-1), nullptr);
    EXPECT_EQ(library->CreateEffect(INT32_MIN), nullptr);
    for (int32_t i = 0; i < kCatalogueSize; ++i) {
        IVideoEffect* effect = library->CreateEffect(i);
        if (effect == nullptr) {
            EXPECT_EQ(CatalogueEntry(i).create, nullptr) << i;
            continue;
        }
        EXPECT_STREQ(effect->GetName(), CatalogueEntry(i).displayName) << i;
        EXPECT_EQ(effect->GetInputCount(), CatalogueEntry(i).inputCount) << i;
        EXPECT_EQ(effect->GetPresetName(0), i == 21 ? effect->GetPresetName(0) : nullptr) << i;
        EXPECT_EQ(effect->ReservedEffectSlot(nullptr, 0), 0);
        EXPECT_EQ(effect->Release(), 0u);  // created with its one reference
    }
    library->Release();
}

TEST(Library, CatalogueNamesAtTheFixedIndices) {
    EXPECT_STREQ(CatalogueEntry(0).displayName, "Corvane Roll");
    EXPECT_STREQ(CatalogueEntry(22).className, "CMetallic");
    EXPECT_STREQ(CatalogueEntry(26).displayName, "Metallic HY");
    EXPECT_STREQ(CatalogueEntry(33).displayName, "Corvane 3D Fly Apart");
    EXPECT_STREQ(CatalogueEntry(36).displayName, "Corvane Star");
    for (int32_t i = 23; i <= 32; ++i) EXPECT_EQ(CatalogueEntry(i).inputCount, 1);
}

TEST(Library, EffectQueryInterfaceFormOfPlainEffects) {
    IEffectLibrary* library = GetEffectsLibrary();
    IVideoEffect* effect = library->CreateEffect(22);
    ASSERT_NE(effect, nullptr);
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(effect->QueryInterface(IID_IVideoHost, &out), kStatusNoInterface);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(effect->QueryInterface(IID_IVideoEffect, &out), kStatusOk);
    EXPECT_EQ(out, static_cast<void*>(effect));
    EXPECT_EQ(effect->Release(), 1u);
    EXPECT_EQ(effect->Release(), 0u);
    library->Release();
}

TEST(ParameterRecords, FloatWritesItsFieldsAndLeavesLayoutAlone) {
    constexpr ParameterDesc table[] = {FloatParam("Shine", 0.84f, -100.0f, 100.0f)};
    ParameterInfo info{};
    ASSERT_TRUE(FillParameterInfo(table, 0, &info));
    EXPECT_EQ(info.type, kParamFloat);
    EXPECT_FLOAT_EQ(info.value.number, 0.84f);
    EXPECT_FLOAT_EQ(info.minimum, -100.0f);
    EXPECT_FLOAT_EQ(info.maximum, 100.0f);
    EXPECT_STREQ(info.name, "Shine");
    EXPECT_EQ(info.layoutValid, 0);
    EXPECT_EQ(info.layoutPrimary, 0);
    ParameterInfo untouched;
    std::memset(&untouched, 0x5C, sizeof untouched);
    ParameterInfo copy = untouched;
    EXPECT_FALSE(FillParameterInfo(table, 1, &copy));
    EXPECT_FALSE(FillParameterInfo(table, -1, &copy));
    EXPECT_EQ(std::memcmp(&copy, &untouched, sizeof copy), 0);
}

TEST(ParameterRecords, ChoicesSitAtTwentyByteStepsAndLongTextRunsOn) {
    constexpr const char* options[] = {"One", "Two", "Three", "Four", "Fade first frame to second"};
    constexpr ParameterDesc table[] = {ChoiceParam("Mode", 2, options)};
    ParameterInfo info{};
    ASSERT_TRUE(FillParameterInfo(table, 0, &info));
    EXPECT_EQ(info.choiceCount, 5);
    EXPECT_EQ(info.value.choice, 2);
    const char* base = reinterpret_cast<const char*>(&info) + 16;
    EXPECT_STREQ(base + 20, "Two");
    EXPECT_STREQ(base + 60, "Four");
    EXPECT_STREQ(base + 80, "Fade first frame to second");
    EXPECT_STREQ(base + 100, "second");  // the sixth field holds the overflow
}

TEST(LicenceGate, CountsEveryFrameItIsHanded) {
    const uint64_t before = ActivationManager().FramesSeen();
    HandToLicenceGate(nullptr, nullptr);
    EXPECT_EQ(ActivationManager().FramesSeen(), before + 1);
    void* out = nullptr;
    EXPECT_EQ(ActivationManager().QueryInterface(IID_IVideoEffect, &out), kStatusNoInterface);
}

}  // namespace
}  // namespace halcyra

// The library object, the catalogue and the parameter records.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/ActivationManager.h"
#include "frame/Catalogue.h"
#include "frame/Halcyra.h"
#include "frame/ParameterTable.h"

namespace halcyra {
namespace {

// Each effect's own interfaces are checked from outside by the binary contract
// test; here, the library object itself and what only the catalogue knows.
TEST(Library, CountsAndInterfacesOfTheLibraryObject) {
    IEffectLibrary* a = GetEffectsLibrary();
    IEffectLibrary* b = GetEffectsLibrary();
    ASSERT_NE(a, b);  // not a singleton
    EXPECT_STREQ(a->GetName(), "Corvane Halcyra Suite");
    EXPECT_EQ(a->GetActivationManager(), b->GetActivationManager());
    EXPECT_EQ(a->LibraryReservedB(), 0);
    a->LibraryReservedA(nullptr, 5);
    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(a->QueryInterface(IID_IVideoEffect, &out), kStatusNoInterface);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(a->QueryInterface(IID_IUnknown, &out), kStatusOk);
    EXPECT_EQ(out, static_cast<void*>(a));
    EXPECT_EQ(a->QueryInterface(IID_IEffectLibrary, &out), kStatusOk);
    EXPECT_EQ(a->Release(), 2u);
    EXPECT_EQ(a->Release(), 1u);
    EXPECT_EQ(a->Release(), 0u);
    EXPECT_EQ(b->Release(), 0u);
}

TEST(Library, CreateEffectTreatsIndexAsUnsignedAndOnlyTheHaloHasPresets) {
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
        EXPECT_EQ(effect->GetPresetName(0) != nullptr, i == 21) << i;
        EXPECT_EQ(effect->Release(), 0u);  // created with its one reference
    }
    EXPECT_STREQ(CatalogueEntry(22).className, "CMetallic");
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

// The catalogue: 37 fixed indices, each a class, a display name and an input
// count. A row whose effect is not built yet has no factory and answers null.
#pragma once

#include <cstdint>

#include "frame/EffectInterfaces.h"

namespace halcyra {

struct CatalogueRow {
    const char* className;
    const char* displayName;
    int32_t inputCount;
    IVideoEffect* (*create)();
};

inline constexpr int32_t kCatalogueSize = 37;

const CatalogueRow& CatalogueEntry(int32_t index);   // index 0..36
IVideoEffect* CreateCatalogueEffect(int32_t index);  // null for an unknown or unbuilt row

}  // namespace halcyra

// The contact sheet: one row per effect, labelled with its name, one column per
// progress value, every cell rendered with the effect's default parameters.
#pragma once

#include <memory>
#include <vector>

#include "host/EffectLibrary.h"
#include "host/Renderer.h"

namespace halcyra::host {

struct SheetSettings {
    std::vector<const CatalogueEntry*> effects;
    std::vector<double> progresses;
    std::shared_ptr<const Frame> first;   // at cell size
    std::shared_ptr<const Frame> second;  // at cell size
    int workers = 1;
    bool offerAllocator = true;
    ProgressBar* progress = nullptr;
};

Frame BuildSheet(const EffectLibrary& library, const SheetSettings& settings);

}  // namespace halcyra::host

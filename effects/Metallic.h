// Metallic: brightness passed through a sine wave and tinted, which gives the
// banded look of brushed metal. CMetallic is the transition (a cross-fade with
// the metal rising towards the middle); CMetallicEffect the full-strength
// filter shown only through its wrapper. The two differ in the precision of
// their factors, and that difference is kept.
#pragma once

#include "frame/EffectBase.h"

namespace halcyra {

// The factors of the metal pixel function, as the function receives them.
struct MetalFactors {
    double tint[3];  // red, green, blue
    double picture;
    double metal;
    double frequencyTerm;  // F = (frequency * 6 + 1) * 2 * 3.1415, in the caller's precision
    double shine;
    double phase;
};

// Runs the pixel function over width x height pixels from source to destination.
void MetalPixels(const Picture& source, Picture& destination, int32_t width, int32_t height,
                 const MetalFactors& factors);

class CMetallic final : public VideoEffectBase {
public:
    CMetallic();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CMetallicEffect final : public VideoEffectBase {
public:
    CMetallicEffect();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

}  // namespace halcyra

// Zoom and Zoom Blur: a picture smeared along rays from a centre by warping it
// with slightly larger scales and averaging. CZoom is the transition that
// zooms through the first clip into the second while the centre travels;
// CZoomblur the filter with a fixed centre, shown through its wrapper.
//
// The doubling blur here is shared with the other smearing effects: each pass
// warps the picture by a step and averages it with itself, and the step
// doubles, so n warps give 2^n taps along each ray.
#pragma once

#include <cstdint>

#include "frame/EffectBase.h"
#include "picture/PictureCompositing.h"
#include "picture/PictureGeometry.h"

namespace halcyra {

// More passes than this cannot come from parameters in range; the cap only
// bounds the work for absurd ones.
inline constexpr int32_t kMaxDoublingPasses = 64;

// log(x) / log(2) in 32-bit floats, the form every pass count is taken from.
float Log2Float(float x);

// The float value of 1 shifted left by n, for 0 <= n; 1 for a negative n,
// whose passes never run.
float PowerOfTwo(int32_t n);

// Scale s about the point (cx, cy), given as fractions of width x height.
PictureTransform ZoomStep(float s, float cx, float cy, float width, float height);

// Runs `passes` passes on `picture`: clear `scratch`, warp `picture` into it by
// transformAt(step), double step, average `scratch` back into `picture`.
// `scratch` must be another picture; all of it is cleared, not only the overlap.
template <class StepTransform>
void DoublingBlur(Picture& picture, Picture& scratch, float step, int32_t passes, StepTransform transformAt) {
    if (passes > kMaxDoublingPasses) passes = kMaxDoublingPasses;
    for (int32_t i = 0; i < passes; ++i) {
        PictureOps::FillPicture(scratch, 0);
        const PictureTransform transform = transformAt(step);
        step = step * 2.0f;
        transform.Warp(picture, scratch);
        PictureOps::BlendPictures(scratch, picture, 128, 128);
    }
}

// The doubling blur of the zoom: each pass scales by step + 1 about (cx, cy).
void ZoomDoublingBlur(Picture& picture, Picture& scratch, float step, int32_t passes, float cx, float cy,
                      float width, float height);

class CZoom final : public VideoEffectBase {
public:
    CZoom();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CZoomblur final : public VideoEffectBase {
public:
    CZoomblur();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

}  // namespace halcyra

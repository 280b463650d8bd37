// Shear and Shear Energy: a picture smeared along a shear about a centre,
// forwards and backwards, with the two smears weighed against each other.
// CShear is the transition, CShearenergy the filter shown through its wrapper.
//
// The frame of the two-way smearing transitions lives here too, shared with
// Spin and Smear: each clip is smeared both ways by an amount that rises to
// full strength and falls back, the two smears are weighed by Direction
// (mirrored for the second clip), the background choice fills what the warps
// left empty, and the clips cross-fade.
#pragma once

#include <cstdint>

#include "effects/Zoom.h"
#include "frame/EffectBase.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureGeometry.h"

namespace halcyra {

// Background choices of the smearing transitions.
enum SmearBackground : int32_t {
    kSmearOverFirst = 0,
    kSmearOverSecond = 1,
    kSmearTransparent = 2,
    kSmearOverItself = 3,
};

// The pass count for a reach: trunc(log(reach) / log(2)); negative below 1.
int32_t SmearPassCount(float reach);

// length / (float)(2 << passes): the first step of a smear whose passes
// double it up to half the length. A negative count runs no pass; its step is
// then never used.
float SmearFirstStep(float length, int32_t passes);

// How far clip 0 or 1 is smeared at progress p: the first clip rises to full
// strength at c = crossFade / 2 + 1/2, the second falls from 1 - c.
float SmearClipAmount(int32_t clip, float p, float crossFade);

// The shear about (cx, cy), as fractions of width x height, along the axes
// turned by `angle`.
PictureTransform ShearStep(float sh, float sv, float angle, float cx, float cy, float width, float height);

// The shear smear: `passes` doubling passes of ShearStep on `picture`, with
// both steps doubling each pass.
void ShearSmear(Picture& picture, Picture& scratch, float sh, float sv, int32_t passes, float angle, float cx,
                float cy, float width, float height);

// Forward and backward pass counts and steps of a shear of (h, v) on a picture
// `width` wide; half of each amount goes either way.
struct ShearPasses {
    int32_t forwardPasses;
    float forwardH;
    float forwardV;
    int32_t backwardPasses;
    float backwardH;
    float backwardV;
};
ShearPasses ShearPassesFor(float h, float v, float width);

// The shared values of one frame of a smearing transition.
struct SmearTransition {
    float p;  // clamped to 0..1
    float crossFade;
    float direction;
    int32_t background;
};

// The cross-fade of the two results into the output at p.
void CrossFadeSmears(Picture& first, Picture& second, Picture& output, int32_t width, int32_t height, float p,
                     float crossFade);

// Weighs the backward smear against the forward one by Direction (mirrored
// for the second clip) and fills what the warps left empty by the choice.
void FinishClipSmear(RenderFrames& frames, int32_t clip, Picture& forward, Picture& backward, Picture& result,
                     const SmearTransition& t);

// Runs the frame. `smearClip(clip, amount, forward, backward, scratch)` smears
// the clip's copies in `forward` and `backward` (W x H) in place, with
// `scratch` (W x H) to spare; what it leaves in `scratch` is the result when
// the background choice is none of the four.
template <class SmearClip>
void RenderSmearTransition(RenderFrames& frames, MemoryAllocator& allocator, const SmearTransition& t,
                           SmearClip smearClip) {
    Picture results[2];
    const float start = 0.5f - t.crossFade * 0.5f;
    // Outside the cross-fade only one result is shown, and a clip's work
    // touches nothing but its own pictures, so the other clip is skipped.
    const int32_t shown = t.p < start ? 0 : (t.p > start + t.crossFade ? 1 : -1);
    for (int32_t i = 0; i < 2; ++i) {
        if (shown >= 0 && i != shown) continue;
        const float amount = SmearClipAmount(i, t.p, t.crossFade);
        Picture forward, backward;
        if (!forward.Allocate(frames.width, frames.height, 4, &allocator) ||
            !backward.Allocate(frames.width, frames.height, 4, &allocator) ||
            !results[i].Allocate(frames.width, frames.height, 4, &allocator))
            continue;
        // Without smear passes and a background the result would be read
        // where nothing wrote.
        if (t.background < kSmearOverFirst || t.background > kSmearOverItself)
            PictureOps::FillPicture(results[i], 0);
        PictureOps::CopyPictureRect(frames.inputs[i], 0, 0, frames.width, frames.height, forward, 0, 0);
        PictureOps::CopyPictureRect(frames.inputs[i], 0, 0, frames.width, frames.height, backward, 0, 0);
        smearClip(i, amount, forward, backward, results[i]);
        FinishClipSmear(frames, i, forward, backward, results[i], t);
    }
    CrossFadeSmears(results[0], results[1], frames.output, frames.width, frames.height, t.p, t.crossFade);
}

class CShear final : public VideoEffectBase {
public:
    CShear();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CShearenergy final : public VideoEffectBase {
public:
    CShearenergy();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

}  // namespace halcyra

// Zoom and Zoom Blur: the zoom step, the pass counts and the doubling blur,
// and the two renders. Each clip of the transition gets its own work picture
// and the output serves as every blur's scratch picture, so a frame needs at
// most two work pictures whatever the number of passes.
#include "effects/Zoom.h"

#include <cmath>

#include "frame/ActivationManager.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kZoomParameters[] = {
    FloatParam("Zoom", 0.34f),       FloatParam("Smooth", 0.99f),   FloatParam("Cross Fade", 0.54f),
    PointParam("Start", 0.2f, 0.2f), PointParam("End", 0.8f, 0.8f),
};
constexpr ParameterDesc kZoomblurParameters[] = {
    FloatParam("Zoom", 0.5f),
    FloatParam("Position", 0.5f),
    FloatParam("Blend", 0.5f),
    PointParam("Center", 0.5f, 0.5f),
};
const EffectDescriptor kZoomDescriptor{"Corvane Zoom", 2, kZoomParameters};
const EffectDescriptor kZoomblurDescriptor{"Corvane Zoom Blur", 5, kZoomblurParameters};

}  // namespace

float Log2Float(float x) {
    return std::log(x) / std::log(2.0f);
}

float PowerOfTwo(int32_t n) {
    return n <= 0 ? 1.0f : std::ldexp(1.0f, n);
}

PictureTransform ZoomStep(float s, float cx, float cy, float width, float height) {
    PictureTransform m;
    m.Translate(width * (0.0f - cx), height * (0.0f - cy));
    m.Scale(s);
    m.Translate(width * cx, height * cy);
    return m;
}

void ZoomDoublingBlur(Picture& picture, Picture& scratch, float step, int32_t passes, float cx, float cy,
                      float width, float height) {
    DoublingBlur(picture, scratch, step, passes,
                 [&](float s) { return ZoomStep(s + 1.0f, cx, cy, width, height); });
}

CZoom::CZoom() : VideoEffectBase(kZoomDescriptor) {}

bool CZoom::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                   RenderInfo* info) {
    MemoryAllocator allocator(host, &workPictures);
    const float p = ClampProgress(info);
    ParameterReader read(host);
    const float zoom = read.Float(0);
    const float smooth = read.Float(1);
    const float crossFade = read.Float(2);
    float sx, sy, ex, ey;
    read.Point(3, sx, sy);
    read.Point(4, ex, ey);
    sy = 1.0f - sy;
    ey = 1.0f - ey;

    RenderFrames frames(first, second, output, 2);
    Picture zoomed[2];
    if (frames.usable) {
        const float width = static_cast<float>(frames.width);
        const float height = static_cast<float>(frames.height);
        // Both clips share the travelling centre.
        const float cx = sx * (1.0f - p) + ex * p;
        const float cy = sy * (1.0f - p) + ey * p;
        const int32_t passes = TruncToInt32(smooth * 8.0f);
        const float start = 0.5f - crossFade * 0.5f;
        // Outside the cross-fade the composite shows one clip only. The other
        // clip's work touches the output only where the composite overwrites
        // it, or clears the rest of it just as the shown clip's passes do, so
        // it is skipped once the shown clip has its picture.
        const int shown = p < start ? 0 : (p > start + crossFade ? 1 : -1);
        bool allocated[2] = {false, false};
        bool attempted[2] = {false, false};
        auto allocate = [&](int i) {
            if (!attempted[i]) allocated[i] = zoomed[i].Allocate(frames.width, frames.height, 4, &allocator);
            attempted[i] = true;
            return allocated[i];
        };
        if (shown >= 0) allocate(shown);
        for (int i = 0; i < 2; ++i) {
            if (shown >= 0 && i != shown && allocated[shown]) continue;
            // The first clip zooms up to full strength, the second back down.
            float amount = 1.0f;
            const float c = crossFade * 0.5f + 0.5f;
            if (i == 0) {
                if (p < c) amount = p / c;
            } else {
                const float b = 1.0f - c;
                if (b < p) amount = (1.0f - p) / (1.0f - b);
            }
            amount = amount * amount * amount * zoom * 4.0f;
            float step = amount / PowerOfTwo(passes);
            if (!allocate(i)) continue;
            // The first warp happens even without blur passes: a sharp zoom.
            PictureOps::FillPicture(zoomed[i], 0);
            const PictureTransform firstWarp = ZoomStep(step + 1.0f, cx, cy, width, height);
            step = step * 2.0f;
            firstWarp.Warp(frames.inputs[i], zoomed[i]);
            ZoomDoublingBlur(zoomed[i], frames.output, step, passes, cx, cy, width, height);
        }

        if (p < start) {
            PictureOps::CopyPictureRect(zoomed[0], 0, 0, frames.width, frames.height, frames.output, 0, 0);
        } else if (p > start + crossFade) {
            PictureOps::CopyPictureRect(zoomed[1], 0, 0, frames.width, frames.height, frames.output, 0, 0);
        } else {
            // A zero Cross Fade at p = 0.5 divides zero by zero, unguarded;
            // the weights then convert to the integer indefinite value.
            const float f = ((p - start) / crossFade) * 255.0f;
            PictureOps::CopyPictureRect(zoomed[0], 0, 0, frames.width, frames.height, frames.output, 0, 0);
            PictureOps::BlendPictures(zoomed[1], frames.output, TruncToInt32(f), TruncToInt32(255.0f - f));
        }
    }
    HandToLicenceGate(host, output);
    return true;
}

CZoomblur::CZoomblur() : VideoEffectBase(kZoomblurDescriptor) {}

bool CZoomblur::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                       RenderInfo*) {
    MemoryAllocator allocator(host, &workPictures);
    ParameterReader read(host);
    const float zoom = read.Float(0);
    const float position = read.Float(1);
    const float blend = read.Float(2);
    float cx, cy;
    read.Point(3, cx, cy);
    cy = 1.0f - cy;

    RenderFrames frames(first, second, output, 1);
    Picture blurred;
    if (frames.usable) {
        const float width = static_cast<float>(frames.width);
        const float height = static_cast<float>(frames.height);
        const float amount = zoom * 2.0f;
        const float mix = (1.0f - (1.0f - blend) * (1.0f - blend)) * 255.0f;
        const float shift = position * amount * 0.5f;
        // About one pass per doubling of the zoom's reach in pixels.
        const int32_t passes = TruncToInt32(Log2Float(amount * height * 0.3f + 0.5f) + 1.0f);
        const float step = amount / PowerOfTwo(passes);
        if (blurred.Allocate(frames.width, frames.height, 4, &allocator)) {
            PictureOps::CopyPictureRect(frames.inputs[0], 0, 0, frames.width, frames.height, blurred, 0, 0);
            ZoomDoublingBlur(blurred, frames.output, step, passes, cx, cy, width, height);
            // The sharp picture, zoomed by Position, under the blurred one.
            ZoomStep(shift + 1.0f, cx, cy, width, height).Warp(frames.inputs[0], frames.output);
            PictureOps::BlendPictures(blurred, frames.output, TruncToInt32(mix), TruncToInt32(255.0f - mix));
        }
    }
    HandToLicenceGate(host, output);
    return true;
}

}  // namespace halcyra

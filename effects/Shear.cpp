// Shear and Shear Energy, and the frame of the two-way smearing transitions.
// A clip's forward and backward smears each take their own work picture and
// share one scratch picture, which in the transitions is the clip's result:
// the background step overwrites it afterwards.
#include "effects/Shear.h"

#include "frame/ActivationManager.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr const char* kBackgroundChoices[] = {"First Clip", "Second Clip", "Transparent", "Blended"};
constexpr const char* kEdgesChoices[] = {"Blank", "Original Image"};

constexpr ParameterDesc kShearParameters[] = {
    FloatParam("H Shear", 0.34f),
    FloatParam("V Shear", 0.99f),
    FloatParam("Angle", 0.0f, 0.0f, 360.0f),
    FloatParam("Direction", 0.24f, -100.0f, 100.0f),
    PointParam("Center", 0.5f, 0.5f),
    FloatParam("Cross Fade", 0.34f),
    ChoiceParam("Background", kSmearTransparent, kBackgroundChoices),
};
constexpr ParameterDesc kShearenergyParameters[] = {
    FloatParam("H Shear", 0.5f),
    FloatParam("V Shear", 0.5f),
    FloatParam("Angle", 0.5f, 0.0f, 360.0f),
    FloatParam("Direction", 0.5f, -100.0f, 100.0f),
    PointParam("Center", 0.5f, 0.5f),
    FloatParam("Blend", 0.5f),
    ChoiceParam("Edges", 1, kEdgesChoices),
};
const EffectDescriptor kShearDescriptor{"Corvane Shear", 2, kShearParameters};
const EffectDescriptor kShearenergyDescriptor{"Corvane Shear Energy", 5, kShearenergyParameters};

// The turn of the shear axes from the normalised Angle, with this family's
// own approximation of pi.
float ShearAngle(float angle) {
    return angle * 3.1415925f * 2.0f;
}

}  // namespace

int32_t SmearPassCount(float reach) {
    return TruncToInt32(Log2Float(reach));
}

float SmearFirstStep(float length, int32_t passes) {
    if (passes < 0) return length;
    return length / PowerOfTwo(passes + 1);
}

float SmearClipAmount(int32_t clip, float p, float crossFade) {
    float amount = 1.0f;
    const float c = crossFade * 0.5f + 0.5f;
    if (clip == 0) {
        if (p < c) amount = p / c;
    } else {
        const float b = 1.0f - c;
        if (b < p) amount = (1.0f - p) / (1.0f - b);
    }
    return amount;
}

PictureTransform ShearStep(float sh, float sv, float angle, float cx, float cy, float width, float height) {
    PictureTransform m;
    m.Translate(width * (0.0f - cx), height * (0.0f - cy));
    m.Rotate(angle);
    m.Shear(sh, sv);
    m.Rotate(0.0f - angle);
    m.Translate(width * cx, height * cy);
    return m;
}

void ShearSmear(Picture& picture, Picture& scratch, float sh, float sv, int32_t passes, float angle, float cx,
                float cy, float width, float height) {
    // The blur doubles one step; here it is the factor 2^k of the pass, and
    // sh * 2^k is exactly sh doubled k times.
    DoublingBlur(picture, scratch, 1.0f, passes, [&](float factor) {
        return ShearStep(sh * factor, sv * factor, angle, cx, cy, width, height);
    });
}

ShearPasses ShearPassesFor(float h, float v, float width) {
    // Always half each way; Direction only weighs the two smears afterwards.
    // Both counts go by the width, also for the vertical part.
    const float fh = h * 0.5f;
    const float fv = v * 0.5f;
    const float bh = h - fh;
    const float bv = v - fv;
    ShearPasses s;
    s.forwardPasses = SmearPassCount((fh + fv) * width * 0.3f + 0.5f);
    s.forwardH = SmearFirstStep(fh, s.forwardPasses);
    s.forwardV = SmearFirstStep(fv, s.forwardPasses);
    s.backwardPasses = SmearPassCount((bh + bv) * width * 0.3f + 0.5f);
    s.backwardH = SmearFirstStep(-bh, s.backwardPasses);
    s.backwardV = SmearFirstStep(-bv, s.backwardPasses);
    return s;
}

void CrossFadeSmears(Picture& first, Picture& second, Picture& output, int32_t width, int32_t height, float p,
                     float crossFade) {
    const float start = 0.5f - crossFade * 0.5f;
    if (p < start) {
        PictureOps::CopyPictureRect(first, 0, 0, width, height, output, 0, 0);
    } else if (p > start + crossFade) {
        PictureOps::CopyPictureRect(second, 0, 0, width, height, output, 0, 0);
    } else {
        // A zero Cross Fade at p = 0.5 divides zero by zero, unguarded; the
        // weights then convert to the integer indefinite value.
        const float f = ((p - start) / crossFade) * 255.0f;
        PictureOps::CopyPictureRect(first, 0, 0, width, height, output, 0, 0);
        PictureOps::BlendPictures(second, output, TruncToInt32(f), TruncToInt32(255.0f - f));
    }
}

void FinishClipSmear(RenderFrames& frames, int32_t clip, Picture& forward, Picture& backward, Picture& result,
                     const SmearTransition& t) {
    // Mirrored for the second clip, so that the motion runs one way through
    // the whole transition.
    const float dir = t.direction * 255.0f;
    if (clip == 0)
        PictureOps::BlendPictures(backward, forward, TruncToInt32(dir), TruncToInt32(255.0f - dir));
    else
        PictureOps::BlendPictures(backward, forward, TruncToInt32(255.0f - dir), TruncToInt32(dir));
    switch (t.background) {
        case kSmearOverFirst:
            PictureOps::AlphaOverPictures(forward, frames.inputs[0], result, true);
            break;
        case kSmearOverSecond:
            PictureOps::AlphaOverPictures(forward, frames.inputs[1], result, true);
            break;
        case kSmearTransparent:
            PictureOps::CopyPictureRect(forward, 0, 0, frames.width, frames.height, result, 0, 0);
            break;
        case kSmearOverItself:
            PictureOps::AlphaOverPictures(forward, frames.inputs[clip], result, true);
            break;
        default:
            break;  // the result stays as the last smear pass left it
    }
}

CShear::CShear() : VideoEffectBase(kShearDescriptor) {}

bool CShear::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                    RenderInfo* info) {
    MemoryAllocator allocator(host, &workPictures);
    const float p = ClampProgress(info);
    ParameterReader read(host);
    const float hShear = read.Float(0);
    const float vShear = read.Float(1);
    const float angle = ShearAngle(read.Float(2));
    const float direction = read.Float(3);
    float cx, cy;
    read.Point(4, cx, cy);
    cy = 1.0f - cy;
    const float crossFade = read.Float(5);
    const int32_t background = read.Choice(6);

    RenderFrames frames(first, second, output, 2);
    if (frames.usable) {
        const float width = static_cast<float>(frames.width);
        const float height = static_cast<float>(frames.height);
        RenderSmearTransition(
            frames, allocator, {p, crossFade, direction, background},
            [&](int32_t, float amount, Picture& forward, Picture& backward, Picture& scratch) {
                const float h = hShear * 5.0f * amount;
                const float v = vShear * 5.0f * amount;
                const ShearPasses s = ShearPassesFor(h, v, width);
                ShearSmear(forward, scratch, s.forwardH, s.forwardV, s.forwardPasses, angle, cx, cy, width,
                           height);
                ShearSmear(backward, scratch, s.backwardH, s.backwardV, s.backwardPasses, angle, cx, cy,
                           width, height);
            });
    }
    HandToLicenceGate(host, output);
    return true;
}

CShearenergy::CShearenergy() : VideoEffectBase(kShearenergyDescriptor) {}

bool CShearenergy::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                          RenderInfo*) {
    MemoryAllocator allocator(host, &workPictures);
    ParameterReader read(host);
    const float hShear = read.Float(0);
    const float vShear = read.Float(1);
    const float angle = ShearAngle(read.Float(2));
    const float direction = read.Float(3);
    float cx, cy;
    read.Point(4, cx, cy);
    cy = 1.0f - cy;
    const float blend = read.Float(5);
    const int32_t edges = read.Choice(6);

    RenderFrames frames(first, second, output, 1);
    Picture forward, backward;
    if (frames.usable) {
        const float width = static_cast<float>(frames.width);
        const float height = static_cast<float>(frames.height);
        const float mix = (1.0f - (1.0f - blend) * (1.0f - blend)) * 255.0f;
        const float dir = (1.0f - direction) * 255.0f;
        const ShearPasses s = ShearPassesFor(hShear * 2.0f, vShear * 2.0f, width);
        const Picture& input = frames.inputs[0];
        if (forward.Allocate(frames.width, frames.height, 4, &allocator) &&
            backward.Allocate(frames.width, frames.height, 4, &allocator)) {
            // The output is the scratch picture of both smears; its contents
            // do not survive, and all of it is cleared.
            PictureOps::CopyPictureRect(input, 0, 0, frames.width, frames.height, forward, 0, 0);
            ShearSmear(forward, frames.output, s.forwardH, s.forwardV, s.forwardPasses, angle, cx, cy, width,
                       height);
            PictureOps::CopyPictureRect(input, 0, 0, frames.width, frames.height, backward, 0, 0);
            ShearSmear(backward, frames.output, s.backwardH, s.backwardV, s.backwardPasses, angle, cx, cy,
                       width, height);
            // Direction 0.5 (displayed 0) weighs the two smears equally.
            PictureOps::BlendPictures(backward, forward, TruncToInt32(255.0f - dir), TruncToInt32(dir));
            PictureOps::CopyPictureRect(input, 0, 0, frames.width, frames.height, frames.output, 0, 0);
            // "Original Image": what the warps left empty shows the input.
            if (edges != 0) PictureOps::AlphaOverPictures(forward, input, forward, true);
            PictureOps::BlendPictures(forward, frames.output, TruncToInt32(mix), TruncToInt32(255.0f - mix));
        }
    }
    HandToLicenceGate(host, output);
    return true;
}

}  // namespace halcyra

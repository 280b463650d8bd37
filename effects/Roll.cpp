// Roll, Spin and Smear. Roll's blur is built from plain rectangle copies that
// wrap around, doubling the shift each pass like the warped smears do; Spin
// and Smear differ from each other only in their lengths, pass counts and
// step transform.
#include "effects/Roll.h"

#include <algorithm>
#include <cmath>

#include "effects/Glow.h"
#include "effects/Shear.h"
#include "effects/Zoom.h"
#include "frame/ActivationManager.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr const char* kRollOrientations[] = {"Horizontal", "Vertical"};
constexpr const char* kSmearBackgrounds[] = {"First Clip", "Second Clip", "Transparent", "Blended"};
// Spin shows no texts at all: hosts get zero-length names and options.
constexpr const char* kSpinBackgrounds[] = {"", "", "", ""};

constexpr ParameterDesc kRollParameters[] = {
    FloatParam("Rate", 0.34f, -100.0f, 100.0f),
    FloatParam("Blur", 0.99f),
    FloatParam("Cross Fade", 0.54f),
    ChoiceParam("Orientation", 0, kRollOrientations),
};
constexpr ParameterDesc kSpinParameters[] = {
    FloatParam("", 0.34f),                   // spin amount
    FloatParam("", 0.24f, -100.0f, 100.0f),  // spin direction
    PointParam("", 0.5f, 0.5f),              // spin centre
    FloatParam("", 0.34f),                   // cross fade
    ChoiceParam("", kSmearTransparent, kSpinBackgrounds),
};
constexpr ParameterDesc kSmearParameters[] = {
    FloatParam("Blur", 0.34f),
    FloatParam("Angle", 0.0f, 0.0f, 360.0f),
    FloatParam("Direction", 0.5f, -100.0f, 100.0f),
    FloatParam("Cross Fade", 0.34f),
    ChoiceParam("Background", kSmearTransparent, kSmearBackgrounds),
};
const EffectDescriptor kRollDescriptor{"Corvane Roll", 2, kRollParameters};
const EffectDescriptor kSpinDescriptor{"Corvane Spin", 2, kSpinParameters};
const EffectDescriptor kSmearDescriptor{"Corvane Smear", 2, kSmearParameters};

// Copies source into destination turned round by `shift` rows (vertical) or
// columns: the part from `shift` on comes first, the part before it wraps to
// the end. Shifts outside 0..size only come from absurd parameters; the
// copies then clip to nothing.
void CopyWrapped(const Picture& source, Picture& destination, int32_t shift, int32_t width, int32_t height,
                 bool vertical) {
    if (vertical) {
        PictureOps::CopyPictureRect(source, 0, shift, width, WrapSub(height, shift), destination, 0, 0);
        PictureOps::CopyPictureRect(source, 0, 0, width, shift, destination, 0, WrapSub(height, shift));
    } else {
        PictureOps::CopyPictureRect(source, shift, 0, WrapSub(width, shift), height, destination, 0, 0);
        PictureOps::CopyPictureRect(source, 0, 0, shift, height, destination, WrapSub(width, shift), 0);
    }
}

}  // namespace

RollMotion RollMotionAt(float p, double time, float rate) {
    const double duration = p > 0.0f ? time / p : 1.0;
    double speed = (static_cast<double>(rate) - 0.5) * 20.0;
    bool forward = true;
    if (speed < 0.0) {
        speed = -speed;
        forward = false;
    }
    const double half = duration / 2.0;
    double accel = 1.0;
    if (half != 0.0) accel = speed / half;
    // Half way the roll has covered a whole number and a half of picture
    // lengths, so the whole run is odd and ends aligned.
    const double dist = std::floor(accel * half * half / 2.0) + 0.5;
    accel = dist * 2.0 / (half * half);
    double position;
    if (p < 0.5f)
        position = accel * time * time / 2.0;
    else
        position = dist * 2.0 - accel * (duration - time) * (duration - time) / 2.0;
    return {position, forward};
}

PictureTransform SpinStep(float angle, float cx, float cy, float width, float height) {
    PictureTransform m;
    m.Translate(width * (0.0f - cx), height * (0.0f - cy));
    m.Rotate(angle);
    m.Translate(width * cx, height * cy);
    return m;
}

PictureTransform SmearStep(float step, float angle) {
    PictureTransform m;
    m.Rotate(angle);
    m.Translate(step, 0.0f);
    m.Rotate(0.0f - angle);
    return m;
}

CRoll::CRoll() : VideoEffectBase(kRollDescriptor) {}

bool CRoll::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                   RenderInfo* info) {
    MemoryAllocator allocator(host, &workPictures);
    const float p = ClampProgress(info);
    ParameterReader read(host);
    const float rate = read.Float(0);
    const float blur = read.Float(1);
    const float crossFade = read.Float(2);
    const bool vertical = read.Choice(3) != 0;
    const double time = TimeOf(info);

    RenderFrames frames(first, second, output, 2);
    Picture turned;
    if (frames.usable) {
        const int32_t width = frames.width;
        const int32_t height = frames.height;
        // A failed allocation leaves every step below without effect.
        turned.Allocate(width, height, 4, &allocator);
        CrossFadeInto(frames.inputs[0], frames.inputs[1], turned, p, crossFade);
        float t = p * 2.0f;
        if (t > 1.0f) t = 2.0f - t;
        const RollMotion motion = RollMotionAt(p, time, rate);
        const float blurAmount = blur * t;

        const int32_t size = vertical ? height : width;
        const uint32_t turn =
            static_cast<uint32_t>(TruncToInt32(motion.position * size)) % static_cast<uint32_t>(size);
        // Forward at rest this is the whole picture in the second piece.
        const int32_t k = motion.forward ? size - static_cast<int32_t>(turn) : static_cast<int32_t>(turn);
        CopyWrapped(turned, frames.output, k, width, height, vertical);

        if (blurAmount != 0.0f) {
            // The blur pieces take the shift as it is, without the forward flip.
            const float b = blurAmount * static_cast<float>(size);
            const int32_t n = std::min(SmearPassCount(b + 0.5f), kMaxDoublingPasses);
            float d = SmearFirstStep(b, n);
            for (int32_t j = 0; j <= n; ++j) {
                CopyWrapped(frames.output, turned, TruncToInt32(d), width, height, vertical);
                PictureOps::BlendPictures(turned, frames.output, 128, 128);
                d = d * 2.0f;
            }
        }
    }
    HandToLicenceGate(host, output);
    return true;
}

CSpin::CSpin() : VideoEffectBase(kSpinDescriptor) {}

bool CSpin::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                   RenderInfo* info) {
    MemoryAllocator allocator(host, &workPictures);
    const float p = ClampProgress(info);
    ParameterReader read(host);
    const float spinAmount = read.Float(0);
    const float spinDirection = read.Float(1);
    float cx, cy;
    read.Point(2, cx, cy);
    cy = 1.0f - cy;
    const float crossFade = read.Float(3);
    const int32_t background = read.Choice(4);

    RenderFrames frames(first, second, output, 2);
    if (frames.usable) {
        const float width = static_cast<float>(frames.width);
        const float height = static_cast<float>(frames.height);
        RenderSmearTransition(
            frames, allocator, {p, crossFade, spinDirection, background},
            [&](int32_t clip, float amount, Picture& forward, Picture& backward, Picture& scratch) {
                // The forward length does not scale with amount while the
                // total does: near the ends a length can come out negative,
                // its logarithm is not a number, and that way gets no pass.
                const float total = amount * (spinAmount * 2.0f);
                float f = spinDirection * spinAmount;
                if (clip == 0) f = total - f;
                const float g = total - f;
                const int32_t na = SmearPassCount(f * height * 0.3f + 0.5f);
                const int32_t nb = SmearPassCount(g * height * 0.3f + 0.5f);
                auto turnBy = [&](float step) { return SpinStep(step, cx, cy, width, height); };
                DoublingBlur(forward, scratch, SmearFirstStep(f, na), na, turnBy);
                DoublingBlur(backward, scratch, SmearFirstStep(-g, nb), nb, turnBy);
            });
    }
    HandToLicenceGate(host, output);
    return true;
}

CSmear::CSmear() : VideoEffectBase(kSmearDescriptor) {}

bool CSmear::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                    RenderInfo* info) {
    MemoryAllocator allocator(host, &workPictures);
    const float p = ClampProgress(info);
    ParameterReader read(host);
    const float blur = read.Float(0);
    const float angle = read.Float(1) * 3.1415925f * 2.0f;
    const float direction = read.Float(2);
    const float crossFade = read.Float(3);
    const int32_t background = read.Choice(4);

    RenderFrames frames(first, second, output, 2);
    if (frames.usable) {
        const float width = static_cast<float>(frames.width);
        RenderSmearTransition(
            frames, allocator, {p, crossFade, direction, background},
            [&](int32_t clip, float amount, Picture& forward, Picture& backward, Picture& scratch) {
                // Lengths in pixels, so the pass counts need no scale.
                const float total = amount * blur * width * 2.0f;
                float f = direction * total;
                if (clip == 0) f = total - f;
                const float g = total - f;
                const int32_t na = SmearPassCount(f + 0.5f);
                const int32_t nb = SmearPassCount(g + 0.5f);
                auto moveBy = [&](float step) { return SmearStep(step, angle); };
                DoublingBlur(forward, scratch, SmearFirstStep(f, na), na, moveBy);
                DoublingBlur(backward, scratch, SmearFirstStep(-g, nb), nb, moveBy);
            });
    }
    HandToLicenceGate(host, output);
    return true;
}

}  // namespace halcyra

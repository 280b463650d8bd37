// Active Camera and Shake.
//
// MotionValue walks from time zero at every call: the legs come from one
// seeding by rate, so every frame finds the same legs without state. Its cost
// grows with the frame time, which is the price of frames that render alone.
#include "effects/Camera.h"

#include <algorithm>
#include <cmath>

#include "frame/ActivationManager.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kActivecameraParameters[] = {
    FloatParam("Horizontal", 0.2f), FloatParam("Vertical", 0.5f), FloatParam("Rotation", 0.12f),
    FloatParam("Crop", 0.3f),       FloatParam("Rate", 0.9f),     FloatParam("Jitter", 0.5f),
    FloatParam("Hold", 0.3f),       FloatParam("Blur", 0.4f),     BoolParam("Synchronize Axes", false),
};
constexpr ParameterDesc kShakeParameters[] = {
    FloatParam("Horizontal", 0.34f),
    FloatParam("Vertical", 0.99f),
    FloatParam("Rotation", 0.4f, -50.0f, 50.0f),
    FloatParam("Crop", 0.14f),
    FloatParam("Jitter", 0.32f),
    FloatParam("Blur", 0.54f),
    FloatParam("Delay", 0.34f),
    FloatParam("Cross Fade", 0.44f),
};
const EffectDescriptor kActivecameraDescriptor{"Corvane Active Camera", 5, kActivecameraParameters};
const EffectDescriptor kShakeDescriptor{"Corvane Shake", 2, kShakeParameters};

// Key streams of the three channels, shared by both effects.
constexpr int32_t kKeyStreams[3] = {111, 222, 333};

// The three motion channels of one frame: shift in pixels and turn in radians.
struct CameraPose {
    float x = 0.0f;
    float y = 0.0f;
    float r = 0.0f;
};

// A walk stops when a step no longer moves its end time forward. A zero step
// is normal in the leg walk (a held leg with Hold at 0, a swing with Hold at
// 1), so only two such steps in a row end it; it keeps absurd times and
// parameters from walking for ever.
class WalkGuard {
public:
    bool Stalled(float before, float after) {
        stalls = after > before ? 0 : stalls + 1;
        return stalls >= limit;
    }
    explicit WalkGuard(int limit) : limit(limit) {}

private:
    int limit;
    int stalls = 0;
};

}  // namespace

float SignedRandom(RandomSequence& random, float a) {
    return (static_cast<float>(random.Draw() & 0x1ff) * 0.00390625f - 1.0f) * a;
}

void SeedFromTime(RandomSequence& random, MotionVariant variant, float x, float m, int32_t stream) {
    const float product = variant == MotionVariant::ActiveCamera ? x * m : (x + m / 2.0f) * m;
    const int64_t whole = TruncToInt64(static_cast<double>(product));
    random.Seed(static_cast<uint32_t>(stream) + static_cast<uint32_t>(whole));
}

float MotionValue(MotionVariant variant, const MotionInputs& in, float time) {
    RandomSequence random;
    if (time < 0.0f) time = 0.0f;

    // The legs: a held leg, then a swing, alternately, each of random length.
    SeedFromTime(random, variant, in.rate, 12345.0f, in.timingStream);
    const float period = std::pow(3.9f, 1.0f - in.rate) - 0.9f;
    float t0 = 0.0f;
    float before = 0.0f;
    float t1 = std::pow(2.0f, SignedRandom(random, 1.0f)) * period;
    bool held = true;
    WalkGuard legGuard(2);
    while (time > t1) {
        held = !held;
        float length = std::pow(2.0f, SignedRandom(random, 1.0f)) * period;
        length = length * (held ? in.hold : 1.0f - in.hold);
        before = t0;
        t0 = t1;
        t1 = t1 + length;
        if (legGuard.Stalled(t0, t1)) break;
    }

    // The jitter inside the leg: from 0 through n - 1 random knots back to 0.
    const int32_t n = WrapAdd(TruncToInt32(in.jitter * in.jitter * 10.0f), 2);
    const float part = (t1 - t0) / static_cast<float>(n);
    float tj = t0;
    float next = t0 + part;
    float previous = 0.0f;
    SeedFromTime(random, variant, t0, 532.0f, in.keyStream);
    float current = SignedRandom(random, 0.5f);
    int32_t i = 2;
    WalkGuard jitterGuard(1);
    while (time > next) {
        previous = current;
        current = i < n ? SignedRandom(random, 0.5f) : 0.0f;
        tj = next;
        next = next + part;
        i = WrapAdd(i, 1);
        if (jitterGuard.Stalled(tj, next)) break;
    }
    const float frac = (time - tj) / part;
    float shake = (frac * current + (1.0f - frac) * previous) * in.jitter;

    // The swing between the keys of the two held legs around it.
    const float u = (time - t0) / (t1 - t0);
    const float s = (std::sin((u * 2.0f - 1.0f) * 1.570796f) + 1.0f) / 2.0f;
    if (held) {
        shake = shake / 2.0f;
        t1 = t0;
    } else {
        t0 = before;
    }
    SeedFromTime(random, variant, t0, 641.0f, in.keyStream);
    const float a = SignedRandom(random, 1.0f);
    SeedFromTime(random, variant, t1, 641.0f, in.keyStream);
    const float b = SignedRandom(random, 1.0f);
    return a * (1.0f - s) + b * s + shake;
}

PictureTransform CameraMatrix(float width, float height, float x, float y, float r, float z) {
    PictureTransform m;
    m.Translate(width * -0.5f, height * -0.5f);
    m.Rotate(r);
    m.Scale(z);
    m.Translate(width * 0.5f, height * 0.5f);
    m.Translate(x, y);
    return m;
}

namespace {

// Active Camera's three channels at one time, scaled to pixels and radians.
struct ActivecameraSettings {
    float amplitude[3];  // Horizontal, Vertical, Rotation
    float rate;
    float jitter;
    float hold;
    int32_t timingStreams[3];
};

CameraPose ActivecameraPose(const ActivecameraSettings& settings, double frameTime, float width,
                            float height) {
    float value[3] = {0.0f, 0.0f, 0.0f};
    for (int k = 0; k < 3; ++k) {
        if (!(settings.amplitude[k] > 0.0f)) continue;
        const MotionInputs inputs{settings.rate, settings.hold, settings.jitter, settings.timingStreams[k],
                                  kKeyStreams[k]};
        value[k] = MotionValue(MotionVariant::ActiveCamera, inputs, static_cast<float>(frameTime));
    }
    CameraPose pose;
    pose.x = value[0] * (settings.amplitude[0] * 0.25f) * width;
    pose.y = value[1] * (settings.amplitude[1] * 0.25f) * height;
    pose.r = value[2] * (settings.amplitude[2] * 0.25f);
    return pose;
}

}  // namespace

CActivecamera::CActivecamera() : VideoEffectBase(kActivecameraDescriptor) {}

bool CActivecamera::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                           RenderInfo* info) {
    MemoryAllocator allocator(host, &workPictures);
    ParameterReader read(host);
    ActivecameraSettings settings{};
    settings.amplitude[0] = read.Float(0);
    settings.amplitude[1] = read.Float(1);
    settings.amplitude[2] = read.Float(2);
    const float crop = read.Float(3);
    settings.rate = read.Float(4);
    settings.jitter = read.Float(5);
    settings.hold = read.Float(6);
    const float blur = read.Float(7);
    const bool synchronize = read.Bool(8);
    const double frameTime = TimeOf(info);

    RenderFrames frames(first, second, output, 1);
    if (frames.usable) {
        const float width = static_cast<float>(frames.width);
        const float height = static_cast<float>(frames.height);
        const float zoom = 1.0f + crop * 0.67f;
        // With the axes synchronised the legs coincide while the keys stay apart.
        settings.timingStreams[0] = 444;
        settings.timingStreams[1] = synchronize ? 444 : 555;
        settings.timingStreams[2] = synchronize ? 444 : 666;

        const CameraPose now = ActivecameraPose(settings, frameTime, width, height);
        const PictureTransform sharp = CameraMatrix(width, height, now.x, now.y, now.r, zoom);
        if (blur <= 0.0f) {
            PictureOps::FillPicture(frames.output, 0);
            sharp.Warp(frames.inputs[0], frames.output);
        } else {
            // One echo, a quarter second of Blur back, at most half strong.
            const CameraPose echoPose =
                ActivecameraPose(settings, frameTime - static_cast<double>(blur) * 0.25, width, height);
            const PictureTransform echo =
                CameraMatrix(width, height, echoPose.x, echoPose.y, echoPose.r, zoom);
            Picture sharpPicture;
            if (sharpPicture.Allocate(frames.width, frames.height, 4, &allocator)) {
                PictureOps::FillPicture(sharpPicture, 0);
                PictureOps::FillPicture(frames.output, 0);
                sharp.Warp(frames.inputs[0], sharpPicture);
                echo.Warp(frames.inputs[0], frames.output);
                const int32_t a = TruncToInt32(blur * 128.0f);
                PictureOps::BlendPictures(sharpPicture, frames.output, WrapSub(255, a), a);
            }
        }
    }
    HandToLicenceGate(host, output);
    return true;
}

CShake::CShake() : VideoEffectBase(kShakeDescriptor) {}

bool CShake::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                    RenderInfo* info) {
    MemoryAllocator allocator(host, &workPictures);
    const float p = ClampProgress(info);
    ParameterReader read(host);
    const float horizontal = read.Float(0);
    const float vertical = read.Float(1);
    const float rotation = read.Float(2);
    const float crop = read.Float(3);
    const float jitter = read.Float(4);
    const float blur = read.Float(5);
    const float delay = read.Float(6);
    const float crossFade = read.Float(7);
    const double frameTime = TimeOf(info);
    const bool firstLeads = (info != nullptr ? info->progress : 0.0) < 0.5;

    RenderFrames frames(first, second, output, 2);
    if (frames.usable) {
        // The camera is sized by the first clip and the output only.
        const int32_t w = std::min(frames.inputs[0].width, frames.output.width);
        const int32_t h = std::min(frames.inputs[0].height, frames.output.height);
        const float width = static_cast<float>(w);
        const float height = static_cast<float>(h);

        const float start = 0.5f - crossFade * 0.5f;
        float fade;
        if (p < start) {
            fade = 1.0f;
        } else if (p > start + crossFade) {
            fade = 0.0f;
        } else {
            fade = 1.0f - (p - start) / crossFade;
        }
        float t = p * 2.0f;
        if (t > 1.0f) t = 2.0f - t;
        const float e = 1.0f - std::pow(1.0f - t, 1.5f);
        const float echoTime = blur * e * 1.3f;
        const float echoShare = echoTime * e / 2.0f;

        // Layers 0, 1 sharp and 2, 3 the echo, in the clip order of the half.
        const Picture* clips[2];
        float weights[4];
        if (firstLeads) {
            clips[0] = &frames.inputs[0];
            clips[1] = &frames.inputs[1];
            weights[0] = fade * (1.0f - echoShare);
            weights[1] = (1.0f - fade) * (1.0f - echoShare);
            weights[2] = fade * echoShare;
            weights[3] = (1.0f - fade) * echoShare;
        } else {
            clips[0] = &frames.inputs[1];
            clips[1] = &frames.inputs[0];
            weights[0] = (1.0f - fade) * (1.0f - echoShare);
            weights[1] = fade * (1.0f - echoShare);
            weights[2] = (1.0f - fade) * echoShare;
            weights[3] = fade * echoShare;
        }
        // Shares for blending each layer over the ones before. The sum starts
        // at w0 rather than 0, so w0 counts twice; that weighting is the look.
        float shares[4];
        float sum = weights[0];
        for (int i = 0; i < 4; ++i) {
            shares[i] = weights[i] / sum;
            sum = sum + weights[i];
        }

        Picture layer;
        if (layer.Allocate(w, h, 4, &allocator)) {
            // A second clip smaller than the first leaves part of the layer
            // unwritten by its copy and warp; that part then shows as clear.
            if (frames.inputs[1].width < w || frames.inputs[1].height < h) PictureOps::FillPicture(layer, 0);
            // The parameters themselves choose the path.
            const int32_t timingStream =
                TruncToInt32((horizontal * 2.0f + vertical * 3.0f + rotation) * 1000.0f);
            const float rate = jitter * 0.5f + 0.5f;
            const float amplitude[3] = {horizontal, vertical, rotation};
            int layerIndex = 0;
            for (int pass = 0; pass < 2; ++pass) {
                float tb = static_cast<float>(frameTime);
                if (pass == 1) tb = tb - echoTime * 0.2f;
                for (int k = 0; k < 2; ++k, ++layerIndex) {
                    // The delay stays in tb for the rest of the pass.
                    if (clips[k] == &frames.inputs[1]) tb = tb - delay * delay;
                    const int32_t weight = TruncToInt32(shares[layerIndex] * 256.0f);
                    if (weight == 0) continue;
                    float value[3] = {0.0f, 0.0f, 0.0f};
                    for (int c = 0; c < 3; ++c) {
                        if (!(amplitude[c] > 0.0f)) continue;
                        const MotionInputs inputs{rate, 0.0f, rate, timingStream, kKeyStreams[c]};
                        value[c] = MotionValue(MotionVariant::Shake, inputs, tb);
                    }
                    const float r = value[2] * (rotation * e * 0.3f);
                    const float z = 1.0f + crop * e;
                    const float x = value[0] * (horizontal * e * 0.3f) * width;
                    const float y = value[1] * (vertical * e * 0.3f) * height;
                    const PictureTransform camera = CameraMatrix(width, height, x, y, r, z);
                    // The plain copy shows wherever the warp leaves pixels uncovered.
                    Picture& target = layerIndex == 0 ? frames.output : layer;
                    PictureOps::CopyPicture(*clips[k], target);
                    camera.Warp(*clips[k], target);
                    if (layerIndex != 0)
                        PictureOps::BlendPictures(layer, frames.output, weight, WrapSub(256, weight));
                }
            }
        }
    }
    HandToLicenceGate(host, output);
    return true;
}

}  // namespace halcyra

// Active Camera and Shake: the picture moved as a hand-held camera would move
// it. The motion is a pure function of the frame time and the parameters: a
// walk of held and swinging legs drawn from a seeded generator, with a jitter
// inside each leg. Nothing is remembered between frames, so any frame renders
// alone. CActivecamera is the filter behind its wrapper; CShake the transition
// that shakes both clips hardest in the middle and fades between them.
#pragma once

#include <cstdint>

#include "frame/EffectBase.h"
#include "picture/PictureGeometry.h"

namespace halcyra {

// The C runtime's linear congruential generator. The sequence is part of the
// output, so each use owns its state and seeds it first; nothing global.
class RandomSequence {
public:
    explicit RandomSequence(uint32_t seed = 1) : state(seed) {}
    void Seed(uint32_t seed) { state = seed; }
    int32_t Draw() {
        state = state * 214013u + 2531011u;
        return static_cast<int32_t>((state >> 16) & 0x7fffu);
    }

private:
    uint32_t state;
};

// -a up to 0.99609375 * a in steps of a / 256.
float SignedRandom(RandomSequence& random, float a);

// The two effects seed their generator from a time in two ways, and the rest
// of the motion walk is shared.
enum class MotionVariant { ActiveCamera, Shake };

// Seeds with stream + the truncated product, the product widened to double,
// truncated to 64 bits and added in 32 bits.
void SeedFromTime(RandomSequence& random, MotionVariant variant, float x, float m, int32_t stream);

struct MotionInputs {
    float rate;
    float hold;
    float jitter;
    int32_t timingStream;
    int32_t keyStream;
};

// One motion channel at one time, roughly -1.5..1.5.
float MotionValue(MotionVariant variant, const MotionInputs& inputs, float time);

// Shift (x, y) in pixels, rotation r in radians and zoom z about the centre of
// a width x height picture.
PictureTransform CameraMatrix(float width, float height, float x, float y, float r, float z);

class CActivecamera final : public VideoEffectBase {
public:
    CActivecamera();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CShake final : public VideoEffectBase {
public:
    CShake();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

}  // namespace halcyra

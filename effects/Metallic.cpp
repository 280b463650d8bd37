// Metallic transition and filter.
//
// The value v of the pixel function depends on the pixel only through the sum
// of its three colour bytes (0..765), so each frame evaluates the sine once per
// possible sum, with exactly the arithmetic of the per-pixel form, and the
// pixel loop looks the results up. v * tint and byte * picture are likewise
// the same doubles whether computed per pixel or per table entry.
#include "effects/Metallic.h"

#include <cmath>
#include <vector>

#include "frame/ActivationManager.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kMetallicParameters[] = {
    ColourParam("Color", 0xdcc7db),     FloatParam("Shine", 0.84f),     FloatParam("Highlights", 0.64f),
    FloatParam("Calibrate", 0.25f),     FloatParam("Metal", 0.65f),     FloatParam("Picture", 0.45f),
    FloatParam("Tempo", 0.45f),         FloatParam("Cross Fade", 0.45f),
};
constexpr ParameterDesc kMetallicEffectParameters[] = {
    ColourParam("Color", 0xdcc7db), FloatParam("Shine", 0.84f), FloatParam("Complexity", 0.64f),
    FloatParam("Offset", 0.25f),    FloatParam("Metal", 0.65f), FloatParam("Picture", 0.45f),
};
const EffectDescriptor kMetallicDescriptor{"Corvane Metallic", 2, kMetallicParameters};
const EffectDescriptor kMetallicEffectDescriptor{"Corvane Metallic", 1, kMetallicEffectParameters};

constexpr int kSums = 766;  // 3 * 255 + 1

// One channel of the function: the truncation taken to a signed 16-bit value,
// then clamped to a byte.
inline uint8_t MetalChannel(double scaledV, double scaledSource) {
    const int32_t whole = TruncToInt32(scaledV + scaledSource);
    return ClampToByte(static_cast<int16_t>(static_cast<uint16_t>(whole)));
}

}  // namespace

void MetalPixels(const Picture& source, Picture& destination, int32_t width, int32_t height,
                 const MetalFactors& f) {
    if (source.data == nullptr || destination.data == nullptr || width <= 0 || height <= 0) return;
    // byteTerm[c]: s.c * picture; sumTerm[k][sum]: v(sum) * tint[k].
    double byteTerm[256];
    for (int c = 0; c < 256; ++c) byteTerm[c] = static_cast<double>(c) * f.picture;
    std::vector<double> sumTerm(3 * kSums);
    for (int sum = 0; sum < kSums; ++sum) {
        const double l = static_cast<double>(sum) / 768.0;
        double v = (std::sin(l * f.frequencyTerm + f.phase * 3.1415 * 2.0) * f.shine + 1.0) * 0.5 + l;
        v = v * (f.metal * 256.0);
        for (int k = 0; k < 3; ++k) sumTerm[k * kSums + sum] = v * f.tint[k];
    }
    const double* red = sumTerm.data();
    const double* green = red + kSums;
    const double* blue = green + kSums;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* s = source.Row(y);
        uint8_t* d = destination.Row(y);
        for (int32_t x = 0; x < width; ++x, s += 4, d += 4) {
            const int sum = s[0] + s[1] + s[2];
            const uint8_t b = MetalChannel(blue[sum], byteTerm[s[0]]);
            const uint8_t g = MetalChannel(green[sum], byteTerm[s[1]]);
            const uint8_t r = MetalChannel(red[sum], byteTerm[s[2]]);
            const uint8_t a = s[3];
            d[0] = b;
            d[1] = g;
            d[2] = r;
            d[3] = a;
        }
    }
}

CMetallic::CMetallic() : VideoEffectBase(kMetallicDescriptor) {}

bool CMetallic::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                       RenderInfo* info) {
    MemoryAllocator allocator(host);
    float p = ProgressAsFloat(info);
    p = p < 0.0f ? 0.0f : (p > 1.0f ? 1.0f : p);
    ParameterReader read(host);
    const uint32_t colour = read.Colour(0);
    const float shine = read.Float(1);
    const float highlights = read.Float(2);
    const float calibrate = read.Float(3);
    const float metal = read.Float(4);
    const float picture = read.Float(5);
    const float tempo = read.Float(6);
    float crossFade = read.Float(7);

    RenderFrames frames(first, second, output, 2);
    Picture mixed;
    if (frames.usable) {
        mixed.Allocate(frames.width, frames.height, 4, &allocator);
        const float start = 0.5f - crossFade * 0.5f;
        if (p < start) {
            PictureOps::CopyPicture(frames.inputs[0], mixed);
        } else if (p > start + crossFade) {
            PictureOps::CopyPicture(frames.inputs[1], mixed);
        } else {
            if (crossFade == 0.0f) crossFade = 1e-06f;
            const float f = (p - start) / crossFade;
            PictureOps::MixPictures(frames.inputs[0], frames.inputs[1], mixed, 1.0f - f, f);
        }
        float t = p * 2.0f;
        if (t > 1.0f) t = 2.0f - t;
        const float u = 1.0f - std::pow(1.0f - t, tempo * 3.0f + 1.0f);
        MetalFactors factors{};
        factors.tint[0] = static_cast<double>(colour & 0xff) / 256.0;
        factors.tint[1] = static_cast<double>((colour >> 8) & 0xff) / 256.0;
        factors.tint[2] = static_cast<double>((colour >> 16) & 0xff) / 256.0;
        factors.picture = (picture - 1.0f) * u + 1.0f;
        factors.metal = metal * u;
        factors.frequencyTerm = (static_cast<double>(highlights) * 6.0 + 1.0) * 2.0 * 3.1415;
        factors.shine = shine;
        factors.phase = calibrate;
        MetalPixels(mixed, frames.output, frames.width, frames.height, factors);
    }
    HandToLicenceGate(host, output);
    return true;
}

CMetallicEffect::CMetallicEffect() : VideoEffectBase(kMetallicEffectDescriptor) {}

bool CMetallicEffect::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                             RenderInfo*) {
    ParameterReader read(host);
    const uint32_t colour = read.Colour(0);
    const float shine = read.Float(1);
    const float complexity = read.Float(2);
    const float offset = read.Float(3);
    const float metal = read.Float(4);
    const float picture = read.Float(5);

    RenderFrames frames(first, second, output, 1);
    if (frames.usable) {
        MetalFactors factors{};
        factors.tint[0] = static_cast<float>(colour & 0xff) / 256.0f;
        factors.tint[1] = static_cast<float>((colour >> 8) & 0xff) / 256.0f;
        factors.tint[2] = static_cast<float>((colour >> 16) & 0xff) / 256.0f;
        factors.picture = picture;
        factors.metal = metal;
        factors.frequencyTerm = (complexity * 6.0f + 1.0f) * 2.0f * 3.1415f;
        factors.shine = shine;
        factors.phase = offset;
        MetalPixels(frames.inputs[0], frames.output, frames.width, frames.height, factors);
    }
    // No licence gate here: the wrapper hands the frame over after this returns.
    return true;
}

}  // namespace halcyra

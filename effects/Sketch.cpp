// Line Drawing, Pastel Sketch and Airbrush.
//
// The recolouring passes of the two edge looks depend on a pixel only through
// a few bytes, so each frame tabulates them once with exactly the per-pixel
// arithmetic (integer for the line drawing, float sums for the pastel) and the
// loops look the bytes up.
#include "effects/Sketch.h"

#include <algorithm>
#include <cmath>

#include "effects/Glow.h"
#include "frame/ActivationManager.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kLinedrawingParameters[] = {
    ColourParam("Paper", 0xffffff),
    ColourParam("Ink", 0x60304),
    FloatParam("Density", 0.54f),
    FloatParam("Contrast", 0.54f),
};
constexpr ParameterDesc kPastelsketchParameters[] = {
    ColourParam("Paper", 0xffffff),
    ColourParam("Ink", 0x60304),
    FloatParam("Density", 0.54f),
    FloatParam("Blend", 0.54f),
};
constexpr ParameterDesc kAirbrushParameters[] = {
    FloatParam("Spray", 0.5f),
    FloatParam("Edge", 0.5f),
};
const EffectDescriptor kLinedrawingDescriptor{"Corvane Line Drawing", 1, kLinedrawingParameters};
const EffectDescriptor kPastelsketchDescriptor{"Corvane Pastel Sketch", 1, kPastelsketchParameters};
const EffectDescriptor kAirbrushDescriptor{"Corvane Airbrush", 1, kAirbrushParameters};

// A colour parameter's channels in memory order: blue, green, red.
std::array<int32_t, 3> ChannelsOf(uint32_t colour) {
    return {static_cast<int32_t>((colour >> 16) & 0xff), static_cast<int32_t>((colour >> 8) & 0xff),
            static_cast<int32_t>(colour & 0xff)};
}

// Pastel sums at 400 of a possible 765 split paper from ink.
constexpr int32_t kPastelInkSum = 400;

// The airbrush's luminance weights sum to 255, not 256.
inline int64_t AirbrushLuma(const uint8_t* p) {
    return (p[2] * 76 + p[1] * 149 + p[0] * 30) >> 8;
}

void AirbrushPixels(const Picture& input, Picture& output, int32_t width, int32_t height, int32_t threshold) {
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* s = input.Row(y);
        uint8_t* o = output.Row(y);
        for (int32_t x = 0; x < width; ++x, s += 4, o += 4) {
            const int64_t lit = (AirbrushLuma(o) * threshold) >> 8;
            const int64_t own = AirbrushLuma(s);
            if (own < lit) {  // brighten towards the blur
                const int64_t d = lit - own;
                for (int c = 0; c < 3; ++c) o[c] = static_cast<uint8_t>(std::min<int64_t>(255, s[c] + d));
            } else {
                for (int c = 0; c < 3; ++c) o[c] = std::min(o[c], s[c]);
            }
            o[3] = s[3];
        }
    }
}

}  // namespace

void EdgeMap(const Picture& input, Picture& output, float density) {
    const float d = density * density * density * 20.0f + 0.3f;
    float kernel[9];
    for (int i = 0; i < 9; ++i) kernel[i] = (i == 4 ? -8.0f : 1.0f) * d;
    PictureOps::ConvolvePicture(input, output, kernel, 3);
}

std::array<int32_t, 96> ContrastTable(float contrast) {
    const float c = contrast * 2.0f - 1.0f;
    const float g = std::pow(10.0f, c);
    const float offset = (1.0f - g) / 2.0f;
    std::array<int32_t, 96> table{};
    for (int32_t i = 0; i < 96; ++i) {
        float y = g * (static_cast<float>(i) / 96.0f) + offset;
        if (y < 0.0f) y = 0.0f;
        if (y > 1.0f) y = 1.0f;
        table[static_cast<size_t>(i)] = TruncToInt32(y * 255.0f);
    }
    return table;
}

CLinedrawing::CLinedrawing() : VideoEffectBase(kLinedrawingDescriptor) {}

bool CLinedrawing::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                          RenderInfo*) {
    ParameterReader read(host);
    const uint32_t paperColour = read.Colour(0);
    const uint32_t inkColour = read.Colour(1);
    const float density = read.Float(2);
    const float contrast = read.Float(3);

    RenderFrames frames(first, second, output, 1);
    if (frames.usable) {
        EdgeMap(frames.inputs[0], frames.output, density);
        const std::array<int32_t, 96> weights = ContrastTable(contrast);
        const std::array<int32_t, 3> paper = ChannelsOf(paperColour);
        const std::array<int32_t, 3> ink = ChannelsOf(inkColour);
        // White paper comes out as 254: the weight 255 is shifted by 8.
        uint8_t tone[96][3];
        for (int i = 0; i < 96; ++i) {
            const int64_t w = weights[static_cast<size_t>(i)];
            for (int c = 0; c < 3; ++c)
                tone[i][c] = static_cast<uint8_t>((paper[c] * (255 - w) + ink[c] * w) >> 8);
        }
        const Picture& in = frames.inputs[0];
        Picture& out = frames.output;
        for (int32_t y = 0; y < frames.height; ++y) {
            const uint8_t* s = in.Row(y);
            uint8_t* e = out.Row(y);
            for (int32_t x = 0; x < frames.width; ++x, s += 4, e += 4) {
                const uint8_t* t = tone[(e[0] + e[1] + e[2]) >> 3];
                e[0] = t[0];
                e[1] = t[1];
                e[2] = t[2];
                e[3] = s[3];
            }
        }
        PictureOps::ReplicatePictureBorder(out, out, 1, 1);
    }
    HandToLicenceGate(host, output);
    return true;
}

CPastelsketch::CPastelsketch() : VideoEffectBase(kPastelsketchDescriptor) {}

bool CPastelsketch::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                           RenderInfo*) {
    ParameterReader read(host);
    const uint32_t paperColour = read.Colour(0);
    const uint32_t inkColour = read.Colour(1);
    const float density = read.Float(2);
    const float blend = read.Float(3);

    RenderFrames frames(first, second, output, 1);
    if (frames.usable) {
        EdgeMap(frames.inputs[0], frames.output, density);
        const float b = blend;
        const float ib = 1.0f - blend;
        const std::array<int32_t, 3> tones[2] = {ChannelsOf(paperColour), ChannelsOf(inkColour)};
        // mixedByte[tone][channel][source byte] = s.c * b + tone.c * ib, clamped and truncated.
        uint8_t mixedByte[2][3][256];
        for (int t = 0; t < 2; ++t)
            for (int c = 0; c < 3; ++c) {
                const float toneTerm = static_cast<float>(tones[t][static_cast<size_t>(c)]) * ib;
                for (int s = 0; s < 256; ++s) {
                    const float v = static_cast<float>(s) * b + toneTerm;
                    mixedByte[t][c][s] = v > 255.0f ? 255 : (v < 0.0f ? 0 : ClampToByte(TruncToInt32(v)));
                }
            }
        const Picture& in = frames.inputs[0];
        Picture& out = frames.output;
        for (int32_t y = 0; y < frames.height; ++y) {
            const uint8_t* s = in.Row(y);
            uint8_t* e = out.Row(y);
            for (int32_t x = 0; x < frames.width; ++x, s += 4, e += 4) {
                const auto& mix = mixedByte[(e[0] + e[1] + e[2]) < kPastelInkSum ? 0 : 1];
                e[0] = mix[0][s[0]];
                e[1] = mix[1][s[1]];
                e[2] = mix[2][s[2]];
                e[3] = s[3];
            }
        }
        PictureOps::ReplicatePictureBorder(out, out, 1, 1);
    }
    HandToLicenceGate(host, output);
    return true;
}

CAirbrush::CAirbrush() : VideoEffectBase(kAirbrushDescriptor) {}

bool CAirbrush::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                       RenderInfo*) {
    MemoryAllocator allocator(host);
    ParameterReader read(host);
    const float edge = read.Float(1);
    const float spray = read.Float(0);
    const int32_t threshold = TruncToInt32(245.0f - edge * edge * 245.0f);

    RenderFrames frames(first, second, output, 1);
    if (frames.usable) {
        // The blur's size follows the input frame's own height, not the common one.
        const int32_t taps = TruncToInt32((spray + 0.1f) * static_cast<float>(first->height) * 0.15f);
        if (TriangularBlur(frames.inputs[0], frames.output, frames.width, frames.height, taps, allocator))
            AirbrushPixels(frames.inputs[0], frames.output, frames.width, frames.height, threshold);
    }
    HandToLicenceGate(host, output);
    return true;
}

}  // namespace halcyra

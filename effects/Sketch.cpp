// Line Drawing, Pastel Sketch and Airbrush.
//
// The recolouring passes of the two edge looks depend on a pixel only through
// a few bytes, so each frame tabulates them once with exactly the per-pixel
// arithmetic (integer for the line drawing, float sums for the pastel) and the
// loops look whole pixels up. The airbrush pass is one branch-free integer
// expression over pixel words, which the compiler vectorises.
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

constexpr uint32_t kAlphaMask = 0xff000000u;
inline int32_t ColourSum(uint32_t pixel) {
    return static_cast<int32_t>((pixel & 0xff) + ((pixel >> 8) & 0xff) + ((pixel >> 16) & 0xff));
}

// Pastel sums at 400 of a possible 765 split paper from ink.
constexpr int32_t kPastelInkSum = 400;

// The airbrush's luminance weights sum to 255, not 256.
inline int32_t AirbrushLuma(uint32_t p) {
    return static_cast<int32_t>(((p >> 16) & 0xff) * 76 + ((p >> 8) & 0xff) * 149 + (p & 0xff) * 30) >> 8;
}

void AirbrushPixels(const Picture& input, Picture& output, int32_t width, int32_t height, int32_t threshold) {
    // Held where the products stay in 32 bits; the parameter's range gives 0..245.
    threshold = ClampInt(threshold, -(1 << 20), 1 << 20);
    for (int32_t y = 0; y < height; ++y) {
        const PixelWord* s = reinterpret_cast<const PixelWord*>(input.Row(y));
        PixelWord* o = reinterpret_cast<PixelWord*>(output.Row(y));
        // Branch-free on whole pixels so that the loop vectorises.
        for (int32_t x = 0; x < width; ++x) {
            const uint32_t sp = s[x];
            const uint32_t op = o[x];
            const int32_t lit = (AirbrushLuma(op) * threshold) >> 8;
            const int32_t own = AirbrushLuma(sp);
            const bool brighten = own < lit;  // towards the blur
            const int32_t d = lit - own;
            uint32_t result = sp & kAlphaMask;
            for (int c = 0; c < 3; ++c) {
                const int32_t sc = (sp >> (8 * c)) & 0xff;
                const int32_t oc = (op >> (8 * c)) & 0xff;
                const int32_t v = brighten ? std::min(255, sc + d) : std::min(oc, sc);
                result |= static_cast<uint32_t>(v) << (8 * c);
            }
            o[x] = result;
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
        uint32_t tone[96];  // the three colour bytes in place, alpha 0
        for (int i = 0; i < 96; ++i) {
            const int64_t w = weights[static_cast<size_t>(i)];
            tone[i] = 0;
            for (int c = 0; c < 3; ++c)
                tone[i] |=
                    static_cast<uint32_t>(static_cast<uint8_t>((paper[c] * (255 - w) + ink[c] * w) >> 8))
                    << (8 * c);
        }
        const Picture& in = frames.inputs[0];
        Picture& out = frames.output;
        for (int32_t y = 0; y < frames.height; ++y) {
            const PixelWord* s = reinterpret_cast<const PixelWord*>(in.Row(y));
            PixelWord* e = reinterpret_cast<PixelWord*>(out.Row(y));
            for (int32_t x = 0; x < frames.width; ++x)
                e[x] = tone[ColourSum(e[x]) >> 3] | (s[x] & kAlphaMask);
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
        // mixed[tone][channel][source byte] = s.c * b + tone.c * ib, clamped and
        // truncated, already in the channel's place in the pixel.
        uint32_t mixed[2][3][256];
        for (int t = 0; t < 2; ++t)
            for (int c = 0; c < 3; ++c) {
                const float toneTerm = static_cast<float>(tones[t][static_cast<size_t>(c)]) * ib;
                for (int v = 0; v < 256; ++v) {
                    const float f = static_cast<float>(v) * b + toneTerm;
                    const uint8_t byte = f > 255.0f ? 255 : (f < 0.0f ? 0 : ClampToByte(TruncToInt32(f)));
                    mixed[t][c][v] = static_cast<uint32_t>(byte) << (8 * c);
                }
            }
        const Picture& in = frames.inputs[0];
        Picture& out = frames.output;
        for (int32_t y = 0; y < frames.height; ++y) {
            const PixelWord* s = reinterpret_cast<const PixelWord*>(in.Row(y));
            PixelWord* e = reinterpret_cast<PixelWord*>(out.Row(y));
            for (int32_t x = 0; x < frames.width; ++x) {
                const auto& mix = mixed[ColourSum(e[x]) < kPastelInkSum ? 0 : 1];
                const uint32_t source = s[x];
                e[x] = mix[0][source & 0xff] | mix[1][(source >> 8) & 0xff] | mix[2][(source >> 16) & 0xff] |
                       (source & kAlphaMask);
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
    MemoryAllocator allocator(host, &workPictures);
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

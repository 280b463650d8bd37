// Colorize and Motion Blur.
//
// Colorize works in the HSV form of the picture: its hue test and saturation
// scale depend on the hue and saturation bytes alone, so they are tabled once
// per frame over all 65536 pairs instead of being worked out per pixel.
#include "effects/Colorize.h"

#include <memory>

#include "effects/Zoom.h"
#include "frame/ActivationManager.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Kernels.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kColorizeParameters[] = {
    ColourParam("Color A", 0xff0000), FloatParam("Strength A", 0.44f), ColourParam("Color B", 0x40524f),
    FloatParam("Strength B", 0.0f),   ColourParam("Color C", 0xff),    FloatParam("Strength C", 0.35f),
    FloatParam("Filter", 0.05f),      FloatParam("Saturation", 0.75f),
};
constexpr const char* kMotionblurEdgesChoices[] = {"Blank", "Original Image"};
constexpr ParameterDesc kMotionblurParameters[] = {
    FloatParam("Blur", 0.5f),
    FloatParam("Angle", 0.5f, 0.0f, 360.0f),
    FloatParam("Direction", 0.5f, -100.0f, 100.0f),
    FloatParam("Blend", 0.5f, -100.0f, 100.0f),
    ChoiceParam("Edges", 1, kMotionblurEdgesChoices),
};
const EffectDescriptor kColorizeDescriptor{"Corvane Colorize", 1, kColorizeParameters};
const EffectDescriptor kMotionblurDescriptor{"Corvane Motion Blur", 5, kMotionblurParameters};

// The key colours as hues. The conversion reads bytes 0, 1, 2 as r, g, b, so
// the colour's red byte goes where the pictures keep red, byte 2, and is
// read as blue like every picture pixel: keys and pixels agree on the swap.
void KeyHues(const uint32_t (&colours)[3], MemoryAllocator& allocator, int32_t (&hues)[3]) {
    Picture palette;
    if (!palette.Allocate(4, 1, 4, &allocator)) {
        for (int32_t& hue : hues) hue = 0;  // as from a black palette
        return;
    }
    PictureOps::FillPicture(palette, 0);  // the unused pixel and alphas never reach a hue
    for (int32_t k = 0; k < 3; ++k) {
        uint8_t* pixel = palette.PixelAddress(k, 0);
        pixel[2] = static_cast<uint8_t>(colours[k]);
        pixel[1] = static_cast<uint8_t>(colours[k] >> 8);
        pixel[0] = static_cast<uint8_t>(colours[k] >> 16);
    }
    PictureOps::ConvertPictureToHsv(palette, palette);
    for (int32_t k = 0; k < 3; ++k) hues[k] = palette.PixelByte(k, 0, 0);
}

}  // namespace

void MatchHue(const HueKeys& keys, int32_t v, int32_t s, uint8_t& hue, uint8_t& saturation) {
    int32_t best = v;
    int32_t closest = 255;
    uint32_t result = 0;
    for (int32_t k = 0; k < 3; ++k) {
        // Only one wrap of the hue circle is looked at.
        int32_t d = v - keys.hue[k];
        if (d < 0) d = -d;
        const int32_t around = v + 256 - keys.hue[k];
        if (around < d) d = around;
        if (d < keys.reach[k] && d < closest) {
            closest = d;
            best = keys.hue[k];
            // Unsigned arithmetic throughout; a reach too large for its
            // divisor (absurd strengths) saturates.
            const uint32_t divisor = static_cast<uint32_t>(keys.reach[k]) << 8;
            const uint32_t product = static_cast<uint32_t>(s) * static_cast<uint32_t>(keys.gain) *
                                     static_cast<uint32_t>(keys.reach[k] - d);
            result = divisor == 0 ? 255u : product / divisor;
            if (result > 255) result = 255;
        }
    }
    hue = static_cast<uint8_t>(best);
    saturation = static_cast<uint8_t>(result);
}

CColorize::CColorize() : VideoEffectBase(kColorizeDescriptor) {}

bool CColorize::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                       RenderInfo*) {
    MemoryAllocator allocator(host, &workPictures);
    ParameterReader read(host);
    uint32_t colours[3];
    colours[0] = read.Colour(0);
    colours[1] = read.Colour(2);
    colours[2] = read.Colour(4);
    float strengths[3];
    strengths[0] = read.Float(1);
    strengths[1] = read.Float(3);
    strengths[2] = read.Float(5);
    const float filter = read.Float(6);
    const float saturation = read.Float(7);

    RenderFrames frames(first, second, output, 1);
    Picture huePlane;
    Picture smoothed;
    if (frames.usable) {
        const int32_t width = frames.width;
        const int32_t height = frames.height;
        HueKeys keys;
        keys.gain = TruncToInt32(saturation * 512.0f);
        int32_t passes = TruncToInt32(filter * 13.0f);
        if (passes > kMaxHuePasses) passes = kMaxHuePasses;
        KeyHues(colours, allocator, keys.hue);
        for (int32_t k = 0; k < 3; ++k) keys.reach[k] = TruncToInt32(strengths[k] * 128.0f);

        Picture& out = frames.output;
        PictureOps::ConvertPictureToHsv(frames.inputs[0], out);
        if (huePlane.Allocate(width, height, 1, &allocator) &&
            smoothed.Allocate(width, height, 1, &allocator)) {
            // Smoothing the hue plane alone keeps noise from flipping pixels
            // between hues.
            PictureOps::CopyPictureChannel(out, huePlane, 0, 0);
            if (width > 5 && height > 5) {
                for (int32_t pass = 0; pass < passes; ++pass) {
                    KernelMean(huePlane.PixelAddress(2, 2), huePlane.pitch, smoothed.PixelAddress(2, 2),
                               smoothed.pitch, KernelSize{width - 5, height - 5}, kMeanMask5x5);
                    PictureOps::ReplicatePictureBorder(smoothed, huePlane, 3, 3);
                }
            }
            PictureOps::CopyPictureChannel(huePlane, out, 0, 0);

            // (hue, saturation) -> the pair the pixel takes, hue in the low byte.
            const std::unique_ptr<uint16_t[]> matched(new uint16_t[256 * 256]);
            for (int32_t v = 0; v < 256; ++v)
                for (int32_t s = 0; s < 256; ++s) {
                    uint8_t hue, sat;
                    MatchHue(keys, v, s, hue, sat);
                    matched[static_cast<size_t>(v * 256 + s)] = static_cast<uint16_t>(hue | (sat << 8));
                }
            const Picture& in = frames.inputs[0];
            for (int32_t y = 0; y < height; ++y) {
                uint8_t* pixel = out.Row(y);
                const uint8_t* source = in.Row(y);
                for (int32_t x = 0; x < width; ++x, pixel += 4, source += 4) {
                    const uint16_t pair = matched[static_cast<size_t>(pixel[0] * 256 + pixel[1])];
                    pixel[0] = static_cast<uint8_t>(pair);
                    pixel[1] = static_cast<uint8_t>(pair >> 8);
                    pixel[3] = source[3];
                }
            }
        }
        PictureOps::ConvertPictureToRgb(out, out);
    }
    HandToLicenceGate(host, output);
    return true;
}

CMotionblur::CMotionblur() : VideoEffectBase(kMotionblurDescriptor) {}

bool CMotionblur::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                         RenderInfo*) {
    MemoryAllocator allocator(host, &workPictures);
    ParameterReader read(host);
    const float blur = read.Float(0);
    const float angle = read.Float(1);
    const float direction = read.Float(2);
    const float blend = read.Float(3);
    const int32_t edges = read.Choice(4);

    RenderFrames frames(first, second, output, 1);
    Picture forward;
    Picture backward;
    if (frames.usable) {
        const int32_t width = frames.width;
        const int32_t height = frames.height;
        const float length = blur * static_cast<float>(width) * 0.5f;
        const float mix = (1.0f - (1.0f - blend) * (1.0f - blend)) * 255.0f;
        const float dir = direction * 255.0f;
        const float f = direction * length;
        const float g = length - f;
        const float a = angle * 3.1415925f * 2.0f;
        // The first pass steps by length / 2^(n + 1), the last by half the
        // length; a negative count runs no pass and needs no step.
        const int32_t na = TruncToInt32(Log2Float(f + 0.5f));
        const float step1 = na >= 0 ? f / PowerOfTwo(na + 1) : 0.0f;
        const int32_t nb = TruncToInt32(Log2Float(g + 0.5f));
        const float step2 = nb >= 0 ? -g / PowerOfTwo(nb + 1) : 0.0f;
        // The rotations have no centre: only the line of the smear counts.
        const auto along = [a](float step) {
            PictureTransform m;
            m.Rotate(a);
            m.Translate(step, 0.0f);
            m.Rotate(0.0f - a);
            return m;
        };

        if (forward.Allocate(width, height, 4, &allocator) &&
            backward.Allocate(width, height, 4, &allocator)) {
            const Picture& in = frames.inputs[0];
            Picture& out = frames.output;
            PictureOps::CopyPictureRect(in, 0, 0, width, height, forward, 0, 0);
            DoublingBlur(forward, out, step1, na, along);
            PictureOps::CopyPictureRect(in, 0, 0, width, height, backward, 0, 0);
            DoublingBlur(backward, out, step2, nb, along);
            // Forward smear weighted by Direction, the backward by the rest.
            PictureOps::BlendPictures(backward, forward, TruncToInt32(255.0f - dir), TruncToInt32(dir));
            PictureOps::CopyPictureRect(in, 0, 0, width, height, out, 0, 0);
            if (edges != 0) PictureOps::AlphaOverPictures(forward, in, forward, true);
            PictureOps::BlendPictures(forward, out, TruncToInt32(mix), TruncToInt32(255.0f - mix));
        }
    }
    HandToLicenceGate(host, output);
    return true;
}

}  // namespace halcyra

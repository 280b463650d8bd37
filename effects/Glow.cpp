// Glow and Halo transitions, their shared outer frame, and the triangular blur.
//
#include "effects/Glow.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "frame/ActivationManager.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Kernels.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kGlowParameters[] = {
    ColourParam("Paper", 0xffff00),  FloatParam("Blur", 0.94f),  FloatParam("Glow", 0.94f),
    FloatParam("Highlights", 0.21f), FloatParam("Tempo", 0.54f), FloatParam("Cross Fade", 0.44f),
};
constexpr ParameterDesc kHaloParameters[] = {
    FloatParam("Halo Width", 0.7f),
    FloatParam("Halo Rim", 0.34f),
    FloatParam("Tempo", 0.34f),
    FloatParam("Cross Fade", 0.5f),
};
const EffectDescriptor kGlowDescriptor{"Corvane Glow", 2, kGlowParameters};
const EffectDescriptor kHaloDescriptor{"Corvane Halo", 2, kHaloParameters};

struct HaloPreset {
    const char* name;
    float values[4];  // Halo Width, Halo Rim, Tempo, Cross Fade
};
constexpr HaloPreset kHaloPresets[] = {
    {"Fat Blob", {1.0f, 0.0f, 0.29f, 0.5f}},
    {"Thin Blob", {0.445f, 0.0f, 0.29f, 0.5f}},
    {"Big Halos", {1.0f, 0.995f, 0.29f, 0.5f}},
    {"Defocus", {0.275f, 0.295f, 0.29f, 0.5f}},
};
constexpr int32_t kHaloPresetCount = static_cast<int32_t>(std::size(kHaloPresets));

// The fixed 3x3 kernels of the halo: rims by a Laplacian-like edge kernel, then
// a softening that keeps 5/9 of the centre.
constexpr float kHaloEdgeKernel[9] = {1, 1, 1, 1, -7, 1, 1, 1, 1};
constexpr float kSoftOuter = 0.0555555559694767f;   // 1/18
constexpr float kSoftCentre = 0.5555555820465088f;  // 5/9
constexpr float kHaloSoftKernel[9] = {kSoftOuter, kSoftOuter, kSoftOuter, kSoftOuter, kSoftCentre,
                                      kSoftOuter, kSoftOuter, kSoftOuter, kSoftOuter};

// Margins come from parameters; a value no in-range parameter can produce (a
// host sending garbage) is treated like a work picture that could not be had,
// rather than asking for gigabytes.
bool MarginUsable(int32_t width, int32_t height, int32_t margin) {
    if (margin < 0 || margin > (1 << 15)) return false;
    const int64_t pixels = (int64_t{width} + margin) * (int64_t{height} + margin);
    return pixels <= (int64_t{1} << 26);
}

// A work picture whose replicated interior is empty (4 pixels or less across)
// would be read where nothing wrote; it starts cleared instead.
void ClearIfInteriorEmpty(Picture& picture, int32_t width, int32_t height) {
    if (width <= 4 || height <= 4) PictureOps::FillPicture(picture, 0);
}

int32_t OverlapWidth(const Picture& a, const Picture& b) {
    return (a.data == nullptr || b.data == nullptr) ? 0 : std::min(a.width, b.width);
}
int32_t OverlapHeight(const Picture& a, const Picture& b) {
    return (a.data == nullptr || b.data == nullptr) ? 0 : std::min(a.height, b.height);
}

// The colour-bounded bloom over the blurred picture in output and the mixed
// picture. Gain and threshold outside anything the parameters' ranges give are
// held where the sums stay in 32 bits.
void GlowPixels(const Picture& mixed, Picture& output, int32_t width, int32_t height, int32_t gain,
                int32_t threshold, uint32_t colour) {
    width = std::min(width, OverlapWidth(mixed, output));
    height = std::min(height, OverlapHeight(mixed, output));
    if (width <= 0 || height <= 0) return;
    // Memory order B, G, R; the colour parameter has red in its low byte.
    const BloomParameters bloom{
        ClampInt(gain, -(1 << 16), 1 << 16),
        ClampInt(threshold, -(1 << 20), 1 << 20),
        {static_cast<int32_t>((colour >> 16) & 0xff), static_cast<int32_t>((colour >> 8) & 0xff),
         static_cast<int32_t>(colour & 0xff)}};
    KernelBoundedBloom4(mixed.data, mixed.pitch, output.data, output.pitch, {width, height}, bloom);
}

void GlowMiddle(const Picture& mixed, Picture& output, int32_t width, int32_t height, uint32_t colour,
                float blur, float glow, float highlights, MemoryAllocator& allocator) {
    const int32_t gain = TruncToInt32(glow * 512.0f);
    const int32_t high = WrapSub(gain, 256) / 2;
    const int32_t low = WrapSub(gain, 400) / 2;
    const int32_t threshold =
        WrapAdd(low, TruncToInt32(static_cast<float>(int64_t{high} - low) * highlights));
    const int32_t taps = WrapAdd(TruncToInt32(blur * static_cast<float>(height)), 1);
    if (!TriangularBlur(mixed, output, width, height, taps, allocator)) return;
    GlowPixels(mixed, output, width, height, gain, threshold, colour);
}

void HaloMiddle(const Picture& mixed, Picture& output, int32_t width, int32_t height, float haloWidth,
                float rim, float u, MemoryAllocator& allocator) {
    const int32_t diameter =
        (TruncToInt32(haloWidth * static_cast<float>(height) * 0.1f) & 0xfffe) + 1;  // odd
    HaloStep(mixed, output, width, height, diameter, TruncToInt32(rim * 255.0f * u), allocator);
}

// Steps common to both transitions around the middle step.
template <class MiddleStep>
void RenderTempoTransition(RenderFrames& frames, MemoryAllocator& allocator, float p, float tempo,
                           float crossFade, MiddleStep middle) {
    Picture mixed;
    mixed.Allocate(frames.width, frames.height, 4, &allocator);  // a failure shows as no-op steps
    CrossFadeInto(frames.inputs[0], frames.inputs[1], mixed, p, crossFade);
    const TempoCurve curve = TempoCurveAt(p, tempo);
    // At the full weight (or above it, which the blend clamps) the put-back
    // replaces every pixel the middle step could write, d(x * 255) being x,
    // so that step is skipped.
    if (curve.crossFadeWeight < 255) middle(mixed, curve.u);
    if (curve.crossFadeWeight != 0)
        PictureOps::BlendPictures(mixed, frames.output, curve.crossFadeWeight,
                                  WrapSub(255, curve.crossFadeWeight));
}

}  // namespace

// The halo step read literally: the dilation, the rims and the softening over
// work pictures with margins of twice the diameter.
void HaloStepLiteral(const Picture& mixed, Picture& output, int32_t width, int32_t height, int32_t diameter,
                     int32_t rimWeight, MemoryAllocator& allocator) {
    if (mixed.data == nullptr || !MarginUsable(width, height, 2 * diameter)) return;
    const int32_t workWidth = width + 2 * diameter;
    const int32_t workHeight = height + 2 * diameter;
    Picture a;
    Picture b;
    if (!a.Allocate(workWidth, workHeight, 4, &allocator) ||
        !b.Allocate(workWidth, workHeight, 4, &allocator))
        return;
    ClearIfInteriorEmpty(a, width, height);
    ClearIfInteriorEmpty(b, width, height);
    PictureOps::CopyPictureRect(mixed, 0, 0, width, height, a, diameter, diameter);
    // The replicated interior leaves out the outer two pixels of the picture.
    PictureOps::ReplicatePictureBorder(a, b, diameter + 2, diameter + 2);
    PictureOps::MorphPicture(b, a, diameter, nullptr);
    if (rimWeight == 0) {
        // Without rims the blend gives back the dilated picture byte for byte
        // (d(x * 255) = x, d(x * 0) = 0): soften it straight from there. Only
        // the interior, which the softening writes, reaches the output.
        PictureOps::ConvolvePicture(a, b, kHaloSoftKernel, 3);
        PictureOps::CopyPictureRect(b, diameter, diameter, width, height, output, 0, 0);
        return;
    }
    PictureOps::ConvolvePicture(a, b, kHaloEdgeKernel, 3);
    PictureOps::BlendPictures(a, b, WrapSub(255, rimWeight), rimWeight);
    PictureOps::ConvolvePicture(b, a, kHaloSoftKernel, 3);
    PictureOps::CopyPictureRect(a, diameter, diameter, width, height, output, 0, 0);
}

// The same step computed only where it reaches the output. An output pixel
// reads the softening's 3x3 window of the blend, which reads the edge kernel's
// window of the dilated picture: the dilated picture is needed two pixels
// around the frame and no further. The work picture the dilation reads is the
// mixed picture without its outer two pixels, replicated outward, and the
// dilation replicates its border too, so it can read that inner picture
// directly with its border replicated. Where the rim pixels of the literal
// work pictures would reach the output (a diameter of 1) or the inner picture
// is empty, the literal form runs.
void HaloStep(const Picture& mixed, Picture& output, int32_t width, int32_t height, int32_t diameter,
              int32_t rimWeight, MemoryAllocator& allocator) {
    // Sizes no in-range parameter gives are refused by both forms alike, and
    // without a mixed picture there is nothing to work on.
    if (mixed.data == nullptr || !MarginUsable(width, height, 2 * diameter)) return;
    if (diameter < 3 || width <= 4 || height <= 4) {
        HaloStepLiteral(mixed, output, width, height, diameter, rimWeight, allocator);
        return;
    }
    Picture inner;
    Picture dilated;
    Picture near;  // the dilated picture one pixel around the frame
    if (!inner.Attach(mixed.PixelAddress(2, 2), width - 4, height - 4, mixed.pitch, 4) ||
        !dilated.Allocate(width + 4, height + 4, 4, &allocator) ||
        !PictureOps::MorphPictureRegion(inner, dilated, diameter, {-4, -4}, nullptr) ||
        !near.Attach(dilated.PixelAddress(1, 1), width + 2, height + 2, dilated.pitch, 4))
        return;
    // Pixel (1, 1) of a picture around the frame lands on the output's (0, 0).
    auto soften = [&](const Picture& around) {
        KernelConvolve(around.PixelAddress(1, 1), around.pitch, output.data, output.pitch, {width, height},
                       kHaloSoftKernel, {3, 3}, {1, 1});
    };
    if (rimWeight == 0) {  // the blend would give back the dilated picture, as above
        soften(near);
        return;
    }
    Picture edges;
    if (!edges.Allocate(width + 2, height + 2, 4, &allocator)) return;
    KernelConvolve(near.data, near.pitch, edges.data, edges.pitch, {width + 2, height + 2}, kHaloEdgeKernel,
                   {3, 3}, {1, 1});
    PictureOps::BlendPictures(near, edges, WrapSub(255, rimWeight), rimWeight);
    soften(edges);
}

TempoCurve TempoCurveAt(float p, float tempo) {
    float t = p * 2.0f;
    if (t > 1.0f) t = 2.0f - t;
    const float u = 1.0f - std::pow(1.0f - t, tempo * 3.0f + 1.0f);
    return {u, TruncToInt32((1.0f - u) * 255.0f)};
}

void CrossFadeInto(const Picture& first, const Picture& second, Picture& mixed, float p, float crossFade) {
    const float start = 0.5f - crossFade * 0.5f;
    if (p < start) {
        PictureOps::CopyPicture(first, mixed);
    } else if (p > start + crossFade) {
        PictureOps::CopyPicture(second, mixed);
    } else {
        if (crossFade == 0.0f) crossFade = 1e-06f;
        const float f = (p - start) / crossFade;
        PictureOps::MixPictures(first, second, mixed, 1.0f - f, f);
    }
}

bool TriangularBlur(const Picture& source, Picture& destination, int32_t width, int32_t height, int32_t taps,
                    MemoryAllocator& allocator) {
    if (!MarginUsable(width, height, taps)) return false;
    const int32_t half = (taps + 1) >> 1;
    void* block = nullptr;
    if (!allocator.Allocate(&block, static_cast<uint32_t>(4 * taps + 1))) return false;
    int32_t* kernel = static_cast<int32_t*>(block);
    int32_t divisor = 0;
    for (int32_t i = 0; i < taps; ++i) {
        kernel[i] = i < half ? i + 1 : taps - i;  // k[K - 1 - i] of the rising half
        divisor += kernel[i];
    }
    const int32_t margin = taps >> 1;
    bool ran = false;
    {
        Picture a;
        Picture b;
        if (a.Allocate(width + taps, height + taps, 4, &allocator) &&
            b.Allocate(width + taps, height + taps, 4, &allocator)) {
            ClearIfInteriorEmpty(a, width, height);
            ClearIfInteriorEmpty(b, width, height);
            const KernelSize size{width, height};
            PictureOps::CopyPictureRect(source, 0, 0, width, height, a, margin, margin);
            // Two pixels deeper than the copy left open: the outermost two
            // pixels of the picture itself are replaced by their neighbours.
            PictureOps::ReplicatePictureBorder(a, a, margin + 2, margin + 2);
            FilterPictureColumns(a.PixelAddress(margin, margin), a.pitch, b.PixelAddress(margin, margin),
                                 b.pitch, size, kernel, taps, margin, divisor);
            PictureOps::ReplicatePictureBorder(b, b, margin + 2, margin + 2);
            if (destination.data != nullptr && destination.width >= width && destination.height >= height)
                FilterPictureRows(b.PixelAddress(margin, margin), b.pitch, destination.data,
                                  destination.pitch, size, kernel, taps, margin, divisor);
            ran = true;
        }
    }
    allocator.Free(block);
    return ran;
}

CGlow::CGlow() : VideoEffectBase(kGlowDescriptor) {}

bool CGlow::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                   RenderInfo* info) {
    MemoryAllocator allocator(host, &workPictures);
    const float p = ClampProgress(info);
    ParameterReader read(host);
    const uint32_t colour = read.Colour(0);
    const float blur = read.Float(1) * 0.2f;
    const float glow = read.Float(2);
    const float highlights = read.Float(3);
    const float tempo = read.Float(4);
    const float crossFade = read.Float(5);

    RenderFrames frames(first, second, output, 2);
    if (frames.usable) {
        RenderTempoTransition(frames, allocator, p, tempo, crossFade, [&](const Picture& mixed, float) {
            GlowMiddle(mixed, frames.output, frames.width, frames.height, colour, blur, glow, highlights,
                       allocator);
        });
    }
    HandToLicenceGate(host, output);
    return true;
}

CHalo::CHalo() : VideoEffectBase(kHaloDescriptor) {}

bool CHalo::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                   RenderInfo* info) {
    MemoryAllocator allocator(host, &workPictures);
    const float p = ClampProgress(info);
    ParameterReader read(host);
    const float haloWidth = read.Float(0);
    const float rim = read.Float(1);
    const float tempo = read.Float(2);
    const float crossFade = read.Float(3);

    RenderFrames frames(first, second, output, 2);
    if (frames.usable) {
        RenderTempoTransition(frames, allocator, p, tempo, crossFade, [&](const Picture& mixed, float u) {
            HaloMiddle(mixed, frames.output, frames.width, frames.height, haloWidth, rim, u, allocator);
        });
    }
    HandToLicenceGate(host, output);
    return true;
}

const char* CHalo::GetPresetName(int32_t preset) {
    return (preset >= 0 && preset < kHaloPresetCount) ? kHaloPresets[preset].name : nullptr;
}

bool CHalo::GetPresetValue(int32_t preset, int32_t parameter, void* value) {
    if (preset < 0 || preset >= kHaloPresetCount || parameter < 0 || parameter >= 4 || value == nullptr)
        return false;
    ParameterData data{};  // the float, then four zero bytes
    data.number = kHaloPresets[preset].values[parameter];
    std::memcpy(value, &data, sizeof(data));
    return true;
}

}  // namespace halcyra

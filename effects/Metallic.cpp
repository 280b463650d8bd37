// Metallic transition and filter.
//
// The value v of the pixel function depends on the pixel only through the sum
// of its three colour bytes (0..765), so each frame evaluates the sine once per
// possible sum, with exactly the arithmetic of the per-pixel form, and the
// pixel loop looks the results up. v * tint and byte * picture are likewise
// the same doubles whether computed per pixel or per table entry, so a large
// picture tables every (sum, byte) pair once and the loop only looks up.
#include "effects/Metallic.h"

#include <cmath>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <cstring>
#include <vector>

#include "frame/ActivationManager.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kMetallicParameters[] = {
    ColourParam("Color", 0xdcc7db), FloatParam("Shine", 0.84f),      FloatParam("Highlights", 0.64f),
    FloatParam("Calibrate", 0.25f), FloatParam("Metal", 0.65f),      FloatParam("Picture", 0.45f),
    FloatParam("Tempo", 0.45f),     FloatParam("Cross Fade", 0.45f),
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

// MetalChannel for the 256 bytes of one sum. The processor's truncating
// conversion gives the same integer indefinite value as TruncToInt32, and the
// two packs wrap to 16 bits and then clamp to a byte exactly as MetalChannel.
void MetalTableRow(double scaledV, const double* byteTerm, uint8_t* row) {
#if defined(__SSE2__)
    const __m128d v = _mm_set1_pd(scaledV);
    for (int c = 0; c < 256; c += 8) {
        __m128i whole[4];
        for (int q = 0; q < 4; ++q) {
            const __m128i lo = _mm_cvttpd_epi32(_mm_add_pd(v, _mm_loadu_pd(byteTerm + c + q * 2)));
            whole[q] = lo;
        }
        const __m128i first = _mm_unpacklo_epi64(whole[0], whole[1]);
        const __m128i second = _mm_unpacklo_epi64(whole[2], whole[3]);
        // Keep the low 16 bits, sign-extended: the signed 16-bit value.
        const __m128i first16 = _mm_srai_epi32(_mm_slli_epi32(first, 16), 16);
        const __m128i second16 = _mm_srai_epi32(_mm_slli_epi32(second, 16), 16);
        const __m128i words = _mm_packs_epi32(first16, second16);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(row + c), _mm_packus_epi16(words, words));
    }
#else
    for (int c = 0; c < 256; ++c) row[c] = MetalChannel(scaledV, byteTerm[c]);
#endif
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
        for (int k = 0; k < 3; ++k) sumTerm[static_cast<size_t>(k * kSums + sum)] = v * f.tint[k];
    }
    const double* red = sumTerm.data();
    const double* green = red + kSums;
    const double* blue = green + kSums;

    // On large pictures every (sum, byte) result is tabled once: three tables
    // of 766 x 256 bytes, then the loop is three lookups a pixel.
    constexpr int64_t kTableWorthIt = 3 * kSums * 256;
    if (static_cast<int64_t>(width) * height >= kTableWorthIt) {
        std::vector<uint8_t> tables(3 * static_cast<size_t>(kSums) * 256);
        for (int k = 0; k < 3; ++k) {
            const double* term = sumTerm.data() + k * kSums;
            uint8_t* table = tables.data() + static_cast<size_t>(k) * kSums * 256;
            for (int sum = 0; sum < kSums; ++sum) MetalTableRow(term[sum], byteTerm, table + sum * 256);
        }
        const uint8_t* tableRed = tables.data();
        const uint8_t* tableGreen = tableRed + kSums * 256;
        const uint8_t* tableBlue = tableGreen + kSums * 256;
        for (int32_t y = 0; y < height; ++y) {
            const uint8_t* s = source.Row(y);
            uint8_t* d = destination.Row(y);
            for (int32_t x = 0; x < width; ++x, s += 4, d += 4) {
                uint32_t pixel;
                std::memcpy(&pixel, s, 4);
                const uint32_t b = pixel & 0xff, g = (pixel >> 8) & 0xff, r = (pixel >> 16) & 0xff;
                const uint32_t row = (b + g + r) << 8;
                const uint32_t result = tableBlue[row + b] | (uint32_t{tableGreen[row + g]} << 8) |
                                        (uint32_t{tableRed[row + r]} << 16) | (pixel & 0xff000000u);
                std::memcpy(d, &result, 4);
            }
        }
        return;
    }
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
    MemoryAllocator allocator(host, &workPictures);
    const float p = ClampProgress(info);
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

// The dream glow post effect.
#include "transitions/DreamGlow.h"

#include <algorithm>
#include <cmath>

#include "effects/Glow.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

// Beyond this gain every lit pixel saturates anyway (bright exceeds any base
// by 256 or more), so holding it here changes no result and keeps the sums in
// 32 bits.
constexpr int32_t kGainLimit = 1 << 22;

}  // namespace

void KernelDreamGlowRow(const uint8_t* blurred, const uint8_t* source, uint8_t* out, int32_t width,
                        int32_t gainInt, uint32_t colour) {
    const int32_t gain = ClampInt(gainInt, -kGainLimit, kGainLimit);
    // Memory order B, G, R; the colour has red in its low byte.
    const int32_t bound0 = static_cast<int32_t>((colour >> 16) & 0xff);
    const int32_t bound1 = static_cast<int32_t>((colour >> 8) & 0xff);
    const int32_t bound2 = static_cast<int32_t>(colour & 0xff);
    const PixelWord* l = reinterpret_cast<const PixelWord*>(blurred);
    const PixelWord* s = reinterpret_cast<const PixelWord*>(source);
    PixelWord* o = reinterpret_cast<PixelWord*>(out);
    // Branch-free on whole pixels so that the loop vectorises.
    for (int32_t x = 0; x < width; ++x) {
        const uint32_t lp = l[x];
        const uint32_t sp = s[x];
        const int32_t lum =
            static_cast<int32_t>(((lp >> 16) & 0xff) * 76 + ((lp >> 8) & 0xff) * 149 + (lp & 0xff) * 30) >> 8;
        const int32_t bright = (lum * gain) >> 8;
        const int32_t s0 = sp & 0xff, s1 = (sp >> 8) & 0xff, s2 = (sp >> 16) & 0xff;
        const int32_t base = (s2 * 76 + s1 * 149 + s0 * 30) >> 8;
        const int32_t d = base < bright ? bright - base : 0;
        const int32_t v0 = std::min(s0 + ((d * bound0) >> 8), bound0);
        const int32_t v1 = std::min(s1 + ((d * bound1) >> 8), bound1);
        const int32_t v2 = std::min(s2 + ((d * bound2) >> 8), bound2);
        const int32_t alpha = std::min(255, std::max(bright, static_cast<int32_t>(sp >> 24)));
        o[x] = static_cast<uint32_t>(v0) | static_cast<uint32_t>(v1) << 8 | static_cast<uint32_t>(v2) << 16 |
               static_cast<uint32_t>(alpha) << 24;
    }
}

void PRDreamGlowEffect::ProcessPicture(Picture& picture) {
    if (picture.data == nullptr || picture.bytesPerPixel != 4 || picture.width <= 0 || picture.height <= 0)
        return;
    const float g = std::sqrt(gain * 0.8f) * 1.5f;
    const float b = std::sqrt(spread * 0.8f) * 1.5f;
    if (g == 0.0f && b == 0.0f) return;

    Picture result;
    if (!result.Allocate(picture.width, picture.height, 4, allocator)) return;
    const int32_t width = std::min(picture.width, result.width);
    const int32_t height = std::min(picture.height, result.height);
    const int32_t gainInt = TruncToInt32(g * 512.0f);
    const int32_t taps = WrapAdd(TruncToInt32(b * static_cast<float>(height) * 0.2f), 1);

    if (allocator != nullptr && TriangularBlur(picture, result, width, height, taps, *allocator)) {
        for (int32_t y = 0; y < height; ++y)
            KernelDreamGlowRow(result.Row(y), picture.Row(y), result.Row(y), width, gainInt, colour);
    } else {
        // The blur's memory could not be had: the face still takes the
        // result, which then holds nothing of it.
        PictureOps::FillPicture(result, 0);
    }
    PictureOps::CopyPicture(result, picture);
}

}  // namespace halcyra

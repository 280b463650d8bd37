// Glow and Halo: two transitions that cross-fade the clips and, towards the
// middle, replace the picture by a processed version of it. CGlow blooms the
// bright areas in a chosen colour; CHalo fattens the picture with a disc
// dilation and draws soft rims around its shapes. Both share the outer frame:
// the cross-fade into a work picture, the tempo curve that brings the
// processed picture in and out, and the plain cross-fade put back at the end.
// The triangular blur lives here too; the airbrush look reuses it.
#pragma once

#include <bit>
#include <cstdint>

#include "frame/EffectBase.h"
#include "picture/MemoryAllocator.h"
#include "picture/Picture.h"

namespace halcyra {

// A pixel as one 32-bit word (blue in the low byte, alpha in the high byte),
// read from rows of any alignment, so that whole-pixel loops vectorise.
using PixelWord = uint32_t __attribute__((may_alias, aligned(1)));
static_assert(std::endian::native == std::endian::little);

// Where the transition stands: u rises from 0 at the ends to 1 in the middle,
// and crossFadeWeight (0..255 in range) is how much of the plain cross-fade is
// put back over the processed picture.
struct TempoCurve {
    float u;
    int32_t crossFadeWeight;
};

// p already clamped to 0..1. tempo and crossFade are the normalised parameters.
TempoCurve TempoCurveAt(float p, float tempo);

// The cross-fade of the two inputs at p into mixed (W x H): a copy of either
// clip outside the fade, their mix inside it.
void CrossFadeInto(const Picture& first, const Picture& second, Picture& mixed, float p, float crossFade);

// The separable triangular blur of K taps with replicated margins: source's
// W x H area blurred into destination at (0, 0), colour channels only (the
// destination's alpha stays). False when the kernel array or the two margin
// pictures could not be had, in which case destination is untouched; a K the
// filters refuse (0) still counts as run.
bool TriangularBlur(const Picture& source, Picture& destination, int32_t width, int32_t height, int32_t taps,
                    MemoryAllocator& allocator);

// Halo's middle step over the mixed picture's W x H area into the output at
// (0, 0), for an odd diameter and a rim weight: the dilation, the rims and the
// softening. HaloStep computes only what reaches the output; HaloStepLiteral
// runs every step over work pictures with full margins. Both give the same
// bytes, and both leave the output as it was when memory runs out.
void HaloStep(const Picture& mixed, Picture& output, int32_t width, int32_t height, int32_t diameter,
              int32_t rimWeight, MemoryAllocator& allocator);
void HaloStepLiteral(const Picture& mixed, Picture& output, int32_t width, int32_t height, int32_t diameter,
                     int32_t rimWeight, MemoryAllocator& allocator);

class CGlow final : public VideoEffectBase {
public:
    CGlow();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CHalo final : public VideoEffectBase {
public:
    CHalo();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
    const char* GetPresetName(int32_t preset) override;
    bool GetPresetValue(int32_t preset, int32_t parameter, void* value) override;
};

}  // namespace halcyra

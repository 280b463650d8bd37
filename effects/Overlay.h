// Road Sign, Wedding and Star: three transitions in which a decorated picture
// crosses the frame and the clips change over behind it. Each scales one of the
// overlay pictures compiled into the library to the frame and sweeps it:
// CWipe (shown as "Corvane Road Sign") sideways with a sign on a post, CWedding
// downwards with an ornamental ribbon whose mask splits the clips, CStar
// downwards with a star that changes the clips at its middle row.
#pragma once

#include <cstdint>

#include "frame/EffectBase.h"
#include "picture/Picture.h"

namespace halcyra {

// One of the overlay pictures: its bitmap header and its rows of pixels.
struct OverlayBitmap {
    const BitmapInfoHeader* header;
    const void* pixels;
};

OverlayBitmap SignBitmap();        // 383 x 768, 32 bits, straight colour
OverlayBitmap RibbonBitmap();      // 968 x 188, 32 bits, premultiplied
OverlayBitmap RibbonMaskBitmap();  // 968 x 188, 8 bits: below 128 one clip, from 128 the other
OverlayBitmap StarBitmap();        // 305 x 475, 32 bits, straight colour

// The overlay rule for one pixel: bg under the overlay pixel o. Straight
// colour (CWipe, CStar) weighs o's colour by its alpha; premultiplied colour
// (CWedding) is added as it stands, in 8 bits.
inline void KernelOverlayPixel(const uint8_t* bg, const uint8_t* o, uint8_t* out, bool premultiplied) {
    const uint32_t alpha = o[3];
    if (alpha < 4) {
        for (int c = 0; c < 4; ++c) out[c] = bg[c];
    } else if (alpha < 251) {
        const uint32_t keep = 255 - alpha;
        for (int c = 0; c < 3; ++c)
            out[c] = premultiplied ? static_cast<uint8_t>(((bg[c] * keep) >> 8) + o[c])
                                   : static_cast<uint8_t>((bg[c] * keep + alpha * o[c]) >> 8);
        out[3] = static_cast<uint8_t>((bg[3] * keep + alpha * 255) >> 8);
    } else {
        for (int c = 0; c < 4; ++c) out[c] = o[c];
    }
}

class CWipe final : public VideoEffectBase {
public:
    CWipe();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CWedding final : public VideoEffectBase {
public:
    CWedding();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CStar final : public VideoEffectBase {
public:
    CStar();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

}  // namespace halcyra

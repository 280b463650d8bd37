// Colorize and Motion Blur, two filters shown through their wrappers.
// CColorize keeps the colours near up to three chosen hues, each pulled onto
// its hue, and drains every other colour to grey. CMotionblur smears the
// picture both ways along a straight line with the doubling blur of the zooms.
#pragma once

#include <cstdint>

#include "frame/EffectBase.h"

namespace halcyra {

// The hue plane is smoothed at most this often; parameters in range ask for
// 13 passes, and the cap only bounds the work for absurd ones.
inline constexpr int32_t kMaxHuePasses = 64;

// The chosen hues, their reach round the hue circle (0 switches a hue off)
// and the saturation gain in 256ths.
struct HueKeys {
    int32_t hue[3];
    int32_t reach[3];
    int32_t gain;
};

// The hue and saturation that a pixel of hue v and saturation s takes: the
// nearest key hue within its reach, the earlier one on a tie, with the
// saturation scaled by gain and by the closeness; saturation 0 when no key
// reaches it.
void MatchHue(const HueKeys& keys, int32_t v, int32_t s, uint8_t& hue, uint8_t& saturation);

class CColorize final : public VideoEffectBase {
public:
    CColorize();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CMotionblur final : public VideoEffectBase {
public:
    CMotionblur();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

}  // namespace halcyra

// The hand-drawn looks: Line Drawing and Pastel Sketch find edges with one 3x3
// kernel and recolour every pixel between a paper and an ink colour; Airbrush
// blurs the picture and lets the blur bleed over it so that detail dissolves.
// All three are filters reached only through their wrappers.
#pragma once

#include <array>
#include <cstdint>

#include "frame/EffectBase.h"
#include "picture/Picture.h"

namespace halcyra {

// The edge map: a 3x3 kernel of 1s around -8, scaled by the density, from the
// input into the output's interior (the outermost ring is left undone).
void EdgeMap(const Picture& input, Picture& output, float density);

// The line drawing's contrast curve over the 96 possible values of a colour
// sum shifted right by 3: ink weights 0..255 pivoting at the middle.
std::array<int32_t, 96> ContrastTable(float contrast);

class CLinedrawing final : public VideoEffectBase {
public:
    CLinedrawing();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CPastelsketch final : public VideoEffectBase {
public:
    CPastelsketch();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CAirbrush final : public VideoEffectBase {
public:
    CAirbrush();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

}  // namespace halcyra

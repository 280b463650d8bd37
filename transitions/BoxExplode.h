// Box Explode: the first picture becomes the front of a box as deep as the
// frame is wide. The box recedes over the second picture, spinning and
// shrinking, and at the moment set by Delay bursts into its six faces, which
// fly apart, tumble and shrink to nothing.
#pragma once

#include "scene/BaseEffect.h"

namespace halcyra {

class D3DBoxExplode final : public BaseEffect {
public:
    D3DBoxExplode();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

// The box's motion at time t with spin S, depth factor e and burst time L,
// for a view half width h: it turns and shrinks about its own centre until
// the burst, recedes, and after the burst keeps turning while a swing away
// from the viewer comes and goes.
Matrix3D BoxExplodeMatrix(double t, double spin, double depthFactor, double delay, double halfWidth);

}  // namespace halcyra

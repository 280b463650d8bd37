// Wiggle: a sheet of strips carrying a cross-fade of the two pictures rises
// into a sine wave across the picture, then the wave runs along the sheet and
// dies away until the sheet lies flat with the second picture on it.
#pragma once

#include "scene/BaseEffect.h"

namespace halcyra {

class D3DKnolls final : public BaseEffect {
public:
    D3DKnolls();
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

// The wave rises with p: every corner takes z = sin(c f + phi) A p, with c
// its y when byY is set and its x otherwise; phi in radians.
void RaiseWiggle(QuadMesh& mesh, double p, double frequency, double phase, double amplitude, bool byY);
// The wave runs on by q 2 pi along the sheet while its height falls as 1 - q.
void RunWiggle(QuadFace& face, double q, double frequency, double phase, double amplitude, bool byY);

}  // namespace halcyra

// Plane Explode: the first picture as one flat plane flies back, shrinks and
// inclines, then bursts into tiles that fly outward from its centre and
// shrink away, with the second picture standing behind everything. A trail
// of earlier moments of the motion can be mixed into each frame.
#pragma once

#include "scene/BaseEffect.h"
#include "scene/Particles.h"

namespace halcyra {

class D3DPlaneExplode final : public BaseEffect {
public:
    D3DPlaneExplode();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

// Renders several earlier moments of an effect's scene and mixes them into
// the output, the newest with weight 1/2, the one before it 1/4, and so on.
class MotionBlurEffect {
public:
    MotionBlurEffect(float count, float spacing, bool reverse, BaseEffect* effect)
        : trailCount(count), trailSpacing(spacing), reversed(reverse), inner(effect) {}
    virtual ~MotionBlurEffect() = default;

    // False after a full trail as well as on failure; the output is then complete.
    bool RenderWithTrail(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                         double progress, MemoryAllocator* allocator);

    float trailCount;
    float trailSpacing;
    bool reversed;      // kept for the record; the swap is the caller's
    BaseEffect* inner;  // not owned
};

// The whole plane's motion up to the burst at time d, inclined by (ix, iy).
Matrix3D PlaneWorldMatrix(double d, double ix, double iy);

// One piece per face, flying from its centre c to c + (c - M) v, M the
// mesh's centre, and shrinking to nothing.
ParticleSystem BuildPlaneParticles(const QuadMesh& mesh, double velocity);

}  // namespace halcyra

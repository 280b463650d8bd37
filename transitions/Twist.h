// Twist: the picture cut into horizontal or vertical slices with the first
// picture on their fronts and the second on their backs. One after the other
// each slice turns over by half a turn about its own short axis, while the
// whole stack may turn and flip as a body, sink away in mid-transition and
// glow.
#pragma once

#include "scene/BaseEffect.h"

namespace halcyra {

class D3DTwist final : public BaseEffect {
public:
    D3DTwist();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

// The slices of one frame. The mesh is a copy of the one it is built from
// and is never changed: each frame turns a copy of its faces.
class TwistSystem {
public:
    explicit TwistSystem(const QuadMesh& source) : mesh(source) {}
    virtual ~TwistSystem() = default;

    // The faces, each turned about its own centre by its slice's angle at
    // time t: about y (aboutY) or about x, the other way when negative.
    std::vector<QuadFace> TurnedFaces(double t, double cohesion, bool aboutY, bool negative) const;
    // The turned faces drawn far to near.
    void DrawSlices(Scene3D& scene, double t, uint32_t flags, double cohesion, bool aboutY,
                    bool negative) const;

    QuadMesh mesh;
};

// Slice i of n at time t with cohesion C: 0 before its window, pi after it,
// linear in time inside it.
double TwistSliceAngle(int32_t i, int32_t n, double t, double cohesion);

// The body's half turn about z (rotate), whole turn about x (flip) and sinking
// by depth, at time t.
Matrix3D TwistWorldMatrix(double t, bool rotate, bool flip, double depth);

}  // namespace halcyra

// Bouncing Cubes: the first picture cut into tiles, each the front of a small
// box; one after the other the boxes shrink to nothing, flip to the second
// picture, grow back and bounce in depth while the grid recedes and tilts.
#pragma once

#include "scene/BaseEffect.h"

namespace halcyra {

class D3DMNCubesFly final : public BaseEffect {
public:
    D3DMNCubesFly();
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

// The grid's recession and tilt at time t, for depth D and tilt (tx, ty);
// the identity at t = 0 and t = 1.
Matrix3D CubesWorldMatrix(double t, double depth, double tx, double ty);

// The tiles' time: held at 0 and 1 for 0.2 D at both ends while the grid
// recedes and returns, with the stretch in single precision.
double CubesStretchedTime(double t, float depth);

// Box i of n at the stretched time t, with cohesion C and rotation kind R:
// shrinks, swaps pictures, grows and bounces within its window of time.
void CubeMotion(QuadMesh& box, int32_t n, int32_t i, double t, double cohesion, int32_t rotation);

}  // namespace halcyra

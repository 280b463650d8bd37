// Spiral and Spiral Rotation: the picture cut into tiles that set off one
// after the other along an inward clockwise spiral. In Spiral each tile
// shrinks to nothing, spins and grows back with the second picture; in Spiral
// Rotation the whole plane makes a half turn, bringing the second picture on
// the tiles' backs round to the front, while the tiles swing out in turn.
#pragma once

#include <vector>

#include "scene/BaseEffect.h"

namespace halcyra {

class D3DSpiral final : public BaseEffect {
public:
    D3DSpiral();
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

class D3DSpiralRotation final : public BaseEffect {
public:
    D3DSpiralRotation();
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

// Every cell index c + r * columns once, from the top-left corner clockwise
// inwards. Empty when the cell map could not be had.
std::vector<int32_t> SpiralOrder(int32_t columns, int32_t rows, MemoryAllocator& allocator);

// The tiles' time: still while the plane leaves and returns, b = 0.2 D at
// each end (b in single precision, the rest in double).
double SpiralStretchedTime(double t, float depth);

// The half turn of the plane (about x for rotation kind 0, else about y) and
// its sinking by depth.
Matrix3D SpiralRotationWorldMatrix(double t, double depth, int32_t rotation);

// Tile i of n at the stretched time t with cohesion C and spin kind R.
// Spiral Rotation: the tile spins about its centre, circles the scene's centre
// once and swings out in depth; it never changes picture.
void SpiralRotationCellTransform(QuadFace& face, int32_t i, int32_t n, double t, double cohesion,
                                 int32_t rotation);
// Spiral: the tile shrinks to a point and grows back as it spins and circles,
// and shows the second picture from its midpoint on.
void SpiralCellTransform(QuadFace& face, int32_t i, int32_t n, double t, double cohesion, int32_t rotation);

}  // namespace halcyra

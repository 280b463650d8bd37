// Box Fold: a closed box with the first picture on the outside of its six
// faces and the second on the inside. The sides unfold about their edges with
// the front, flat into a cross and on through to the viewer's side, turning
// the box inside out while it recedes, tilts and returns; at the end the rear
// face fills the frame with the second picture.
#pragma once

#include "scene/BaseEffect.h"

namespace halcyra {

class D3DBoxInversion final : public BaseEffect {
public:
    D3DBoxInversion();
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

// The box's recession and tilt at time t for depth D and tilt (tx, ty), and
// its move back by its own depth (2 halfWidth) over the whole time.
Matrix3D BoxFoldWorldMatrix(double t, double depth, double tx, double ty, double halfWidth);

// The fold's share of the time: speed V in 0.1..1 is the middle share spent
// folding; the box rests before and after.
double BoxFoldTime(double t, float speed);

// The six faces of a box (in the builder's order) turned about their hinges
// with the front by pi f; the rear rides on the top like a lid. Any other
// face count gives an empty mesh.
QuadMesh FoldBox(const QuadMesh& mesh, double f);

}  // namespace halcyra

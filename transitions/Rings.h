// Rotating and Bouncing Frames: the picture cut into concentric square frames
// of tiles around one middle tile, set going one after the other from the
// outside in. In Rotating Frames each frame turns over by half a turn to show
// the second picture on its back; in Bouncing Frames each frame bounces in
// depth while the picture on every tile fades from the first to the second.
#pragma once

#include <vector>

#include "scene/BaseEffect.h"

namespace halcyra {

class D3DRings final : public BaseEffect {
public:
    D3DRings();
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

class D3DRingsVibration final : public BaseEffect {
public:
    D3DRingsVibration();
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

// The face indices of frame r of F on a grid of 2F - 1 tiles a side, the
// outermost frame being 0; row by row, in each row column by column. Empty
// for a frame that doesn't exist and for more frames than a frame may have.
std::vector<int32_t> RingCells(int32_t r, int32_t frames);

// The tiles of a frames grid and how they move: each frame has its own window
// of time, shared out by cohesion as tiles share theirs.
class RingSystem {
public:
    explicit RingSystem(const QuadMesh& source) : mesh(source) {}
    virtual ~RingSystem() = default;

    // The faces with every frame turned about the scene's x axis (y with
    // aboutY) by its share of half a turn.
    std::vector<QuadFace> TurningRings(double t, double cohesion, int32_t frames, bool aboutY,
                                       bool negative) const;
    // The faces with every frame moved along z by a damped sine of that many
    // whole periods over its window.
    std::vector<QuadFace> BouncingRings(double t, double cohesion, int32_t frames, double amplitude,
                                        int32_t bounces) const;

    void DrawTurningRings(Scene3D& scene, double t, uint32_t flags, double cohesion, int32_t frames,
                          bool aboutY, bool negative) const;
    void DrawBouncingRings(Scene3D& scene, double t, uint32_t flags, double cohesion, int32_t frames,
                           double amplitude, int32_t bounces) const;

private:
    QuadMesh mesh;
};

// The tilt and recession of Rotating Frames at time t (h = sin(t pi)).
Matrix3D TurningRingsWorldMatrix(double t, double depth, double tx, double ty);
// The whole turn by the Rotation choice, then the tilt and bounce of the body.
Matrix3D BouncingRingsWorldMatrix(double t, double depth, double tx, double ty, int32_t rotation);

}  // namespace halcyra

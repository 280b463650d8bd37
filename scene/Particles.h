// Pieces of geometry that fly along a path: a particle knows where its piece
// is at a time from 0 to 1 (a pivot, an end position, a total rotation and a
// final scale), and a particle system holds the pieces with their meshes and
// draws them for one time, backs under fronts, each group far to near.
// Nothing here is random and nothing is kept between frames: a system is
// built, drawn and dropped within one frame.
#pragma once

#include <cstdint>
#include <vector>

#include "scene/Math3D.h"
#include "scene/QuadMesh.h"

namespace halcyra {

class Scene3D;

class Particle3D {
public:
    Particle3D() = default;
    // The delay is clamped to 0..1.
    Particle3D(const Vector3D& start, const Vector3D& end, const Vector3D& rotation, const Vector3D& scale,
               double delay, double life);

    void SetStart(const Vector3D& pivot) { start = pivot; }
    bool IsAlive(double time) const { return time <= life; }
    // The piece's motion at a time clamped to 0..1; the identity until the
    // delay has passed.
    Matrix3D MatrixAt(double time) const;

    Vector3D start;                 // pivot, and place at time 0
    Vector3D end;                   // where the pivot arrives at time 1
    Vector3D rotation;              // total angles about x, y, z reached at time 1
    Vector3D scale{1.0, 1.0, 1.0};  // factors reached at time 1
    double life = 1.0;              // last time at which the piece is drawn
    double delay = 0.0;             // until then the piece doesn't move
};

class ParticleSystem {
public:
    // The particle pivots about the mesh's centre, whatever start it held.
    void Add(Particle3D particle, QuadMesh mesh);
    // Draws the living pieces at a time: all faces seen from behind first,
    // then those seen from the front. With resetWorld the pieces are drawn
    // under an identity world matrix, which is restored afterwards.
    void Draw(Scene3D& scene, double time, uint32_t warpFlags, bool resetWorld) const;

    std::vector<Particle3D> particles;
    std::vector<QuadMesh> meshes;  // the piece of the particle with the same index
};

// One piece per face of the mesh, flying outward from the mesh's centre with
// a power P, tumbling by P and a spin s, and shrinking to nothing.
ParticleSystem ExplodeFaces(QuadMesh mesh, double power, double spin);

}  // namespace halcyra

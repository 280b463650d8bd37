// Particle paths, the two-pass drawing of a particle system and the builder
// that bursts a mesh into its faces.
#include "scene/Particles.h"

#include <algorithm>
#include <cmath>

#include "scene/Scene3D.h"

namespace halcyra {

Particle3D::Particle3D(const Vector3D& start, const Vector3D& end, const Vector3D& rotation,
                       const Vector3D& scale, double delay, double life)
    : start(start), end(end), rotation(rotation), scale(scale), life(life), delay(delay) {
    if (this->delay < 0.0) this->delay = 0.0;
    if (this->delay > 1.0) this->delay = 1.0;
}

Matrix3D Particle3D::MatrixAt(double time) const {
    double c = time;
    if (c < 0.0) c = 0.0;
    if (c > 1.0) c = 1.0;
    const Vector3D move = (end - start) * c;
    if (c <= delay || delay >= 1.0) return Matrix3D::Identity();
    // c less the quotient, not the quotient of (c - delay): the two agree at
    // delay 0, the only delay in use, and the pictures depend on this form.
    const double r = c - delay / (1.0 - delay);
    Matrix3D m = Matrix3D::Translation(-start.x, -start.y, -start.z);
    m = Multiply(m, Matrix3D::Scaling(1.0 + (scale.x - 1.0) * r, 1.0 + (scale.y - 1.0) * r,
                                      1.0 + (scale.z - 1.0) * r));
    m = Multiply(m, Matrix3D::RotationX(rotation.x * r));
    m = Multiply(m, Matrix3D::RotationY(rotation.y * r));
    m = Multiply(m, Matrix3D::RotationZ(rotation.z * r));
    m = Multiply(m, Matrix3D::Translation(start));
    return Multiply(m, Matrix3D::Translation(move));
}

void ParticleSystem::Add(Particle3D particle, QuadMesh mesh) {
    particle.SetStart(mesh.Centre());
    particles.push_back(std::move(particle));
    meshes.push_back(std::move(mesh));
}

void ParticleSystem::Draw(Scene3D& scene, double time, uint32_t warpFlags, bool resetWorld) const {
    const Matrix3D world = scene.GetWorldMatrix();
    if (resetWorld) scene.SetWorldMatrix(Matrix3D::Identity());

    std::vector<QuadFace> faces;
    const size_t count = std::min(particles.size(), meshes.size());
    for (size_t i = 0; i < count; ++i) {
        if (!particles[i].IsAlive(time)) continue;
        QuadMesh piece = meshes[i];
        piece.Transform(particles[i].MatrixAt(time));
        faces.insert(faces.end(), piece.faces.begin(), piece.faces.end());
    }

    // Backs go under fronts: a face dealt with in the back pass is marked
    // with n and not offered again.
    std::vector<int32_t> order = DepthSortOrder(faces);
    const auto n = static_cast<int32_t>(order.size());
    for (int32_t& index : order)
        if (scene.DrawQuad(faces[static_cast<size_t>(index)], warpFlags, true)) index = n;
    for (const int32_t index : order)
        if (index != n) scene.DrawQuad(faces[static_cast<size_t>(index)], warpFlags, false);

    if (resetWorld) scene.SetWorldMatrix(world);
}

ParticleSystem ExplodeFaces(QuadMesh mesh, double power, double spin) {
    ParticleSystem system;
    const Vector3D g = mesh.Centre();
    const double p = power;
    const double s = spin;
    // 6.28 and 3.14 as single-precision constants, widened; the double 6.28
    // only in the flight length.
    const double turn = s * 6.28000020980835;
    const Vector3D a(std::sin(turn), std::sin(3.140000104904175 - turn), 1.0 - std::cos(turn));
    const Vector3D tumble = a * 0.5;
    const Vector3D extra(std::sin(turn) * p, std::sin(s * p) * p, (std::cos(s) - 1.0) * p);
    for (const QuadFace& face : mesh.faces) {
        const Vector3D f = face.Centre();
        const Vector3D dir = f - g;
        Vector3D n = dir;
        n.Normalize();
        const Vector3D rotation = (n + tumble) * p + extra;
        const Vector3D end = f + dir * (p + s * std::sin(s * p * 6.28) * 2.0);
        QuadMesh piece;
        piece.AddFace(face);
        system.Add(Particle3D(f, end, rotation, Vector3D(0.0, 0.0, 0.0), 0.0, 1.0), std::move(piece));
    }
    return system;
}

}  // namespace halcyra

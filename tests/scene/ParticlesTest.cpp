// Particles: paths over time, the pivot rule of Add, the burst of a mesh into
// its faces and the two-pass drawing of a system.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "picture/MemoryAllocator.h"
#include "scene/Particles.h"
#include "scene/Scene3D.h"

namespace halcyra {
namespace {

const Vector3D kZero(0.0, 0.0, 0.0);
const Vector3D kOne(1.0, 1.0, 1.0);

TEST(Particle3D, MatrixIsIdentityUntilTheDelayHasPassed) {
    const Particle3D moving({1, 2, 3}, {5, -1, 0}, {1, 2, 3}, {2, 2, 2}, 0.0, 1.0);
    EXPECT_EQ(moving.MatrixAt(0.0), Matrix3D::Identity());
    EXPECT_EQ(moving.MatrixAt(-3.0), Matrix3D::Identity());
    const Particle3D waiting({1, 2, 3}, {5, -1, 0}, {1, 2, 3}, {2, 2, 2}, 0.5, 1.0);
    EXPECT_EQ(waiting.MatrixAt(0.3), Matrix3D::Identity());  // no movement toward end either
    EXPECT_EQ(waiting.MatrixAt(0.5), Matrix3D::Identity());
    // The delay is clamped; at 1 the piece never moves.
    EXPECT_EQ(Particle3D(kZero, kOne, kOne, kOne, -2.0, 1.0).delay, 0.0);
    const Particle3D stuck(kZero, kOne, kOne, kOne, 7.0, 1.0);
    EXPECT_EQ(stuck.delay, 1.0);
    EXPECT_EQ(stuck.MatrixAt(1.0), Matrix3D::Identity());
}

TEST(Particle3D, ShrunkPieceLandsOnItsEnd) {
    const Vector3D start(1.0, 2.0, 3.0), end(4.0, -2.0, 0.5);
    const Particle3D p(start, end, {0.7, -1.3, 2.1}, kZero, 0.0, 1.0);
    for (const Vector3D v : {Vector3D(0, 0, 0), Vector3D(-3, 8, 1), start}) {
        const Vector3D moved = TransformPoint(p.MatrixAt(1.0), v);
        EXPECT_NEAR(moved.x, end.x, 1e-15);
        EXPECT_NEAR(moved.y, end.y, 1e-15);
        EXPECT_NEAR(moved.z, end.z, 1e-15);
    }
    // Time is clamped, life is not: at 2 the matrix is that of 1, but the
    // piece is no longer alive.
    EXPECT_EQ(p.MatrixAt(2.0), p.MatrixAt(1.0));
    EXPECT_TRUE(p.IsAlive(1.0));
    EXPECT_FALSE(p.IsAlive(1.0000001));
}

TEST(Particle3D, DelayIsSubtractedAsAQuotient) {
    // r = c - delay / (1 - delay) = 0.75 - 1 = -0.25, so the scale is
    // 1 + (3 - 1) * -0.25 = 0.5; (c - delay) / (1 - delay) would give 2.
    const Particle3D p(kZero, kZero, kZero, {3, 3, 3}, 0.5, 1.0);
    const Vector3D moved = TransformPoint(p.MatrixAt(0.75), {1.0, 0.0, 0.0});
    EXPECT_EQ(moved, Vector3D(0.5, 0.0, 0.0));
}

TEST(ParticleSystem, AddPivotsAboutTheMeshCentre) {
    QuadMesh mesh;
    mesh.AddFace(QuadFace({0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}, nullptr, nullptr, 0));
    mesh.AddFace(QuadFace({0, 0, -4}, {2, 0, -4}, {2, 2, -4}, {0, 2, -4}, nullptr, nullptr, 0));
    ParticleSystem system;
    system.Add(Particle3D({9, 9, 9}, kZero, kZero, kOne, 0.0, 1.0), mesh);
    ASSERT_EQ(system.particles.size(), 1u);
    ASSERT_EQ(system.meshes.size(), 1u);
    EXPECT_EQ(system.particles[0].start, Vector3D(1, 1, -2));
    EXPECT_EQ(system.meshes[0].faces.size(), 2u);
}

TEST(ExplodeFaces, OnePieceAFaceFlyingOutward) {
    Picture picture;
    const QuadMesh box = QuadMeshCreator().MakeBox({-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, -2.0,
                                                   &picture, &picture, 0);
    EXPECT_TRUE(ExplodeFaces(QuadMesh(), 3.0, 0.5).particles.empty());

    // Without spin only the outward direction and the constant 3.14 turn it.
    const double power = 3.25;
    const ParticleSystem still = ExplodeFaces(box, power, 0.0);
    ASSERT_EQ(still.particles.size(), 6u);
    ASSERT_EQ(still.meshes.size(), 6u);
    const Particle3D& front = still.particles[0];
    EXPECT_EQ(front.start, Vector3D(0, 0, 0));
    EXPECT_EQ(still.meshes[0].faces.size(), 1u);
    EXPECT_EQ(still.meshes[0].faces[0].corners, box.faces[0].corners);
    EXPECT_EQ(front.scale, kZero);
    EXPECT_EQ(front.delay, 0.0);
    EXPECT_EQ(front.life, 1.0);
    EXPECT_EQ(front.end, Vector3D(0, 0, power));  // f + dir * P, dir = (0, 0, 1)
    const double tilt = std::sin(3.140000104904175) * 0.5;
    EXPECT_EQ(front.rotation, Vector3D(0.0, tilt * power, power));
    EXPECT_EQ(still.particles[1].end, Vector3D(1.0 + power, 0, -1));  // the right face

    const double s = 0.4 * -1.25;
    const ParticleSystem spun = ExplodeFaces(box, power, s);
    const Vector3D dir(0, 0, 1);
    const double reach = power + s * std::sin(s * power * 6.28) * 2.0;
    EXPECT_EQ(spun.particles[0].end, dir * reach);
    const double turn = s * 6.28000020980835;
    EXPECT_EQ(spun.particles[0].rotation.x, (0.0 + std::sin(turn) * 0.5) * power + std::sin(turn) * power);
    EXPECT_EQ(spun.particles[0].rotation.z,
              (1.0 + (1.0 - std::cos(turn)) * 0.5) * power + (std::cos(s) - 1.0) * power);
}

// Two solid plates over the centre of a small frame.
struct PlateScene : ::testing::Test {
    PlateScene() {
        target.Allocate(24, 16, 4, &allocator);
        near.Allocate(24, 16, 4, &allocator);
        far.Allocate(24, 16, 4, &allocator);
        Fill(target, 0);
        Fill(near, 0x10);
        Fill(far, 0xC0);
        scene.SetAllocator(&allocator);
        scene.SetTarget(target);
        scene.SetProjectionMatrix(Matrix3D::Perspective(6.0));
    }
    static void Fill(Picture& p, uint8_t v) {
        for (int32_t y = 0; y < p.height; ++y)
            for (int32_t x = 0; x < p.width * 4; ++x) p.Row(y)[x] = v;
    }
    // A plate in the plane z, seen from behind if reversed.
    static QuadMesh Plate(double z, Picture* picture, bool reversed) {
        const Vector3D a(-0.5, 0.5, z), b(0.5, 0.5, z), c(0.5, -0.5, z), d(-0.5, -0.5, z);
        QuadMesh mesh;
        mesh.AddFace(reversed ? QuadFace(b, a, d, c, picture, nullptr, 0)
                              : QuadFace(a, b, c, d, picture, nullptr, 0));
        return mesh;
    }
    uint8_t Centre() const { return target.PixelAddress(12, 8)[0]; }

    static constexpr uint32_t kFlags = 0x80000002u;
    MemoryAllocator allocator;
    Picture target, near, far;
    Scene3D scene;
};

TEST_F(PlateScene, BacksGoUnderFronts) {
    ParticleSystem system;
    // The nearer plate shows its back; the farther one its front.
    system.Add(Particle3D(), Plate(0.5, &near, true));
    system.Add(Particle3D(), Plate(-1.0, &far, false));

    scene.SetFlags(SceneFlagDoubleSided);
    system.Draw(scene, 0.0, kFlags, false);
    EXPECT_EQ(Centre(), 0xC0);
    // Drawn by depth alone, the nearer back would cover the front.
    QuadMesh both = system.meshes[0];
    both.AddFace(system.meshes[1].faces[0]);
    scene.DrawMesh(both, kFlags);
    EXPECT_EQ(Centre(), 0x10);

    // Single-sided, the back is never drawn at all.
    Fill(target, 0);
    scene.SetFlags(0);
    system.particles.pop_back();
    system.meshes.pop_back();
    system.Draw(scene, 0.0, kFlags, false);
    EXPECT_EQ(Centre(), 0);
}

TEST_F(PlateScene, WorldIsResetForTheDrawAndRestored) {
    const Matrix3D away = Matrix3D::Translation(5.0, 0.0, 0.0);  // off the frame
    scene.SetWorldMatrix(away);
    ParticleSystem system;
    system.Add(Particle3D(), Plate(0.0, &far, false));
    system.Draw(scene, 0.5, kFlags, false);
    EXPECT_EQ(Centre(), 0);
    system.Draw(scene, 0.5, kFlags, true);
    EXPECT_EQ(Centre(), 0xC0);
    EXPECT_EQ(scene.GetWorldMatrix(), away);
    // Past its life a piece is not drawn.
    Fill(target, 0);
    system.Draw(scene, 1.5, kFlags, true);
    EXPECT_EQ(Centre(), 0);
}

}  // namespace
}  // namespace halcyra

// Vector, matrix and light arithmetic of the 3D kit.
#include <gtest/gtest.h>

#include <cmath>

#include "scene/Lights.h"
#include "scene/Math3D.h"

namespace halcyra {
namespace {

void ExpectNear(const Vector3D& v, double x, double y, double z, double tolerance = 1e-12) {
    EXPECT_NEAR(v.x, x, tolerance);
    EXPECT_NEAR(v.y, y, tolerance);
    EXPECT_NEAR(v.z, z, tolerance);
}

TEST(Vector3D, TinyVectorsNormaliseAndDivideToZero) {
    Vector3D zero;
    zero.Normalize();
    EXPECT_EQ(zero, Vector3D(0, 0, 0));
    Vector3D tiny(5e-7, 0, 0);
    tiny.Normalize();
    EXPECT_EQ(tiny, Vector3D(0, 0, 0));
    Vector3D v(3, 0, 4);
    v.Normalize();
    ExpectNear(v, 0.6, 0, 0.8);
    Vector3D w(2, 4, 6);
    w /= 9e-7;  // below the single-precision 1e-6
    EXPECT_EQ(w, Vector3D(0, 0, 0));
    EXPECT_EQ(TriangleNormal({0, 0, 0}, {1, 0, 0}, {2, 0, 0}), Vector3D(0, 0, 0));
    EXPECT_EQ(TriangleNormal({0, 0, 0}, {1, 0, 0}, {0, 1, 0}), Vector3D(0, 0, 1));
}

TEST(Matrix3D, PerspectiveDividesEveryCoordinate) {
    EXPECT_EQ(Matrix3D::Perspective(0.0), Matrix3D::Identity());
    const Matrix3D p = Matrix3D::Perspective(6.0);
    EXPECT_EQ(TransformPoint(p, {1, 1, 0}), Vector3D(1, 1, 0));
    ExpectNear(TransformPoint(p, {1, 1, 3}), 2, 2, 6);
    // A point in the camera's plane stays undivided.
    EXPECT_EQ(TransformPoint(p, {1, 2, 6}), Vector3D(1, 2, 6));
}

TEST(Matrix3D, MultiplyReadsInTheOrderOfActing) {
    const Matrix3D t = Matrix3D::Translation(1, 0, 0);
    const Matrix3D s = Matrix3D::Scaling(2, 2, 2);
    EXPECT_EQ(TransformPoint(Multiply(t, s), {0, 0, 0}), Vector3D(2, 0, 0));
    EXPECT_EQ(TransformPoint(Multiply(s, t), {0, 0, 0}), Vector3D(1, 0, 0));
}

TEST(Matrix3D, RotationsUseSinglePrecisionSineAndTurnClockwise) {
    const Matrix3D z = Matrix3D::RotationZ(M_PI / 2);
    ExpectNear(TransformPoint(z, {1, 0, 0}), 0, -1, 0, 1e-7);
    const float a = static_cast<float>(M_PI / 2);
    EXPECT_EQ(z.m[0][0], static_cast<double>(std::cos(a)));
    EXPECT_EQ(z.m[0][1], static_cast<double>(std::sin(a)));
    EXPECT_NE(z.m[0][0], std::cos(M_PI / 2));  // the loss is deliberate
    const Matrix3D x = Matrix3D::RotationX(0.3);
    EXPECT_EQ(x.m[1][2], static_cast<double>(std::sin(0.3f)));
    EXPECT_EQ(x.m[2][1], -static_cast<double>(std::sin(0.3f)));
    const Matrix3D y = Matrix3D::RotationY(0.3);
    EXPECT_EQ(y.m[0][2], -static_cast<double>(std::sin(0.3f)));
    EXPECT_EQ(y.m[2][0], static_cast<double>(std::sin(0.3f)));
}

TEST(ColorRGB, PackedValueHoldsRedLowest) {
    const ColorRGB c(0x00302010u);
    EXPECT_EQ(c.r, 0x10);
    EXPECT_EQ(c.g, 0x20);
    EXPECT_EQ(c.b, 0x30);
}

TEST(LinearLight, AmbientFloorAndTwoSidedFold) {
    LinearLight light;
    EXPECT_EQ(light.GetLight({0, 0, 1}, {}, false), 1.0);
    EXPECT_EQ(light.GetLight({1, 0, 0}, {}, false), 0.0);  // edge-on, ambient 0
    light.SetAmbient(0.25);
    light.SetAmbient(1.5);   // ignored
    light.SetAmbient(-0.1);  // ignored
    EXPECT_EQ(light.ambient, 0.25);
    EXPECT_EQ(light.GetLight({1, 0, 0}, {}, false), 0.25);
    EXPECT_EQ(light.GetLight({0, 0, -1}, {}, false), 0.25);
    EXPECT_EQ(light.GetLight({0, 0, -1}, {}, true), 1.0);
    EXPECT_EQ(light.GetLight({0, 0.6, 0.8}, {}, false), 0.75 * 0.8 + 0.25);
}

}  // namespace
}  // namespace halcyra

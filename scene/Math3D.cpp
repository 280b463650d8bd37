// Vector, matrix and colour arithmetic of the 3D kit.
#include "scene/Math3D.h"

#include <cmath>

namespace halcyra {
namespace {

// The single-precision 1e-6, widened: the threshold of every "too small" test.
constexpr double kTiny = static_cast<double>(1e-6f);

// Sine and cosine of the rotation makers, deliberately in single precision.
void SinCosSingle(double angle, double& s, double& c) {
    const float a = static_cast<float>(angle);
    s = static_cast<double>(std::sin(a));
    c = static_cast<double>(std::cos(a));
}

}  // namespace

Vector3D& Vector3D::operator/=(double s) {
    if (std::fabs(s) >= kTiny) {
        x /= s;
        y /= s;
        z /= s;
    } else {
        x = y = z = 0.0;
    }
    return *this;
}

double Vector3D::Length() const {
    return std::sqrt(x * x + y * y + z * z);
}

void Vector3D::Normalize() {
    const double length = Length();
    if (std::fabs(length) >= kTiny) {
        x /= length;
        y /= length;
        z /= length;
    } else {
        x = y = z = 0.0;
    }
}

double Dot(const Vector3D& a, const Vector3D& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector3D Cross(const Vector3D& a, const Vector3D& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vector3D TriangleNormal(const Vector3D& a, const Vector3D& b, const Vector3D& c) {
    Vector3D n = Cross(b - a, c - a);
    n.Normalize();
    return n;
}

void Matrix3D::SetZero() {
    *this = Matrix3D();
}

Matrix3D Matrix3D::Identity() {
    Matrix3D r;
    r.m[0][0] = r.m[1][1] = r.m[2][2] = r.m[3][3] = 1.0;
    return r;
}

Matrix3D Matrix3D::Translation(double x, double y, double z) {
    Matrix3D r = Identity();
    r.m[0][3] = x;
    r.m[1][3] = y;
    r.m[2][3] = z;
    return r;
}

Matrix3D Matrix3D::Scaling(double x, double y, double z) {
    Matrix3D r = Identity();
    r.m[0][0] = x;
    r.m[1][1] = y;
    r.m[2][2] = z;
    return r;
}

Matrix3D Matrix3D::RotationX(double angle) {
    double s, c;
    SinCosSingle(angle, s, c);
    Matrix3D r = Identity();
    r.m[1][1] = c;
    r.m[1][2] = s;
    r.m[2][1] = -s;
    r.m[2][2] = c;
    return r;
}

Matrix3D Matrix3D::RotationY(double angle) {
    double s, c;
    SinCosSingle(angle, s, c);
    Matrix3D r = Identity();
    r.m[0][0] = c;
    r.m[0][2] = -s;
    r.m[2][0] = s;
    r.m[2][2] = c;
    return r;
}

Matrix3D Matrix3D::RotationZ(double angle) {
    double s, c;
    SinCosSingle(angle, s, c);
    Matrix3D r = Identity();
    r.m[0][0] = c;
    r.m[0][1] = s;
    r.m[1][0] = -s;
    r.m[1][1] = c;
    return r;
}

Matrix3D Matrix3D::Perspective(double d) {
    Matrix3D r = Identity();
    r.m[3][2] = std::fabs(d) >= kTiny ? -1.0 / d : 0.0;
    return r;
}

Matrix3D Multiply(const Matrix3D& a, const Matrix3D& b) {
    Matrix3D r;
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i)
            r.m[j][i] =
                b.m[j][0] * a.m[0][i] + b.m[j][1] * a.m[1][i] + b.m[j][2] * a.m[2][i] + b.m[j][3] * a.m[3][i];
    return r;
}

Vector3D TransformPoint(const Matrix3D& m, const Vector3D& v) {
    double out[4];
    for (int row = 0; row < 4; ++row)
        out[row] = v.x * m.m[row][0] + v.y * m.m[row][1] + v.z * m.m[row][2] + m.m[row][3];
    const double w = out[3];
    // A point in the camera's plane stays undivided rather than being rejected.
    if (w != 1.0 && std::fabs(w) > 1e-06) return {out[0] / w, out[1] / w, out[2] / w};
    return {out[0], out[1], out[2]};
}

}  // namespace halcyra

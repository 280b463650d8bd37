// The value types under the 3D transitions: a point or direction, a 4x4
// matrix and a colour. All arithmetic is in doubles except the sine and cosine
// inside the rotation makers, which are taken in single precision on purpose:
// the pictures the transitions make depend on that loss.
//
// Points are column vectors acted on from the left; matrices are stored row by
// row with the translation in the last column. Multiply(A, B) acts first by A
// and then by B, so a chain reads in the order in which it acts.
#pragma once

#include <cstdint>

namespace halcyra {

struct Vector3D {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    Vector3D() = default;
    Vector3D(double x, double y, double z) : x(x), y(y), z(z) {}

    Vector3D operator+(const Vector3D& b) const { return {x + b.x, y + b.y, z + b.z}; }
    Vector3D operator-(const Vector3D& b) const { return {x - b.x, y - b.y, z - b.z}; }
    Vector3D operator*(double s) const { return {x * s, y * s, z * s}; }
    Vector3D& operator+=(const Vector3D& b) {
        x += b.x;
        y += b.y;
        z += b.z;
        return *this;
    }
    // Divides when |s| is at least the single-precision 1e-6, else zeroes.
    Vector3D& operator/=(double s);
    bool operator==(const Vector3D&) const = default;

    double Length() const;
    void Normalize();
};

double Dot(const Vector3D& a, const Vector3D& b);
Vector3D Cross(const Vector3D& a, const Vector3D& b);
Vector3D TriangleNormal(const Vector3D& a, const Vector3D& b, const Vector3D& c);

struct Matrix3D {
    double m[4][4] = {};  // m[row][column]; all zero after construction

    void SetZero();
    bool operator==(const Matrix3D&) const = default;

    static Matrix3D Identity();
    static Matrix3D Translation(double x, double y, double z);
    static Matrix3D Translation(const Vector3D& v) { return Translation(v.x, v.y, v.z); }
    static Matrix3D Scaling(double x, double y, double z);
    static Matrix3D RotationX(double angle);
    static Matrix3D RotationY(double angle);
    static Matrix3D RotationZ(double angle);
    // The viewer at z = d looking toward -z; the plane z = 0 keeps its place.
    static Matrix3D Perspective(double d);
};

// The product B * A: a point is moved first by A, then by B.
Matrix3D Multiply(const Matrix3D& a, const Matrix3D& b);

// M * (v, 1) with the divide by w' unless w' is exactly 1 or within 1e-6 of 0.
// z is divided as well.
Vector3D TransformPoint(const Matrix3D& m, const Vector3D& v);

struct ColorRGB {
    uint8_t r = 0;
    uint8_t g = 0;
    uint8_t b = 0;

    ColorRGB() = default;
    ColorRGB(uint8_t r, uint8_t g, uint8_t b) : r(r), g(g), b(b) {}
    // Red in the lowest byte, as a Colour parameter packs it.
    explicit ColorRGB(uint32_t packed)
        : r(static_cast<uint8_t>(packed)),
          g(static_cast<uint8_t>(packed >> 8)),
          b(static_cast<uint8_t>(packed >> 16)) {}
};

}  // namespace halcyra

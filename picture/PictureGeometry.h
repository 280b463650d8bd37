// Moving pixels between pictures: the affine PictureTransform with its warp,
// rectangle copies, filling, and replicating a picture's rim outward. The
// operations work on the overlap of their pictures and return true when their
// pixel routine reported success; on an argument error nothing is written.
#pragma once

#include <cstdint>

#include "picture/Picture.h"

namespace halcyra {

// A 3x3 matrix of floats for row vectors: (x, y, 1) times M, so
// x' = M[0][0] x + M[1][0] y + M[2][0] and y' = M[0][1] x + M[1][1] y + M[2][1].
// Each builder post-multiplies, so the step called first acts first on a point.
class PictureTransform {
public:
    PictureTransform();

    void Scale(float s);
    void Rotate(float angle);
    void Shear(float a, float b);
    void Translate(float tx, float ty);

    // Bilinear warp of the overlap of the two pictures (4 bytes a pixel, not
    // the same memory). Only destination pixels inside the image of the source
    // are written; a singular matrix or an overlap narrower than 2 pixels
    // writes nothing and gives false.
    bool Warp(const Picture& source, Picture& destination) const;

    float matrix[3][3];

private:
    void PostMultiply(const float t[3][3]);
};

namespace PictureOps {

// Copies a width x height block of 4-byte pixels from (sx, sy) to (dx, dy),
// clipped to what fits in both pictures. False when nothing fits.
bool CopyPictureRect(const Picture& source, int32_t sx, int32_t sy, int32_t width, int32_t height,
                     Picture& destination, int32_t dx, int32_t dy);

// Every pixel takes the value's bytes, lowest first (4-byte pictures), or its
// lowest byte (1-byte pictures). Other pixel sizes give false.
bool FillPicture(Picture& picture, uint32_t value);

// The source's interior, inset by a and b, is placed a rows down and b columns
// across in the destination, and every pixel around it repeats the nearest
// interior edge pixel. Source and destination may be the same picture.
bool ReplicatePictureBorder(const Picture& source, Picture& destination, int32_t a, int32_t b);

}  // namespace PictureOps
}  // namespace halcyra

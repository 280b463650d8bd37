// The face warp on raw memory, apart from the Picture headers: the projective
// map from a whole source onto a destination quadrangle and the warp through
// the one shared scan conversion of the pixel kernels, optionally with the
// face's shading folded into the source reads; and what such a warp touches,
// so that a face can be shaded the cheaper way.
#pragma once

#include <cstdint>

namespace halcyra::detail {

// Whether a shading by `factor` can be folded into a face warp with these
// flags: bilinear sampling and a factor of 0..256. Otherwise the caller shades
// a copy of the source.
bool ShadingFoldsIntoWarp(int32_t factor, uint32_t flags);

// Source of w x h pixels (pitch in bytes) onto the quadrangle quad = {q0x, q0y,
// ..., q3x, q3y} of a destination of dw x dh pixels. False when nothing could
// be drawn (not a proper quadrangle, a degenerate map, a source below 2 x 2,
// no interpolation bit, no pixel inside the destination).
bool WarpSourceIntoQuad(const uint8_t* source, int32_t w, int32_t h, int32_t pitch, uint8_t* destination,
                        int32_t dw, int32_t dh, int32_t destinationPitch, const double quad[8],
                        uint32_t flags);

// The same from the source as ScalePictureAlpha with `factor` would leave it,
// which ShadingFoldsIntoWarp must accept; the source itself is only read.
bool WarpShadedSourceIntoQuad(const uint8_t* source, int32_t w, int32_t h, int32_t pitch,
                              uint8_t* destination, int32_t dw, int32_t dh, int32_t destinationPitch,
                              const double quad[8], uint32_t flags, int32_t factor);

// What a face warp touches: about how many destination pixels it writes (the
// area of the quadrangle clipped to the destination), and a box of source
// pixels, inclusive, that holds every pixel it can read. The box is the whole
// source when the reads cannot be bounded (the map's denominator is near zero
// or changes sign on the face, or a position is not a number or very far out).
struct FaceFootprint {
    double area = 0.0;
    int32_t x0 = 0;
    int32_t y0 = 0;
    int32_t x1 = -1;
    int32_t y1 = -1;
};
FaceFootprint FaceFootprintOf(int32_t w, int32_t h, int32_t dw, int32_t dh, const double quad[8]);

}  // namespace halcyra::detail

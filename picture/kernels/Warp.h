// The image warps: an affine warp given by six coefficients, the projective
// map that sends a rectangle onto a quadrangle, and the perspective warp by
// such a map. Both warps invert the mapping and walk destination pixels, so
// they write exactly the pixels inside the image of the source rectangle and
// leave every other pixel as it was.
//
// Coordinates: the source pointer addresses source pixel (0, 0) and the
// sampler may read any pixel of the source size; the destination pointer
// addresses destination pixel (0, 0) and only pixels of the destination
// rectangle are written. Positions are pixel centres. Source and destination
// must not overlap: the variants fill rows in different orders.
#pragma once

#include <cstdint>

#include "picture/kernels/KernelTypes.h"

namespace halcyra {

// Interpolation codes of the warps and the resize routines; the smooth-edge
// flag is added to one of the three and only the warps accept it.
inline constexpr uint32_t kInterpolationNearest = 1;
inline constexpr uint32_t kInterpolationBilinear = 2;
inline constexpr uint32_t kInterpolationCubic = 4;
inline constexpr uint32_t kInterpolationSmoothEdges = 0x80000000u;

// A mapped source rectangle that is not a proper quadrangle (it folds over,
// or a coefficient is not a number): nothing is written.
inline constexpr int32_t kStatusImproperQuad = kStatusBadArgument;

// Source pixel (x, y) goes to (c00 x + c01 y + c02, c10 x + c11 y + c12), with
// coefficients = {c00, c01, c02, c10, c11, c12}.
// Statuses: -8, -6, -14, -13 (interpolation code), -56 (singular), 29 (the
// source rectangle misses the source), -57 (fewer than 2 columns or rows left
// after clipping), 30 (no destination pixel inside the mapped rectangle).
int32_t KernelWarpAffine(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                         KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                         KernelRect destinationRect, const double* coefficients, uint32_t interpolation);

// The 3x3 matrix, row by row, of the projective map that sends the corners of
// the rectangle, (x0, y0), (x1, y0), (x1, y1), (x0, y1) with x1 = x + width - 1
// and y1 = y + height - 1, to the four points of quad = {q0x, q0y, ..., q3x, q3y}.
// -6 for a rectangle without extent, -13 for points that do not form a proper
// quadrangle; nothing is written then.
int32_t KernelPerspectiveFromQuad(const KernelRect* sourceRect, const double* quad, double* matrix);

// Source pixel (x, y) goes to ((c00 x + c01 y + c02) / w, (c10 x + c11 y + c12) / w)
// with w = c20 x + c21 y + c22. Statuses as for KernelWarpAffine; -56 also
// when |c22| <= 1e-200.
int32_t KernelWarpPerspective(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                              KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                              KernelRect destinationRect, const double* matrix, uint32_t interpolation);

// The perspective warp of a face whose destination quadrangle is already
// known: the quadrangle itself (not the matrix's image of the source corners)
// is clipped and scan-converted, and the matrix supplies the inverse mapping.
// This is what a scene renderer's face warp calls after
// KernelPerspectiveFromQuad(sourceRect, quad, matrix).
int32_t WarpPerspectiveIntoQuad(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                                KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                                KernelRect destinationRect, const double* quad, const double* matrix,
                                uint32_t interpolation);

// Factors for which a warp can fold a face's shading into its reads. Within
// 0..256 every product of the shading fits 16 bits and the new alpha needs no
// clamp, which the SIMD variants rely on.
constexpr bool WarpShadingFoldable(int32_t factor) {
    return factor >= 0 && factor <= 256;
}

// WarpPerspectiveIntoQuad from the source as ScalePictureAlpha with
// shadeFactor would leave it, without making that copy: each source pixel is
// shaded as it is read. The picture is the very one a warp of the shaded copy
// gives. Bilinear sampling and factors 0..256 only; -13 otherwise, with
// nothing written.
int32_t WarpShadedPerspectiveIntoQuad(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                                      KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                                      KernelRect destinationRect, const double* quad, const double* matrix,
                                      uint32_t interpolation, int32_t shadeFactor);

}  // namespace halcyra

// Resizing a source rectangle by two scale factors into the top left corner of
// a destination, for 4-byte and 1-byte pixels. The produced size follows from
// the rectangle and the factors (never more than the destination); the pixels
// beyond it stay as they were.
#pragma once

#include <cstdint>

#include "picture/kernels/KernelTypes.h"

namespace halcyra {

// Interpolation 1 (nearest), 2 (bilinear, rule B) or 4 (cubic, rule C); the
// smooth-edge flag is refused. Factors must be greater than 0.
// Statuses: -8, -6, -14, -13 (factor or code), 29 (the rectangle misses the
// source), -201 (the produced width or height would round below half a pixel),
// -9 (no memory for the scratch rows; nothing written).
int32_t KernelResize4(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                      KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                      KernelSize destinationSize, double xFactor, double yFactor, uint32_t interpolation);
// KernelResize4 that produces only the output rows from firstRow on (clamped
// to 0 and the produced height), at the same places; the rows above it stay as
// they were. An output row depends on its own index alone, so a caller that
// reads a band of rows may ask for just that band.
int32_t KernelResize4FromRow(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                             KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                             KernelSize destinationSize, double xFactor, double yFactor,
                             uint32_t interpolation, int32_t firstRow);
int32_t KernelResize1(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                      KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                      KernelSize destinationSize, double xFactor, double yFactor, uint32_t interpolation);

}  // namespace halcyra

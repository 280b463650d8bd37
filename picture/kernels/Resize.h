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
// source), -201 (the produced width or height would round below half a pixel).
int32_t KernelResize4(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                      KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                      KernelSize destinationSize, double xFactor, double yFactor, uint32_t interpolation);
int32_t KernelResize1(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                      KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                      KernelSize destinationSize, double xFactor, double yFactor, uint32_t interpolation);

}  // namespace halcyra

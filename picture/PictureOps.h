// Stateless operations on pictures. Each works on the overlap of its pictures,
// from pixel (0, 0), and returns true when the work was done.
#pragma once

#include "picture/Picture.h"
#include "picture/PictureCompositing.h"
#include "picture/PictureGeometry.h"

namespace halcyra::PictureOps {

// Copies all four channels of the overlap.
bool CopyPicture(const Picture& source, Picture& destination);

// third = first * a + second * b with the weights in 256ths of 255 steps
// (a weight of 1.0 turns 255 into 254; the loss is part of the look).
bool MixPictures(const Picture& first, const Picture& second, Picture& third, float a, float b);

}  // namespace halcyra::PictureOps

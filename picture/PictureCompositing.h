// Pixel arithmetic that several effects share: weighted sums of two pictures,
// alpha compositing and premultiplication, channel copies, the HSV round trip,
// 2D and separable kernels and disc dilation. Each works on the overlap of its
// pictures from pixel (0, 0) and answers false when its kernel refused (null
// data, an empty overlap, unfit pixel sizes); the destination then stays as it
// was. The rounding and saturation are part of each effect's look.
#pragma once

#include <cstdint>

#include "picture/Picture.h"
#include "picture/kernels/KernelTypes.h"

namespace halcyra {
class MemoryAllocator;
}

namespace halcyra::PictureOps {

// second = first * a + second * b with the weights in 255ths, clamped to 0..255;
// the first picture is scaled in place by a on the way. Equal weights (of any
// value) instead leave the rounded mean of the two in the second picture and the
// first untouched: callers rely on (p, q, 0, 0) being an average, not black.
bool BlendPictures(Picture& first, Picture& second, int32_t a, int32_t b);

// alpha' = min(255, (alpha * factor) >> 8), then each colour (colour * alpha') >> 8.
// Source and destination may be the same picture.
bool ScalePictureAlpha(const Picture& source, Picture& destination, int32_t factor);

// first over second into third, straight or premultiplied alpha. The third may
// be either input.
bool AlphaOverPictures(const Picture& first, const Picture& second, Picture& third, bool premultiplied);

// 4-byte first to 1-byte second: channel c1 of the first goes out (c2 unused).
// 1-byte first to 4-byte second: the first goes into channel c2 (c1 unused).
// Any other pair of pixel sizes does nothing and answers false.
bool CopyPictureChannel(const Picture& first, Picture& second, int32_t firstChannel, int32_t secondChannel);

// Bytes 0, 1, 2 as r, g, b to hue, saturation, value and back. Pictures hold
// blue in byte 0, so the conversion runs with red and blue exchanged; the
// effect that uses it is built on that. Byte 3 stays. Safe in place.
bool ConvertPictureToHsv(const Picture& source, Picture& destination);
bool ConvertPictureToRgb(const Picture& source, Picture& destination);

// A size x size float kernel, anchored at its centre, over the interior that
// lies size / 2 pixels inside the source; the rim of the destination is not
// written (callers replicate the border afterwards).
bool ConvolvePicture(const Picture& source, Picture& destination, const float* kernel, int32_t size);

// Grey dilation by a disc of the given diameter, borders replicated. The mask
// comes from the allocator (null: the heap).
bool MorphPicture(const Picture& source, Picture& destination, int32_t diameter, MemoryAllocator* allocator);
// The same dilation seen through a window: destination pixel (x, y) is the
// dilation at source position origin + (x, y), over the whole destination,
// with every position outside the source reading its nearest source pixel.
bool MorphPictureRegion(const Picture& source, Picture& destination, int32_t diameter, KernelPoint origin,
                        MemoryAllocator* allocator);

}  // namespace halcyra::PictureOps

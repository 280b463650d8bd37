// The flat pixel routines beneath the picture operations. They know nothing of
// Picture: callers pass the address of the first pixel, the row pitch in bytes
// and a size. Every routine checks its arguments in one order (null pointers
// -8, empty sizes -6, short pitches -14, then the routine's own arguments) and
// writes nothing when it refuses. Each runs the variant of the processor class
// chosen at process attach; all variants give the same bytes.
#pragma once

#include <cstdint>

#include "picture/kernels/KernelTypes.h"
#include "picture/kernels/Resize.h"
#include "picture/kernels/RowAllocator.h"
#include "picture/kernels/Warp.h"

namespace halcyra {

// Fill every pixel of the size with four value bytes, or with one byte.
int32_t KernelSet4(const uint8_t* value, uint8_t* destination, int32_t pitch, KernelSize size);
int32_t KernelSet1(uint8_t value, uint8_t* destination, int32_t pitch, KernelSize size);

// Copy 4-byte pixels.
int32_t KernelCopy4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                    int32_t destinationPitch, KernelSize size);

// One byte of every 4-byte pixel, from the given channel address, into a
// 1-byte picture; and back, leaving the other three bytes alone.
int32_t KernelCopyChannelOut(const uint8_t* sourceChannel, int32_t sourcePitch, uint8_t* destination,
                             int32_t destinationPitch, KernelSize size);
int32_t KernelCopyChannelIn(const uint8_t* source, int32_t sourcePitch, uint8_t* destinationChannel,
                            int32_t destinationPitch, KernelSize size);

// Each byte becomes d(byte * factor) with the factor of its channel.
int32_t KernelScaleBytes4(const uint8_t* factors, uint8_t* picture, int32_t pitch, KernelSize size);

// Both pictures in place: first = d(first * a), then second = min(255, first +
// d(second * b)) per byte, for weights 0..255 (others are refused). Pictures
// that share memory get the three steps one after the other, as ScaleBytes4
// and AddBytes4 would give them.
int32_t KernelBlendBytes4(uint8_t* first, int32_t firstPitch, uint8_t* second, int32_t secondPitch,
                          KernelSize size, int32_t weightA, int32_t weightB);

// Per pixel: alpha' = min(255, (alpha * factor) >> 8) with the product wrapped
// to 32 bits, then each colour (c * alpha') >> 8; the low bytes are stored.
// Every factor is valid. The destination may be the source itself.
int32_t KernelScaleAlpha4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                          int32_t destinationPitch, KernelSize size, int32_t factor);

// destination = source + destination per byte, in place: saturated for shift 0,
// the mean with halves to even for shift 1. Other shifts are refused.
int32_t KernelAddBytes4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                        int32_t destinationPitch, KernelSize size, int32_t shift);

// first over second into destination; mode 0 straight alpha (colour sums wrap
// as bytes), mode 6 premultiplied. Other modes are refused. The destination may
// be either input.
int32_t KernelAlphaComposite(const uint8_t* first, int32_t firstPitch, const uint8_t* second,
                             int32_t secondPitch, uint8_t* destination, int32_t destinationPitch,
                             KernelSize size, int32_t mode);

// Bytes 0, 1, 2 read as r, g, b to hue, saturation, value and back; byte 3 is
// never written. Safe in place.
int32_t KernelRgbToHsv(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                       int32_t destinationPitch, KernelSize size);
int32_t KernelHsvToRgb(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                       int32_t destinationPitch, KernelSize size);

// True 2D convolution in 32-bit floats on all four channels, stored with rule
// R. The source must hold valid pixels around the size. Source and
// destination must not overlap.
int32_t KernelConvolve(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                       int32_t destinationPitch, KernelSize size, const float* kernel, KernelSize kernelSize,
                       KernelPoint anchor);

// Separable integer filters along columns (y) and rows (x), channels 0 to 2
// only; byte 3 of the destination stays. Divisor 1 clamps, a power of two
// rounds halves to even, any other divisor goes through a float and rule R, 0
// is refused with -51. The source must hold valid pixels around the size.
// Source and destination must not overlap.
int32_t FilterPictureColumns(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                             int32_t destinationPitch, KernelSize size, const int32_t* kernel,
                             int32_t kernelLength, int32_t anchor, int32_t divisor);
int32_t FilterPictureRows(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                          int32_t destinationPitch, KernelSize size, const int32_t* kernel,
                          int32_t kernelLength, int32_t anchor, int32_t divisor);

// Mean of the 5x5 (mask code 55) or 3x3 (33) 1-byte neighbourhood. The source
// must hold valid bytes around the size.
inline constexpr int32_t kMeanMask5x5 = 55;
inline constexpr int32_t kMeanMask3x3 = 33;
int32_t KernelMean(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
                   KernelSize size, int32_t maskCode);

// Each destination pixel (X, Y) takes source pixel (clamp(X - left), clamp(Y - top)).
// The source may be the interior of the destination itself.
int32_t KernelReplicate4(const uint8_t* source, int32_t sourcePitch, KernelSize sourceSize,
                         uint8_t* destination, int32_t destinationPitch, KernelSize destinationSize,
                         int32_t topBorder, int32_t leftBorder);
int32_t KernelReplicate1(const uint8_t* source, int32_t sourcePitch, KernelSize sourceSize,
                         uint8_t* destination, int32_t destinationPitch, KernelSize destinationSize,
                         int32_t topBorder, int32_t leftBorder);

// The glow's colour-bounded bloom over W x H pixels, with the destination
// holding the blurred picture: bright = ((blurred colours' sum * 85 >> 8) *
// gain) >> 8 and base the same sum of the mixed pixel without the gain; where
// base + threshold < bright each colour c is mixed.c + ((bright - base) *
// bound.c >> 8), elsewhere mixed.c + threshold; each is clamped to 0..bound.c,
// and alpha = min(255, max(bright, mixed alpha)). Gains past 2^16 and
// thresholds past 2^20 in magnitude are refused (the sums must stay in 32 bits).
int32_t KernelBoundedBloom4(const uint8_t* mixed, int32_t mixedPitch, uint8_t* destination,
                            int32_t destinationPitch, KernelSize size, const BloomParameters& bloom);

// Grey dilation by an arbitrary byte mask (non-zero bytes are members, the mask
// rows are maskSize.width bytes apart). The state holds the mask and the work
// rows for rows of up to `width` pixels; one Dilate at a time per state.
struct DilateState;
inline constexpr int32_t kBorderReplicate = 1;
int32_t KernelDilateCreate(int32_t width, const uint8_t* mask, KernelSize maskSize, KernelPoint anchor,
                           DilateState** state);
int32_t KernelDilate(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                     int32_t destinationPitch, KernelSize size, int32_t borderCode, DilateState* state);
// The same over a region: destination pixel (x, y) of `size` is the dilation at
// source position origin + (x, y), and every source position outside
// sourceSize reads the nearest source pixel. size.width may not pass the
// state's width.
int32_t KernelDilateRegion(const uint8_t* source, int32_t sourcePitch, KernelSize sourceSize,
                           uint8_t* destination, int32_t destinationPitch, KernelPoint origin,
                           KernelSize size, DilateState* state);
int32_t KernelDilateFree(DilateState* state);

}  // namespace halcyra

// Compositing and filter operations on pictures, on top of the pixel routines.
#include "picture/PictureCompositing.h"

#include <algorithm>
#include <cstring>

#include "picture/MemoryAllocator.h"
#include "picture/kernels/Kernels.h"
#include "picture/kernels/Numerics.h"

namespace halcyra::PictureOps {
namespace {

KernelSize Overlap(const Picture& a, const Picture& b) {
    return {std::min(a.width, b.width), std::min(a.height, b.height)};
}

KernelSize Overlap(const Picture& a, const Picture& b, const Picture& c) {
    return {std::min({a.width, b.width, c.width}), std::min({a.height, b.height, c.height})};
}

}  // namespace

bool BlendPictures(Picture& first, Picture& second, int32_t a, int32_t b) {
    a = ClampInt(a, 0, 255);
    b = ClampInt(b, 0, 255);
    const KernelSize size = Overlap(first, second);
    if (a == b)
        return KernelAddBytes4(first.data, first.pitch, second.data, second.pitch, size, 1) == kStatusOk;
    return KernelBlendBytes4(first.data, first.pitch, second.data, second.pitch, size, a, b) == kStatusOk;
}

bool ScalePictureAlpha(const Picture& source, Picture& destination, int32_t factor) {
    return KernelScaleAlpha4(source.data, source.pitch, destination.data, destination.pitch,
                             Overlap(source, destination), factor) == kStatusOk;
}

bool AlphaOverPictures(const Picture& first, const Picture& second, Picture& third, bool premultiplied) {
    return KernelAlphaComposite(first.data, first.pitch, second.data, second.pitch, third.data, third.pitch,
                                Overlap(first, second, third), premultiplied ? 6 : 0) == kStatusOk;
}

bool CopyPictureChannel(const Picture& first, Picture& second, int32_t firstChannel, int32_t secondChannel) {
    const KernelSize size = Overlap(first, second);
    if (first.bytesPerPixel == 4 && second.bytesPerPixel == 1) {
        if (first.data == nullptr || firstChannel < 0 || firstChannel > 3) return false;
        return KernelCopyChannelOut(first.data + firstChannel, first.pitch, second.data, second.pitch,
                                    size) == kStatusOk;
    }
    if (first.bytesPerPixel == 1 && second.bytesPerPixel == 4) {
        if (second.data == nullptr || secondChannel < 0 || secondChannel > 3) return false;
        return KernelCopyChannelIn(first.data, first.pitch, second.data + secondChannel, second.pitch,
                                   size) == kStatusOk;
    }
    return false;
}

bool ConvertPictureToHsv(const Picture& source, Picture& destination) {
    return KernelRgbToHsv(source.data, source.pitch, destination.data, destination.pitch,
                          Overlap(source, destination)) == kStatusOk;
}

bool ConvertPictureToRgb(const Picture& source, Picture& destination) {
    return KernelHsvToRgb(source.data, source.pitch, destination.data, destination.pitch,
                          Overlap(source, destination)) == kStatusOk;
}

bool ConvolvePicture(const Picture& source, Picture& destination, const float* kernel, int32_t size) {
    if (source.data == nullptr || destination.data == nullptr || kernel == nullptr || size <= 0) return false;
    const int32_t half = size >> 1;
    const KernelSize region{std::min(source.width, destination.width) - 2 * half,
                            std::min(source.height, destination.height) - 2 * half};
    if (region.width <= 0 || region.height <= 0) return false;
    return KernelConvolve(source.PixelAddress(half, half), source.pitch, destination.PixelAddress(half, half),
                          destination.pitch, region, kernel, {size, size}, {half, half}) == kStatusOk;
}

namespace {

// The disc of the given diameter through the allocator, a dilation state for
// rows of `width` pixels, and one run of `dilate` with it.
template <class Run>
bool DilateByDisc(int32_t diameter, int32_t width, MemoryAllocator* allocator, Run dilate) {
    if (diameter <= 0 || static_cast<int64_t>(diameter) * diameter > UINT32_MAX) return false;
    const int32_t radius = diameter >> 1;
    MemoryHandle memory(allocator);
    void* block = nullptr;
    if (!memory.Allocate(&block, static_cast<uint32_t>(diameter) * static_cast<uint32_t>(diameter)))
        return false;
    uint8_t* mask = static_cast<uint8_t*>(block);
    std::memset(mask, 0, static_cast<size_t>(diameter) * diameter);
    for (int32_t y = 0; y < diameter; ++y)
        for (int32_t x = 0; x < diameter; ++x)
            if ((x - radius) * (x - radius) + (y - radius) * (y - radius) <= radius * radius)
                mask[static_cast<size_t>(y) * diameter + x] = 1;
    DilateState* state = nullptr;
    int32_t status =
        KernelDilateCreate(std::max(width, 1), mask, {diameter, diameter}, {radius, radius}, &state);
    if (status == kStatusOk) {
        status = dilate(state);
        KernelDilateFree(state);
    }
    memory.Free(block);
    return status == kStatusOk;
}

}  // namespace

bool MorphPicture(const Picture& source, Picture& destination, int32_t diameter, MemoryAllocator* allocator) {
    const KernelSize size = Overlap(source, destination);
    return DilateByDisc(diameter, size.width, allocator, [&](DilateState* state) {
        return KernelDilate(source.data, source.pitch, destination.data, destination.pitch, size,
                            kBorderReplicate, state);
    });
}

bool MorphPictureRegion(const Picture& source, Picture& destination, int32_t diameter, KernelPoint origin,
                        MemoryAllocator* allocator) {
    const KernelSize size{destination.width, destination.height};
    return DilateByDisc(diameter, size.width, allocator, [&](DilateState* state) {
        return KernelDilateRegion(source.data, source.pitch, {source.width, source.height}, destination.data,
                                  destination.pitch, origin, size, state);
    });
}

}  // namespace halcyra::PictureOps

// Picture: attach, allocate and release.
#include "picture/Picture.h"

#include <cstdlib>

#include "picture/MemoryAllocator.h"

namespace halcyra {

void Picture::Release() {
    if (owned && data != nullptr) MemoryHandle(allocator).FreePicture(data);
    data = nullptr;
    owned = false;
}

bool Picture::Allocate(int32_t newWidth, int32_t newHeight, int32_t newBytesPerPixel,
                       MemoryAllocator* newAllocator, int32_t newFormat) {
    Release();
    owned = true;
    width = newWidth;
    height = newHeight;
    bytesPerPixel = newBytesPerPixel;
    allocator = newAllocator;
    void* block = nullptr;
    pitch = 0;
    MemoryHandle(allocator).AllocatePicture(&block, width, height, bytesPerPixel, &pitch);
    data = static_cast<uint8_t*>(block);
    pitchInPixels = bytesPerPixel != 0 ? pitch / bytesPerPixel : 0;
    format = newFormat;
    return data != nullptr;
}

bool Picture::Attach(void* pointer, int32_t newWidth, int32_t newHeight, int32_t newPitch,
                     int32_t newBytesPerPixel, int32_t newFormat) {
    Release();
    auto* bytes = static_cast<uint8_t*>(pointer);
    if (newPitch < 0 && bytes != nullptr && newHeight > 0) {
        bytes += static_cast<intptr_t>(newPitch) * (newHeight - 1);
    }
    // The magnitude in 64 bits: INT32_MIN has no positive 32-bit twin.
    const int64_t magnitude = std::llabs(static_cast<long long>(newPitch));
    data = bytes;
    width = newWidth;
    height = newHeight;
    pitch = magnitude > INT32_MAX ? INT32_MAX : static_cast<int32_t>(magnitude);
    bytesPerPixel = newBytesPerPixel;
    pitchInPixels = bytesPerPixel != 0 ? pitch / bytesPerPixel : 0;
    format = newFormat;
    return true;
}

bool Picture::AttachImage(const ImageDesc& image) {
    return Attach(image.data, image.width, image.height, image.pitch, image.bytesPerPixel, image.format);
}

bool Picture::AttachBitmap(const BitmapInfoHeader* header, const void* pixels) {
    const int32_t bpp = header->bitCount / 8;
    const int32_t h = header->height < 0 ? -header->height : header->height;
    return Attach(const_cast<void*>(pixels), header->width, h, header->width * bpp, bpp, 0);
}

}  // namespace halcyra

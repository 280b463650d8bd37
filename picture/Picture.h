// Picture: a small descriptor over pixel memory that it may or may not own.
// Host frames are attached without copying; work pictures are allocated through
// a MemoryAllocator for the length of one render. Rows always run upward in
// memory once a Picture holds them (a negative pitch is turned around on attach).
#pragma once

#include <cstdint>

#include "frame/EffectInterfaces.h"

namespace halcyra {

class MemoryAllocator;

struct BitmapInfoHeader {
    uint32_t size;
    int32_t width;
    int32_t height;  // negative: rows stored top-down; the rows are taken as they stand
    uint16_t planes;
    uint16_t bitCount;
    uint32_t compression;
    uint32_t sizeImage;
    int32_t xPelsPerMeter;
    int32_t yPelsPerMeter;
    uint32_t clrUsed;
    uint32_t clrImportant;
};
static_assert(sizeof(BitmapInfoHeader) == 40);

class Picture {
public:
    Picture() = default;
    ~Picture() { Release(); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    void Release();
    bool Allocate(int32_t width, int32_t height, int32_t bytesPerPixel, MemoryAllocator* allocator,
                  int32_t format = 0);
    bool Attach(void* pointer, int32_t width, int32_t height, int32_t pitch, int32_t bytesPerPixel,
                int32_t format = 0);
    bool AttachImage(const ImageDesc& image);
    bool AttachBitmap(const BitmapInfoHeader* header, const void* pixels);

    // data + (pitch * y + x * bytesPerPixel) + channel; the bracket in 32 bits.
    uint8_t* PixelAddress(int32_t x, int32_t y, int32_t channel = 0) const {
        const int32_t offset =
            static_cast<int32_t>(static_cast<uint32_t>(pitch) * static_cast<uint32_t>(y) +
                                 static_cast<uint32_t>(x) * static_cast<uint32_t>(bytesPerPixel));
        return data + offset + channel;
    }
    uint8_t PixelByte(int32_t x, int32_t y, int32_t channel) const { return *PixelAddress(x, y, channel); }
    uint8_t* Row(int32_t y) const { return data + static_cast<intptr_t>(pitch) * y; }

    int32_t GetWidth() const { return width; }
    int32_t GetHeight() const { return height; }
    int32_t GetPitch() const { return pitch; }
    int32_t GetPitchInPixels() const { return pitchInPixels; }
    int32_t GetBytesPerPixel() const { return bytesPerPixel; }
    uint8_t* GetData() const { return data; }
    bool IsOwned() const { return owned; }
    bool IsEmpty() const { return data == nullptr; }

    uint8_t* data = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    int32_t pitch = 0;
    int32_t pitchInPixels = 0;
    int32_t bytesPerPixel = 0;
    bool owned = false;
    int32_t format = 0;
    MemoryAllocator* allocator = nullptr;
};

}  // namespace halcyra

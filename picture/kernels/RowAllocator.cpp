// Row-aligned heap blocks for pictures of 1 to 4 channels.
#include "picture/kernels/RowAllocator.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace halcyra {
namespace {

uint8_t* AllocateRows(int32_t channels, int32_t width, int32_t height, int32_t* pitch) {
    if (pitch == nullptr) return nullptr;
    if (width <= 0 || height <= 0) {
        *pitch = 0;
        return nullptr;
    }
    const int64_t rowBytes = (static_cast<int64_t>(channels) * width + 31) & ~int64_t{31};
    const int64_t total = rowBytes * height;
    if (rowBytes > INT32_MAX || total > (int64_t{1} << 40)) {
        *pitch = 0;
        return nullptr;
    }
    *pitch = static_cast<int32_t>(rowBytes);
    void* raw = std::malloc(static_cast<size_t>(total) + 40);
    if (raw == nullptr) throw std::bad_alloc();
    const uintptr_t base = (reinterpret_cast<uintptr_t>(raw) + 8 + 31) & ~uintptr_t{31};
    std::memcpy(reinterpret_cast<void*>(base - 8), &raw, sizeof(raw));
    return reinterpret_cast<uint8_t*>(base);
}

}  // namespace

uint8_t* KernelAllocateRows1(int32_t width, int32_t height, int32_t* pitch) {
    return AllocateRows(1, width, height, pitch);
}
uint8_t* KernelAllocateRows2(int32_t width, int32_t height, int32_t* pitch) {
    return AllocateRows(2, width, height, pitch);
}
uint8_t* KernelAllocateRows3(int32_t width, int32_t height, int32_t* pitch) {
    return AllocateRows(3, width, height, pitch);
}
uint8_t* KernelAllocateRows4(int32_t width, int32_t height, int32_t* pitch) {
    return AllocateRows(4, width, height, pitch);
}

void KernelFreeRows(void* block) {
    if (block == nullptr) return;
    void* raw;
    std::memcpy(&raw, static_cast<uint8_t*>(block) - 8, sizeof(raw));
    std::free(raw);
}

}  // namespace halcyra

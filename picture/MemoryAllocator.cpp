// MemoryAllocator and MemoryHandle: the host's allocation service or the heap.
#include "picture/MemoryAllocator.h"

#include <cstdlib>
#include <new>

#include "picture/WorkPictureCache.h"
#include "picture/kernels/RowAllocator.h"

namespace halcyra {

MemoryAllocator::MemoryAllocator() = default;

MemoryAllocator::MemoryAllocator(IVideoHost* host) {
    SetHost(host);
}

MemoryAllocator::MemoryAllocator(IVideoHost* host, WorkPictureCache* cache) : cache(cache) {
    SetHost(host);
}

MemoryAllocator::~MemoryAllocator() {
    if (hostAllocator != nullptr) hostAllocator->Release();
}

void MemoryAllocator::SetHost(IVideoHost* host) {
    if (hostAllocator != nullptr) {
        hostAllocator->Release();
        hostAllocator = nullptr;
    }
    if (host != nullptr) {
        void* service = nullptr;
        host->QueryInterface(IID_IHostAllocator, &service);
        hostAllocator = static_cast<IHostAllocator*>(service);
    }
}

bool MemoryAllocator::Allocate(void** out, uint32_t size) {
    if (out == nullptr || size == 0) return false;
    *out = nullptr;
    if (hostAllocator == nullptr) {
        *out = std::malloc(size);
        if (*out == nullptr) throw std::bad_alloc();
    } else {
        hostAllocator->Allocate(out, size);
    }
    if (*out == nullptr) return false;
    Allocated(*out, size);
    return true;
}

void MemoryAllocator::Free(void* block) {
    if (block == nullptr) return;
    if (hostAllocator != nullptr)
        hostAllocator->Free(block);
    else
        std::free(block);
    Freed(block);
}

bool MemoryAllocator::AllocatePicture(void** out, int32_t width, int32_t height, int32_t channels,
                                      int32_t* pitch) {
    if (out == nullptr || width <= 0 || height <= 0 || channels <= 0 || pitch == nullptr) return false;
    *out = nullptr;
    if (hostAllocator != nullptr) {
        hostAllocator->AllocatePicture(out, width, height, channels, pitch);
    } else if (cache != nullptr) {
        *out = cache->AllocateRows(channels, width, height, pitch);
    } else {
        switch (channels) {
            case 1:
                *out = KernelAllocateRows1(width, height, pitch);
                break;
            case 2:
                *out = KernelAllocateRows2(width, height, pitch);
                break;
            case 3:
                *out = KernelAllocateRows3(width, height, pitch);
                break;
            case 4:
                *out = KernelAllocateRows4(width, height, pitch);
                break;
            default:
                return false;
        }
    }
    if (*out == nullptr) return false;
    Allocated(*out, static_cast<uint64_t>(static_cast<int64_t>(*pitch) * height));
    return true;
}

void MemoryAllocator::FreePicture(void* block) {
    if (block == nullptr) return;
    if (hostAllocator != nullptr)
        hostAllocator->FreePicture(block);
    else if (cache != nullptr)
        cache->FreeRows(block);
    else
        KernelFreeRows(block);
    Freed(block);
}

bool MemoryHandle::Allocate(void** out, uint32_t size) {
    if (allocator != nullptr) return allocator->Allocate(out, size);
    MemoryAllocator heap;
    return heap.Allocate(out, size);
}

void MemoryHandle::Free(void* block) {
    if (allocator != nullptr) return allocator->Free(block);
    MemoryAllocator heap;
    heap.Free(block);
}

bool MemoryHandle::AllocatePicture(void** out, int32_t width, int32_t height, int32_t channels,
                                   int32_t* pitch) {
    if (allocator != nullptr) return allocator->AllocatePicture(out, width, height, channels, pitch);
    MemoryAllocator heap;
    return heap.AllocatePicture(out, width, height, channels, pitch);
}

void MemoryHandle::FreePicture(void* block) {
    if (allocator != nullptr) return allocator->FreePicture(block);
    MemoryAllocator heap;
    heap.FreePicture(block);
}

bool MemoryHandle::GetUsage(uint64_t*, int32_t*, uint64_t*) const {
    return false;
}

}  // namespace halcyra

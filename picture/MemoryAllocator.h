// Memory for work pictures and blocks: the host's allocation service when the
// host offers one, otherwise the standard heap and the row-aligned allocator.
// A MemoryHandle is a nullable pointer to an allocator; a null handle is the heap.
#pragma once

#include <cstdint>

#include "frame/EffectInterfaces.h"

namespace halcyra {

class WorkPictureCache;

class MemoryAllocator {
public:
    MemoryAllocator();
    explicit MemoryAllocator(IVideoHost* host);
    // An effect's allocator: without a host service, work pictures come from
    // the effect's cache of the previous frames' blocks (see WorkPictureCache).
    MemoryAllocator(IVideoHost* host, WorkPictureCache* cache);
    virtual ~MemoryAllocator();
    MemoryAllocator(const MemoryAllocator&) = delete;
    MemoryAllocator& operator=(const MemoryAllocator&) = delete;

    void SetHost(IVideoHost* host);
    bool Allocate(void** out, uint32_t size);
    void Free(void* block);
    bool AllocatePicture(void** out, int32_t width, int32_t height, int32_t channels, int32_t* pitch);
    void FreePicture(void* block);

    bool HasHostAllocator() const { return hostAllocator != nullptr; }

private:
    // Accounting hooks: the place where memory accounting belongs. Empty.
    void Allocated(void*, uint64_t) {}
    void Freed(void*) {}

    IHostAllocator* hostAllocator = nullptr;
    WorkPictureCache* cache = nullptr;
    void* pictureRecords[3] = {};  // reserved for a list of live pictures; never written
    void* blockRecords[3] = {};    // reserved for a list of live blocks; never written
};

class MemoryHandle {
public:
    explicit MemoryHandle(MemoryAllocator* allocator = nullptr) : allocator(allocator) {}

    bool Allocate(void** out, uint32_t size);
    void Free(void* block);
    bool AllocatePicture(void** out, int32_t width, int32_t height, int32_t channels, int32_t* pitch);
    void FreePicture(void* block);
    // Usage reporting is not kept: answers false and writes nothing.
    bool GetUsage(uint64_t* pictureBytes, int32_t* workPictureCount, uint64_t* individualBytes) const;

private:
    MemoryAllocator* allocator;
};

}  // namespace halcyra

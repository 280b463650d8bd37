// Work pictures kept from one frame for the next. An effect allocates the same
// large work pictures for every frame; without a host allocator they come from
// the heap, which gives blocks of many megabytes back to the system when they
// are freed, so every frame would fault its work memory in afresh (a third of
// the time of some effects at 1080p). An effect instance owns a cache, and the
// heap fallback of its allocators takes blocks from it and gives them back.
// Blocks are matched by size, not by shape, and only large ones are kept, up to
// a total; what a reused block held is never read, as with any heap block.
// Thread-safe: a host may render frames of one instance on several threads.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

namespace halcyra {

class WorkPictureCache {
public:
    WorkPictureCache() = default;
    ~WorkPictureCache();
    WorkPictureCache(const WorkPictureCache&) = delete;
    WorkPictureCache& operator=(const WorkPictureCache&) = delete;

    // Rows as the row-aligned allocator lays them out (the same pitch and
    // alignment), from a kept block when one fits. Null as that allocator gives it.
    uint8_t* AllocateRows(int32_t channels, int32_t width, int32_t height, int32_t* pitch);
    // Keeps a block from AllocateRows, or frees it.
    void FreeRows(void* block);

    // Below this a block goes straight back to the heap, which keeps small ones.
    static constexpr uint64_t kSmallestKept = uint64_t{1} << 20;
    // The most an instance keeps between frames.
    static constexpr uint64_t kMostKept = uint64_t{96} << 20;

private:
    struct Block {
        uint8_t* rows;
        uint64_t bytes;  // what the rows may use
    };
    std::mutex mutex;
    std::vector<Block> lent;  // handed out and not yet back
    std::vector<Block> kept;  // back, oldest first
    uint64_t keptBytes = 0;
};

}  // namespace halcyra

// The work picture cache: kept blocks, matched by size, oldest given up first.
#include "picture/WorkPictureCache.h"

#include <algorithm>

#include "picture/kernels/RowAllocator.h"

namespace halcyra {
namespace {

uint8_t* HeapRows(int32_t channels, int32_t width, int32_t height, int32_t* pitch) {
    switch (channels) {
        case 1:
            return KernelAllocateRows1(width, height, pitch);
        case 2:
            return KernelAllocateRows2(width, height, pitch);
        case 3:
            return KernelAllocateRows3(width, height, pitch);
        case 4:
            return KernelAllocateRows4(width, height, pitch);
        default:
            return nullptr;
    }
}

}  // namespace

WorkPictureCache::~WorkPictureCache() {
    for (const Block& block : kept) KernelFreeRows(block.rows);
}

uint8_t* WorkPictureCache::AllocateRows(int32_t channels, int32_t width, int32_t height, int32_t* pitch) {
    if (pitch == nullptr || channels < 1 || channels > 4) return nullptr;
    if (width <= 0 || height <= 0) {
        *pitch = 0;
        return nullptr;
    }
    // The row allocator's layout: rows of whole 32-byte lines.
    const int64_t rowBytes = (static_cast<int64_t>(channels) * width + 31) & ~int64_t{31};
    const uint64_t bytes = static_cast<uint64_t>(rowBytes) * static_cast<uint64_t>(height);
    std::lock_guard<std::mutex> lock(mutex);
    if (bytes >= kSmallestKept && rowBytes <= INT32_MAX) {
        // The smallest kept block that holds the rows, unless it is much larger.
        auto best = kept.end();
        for (auto block = kept.begin(); block != kept.end(); ++block)
            if (block->bytes >= bytes && block->bytes <= bytes + bytes / 4 &&
                (best == kept.end() || block->bytes < best->bytes))
                best = block;
        if (best != kept.end()) {
            const Block reused = *best;
            kept.erase(best);
            keptBytes -= reused.bytes;
            lent.push_back(reused);
            *pitch = static_cast<int32_t>(rowBytes);
            return reused.rows;
        }
    }
    uint8_t* rows = HeapRows(channels, width, height, pitch);
    if (rows != nullptr) lent.push_back({rows, bytes});
    return rows;
}

void WorkPictureCache::FreeRows(void* block) {
    if (block == nullptr) return;
    std::lock_guard<std::mutex> lock(mutex);
    const auto it = std::find_if(lent.begin(), lent.end(), [&](const Block& b) { return b.rows == block; });
    if (it == lent.end()) {  // not one of ours: the row allocator's own
        KernelFreeRows(block);
        return;
    }
    const Block back = *it;
    lent.erase(it);
    if (back.bytes < kSmallestKept || back.bytes > kMostKept) {
        KernelFreeRows(back.rows);
        return;
    }
    while (keptBytes + back.bytes > kMostKept && !kept.empty()) {
        KernelFreeRows(kept.front().rows);
        keptBytes -= kept.front().bytes;
        kept.erase(kept.begin());
    }
    kept.push_back(back);
    keptBytes += back.bytes;
}

}  // namespace halcyra

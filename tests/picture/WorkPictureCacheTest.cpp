// The work picture cache: large blocks come back for the next frame with the
// row allocator's layout, sizes far apart are not matched, and the total kept
// is bounded.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "picture/WorkPictureCache.h"
#include "picture/kernels/RowAllocator.h"

namespace halcyra {
namespace {

TEST(WorkPictureCache, LargeBlocksComeBackWithTheRowLayout) {
    WorkPictureCache cache;
    int32_t pitch = 0, heapPitch = 0;
    uint8_t* first = cache.AllocateRows(4, 1001, 700, &pitch);
    uint8_t* heap = KernelAllocateRows4(1001, 700, &heapPitch);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(pitch, heapPitch);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(first) % 32, 0u);
    KernelFreeRows(heap);
    std::memset(first, 7, static_cast<size_t>(pitch) * 700);  // the whole block is usable
    cache.FreeRows(first);
    // The same size, and a slightly smaller one of another shape, reuse it.
    EXPECT_EQ(cache.AllocateRows(4, 1001, 700, &pitch), first);
    cache.FreeRows(first);
    EXPECT_EQ(cache.AllocateRows(1, 3000, 800, &pitch), first);
    EXPECT_EQ(pitch, 3008);
    cache.FreeRows(first);
    // Far smaller or larger requests take their own blocks.
    uint8_t* small = cache.AllocateRows(4, 500, 500, &pitch);
    uint8_t* large = cache.AllocateRows(4, 2000, 800, &pitch);
    EXPECT_NE(small, first);
    EXPECT_NE(large, first);
    cache.FreeRows(small);
    cache.FreeRows(large);
    // Small blocks are not kept; bad shapes answer as the row allocator does.
    uint8_t* tiny = cache.AllocateRows(4, 8, 8, &pitch);
    cache.FreeRows(tiny);
    EXPECT_EQ(cache.AllocateRows(4, 0, 8, &pitch), nullptr);
    EXPECT_EQ(pitch, 0);
    EXPECT_EQ(cache.AllocateRows(5, 8, 8, &pitch), nullptr);
    // A block the cache did not hand out goes back to the heap.
    cache.FreeRows(KernelAllocateRows4(64, 64, &pitch));
    cache.FreeRows(nullptr);
}

TEST(WorkPictureCache, KeepsNoMoreThanItsBoundAndServesThreads) {
    WorkPictureCache cache;
    // Twenty blocks of 8 MB back at once: the oldest are given up (ASan and
    // the leak checker see every block freed by the end).
    std::vector<uint8_t*> blocks;
    int32_t pitch = 0;
    for (int i = 0; i < 20; ++i) blocks.push_back(cache.AllocateRows(4, 1024, 2048 + i, &pitch));
    for (uint8_t* block : blocks) cache.FreeRows(block);
    auto work = [&] {
        for (int i = 0; i < 200; ++i) {
            int32_t p = 0;
            uint8_t* rows = cache.AllocateRows(4, 1024, 300 + i % 3, &p);
            rows[0] = rows[static_cast<size_t>(p) * 300 - 1] = 1;
            cache.FreeRows(rows);
        }
    };
    std::thread other(work);
    work();
    other.join();
}

}  // namespace
}  // namespace halcyra

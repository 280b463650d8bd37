// Pictures and their memory: the row-aligned heap route, the host's service,
// attaching host frames (negative pitch, bitmaps) and release, and the work
// picture cache, which hands large blocks back for the next frame with the row
// allocator's layout, matches only near sizes and keeps a bounded total.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "TestHost.h"
#include "picture/MemoryAllocator.h"
#include "picture/Picture.h"
#include "picture/WorkPictureCache.h"
#include "picture/kernels/RowAllocator.h"

namespace halcyra {
namespace {

TEST(RowAllocator, PitchesAlignmentAndRefusals) {
    struct Case {
        uint8_t* (*allocate)(int32_t, int32_t, int32_t*);
        int32_t width, pitch;
    };
    const Case cases[] = {{KernelAllocateRows4, 3, 32},  {KernelAllocateRows4, 9, 64},
                          {KernelAllocateRows1, 33, 64}, {KernelAllocateRows1, 32, 32},
                          {KernelAllocateRows3, 11, 64}, {KernelAllocateRows2, 1, 32}};
    for (const Case& c : cases) {
        int32_t pitch = -1;
        uint8_t* block = c.allocate(c.width, 5, &pitch);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(pitch, c.pitch) << c.width;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 32, 0u);
        block[pitch * 5 - 1] = 1;  // the whole block is ours (ASan checks)
        KernelFreeRows(block);
    }
    KernelFreeRows(nullptr);
    // Empty sizes and a missing pitch are refused.
    int32_t pitch = 77;
    EXPECT_EQ(KernelAllocateRows4(0, 10, &pitch), nullptr);
    EXPECT_EQ(pitch, 0);
    pitch = 77;
    EXPECT_EQ(KernelAllocateRows4(10, -1, &pitch), nullptr);
    EXPECT_EQ(pitch, 0);
    EXPECT_EQ(KernelAllocateRows4(10, 10, nullptr), nullptr);
}

TEST(MemoryAllocator, HeapRouteAndArgumentChecks) {
    MemoryAllocator allocator;
    void* out = reinterpret_cast<void*>(0x1234);
    EXPECT_FALSE(allocator.Allocate(&out, 0));
    EXPECT_EQ(out, reinterpret_cast<void*>(0x1234));  // untouched
    EXPECT_FALSE(allocator.Allocate(nullptr, 16));
    ASSERT_TRUE(allocator.Allocate(&out, 16));
    allocator.Free(out);
    allocator.Free(nullptr);
    int32_t pitch = 0;
    EXPECT_FALSE(allocator.AllocatePicture(&out, 4, 4, 5, &pitch));  // no route for 5 channels
    EXPECT_FALSE(allocator.AllocatePicture(&out, 4, 0, 4, &pitch));
    EXPECT_FALSE(allocator.AllocatePicture(&out, 4, 4, 4, nullptr));
    MemoryHandle handle;
    uint64_t a = 0;
    int32_t b = 0;
    EXPECT_FALSE(handle.GetUsage(&a, &b, &a));
}

TEST(MemoryAllocator, HostServiceIsQueriedOnceAndReleased) {
    test::TestHost host;
    host.offerAllocator = true;
    {
        MemoryAllocator allocator(&host);
        EXPECT_TRUE(allocator.HasHostAllocator());
        EXPECT_EQ(host.allocator.references, 1);
        Picture picture;
        ASSERT_TRUE(picture.Allocate(10, 3, 4, &allocator));
        EXPECT_EQ(picture.pitch, 56);  // the service sets the pitch
        EXPECT_EQ(picture.pitchInPixels, 14);
        EXPECT_EQ(host.allocator.pictures, 1);
        picture.Release();
        EXPECT_EQ(host.allocator.pictures, 0);
    }
    EXPECT_EQ(host.allocator.references, 0);
    EXPECT_EQ(host.queries, 1);
}

TEST(Picture, AllocateFailureAndDoubleRelease) {
    Picture picture;
    EXPECT_FALSE(picture.Allocate(10, 0, 4, nullptr));
    EXPECT_TRUE(picture.owned);  // owner of nothing: Release handles it
    EXPECT_EQ(picture.data, nullptr);
    picture.Release();
    picture.Release();
    ASSERT_TRUE(picture.Allocate(9, 2, 4, nullptr));
    EXPECT_EQ(picture.pitch, 64);
    picture.Release();
    EXPECT_EQ(picture.data, nullptr);
    EXPECT_EQ(picture.width, 9);  // fields stay after release
    EXPECT_EQ(picture.pitch, 64);
}

TEST(Picture, NegativePitchAddressesUpward) {
    std::vector<uint8_t> memory(4096 * 100);
    uint8_t* lastRow = memory.data() + 4096 * 99;
    Picture picture;
    ASSERT_TRUE(picture.Attach(lastRow, 1000, 100, -4096, 4));
    EXPECT_EQ(picture.data, lastRow - 405504);
    EXPECT_EQ(picture.pitch, 4096);
    EXPECT_EQ(picture.pitchInPixels, 1024);
    EXPECT_FALSE(picture.owned);
    EXPECT_EQ(picture.PixelAddress(3, 2, 1), memory.data() + 2 * 4096 + 12 + 1);
}

TEST(Picture, AttachBitmapKeepsRowsAsStored) {
    BitmapInfoHeader header{};
    header.width = 5;
    header.height = -64;
    header.bitCount = 32;
    std::vector<uint8_t> pixels(5 * 4 * 64);
    Picture picture;
    ASSERT_TRUE(picture.AttachBitmap(&header, pixels.data()));
    EXPECT_EQ(picture.height, 64);
    EXPECT_EQ(picture.pitch, 20);
    EXPECT_EQ(picture.data, pixels.data());
    header.bitCount = 24;
    ASSERT_TRUE(picture.AttachBitmap(&header, pixels.data()));
    EXPECT_EQ(picture.pitch, 15);  // no rounding to four bytes
    EXPECT_EQ(picture.bytesPerPixel, 3);
}

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

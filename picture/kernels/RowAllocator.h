// Row-aligned picture memory from the standard heap: every row starts on a
// 32-byte boundary, and the block remembers the heap's own pointer just below
// its aligned base so that it can be freed without a side table.
#pragma once

#include <cstdint>

namespace halcyra {

uint8_t* KernelAllocateRows1(int32_t width, int32_t height, int32_t* pitch);
uint8_t* KernelAllocateRows2(int32_t width, int32_t height, int32_t* pitch);
uint8_t* KernelAllocateRows3(int32_t width, int32_t height, int32_t* pitch);
uint8_t* KernelAllocateRows4(int32_t width, int32_t height, int32_t* pitch);
void KernelFreeRows(void* block);

}  // namespace halcyra

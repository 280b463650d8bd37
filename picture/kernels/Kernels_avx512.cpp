// The AVX512 class of the pixel routines. The portable loops are compiled
// here again under this file's instruction-set flags; the fast forms replace
// the direct ones where the tests prove them identical.
#include "picture/kernels/KernelsSimd256.h"

namespace halcyra::avx512 {

constinit const KernelTable kTable{
    loops::Set4,
    loops::Set1,
    loops::Copy4,
    simd256::ScaleBytes4,
    simd256::AddBytes4,
    simd256::AlphaComposite,
    loops::PerPixel<RgbToHsvPixel>,
    loops::PerPixel<HsvToRgbPixel>,
    simd256::Convolve,
    simd256::FilterColumns,
    loops::SlidingRows,
    loops::Mean,
    loops::MixBytes4,
    loops::DilateRuns,
};

}  // namespace halcyra::avx512

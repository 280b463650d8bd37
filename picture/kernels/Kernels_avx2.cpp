// The AVX2 class of the pixel routines: the hand-written 256-bit bodies for the
// hot routines, the convolution and the dilation on 256-bit registers, and the
// portable loops (the fast mean and the bloom among them) compiled again under
// this file's instruction-set flags.
#include "picture/kernels/ConvolveRows.h"
#include "picture/kernels/DilateRuns.h"
#include "picture/kernels/KernelsSimd256.h"

namespace halcyra::avx2 {

constinit const KernelTable kTable{
    loops::Set4,
    loops::Set1,
    loops::Copy4,
    simd256::ScaleBytes4,
    simd256::AddBytes4,
    simd256::AlphaComposite,
    simd256::HsvRows<simd256::RgbToHsv8, RgbToHsvPixel>,
    simd256::HsvRows<simd256::HsvToRgb8, HsvToRgbPixel>,
    convolve::Convolve<convolve::Lanes256>,
    simd256::FilterColumns,
    simd256::FilterRows,
    loops::MeanSeparable,
    simd256::MixBytes4,
    simd256::BlendBytes4,
    simd256::ScaleAlpha4,
    loops::BoundedBloom4,
    dilate::DilateRuns<dilate::Bytes256>,
};

}  // namespace halcyra::avx2

// Reference bodies of the pixel routines: the direct forms, which define
// every result. The SIMD variants are tested byte for byte against these.
#include "picture/kernels/KernelLoops.h"

namespace halcyra::reference {

constinit const KernelTable kTable{
    loops::Set4,
    loops::Set1,
    loops::Copy4,
    loops::ScaleBytes4,
    loops::AddBytes4,
    loops::AlphaComposite,
    loops::PerPixel<RgbToHsvPixel>,
    loops::PerPixel<HsvToRgbPixel>,
    loops::Convolve,
    loops::Filter<false>,
    loops::Filter<true>,
    loops::Mean,
    loops::MixBytes4,
    loops::BlendBytes4,
    loops::ScaleAlpha4,
    loops::BoundedBloom4,
    loops::Dilate,
};

}  // namespace halcyra::reference

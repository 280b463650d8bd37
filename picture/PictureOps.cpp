// The two picture operations the simplest effects need: a plain copy and a
// weighted mix of two pictures into a third.
#include "picture/PictureOps.h"

#include <algorithm>

#include "picture/kernels/KernelTable.h"
#include "picture/kernels/Kernels.h"
#include "picture/kernels/Numerics.h"

namespace halcyra::PictureOps {

bool CopyPicture(const Picture& source, Picture& destination) {
    return KernelCopy4(source.data, source.pitch, destination.data, destination.pitch,
                       {std::min(source.width, destination.width),
                        std::min(source.height, destination.height)}) == kStatusOk;
}

bool MixPictures(const Picture& first, const Picture& second, Picture& third, float a, float b) {
    // The weights are 256ths of 255 steps, so a weight of 1.0 turns 255 into 254.
    const int32_t weightA = ClampInt(TruncToInt32(a * 255.0f), 0, 255);
    const int32_t weightB = ClampInt(TruncToInt32(b * 255.0f), 0, 255);
    const int32_t width = std::min({first.width, second.width, third.width});
    const int32_t height = std::min({first.height, second.height, third.height});
    if (first.data == nullptr || second.data == nullptr || third.data == nullptr) return false;
    if (width <= 0 || height <= 0) return false;
    const int64_t rowBytes = int64_t{4} * width;
    if (first.pitch < rowBytes || second.pitch < rowBytes || third.pitch < rowBytes) return false;
    KernelTableFor(ActiveCpuClass())
        .mixBytes4(first.data, first.pitch, second.data, second.pitch, third.data, third.pitch, width, height,
                   weightA, weightB);
    return true;
}

}  // namespace halcyra::PictureOps

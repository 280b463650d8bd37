// The resize routines: argument checks, the produced-size rule, the source
// positions of each output column and row, and the sampling by the shared
// per-pixel rules. Bilinear 4-byte rows run through the per-class table.
#include "picture/kernels/Resize.h"

#include <algorithm>
#include <vector>

#include "picture/kernels/Warp.h"
#include "picture/kernels/WarpRows.h"

namespace halcyra {
namespace warp {
namespace {

// The produced length along one axis: trunc(length * factor + 1e-7), at most
// the room there is, at least 1 unless it rounds below half a pixel.
bool ProducedLength(int32_t length, double factor, int32_t room, int32_t& produced) {
    const double scaled = static_cast<double>(length) * factor + 0.0000001;
    produced = scaled >= static_cast<double>(room) ? room : TruncToInt32(scaled);
    if (produced < 1) {
        if (scaled < 0.5) return false;
        produced = 1;
    }
    return true;
}

// Source position of output index i for the interpolating codes: both ends meet.
double SpreadPosition(int32_t i, int32_t length, double factor) {
    const double scaled = static_cast<double>(length) * factor;
    if (!(scaled > 1.0)) return 0.0;
    return static_cast<double>(i) * static_cast<double>(length - 1) / (scaled - 1.0);
}

int32_t NearestIndex(int32_t i, int32_t length, double factor) {
    return ClampIndex(TruncToInt32((static_cast<double>(i) + 0.5) / factor + 0.0000001), length);
}

template <int32_t kChannels>
int32_t Resize(const WarpTable* table, const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
               KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
               KernelSize destinationSize, double xFactor, double yFactor, uint32_t interpolation) {
    if (source == nullptr || destination == nullptr) return kStatusNullPointer;
    if (sourceSize.width <= 0 || sourceSize.height <= 0 || sourceRect.width <= 0 || sourceRect.height <= 0 ||
        destinationSize.width <= 0 || destinationSize.height <= 0)
        return kStatusBadSize;
    if (static_cast<int64_t>(sourcePitch) < static_cast<int64_t>(sourceSize.width) * kChannels ||
        static_cast<int64_t>(destinationPitch) < static_cast<int64_t>(destinationSize.width) * kChannels)
        return kStatusBadPitch;
    if (!(xFactor > 0.0) || !(yFactor > 0.0)) return kStatusBadArgument;
    uint32_t code = interpolation;
    if (code != kInterpolationNearest && code != kInterpolationBilinear && code != kInterpolationCubic)
        return kStatusBadArgument;
    if (sourceRect.x >= sourceSize.width || sourceRect.y >= sourceSize.height) return kWarningNoSourceOverlap;
    const int64_t x0 = std::max<int64_t>(sourceRect.x, 0);
    const int64_t y0 = std::max<int64_t>(sourceRect.y, 0);
    const int64_t x1 =
        std::min<int64_t>(static_cast<int64_t>(sourceRect.x) + sourceRect.width, sourceSize.width);
    const int64_t y1 =
        std::min<int64_t>(static_cast<int64_t>(sourceRect.y) + sourceRect.height, sourceSize.height);
    if (x1 <= x0 || y1 <= y0) return kWarningNoSourceOverlap;
    const int32_t sw = static_cast<int32_t>(x1 - x0);
    const int32_t sh = static_cast<int32_t>(y1 - y0);
    int32_t width = 0;
    int32_t height = 0;
    if (!ProducedLength(sw, xFactor, destinationSize.width, width) ||
        !ProducedLength(sh, yFactor, destinationSize.height, height))
        return kStatusResizeTooSmall;
    if (code == kInterpolationCubic && (sw < 4 || sh < 4)) code = kInterpolationBilinear;
    if (sw < 2 || sh < 2) code = kInterpolationNearest;

    const SourceView view{
        source + static_cast<intptr_t>(sourcePitch) * y0 + static_cast<intptr_t>(x0) * kChannels, sw, sh,
        sourcePitch};
    auto rowOf = [&](int32_t y) { return destination + static_cast<intptr_t>(destinationPitch) * y; };

    if (code == kInterpolationNearest) {
        std::vector<int32_t> columns(width);
        for (int32_t x = 0; x < width; ++x) columns[x] = NearestIndex(x, sw, xFactor);
        for (int32_t y = 0; y < height; ++y) {
            const uint8_t* in = view.data + static_cast<intptr_t>(sourcePitch) * NearestIndex(y, sh, yFactor);
            uint8_t* out = rowOf(y);
            for (int32_t x = 0; x < width; ++x)
                for (int32_t c = 0; c < kChannels; ++c)
                    out[x * kChannels + c] = in[columns[x] * kChannels + c];
        }
        return kStatusOk;
    }
    std::vector<double> xs(width);
    for (int32_t x = 0; x < width; ++x) xs[x] = SpreadPosition(x, sw, xFactor);
    for (int32_t y = 0; y < height; ++y) {
        const double sy = SpreadPosition(y, sh, yFactor);
        uint8_t* out = rowOf(y);
        if (code == kInterpolationBilinear && kChannels == 4 && table != nullptr) {
            table->resizeBilinear4(view, xs.data(), sy, width, out);
        } else if (code == kInterpolationBilinear) {
            for (int32_t x = 0; x < width; ++x) {
                if constexpr (kChannels == 4) {
                    SampleBilinear4(view, xs[x], sy, out + 4 * x);
                } else {
                    SampleBilinear1(view, xs[x], sy, out + x);
                }
            }
        } else {
            for (int32_t x = 0; x < width; ++x) SampleCubic<kChannels>(view, xs[x], sy, out + kChannels * x);
        }
    }
    return kStatusOk;
}

}  // namespace

int32_t Resize4WithTable(const WarpTable& table, const uint8_t* source, KernelSize sourceSize,
                         int32_t sourcePitch, KernelRect sourceRect, uint8_t* destination,
                         int32_t destinationPitch, KernelSize destinationSize, double xFactor, double yFactor,
                         uint32_t interpolation) {
    return Resize<4>(&table, source, sourceSize, sourcePitch, sourceRect, destination, destinationPitch,
                     destinationSize, xFactor, yFactor, interpolation);
}

}  // namespace warp

int32_t KernelResize4(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                      KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                      KernelSize destinationSize, double xFactor, double yFactor, uint32_t interpolation) {
    return warp::Resize4WithTable(warp::WarpTableFor(ActiveCpuClass()), source, sourceSize, sourcePitch,
                                  sourceRect, destination, destinationPitch, destinationSize, xFactor,
                                  yFactor, interpolation);
}

int32_t KernelResize1(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                      KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                      KernelSize destinationSize, double xFactor, double yFactor, uint32_t interpolation) {
    return warp::Resize<1>(nullptr, source, sourceSize, sourcePitch, sourceRect, destination,
                           destinationPitch, destinationSize, xFactor, yFactor, interpolation);
}

}  // namespace halcyra

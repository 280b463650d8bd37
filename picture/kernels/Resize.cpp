// The resize routines: argument checks, the produced-size rule, the source
// positions of each output column and row, and the sampling by the shared
// per-pixel rules. Bilinear 4-byte rows run through the per-class table, and
// so do the two passes of a 4-byte cubic resize, which shares each source
// row's horizontal pass among the output rows that read it.
#include "picture/kernels/Resize.h"

#include <algorithm>
#include <memory>
#include <new>

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

template <typename T>
std::unique_ptr<T[]> Scratch(int64_t count) {
    return std::unique_ptr<T[]>(new (std::nothrow) T[static_cast<size_t>(count)]);
}

// Rule C over output rows firstRow..height - 1 of a 4-byte resize, through the
// class's passes, with their scalar rests done here. Returns false, having
// written nothing, when the scratch rows cannot be had.
bool ResizeCubic4(const WarpTable& table, const SourceView& view, const double* xs, int32_t width,
                  int32_t firstRow, int32_t height, double yFactor, uint8_t* destination,
                  int32_t destinationPitch) {
    const int64_t count = static_cast<int64_t>(width) * 4;
    auto taps = Scratch<int32_t>(count);
    auto weights = Scratch<float>(count * 3);
    // Four slots of horizontal passes, then three rows of vertical
    // differences. Source row r's pass lives in slot r & 3: an output row's
    // four source rows are consecutive, or repeat at the rim, so they never
    // share a slot, and rows go down the source as the output rows do. Each
    // row is padded by 16 floats so that rows used side by side start 64 bytes
    // apart modulo 4 KiB; otherwise loads alias earlier stores to other rows
    // in the store buffer and stall.
    const int64_t stride = count + 16;
    auto rowBlock = Scratch<float>(stride * 7);
    if (!taps || !weights || !rowBlock) return false;
    float* const slots = &rowBlock[0];
    float* const differences = &rowBlock[4 * stride];
    const CubicColumns columns{{&taps[0], &taps[width], &taps[2 * width], &taps[3 * width]},
                               &weights[0],
                               &weights[count],
                               &weights[2 * count]};
    float* const rise = &weights[0];
    float* const a = &weights[count];
    float* const bend = &weights[2 * count];
    for (int32_t x = 0; x < width; ++x) {
        const CubicPlace place = CubicPlaceOf(xs[x]);
        const CubicWeights w = CubicWeightsOf(place.t);
        for (int32_t k = 0; k < 4; ++k)
            taps[k * width + x] = ClampIndex(static_cast<int64_t>(place.index) - 1 + k, view.width);
        for (int32_t c = 0; c < 4; ++c) {
            rise[4 * x + c] = w.rise;
            a[4 * x + c] = w.a;
            bend[4 * x + c] = w.bend;
        }
    }
    auto across = [&](int32_t sourceRow, float* out) {
        const uint8_t* row = view.data + static_cast<intptr_t>(view.pitch) * sourceRow;
        for (int32_t x = table.cubicAcross4(row, columns, width, out); x < width; ++x) {
            for (int32_t c = 0; c < 4; ++c) {
                const int32_t i = 4 * x + c;
                out[i] = CubicValue(row[4 * columns.taps[0][x] + c], row[4 * columns.taps[1][x] + c],
                                    row[4 * columns.taps[2][x] + c], row[4 * columns.taps[3][x] + c],
                                    {rise[i], a[i], bend[i]});
            }
        }
    };
    float* const d[3] = {differences, differences + stride, differences + 2 * stride};
    int32_t differencesOf = -1;  // the whole part of the row position they belong to; -1: none
    int32_t held[4] = {-1, -1, -1, -1};
    CubicPlace place = CubicPlaceOf(SpreadPosition(firstRow, view.height, yFactor));
    CubicPlace next = CubicPlaceOf(SpreadPosition(firstRow + 1, view.height, yFactor));
    for (int32_t y = firstRow; y < height; ++y) {
        const CubicPlace afterNext = CubicPlaceOf(SpreadPosition(y + 2, view.height, yFactor));
        const CubicWeights w = CubicWeightsOf(place.t);
        const float* rows[4];
        for (int32_t k = 0; k < 4; ++k) {
            const int32_t sourceRow = ClampIndex(static_cast<int64_t>(place.index) - 1 + k, view.height);
            float* slot = slots + (sourceRow & 3) * stride;
            if (held[sourceRow & 3] != sourceRow) {
                across(sourceRow, slot);
                held[sourceRow & 3] = sourceRow;
            }
            rows[k] = slot;
        }
        uint8_t* out = destination + static_cast<intptr_t>(destinationPitch) * y;
        // Keeping the differences pays once three or more rows share them.
        const bool shared = y + 2 < height && afterNext.index == place.index;
        if (place.index >= 0 && (place.index == differencesOf || shared)) {
            if (place.index != differencesOf) {
                for (int32_t i = table.cubicDifferences(rows, static_cast<int32_t>(count), d); i < count;
                     ++i) {
                    const CubicDifferences e =
                        CubicDifferencesOf(rows[0][i], rows[1][i], rows[2][i], rows[3][i]);
                    d[0][i] = e.d1;
                    d[1][i] = e.d2;
                    d[2][i] = e.d3;
                }
                differencesOf = place.index;
            }
            for (int32_t i = table.cubicSum(rows[0], d, w, static_cast<int32_t>(count), out); i < count; ++i)
                out[i] = CubicByte(CubicSum(rows[0][i], {d[0][i], d[1][i], d[2][i]}, w));
        } else {
            for (int32_t i = table.cubicDown(rows, w, static_cast<int32_t>(count), out); i < count; ++i)
                out[i] = CubicByte(CubicValue(rows[0][i], rows[1][i], rows[2][i], rows[3][i], w));
        }
        place = next;
        next = afterNext;
    }
    return true;
}

template <int32_t kChannels>
int32_t Resize(const WarpTable* table, const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
               KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
               KernelSize destinationSize, double xFactor, double yFactor, uint32_t interpolation,
               int32_t firstRow) {
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
    firstRow = std::clamp(firstRow, 0, height);

    const SourceView view{
        source + static_cast<intptr_t>(sourcePitch) * y0 + static_cast<intptr_t>(x0) * kChannels, sw, sh,
        sourcePitch};
    auto rowOf = [&](int32_t y) { return destination + static_cast<intptr_t>(destinationPitch) * y; };

    if (code == kInterpolationNearest) {
        auto columns = Scratch<int32_t>(width);
        if (!columns) return kStatusNoMemory;
        for (int32_t x = 0; x < width; ++x) columns[x] = NearestIndex(x, sw, xFactor);
        for (int32_t y = firstRow; y < height; ++y) {
            const uint8_t* in = view.data + static_cast<intptr_t>(sourcePitch) * NearestIndex(y, sh, yFactor);
            uint8_t* out = rowOf(y);
            for (int32_t x = 0; x < width; ++x)
                for (int32_t c = 0; c < kChannels; ++c)
                    out[x * kChannels + c] = in[columns[x] * kChannels + c];
        }
        return kStatusOk;
    }
    auto xs = Scratch<double>(width);
    if (!xs) return kStatusNoMemory;
    for (int32_t x = 0; x < width; ++x) xs[x] = SpreadPosition(x, sw, xFactor);
    if (code == kInterpolationCubic && kChannels == 4 && table != nullptr && table->cubicAcross4 != nullptr) {
        if (!ResizeCubic4(*table, view, xs.get(), width, firstRow, height, yFactor, destination,
                          destinationPitch))
            return kStatusNoMemory;
        return kStatusOk;
    }
    for (int32_t y = firstRow; y < height; ++y) {
        const double sy = SpreadPosition(y, sh, yFactor);
        uint8_t* out = rowOf(y);
        if (code == kInterpolationBilinear && kChannels == 4 && table != nullptr) {
            table->resizeBilinear4(view, xs.get(), sy, width, out);
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
                         uint32_t interpolation, int32_t firstRow) {
    return Resize<4>(&table, source, sourceSize, sourcePitch, sourceRect, destination, destinationPitch,
                     destinationSize, xFactor, yFactor, interpolation, firstRow);
}

}  // namespace warp

int32_t KernelResize4(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                      KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                      KernelSize destinationSize, double xFactor, double yFactor, uint32_t interpolation) {
    return KernelResize4FromRow(source, sourceSize, sourcePitch, sourceRect, destination, destinationPitch,
                                destinationSize, xFactor, yFactor, interpolation, 0);
}

int32_t KernelResize4FromRow(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                             KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                             KernelSize destinationSize, double xFactor, double yFactor,
                             uint32_t interpolation, int32_t firstRow) {
    return warp::Resize4WithTable(warp::WarpTableFor(ActiveCpuClass()), source, sourceSize, sourcePitch,
                                  sourceRect, destination, destinationPitch, destinationSize, xFactor,
                                  yFactor, interpolation, firstRow);
}

int32_t KernelResize1(const uint8_t* source, KernelSize sourceSize, int32_t sourcePitch,
                      KernelRect sourceRect, uint8_t* destination, int32_t destinationPitch,
                      KernelSize destinationSize, double xFactor, double yFactor, uint32_t interpolation) {
    return warp::Resize<1>(nullptr, source, sourceSize, sourcePitch, sourceRect, destination,
                           destinationPitch, destinationSize, xFactor, yFactor, interpolation, 0);
}

}  // namespace halcyra

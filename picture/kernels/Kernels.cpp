// Public entry points of the pixel routines: the argument checks in their
// fixed order, the one table look-up per call, and the routines simple enough
// to need no variants (channel copies, border replication, the dilation state).
#include "picture/kernels/Kernels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "picture/kernels/KernelPixel.h"

namespace halcyra {
namespace {

bool EmptySize(KernelSize size) {
    return size.width <= 0 || size.height <= 0;
}

// Whether a pitch is too small for rows of `width` pixels of `bytes` bytes.
bool ShortPitch(int32_t pitch, int32_t width, int32_t bytes) {
    return static_cast<int64_t>(pitch) < static_cast<int64_t>(width) * bytes;
}

const KernelTable& ActiveTable() {
    return KernelTableFor(ActiveCpuClass());
}

// Status of the checks that every two-picture routine on 4-byte pixels shares.
int32_t CheckTwo(const void* source, int32_t sourcePitch, const void* destination, int32_t destinationPitch,
                 KernelSize size, int32_t sourceBytes = 4, int32_t destinationBytes = 4) {
    if (source == nullptr || destination == nullptr) return kStatusNullPointer;
    if (EmptySize(size)) return kStatusBadSize;
    if (ShortPitch(sourcePitch, size.width, sourceBytes) ||
        ShortPitch(destinationPitch, size.width, destinationBytes))
        return kStatusBadPitch;
    return kStatusOk;
}

template <bool kAlongRows>
int32_t Filter(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
               KernelSize size, const int32_t* kernel, int32_t kernelLength, int32_t anchor,
               int32_t divisor) {
    if (source == nullptr || destination == nullptr || kernel == nullptr) return kStatusNullPointer;
    if (EmptySize(size) || kernelLength <= 0) return kStatusBadSize;
    if (ShortPitch(sourcePitch, size.width, 4) || ShortPitch(destinationPitch, size.width, 4))
        return kStatusBadPitch;
    if (anchor < 0 || anchor >= kernelLength) return kStatusBadArgument;
    if (divisor == 0) return kStatusZeroDivisor;
    const FilterDivisor rule = FilterDivisorRule(divisor);
    const KernelTable& table = ActiveTable();
    const auto body = kAlongRows ? table.filterRows : table.filterColumns;
    return body(source, sourcePitch, destination, destinationPitch, size.width, size.height, kernel,
                kernelLength, anchor, rule)
               ? kStatusOk
               : kStatusNoMemory;
}

template <int32_t kBytes>
int32_t Replicate(const uint8_t* source, int32_t sourcePitch, KernelSize sourceSize, uint8_t* destination,
                  int32_t destinationPitch, KernelSize destinationSize, int32_t top, int32_t left) {
    if (source == nullptr || destination == nullptr) return kStatusNullPointer;
    if (EmptySize(sourceSize) || EmptySize(destinationSize)) return kStatusBadSize;
    if (ShortPitch(sourcePitch, sourceSize.width, kBytes) ||
        ShortPitch(destinationPitch, destinationSize.width, kBytes))
        return kStatusBadPitch;
    if (top < 0 || left < 0 || static_cast<int64_t>(left) + sourceSize.width > destinationSize.width ||
        static_cast<int64_t>(top) + sourceSize.height > destinationSize.height)
        return kStatusBadArgument;
    const int32_t right = destinationSize.width - left - sourceSize.width;
    for (int32_t y = 0; y < destinationSize.height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, ClampInt(y - top, 0, sourceSize.height - 1));
        uint8_t* out = RowAt(destination, destinationPitch, y);
        // When the source is the destination's own interior this move is onto
        // itself, and the border pixels read only interior pixels: safe in place.
        std::memmove(out + left * kBytes, in, static_cast<size_t>(sourceSize.width) * kBytes);
        const uint8_t* first = out + left * kBytes;
        const uint8_t* last = out + (left + sourceSize.width - 1) * kBytes;
        for (int32_t x = 0; x < left; ++x) std::memcpy(out + x * kBytes, first, kBytes);
        for (int32_t x = 0; x < right; ++x)
            std::memcpy(out + (left + sourceSize.width + x) * kBytes, last, kBytes);
    }
    return kStatusOk;
}

// Fills the run form of a dilation state when every non-empty mask row is a
// single run and the runs nest; the fast bodies chain them widest first.
void BuildRunGroups(const uint8_t* mask, KernelSize maskSize, KernelPoint anchor, DilateState& state) {
    std::vector<DilateState::RunGroup> groups;
    for (int32_t j = 0; j < maskSize.height; ++j) {
        const uint8_t* row = mask + static_cast<intptr_t>(j) * maskSize.width;
        int32_t first = -1, last = -1, count = 0;
        for (int32_t i = 0; i < maskSize.width; ++i) {
            if (row[i] == 0) continue;
            if (first < 0) first = i;
            last = i;
            ++count;
        }
        if (count == 0) continue;
        if (count != last - first + 1) return;
        const int32_t lo = first - anchor.x, hi = last - anchor.x;
        auto same = std::find_if(groups.begin(), groups.end(),
                                 [&](const auto& g) { return g.lo == lo && g.hi == hi; });
        if (same == groups.end()) same = groups.insert(groups.end(), DilateState::RunGroup{lo, hi, {}});
        same->rowOffsets.push_back(j - anchor.y);
    }
    if (groups.empty()) return;
    std::stable_sort(groups.begin(), groups.end(),
                     [](const auto& a, const auto& b) { return a.hi - a.lo > b.hi - b.lo; });
    size_t largest = 0;
    for (size_t m = 0; m < groups.size(); ++m) {
        if (m > 0 && (groups[m].lo < groups[m - 1].lo || groups[m].hi > groups[m - 1].hi)) return;
        largest = std::max(largest, groups[m].rowOffsets.size());
    }
    state.reachLeft = std::max(0, -groups[0].lo);
    state.reachRight = std::max(0, groups[0].hi);
    state.groups = std::move(groups);
    int32_t firstRow = INT32_MAX, lastRow = INT32_MIN;
    for (const auto& g : state.groups)
        for (int32_t offset : g.rowOffsets)
            firstRow = std::min(firstRow, offset), lastRow = std::max(lastRow, offset);
    state.firstRow = firstRow;
    state.lastRow = lastRow;
    // Room for the widest vector in front of a row and past its end, in whole
    // cache lines; a line more lets the block start on a line.
    constexpr size_t kSlackPixels = 16;
    const size_t pixels = static_cast<size_t>(state.width) + static_cast<size_t>(state.reachLeft) +
                          static_cast<size_t>(state.reachRight) + kSlackPixels;
    state.rowBytes = kDilateRowFront + ((pixels * 4 + 63) & ~size_t{63});
    state.work.assign(state.rowBytes * 2 + 64, 0);
    state.ring.assign(state.rowBytes * static_cast<size_t>(lastRow - firstRow + 1) + 64, 0);
    state.groupRows.assign(largest, nullptr);
    state.nestedRuns = true;
}

}  // namespace

const KernelTable& KernelTableFor(CpuClass cpuClass) {
    static constexpr const KernelTable* kTables[kCpuClassCount] = {&reference::kTable, &avx2::kTable,
                                                                   &avx512::kTable};
    const int index = static_cast<int>(cpuClass);
    return *kTables[index < 0 || index >= kCpuClassCount ? 0 : index];
}

int32_t KernelSet4(const uint8_t* value, uint8_t* destination, int32_t pitch, KernelSize size) {
    if (value == nullptr || destination == nullptr) return kStatusNullPointer;
    if (EmptySize(size)) return kStatusBadSize;
    if (ShortPitch(pitch, size.width, 4)) return kStatusBadPitch;
    ActiveTable().set4(value, destination, pitch, size.width, size.height);
    return kStatusOk;
}

int32_t KernelSet1(uint8_t value, uint8_t* destination, int32_t pitch, KernelSize size) {
    if (destination == nullptr) return kStatusNullPointer;
    if (EmptySize(size)) return kStatusBadSize;
    if (ShortPitch(pitch, size.width, 1)) return kStatusBadPitch;
    ActiveTable().set1(value, destination, pitch, size.width, size.height);
    return kStatusOk;
}

int32_t KernelCopy4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                    int32_t destinationPitch, KernelSize size) {
    if (const int32_t status = CheckTwo(source, sourcePitch, destination, destinationPitch, size))
        return status;
    ActiveTable().copy4(source, sourcePitch, destination, destinationPitch, size.width, size.height);
    return kStatusOk;
}

int32_t KernelCopyChannelOut(const uint8_t* sourceChannel, int32_t sourcePitch, uint8_t* destination,
                             int32_t destinationPitch, KernelSize size) {
    if (const int32_t status =
            CheckTwo(sourceChannel, sourcePitch, destination, destinationPitch, size, 4, 1))
        return status;
    for (int32_t y = 0; y < size.height; ++y) {
        const uint8_t* in = RowAt(sourceChannel, sourcePitch, y);
        uint8_t* out = RowAt(destination, destinationPitch, y);
        for (int32_t x = 0; x < size.width; ++x) out[x] = in[4 * x];
    }
    return kStatusOk;
}

int32_t KernelCopyChannelIn(const uint8_t* source, int32_t sourcePitch, uint8_t* destinationChannel,
                            int32_t destinationPitch, KernelSize size) {
    if (const int32_t status =
            CheckTwo(source, sourcePitch, destinationChannel, destinationPitch, size, 1, 4))
        return status;
    for (int32_t y = 0; y < size.height; ++y) {
        const uint8_t* in = RowAt(source, sourcePitch, y);
        uint8_t* out = RowAt(destinationChannel, destinationPitch, y);
        for (int32_t x = 0; x < size.width; ++x) out[4 * x] = in[x];
    }
    return kStatusOk;
}

int32_t KernelScaleBytes4(const uint8_t* factors, uint8_t* picture, int32_t pitch, KernelSize size) {
    if (factors == nullptr || picture == nullptr) return kStatusNullPointer;
    if (EmptySize(size)) return kStatusBadSize;
    if (ShortPitch(pitch, size.width, 4)) return kStatusBadPitch;
    ActiveTable().scaleBytes4(factors, picture, pitch, size.width, size.height);
    return kStatusOk;
}

int32_t KernelAddBytes4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                        int32_t destinationPitch, KernelSize size, int32_t shift) {
    if (const int32_t status = CheckTwo(source, sourcePitch, destination, destinationPitch, size))
        return status;
    if (shift != 0 && shift != 1) return kStatusBadArgument;
    ActiveTable().addBytes4(source, sourcePitch, destination, destinationPitch, size.width, size.height,
                            shift);
    return kStatusOk;
}

int32_t KernelBlendBytes4(uint8_t* first, int32_t firstPitch, uint8_t* second, int32_t secondPitch,
                          KernelSize size, int32_t weightA, int32_t weightB) {
    if (const int32_t status = CheckTwo(first, firstPitch, second, secondPitch, size)) return status;
    if (weightA < 0 || weightA > 255 || weightB < 0 || weightB > 255) return kStatusBadArgument;
    const KernelTable& table = ActiveTable();
    // The fused pass reads each second byte after the first picture's byte is
    // written; that equals the three steps only when no byte is shared.
    auto end = [&](const uint8_t* p, int32_t pitch) {
        return p + static_cast<intptr_t>(pitch) * (size.height - 1) + static_cast<intptr_t>(size.width) * 4;
    };
    const auto at = [](const uint8_t* p) { return reinterpret_cast<uintptr_t>(p); };
    if (at(first) < at(end(second, secondPitch)) && at(second) < at(end(first, firstPitch))) {
        const uint8_t factorA[4] = {static_cast<uint8_t>(weightA), static_cast<uint8_t>(weightA),
                                    static_cast<uint8_t>(weightA), static_cast<uint8_t>(weightA)};
        const uint8_t factorB[4] = {static_cast<uint8_t>(weightB), static_cast<uint8_t>(weightB),
                                    static_cast<uint8_t>(weightB), static_cast<uint8_t>(weightB)};
        table.scaleBytes4(factorA, first, firstPitch, size.width, size.height);
        table.scaleBytes4(factorB, second, secondPitch, size.width, size.height);
        table.addBytes4(first, firstPitch, second, secondPitch, size.width, size.height, 0);
        return kStatusOk;
    }
    table.blendBytes4(first, firstPitch, second, secondPitch, size.width, size.height, weightA, weightB);
    return kStatusOk;
}

int32_t KernelScaleAlpha4(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                          int32_t destinationPitch, KernelSize size, int32_t factor) {
    if (const int32_t status = CheckTwo(source, sourcePitch, destination, destinationPitch, size))
        return status;
    ActiveTable().scaleAlpha4(source, sourcePitch, destination, destinationPitch, size.width, size.height,
                              factor);
    return kStatusOk;
}

int32_t KernelAlphaComposite(const uint8_t* first, int32_t firstPitch, const uint8_t* second,
                             int32_t secondPitch, uint8_t* destination, int32_t destinationPitch,
                             KernelSize size, int32_t mode) {
    if (first == nullptr || second == nullptr || destination == nullptr) return kStatusNullPointer;
    if (EmptySize(size)) return kStatusBadSize;
    if (ShortPitch(firstPitch, size.width, 4) || ShortPitch(secondPitch, size.width, 4) ||
        ShortPitch(destinationPitch, size.width, 4))
        return kStatusBadPitch;
    if (mode != 0 && mode != 6) return kStatusBadArgument;
    ActiveTable().alphaComposite(first, firstPitch, second, secondPitch, destination, destinationPitch,
                                 size.width, size.height, mode);
    return kStatusOk;
}

int32_t KernelRgbToHsv(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                       int32_t destinationPitch, KernelSize size) {
    if (const int32_t status = CheckTwo(source, sourcePitch, destination, destinationPitch, size))
        return status;
    ActiveTable().rgbToHsv(source, sourcePitch, destination, destinationPitch, size.width, size.height);
    return kStatusOk;
}

int32_t KernelHsvToRgb(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                       int32_t destinationPitch, KernelSize size) {
    if (const int32_t status = CheckTwo(source, sourcePitch, destination, destinationPitch, size))
        return status;
    ActiveTable().hsvToRgb(source, sourcePitch, destination, destinationPitch, size.width, size.height);
    return kStatusOk;
}

int32_t KernelConvolve(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                       int32_t destinationPitch, KernelSize size, const float* kernel, KernelSize kernelSize,
                       KernelPoint anchor) {
    if (source == nullptr || destination == nullptr || kernel == nullptr) return kStatusNullPointer;
    if (EmptySize(size) || EmptySize(kernelSize)) return kStatusBadSize;
    if (ShortPitch(sourcePitch, size.width, 4) || ShortPitch(destinationPitch, size.width, 4))
        return kStatusBadPitch;
    if (anchor.x < 0 || anchor.y < 0 || anchor.x >= kernelSize.width || anchor.y >= kernelSize.height)
        return kStatusBadArgument;
    ActiveTable().convolve(source, sourcePitch, destination, destinationPitch, size.width, size.height,
                           kernel, kernelSize.width, kernelSize.height, anchor.x, anchor.y);
    return kStatusOk;
}

int32_t FilterPictureColumns(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                             int32_t destinationPitch, KernelSize size, const int32_t* kernel,
                             int32_t kernelLength, int32_t anchor, int32_t divisor) {
    return Filter<false>(source, sourcePitch, destination, destinationPitch, size, kernel, kernelLength,
                         anchor, divisor);
}

int32_t FilterPictureRows(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                          int32_t destinationPitch, KernelSize size, const int32_t* kernel,
                          int32_t kernelLength, int32_t anchor, int32_t divisor) {
    return Filter<true>(source, sourcePitch, destination, destinationPitch, size, kernel, kernelLength,
                        anchor, divisor);
}

int32_t KernelMean(const uint8_t* source, int32_t sourcePitch, uint8_t* destination, int32_t destinationPitch,
                   KernelSize size, int32_t maskCode) {
    if (const int32_t status = CheckTwo(source, sourcePitch, destination, destinationPitch, size, 1, 1))
        return status;
    if (maskCode != kMeanMask5x5 && maskCode != kMeanMask3x3) return kStatusBadArgument;
    ActiveTable().mean(source, sourcePitch, destination, destinationPitch, size.width, size.height, maskCode);
    return kStatusOk;
}

int32_t KernelReplicate4(const uint8_t* source, int32_t sourcePitch, KernelSize sourceSize,
                         uint8_t* destination, int32_t destinationPitch, KernelSize destinationSize,
                         int32_t topBorder, int32_t leftBorder) {
    return Replicate<4>(source, sourcePitch, sourceSize, destination, destinationPitch, destinationSize,
                        topBorder, leftBorder);
}

int32_t KernelReplicate1(const uint8_t* source, int32_t sourcePitch, KernelSize sourceSize,
                         uint8_t* destination, int32_t destinationPitch, KernelSize destinationSize,
                         int32_t topBorder, int32_t leftBorder) {
    return Replicate<1>(source, sourcePitch, sourceSize, destination, destinationPitch, destinationSize,
                        topBorder, leftBorder);
}

int32_t KernelBoundedBloom4(const uint8_t* mixed, int32_t mixedPitch, uint8_t* destination,
                            int32_t destinationPitch, KernelSize size, const BloomParameters& bloom) {
    if (const int32_t status = CheckTwo(mixed, mixedPitch, destination, destinationPitch, size))
        return status;
    constexpr int32_t kMostGain = 1 << 16, kMostThreshold = 1 << 20;
    if (std::abs(bloom.gain) > kMostGain || std::abs(bloom.threshold) > kMostThreshold)
        return kStatusBadArgument;
    for (int32_t bound : bloom.bound)
        if (bound < 0 || bound > 255) return kStatusBadArgument;
    ActiveTable().boundedBloom4(mixed, mixedPitch, destination, destinationPitch, size.width, size.height,
                                bloom);
    return kStatusOk;
}

int32_t KernelDilateCreate(int32_t width, const uint8_t* mask, KernelSize maskSize, KernelPoint anchor,
                           DilateState** state) {
    if (mask == nullptr || state == nullptr) return kStatusNullPointer;
    if (width <= 0 || EmptySize(maskSize)) return kStatusBadSize;
    if (anchor.x < 0 || anchor.y < 0 || anchor.x >= maskSize.width || anchor.y >= maskSize.height)
        return kStatusBadArgument;
    DilateState* created = new (std::nothrow) DilateState;
    if (created == nullptr) return kStatusNoMemory;
    try {
        created->width = width;
        for (int32_t j = 0; j < maskSize.height; ++j)
            for (int32_t i = 0; i < maskSize.width; ++i)
                if (mask[static_cast<intptr_t>(j) * maskSize.width + i] != 0)
                    created->members.push_back({i - anchor.x, j - anchor.y});
        BuildRunGroups(mask, maskSize, anchor, *created);
    } catch (const std::bad_alloc&) {
        delete created;
        return kStatusNoMemory;
    }
    *state = created;
    return kStatusOk;
}

int32_t KernelDilateRegion(const uint8_t* source, int32_t sourcePitch, KernelSize sourceSize,
                           uint8_t* destination, int32_t destinationPitch, KernelPoint origin,
                           KernelSize size, DilateState* state) {
    if (source == nullptr || destination == nullptr || state == nullptr) return kStatusNullPointer;
    if (EmptySize(sourceSize) || EmptySize(size)) return kStatusBadSize;
    if (ShortPitch(sourcePitch, sourceSize.width, 4) || ShortPitch(destinationPitch, size.width, 4))
        return kStatusBadPitch;
    constexpr int32_t kFarthest = 1 << 24;  // keeps every position sum inside 32 bits
    if (size.width > state->width || std::abs(origin.x) > kFarthest || std::abs(origin.y) > kFarthest ||
        size.height > kFarthest)
        return kStatusBadArgument;
    ActiveTable().dilate(source, sourcePitch, sourceSize, destination, destinationPitch, origin, size,
                         *state);
    return kStatusOk;
}

int32_t KernelDilate(const uint8_t* source, int32_t sourcePitch, uint8_t* destination,
                     int32_t destinationPitch, KernelSize size, int32_t borderCode, DilateState* state) {
    if (source == nullptr || destination == nullptr || state == nullptr) return kStatusNullPointer;
    if (borderCode != kBorderReplicate) return kStatusBadArgument;
    return KernelDilateRegion(source, sourcePitch, size, destination, destinationPitch, {0, 0}, size, state);
}

int32_t KernelDilateFree(DilateState* state) {
    if (state == nullptr) return kStatusNullPointer;
    delete state;
    return kStatusOk;
}

}  // namespace halcyra

// The fast dilation by nested runs (a disc, or any mask whose rows are single
// runs that nest), written once over a vector type and compiled by the AVX2
// and the AVX-512 files with their own registers.
//
// With the groups G0 (widest) .. Gn-1 and Win[a, b] the running maximum over
// offsets a..b along a row:
//   T = rows(G0); T = max(Win[G(m-1) - Gm](T), rows(Gm)) for m = 1..n-1;
//   out = Win[Gn-1](T)
// where rows(G) is the maximum of the group's source rows. The windows add up
// to the widest run, so a disc of diameter D costs about D/2 window steps and D
// row loads per output pixel instead of D^2 members. Each group is one pass:
// its window and all its rows meet in registers and T is stored once.
//
// Source rows are extended once, when they come into reach, into a ring of
// rows that carry the replicated border on both sides, so that every pass is a
// plain loop of whole vectors. Passes start on a whole vector, so that the row
// loads are aligned: the rows have a vector of room in front and behind, and
// the few positions a pass computes outside its valid range are never read
// into a valid one.
// Maximum is exact, so any order of the same members gives the same bytes.
// Internal linkage, as KernelPixel.h.
#pragma once

#include <immintrin.h>

#include "picture/kernels/KernelLoops.h"

namespace halcyra {
namespace {
namespace dilate {

struct Bytes256 {
    using Vector = __m256i;
    static constexpr int32_t kPixels = 8;
    static Vector Load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static void Store(uint8_t* p, Vector v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
    static Vector Max(Vector a, Vector b) { return _mm256_max_epu8(a, b); }
    // The pixels one before and one after those of `at`, from its neighbours.
    static Vector PixelBefore(Vector before, Vector at) {
        return _mm256_alignr_epi8(at, _mm256_permute2x128_si256(before, at, 0x21), 12);
    }
    static Vector PixelAfter(Vector at, Vector after) {
        return _mm256_alignr_epi8(_mm256_permute2x128_si256(at, after, 0x21), at, 4);
    }
};

#ifdef __AVX512BW__
struct Bytes512 {
    using Vector = __m512i;
    static constexpr int32_t kPixels = 16;
    static Vector Load(const uint8_t* p) { return _mm512_loadu_si512(p); }
    static void Store(uint8_t* p, Vector v) { _mm512_storeu_si512(p, v); }
    static Vector Max(Vector a, Vector b) { return _mm512_max_epu8(a, b); }
    static Vector PixelBefore(Vector before, Vector at) { return _mm512_alignr_epi32(at, before, 15); }
    static Vector PixelAfter(Vector at, Vector after) { return _mm512_alignr_epi32(after, at, 1); }
};
#endif

// out[k] = max(t[k + lo .. k + hi], rows[0][k], .., rows[n - 1][k]) for the
// pixels k in [from, to), by whole vectors; without t, the rows alone.
template <class V>
inline void MaxPass(const uint8_t* t, int32_t lo, int32_t hi, const uint8_t* const* rows, size_t rowCount,
                    uint8_t* out, int32_t from, int32_t to) {
    for (int32_t k = from & -V::kPixels; k < to; k += V::kPixels) {
        const intptr_t at = intptr_t{k} * 4;
        typename V::Vector v;
        size_t n = 0;
        if (t != nullptr) {
            v = V::Load(t + at + 4 * lo);
            for (int32_t i = lo + 1; i <= hi; ++i) v = V::Max(v, V::Load(t + at + 4 * i));
        } else {
            v = V::Load(rows[n++] + at);
        }
        for (; n < rowCount; ++n) v = V::Max(v, V::Load(rows[n] + at));
        V::Store(out + at, v);
    }
}

// The common steps of a disc, one pixel of window on each side with one or two
// rows, with every count known to the compiler. The window's neighbours are
// made from the aligned loads in registers rather than loaded across lines.
template <class V, int32_t kRows>
inline void StepPass(const uint8_t* t, const uint8_t* const* rows, uint8_t* out, int32_t from, int32_t to) {
    const uint8_t* r0 = rows[0];
    const uint8_t* r1 = rows[kRows - 1];
    int32_t k = from & -V::kPixels;
    typename V::Vector before = V::Load(t + intptr_t{k} * 4 - V::kPixels * 4);
    typename V::Vector at = V::Load(t + intptr_t{k} * 4);
    for (; k < to; k += V::kPixels) {
        const intptr_t offset = intptr_t{k} * 4;
        const typename V::Vector after = V::Load(t + offset + V::kPixels * 4);
        typename V::Vector v = V::Max(V::PixelBefore(before, at), at);
        v = V::Max(v, V::PixelAfter(at, after));
        v = V::Max(v, V::Load(r0 + offset));
        if constexpr (kRows == 2) v = V::Max(v, V::Load(r1 + offset));
        V::Store(out + offset, v);
        before = at;
        at = after;
    }
}

template <class V>
void DilateRuns(const uint8_t* source, int32_t sourcePitch, KernelSize sourceSize, uint8_t* destination,
                int32_t destinationPitch, KernelPoint origin, KernelSize size, DilateState& state) {
    if (!state.nestedRuns) {
        loops::Dilate(source, sourcePitch, sourceSize, destination, destinationPitch, origin, size, state);
        return;
    }
    const int32_t left = state.reachLeft;
    const int32_t length = size.width + left + state.reachRight;  // pixels of an extended row
    const int32_t ringRows = state.lastRow - state.firstRow + 1;
    const int32_t lastColumn = sourceSize.width - 1;
    // Extended position k holds source column origin.x - left + k, clamped.
    const int32_t firstColumn = origin.x - left;
    const int32_t copyFrom = ClampInt(-firstColumn, 0, length);
    const int32_t copyTo = ClampInt(sourceSize.width - firstColumn, copyFrom, length);
    uint8_t* ring = DilateRowStart(state.ring.data());
    auto slot = [&](int32_t row) { return ring + state.rowBytes * static_cast<size_t>(row % ringRows); };
    auto extend = [&](int32_t row) {
        const uint8_t* in = RowAt(source, sourcePitch, row);
        uint8_t* out = slot(row);
        for (int32_t k = 0; k < copyFrom; ++k) std::memcpy(out + 4 * k, in, 4);
        std::memcpy(out + 4 * copyFrom, in + 4 * static_cast<intptr_t>(firstColumn + copyFrom),
                    static_cast<size_t>(copyTo - copyFrom) * 4);
        for (int32_t k = copyTo; k < length; ++k) std::memcpy(out + 4 * k, in + 4 * lastColumn, 4);
    };
    auto sourceRow = [&](int32_t row) { return slot(ClampInt(row, 0, sourceSize.height - 1)); };

    uint8_t* t = DilateRowStart(state.work.data());
    uint8_t* spare = t + state.rowBytes;
    const uint8_t** rows = state.groupRows.data();
    int32_t next = ClampInt(origin.y + state.firstRow, 0, sourceSize.height - 1);  // first row not extended
    for (int32_t y = 0; y < size.height; ++y) {
        const int32_t centre = origin.y + y;
        const int32_t reach = ClampInt(centre + state.lastRow, 0, sourceSize.height - 1);
        while (next <= reach) extend(next++);
        int32_t from = 0, to = length;  // where T holds its values
        for (size_t m = 0; m < state.groups.size(); ++m) {
            const DilateState::RunGroup& g = state.groups[m];
            const size_t count = g.rowOffsets.size();
            for (size_t n = 0; n < count; ++n) rows[n] = sourceRow(centre + g.rowOffsets[n]);
            if (m == 0) {
                MaxPass<V>(nullptr, 0, 0, rows, count, spare, from, to);
            } else {
                const int32_t lo = state.groups[m - 1].lo - g.lo, hi = state.groups[m - 1].hi - g.hi;
                from -= lo, to -= hi;
                if (lo == -1 && hi == 1 && count == 2)
                    StepPass<V, 2>(t, rows, spare, from, to);
                else if (lo == -1 && hi == 1 && count == 1)
                    StepPass<V, 1>(t, rows, spare, from, to);
                else
                    MaxPass<V>(t, lo, hi, rows, count, spare, from, to);
            }
            std::swap(t, spare);
        }
        const DilateState::RunGroup& last = state.groups.back();
        const uint8_t* result = t + 4 * left;
        if (last.lo != 0 || last.hi != 0) {
            MaxPass<V>(t, last.lo, last.hi, nullptr, 0, spare, left, left + size.width);
            result = spare + 4 * left;
        }
        std::memcpy(RowAt(destination, destinationPitch, y), result, static_cast<size_t>(size.width) * 4);
    }
}

}  // namespace dilate
}  // namespace
}  // namespace halcyra

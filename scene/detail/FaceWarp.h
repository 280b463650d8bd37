// The face warp on raw memory, apart from the Picture headers: the projective
// map from a whole source onto a destination quadrangle and the warp through
// the one shared scan conversion of the pixel kernels; and the bound on the
// source pixels that warp can read, so that a shaded face is prepared only
// where it will be sampled.
#pragma once

#include <cstdint>
#include <vector>

namespace halcyra::detail {

// Source of w x h pixels (pitch in bytes) onto the quadrangle quad = {q0x, q0y,
// ..., q3x, q3y} of a destination of dw x dh pixels. False when nothing could
// be drawn (not a proper quadrangle, a degenerate map, a source below 2 x 2,
// no interpolation bit, no pixel inside the destination).
bool WarpSourceIntoQuad(const uint8_t* source, int32_t w, int32_t h, int32_t pitch, uint8_t* destination,
                        int32_t dw, int32_t dh, int32_t destinationPitch, const double quad[8],
                        uint32_t flags);

// The source split into square tiles of tileSize pixels, row by row.
struct SourceTiles {
    int32_t tileSize = 0;
    int32_t columns = 0;
    int32_t rows = 0;
    std::vector<uint8_t> needed;  // non-zero: the warp may read a pixel of the tile
};

// Marks every tile holding a pixel that WarpSourceIntoQuad with the same
// arguments may sample, with a margin. When the reads cannot be bounded (the
// map's denominator changes sign or is not a number on a span) every tile is
// marked.
void MarkSampledTiles(int32_t w, int32_t h, int32_t dw, int32_t dh, const double quad[8], SourceTiles& tiles);

}  // namespace halcyra::detail

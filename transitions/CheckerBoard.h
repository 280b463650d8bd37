// Checker Board: the two pictures laid out as the squares of a board, each
// square a whole picture. The camera flies from a square of the first picture
// to one of the second while the board sinks away, tilts and turns, and comes
// back to its ordinary distance at the end.
#pragma once

#include "scene/BaseEffect.h"

namespace halcyra {

class D3DChessBoard final : public BaseEffect {
public:
    D3DChessBoard();
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

struct BoardCell {
    int32_t column;
    int32_t row;
};

// The cell of an n x n board under (x, y), moved by one cell when its
// picture is the wrong one: parity 0 asks for a first-picture square, 1 for a
// second-picture square.
BoardCell PickBoardCell(int32_t n, double x, double y, int32_t parity);

// The board's motion at time t: about the start square's centre (sx, sy) it
// turns, tilts by (tx, ty) and sinks, and travels by t times the flight
// vector toward the end square's centre (ex, ey).
struct BoardMotion {
    int32_t n;
    double depth;
    double tx;
    double ty;
    bool rotate;
    double sx;
    double sy;
    double ex;
    double ey;
};
Matrix3D BoardWorldMatrix(double t, const BoardMotion& motion);

}  // namespace halcyra

// Checker Board.
#include "transitions/CheckerBoard.h"

#include <cmath>

#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kBoardParameters[] = {
    FloatParam("Grid", 0.2f, 3.0f, 10.0f),
    FloatParam("Depth", 0.6f),
    PointParam("Tilt", 0.2f, 0.1f),
    PointParam("Start", 0.2f, 0.2f),
    PointParam("End", 0.8f, 0.8f),
    BoolParam("Rotate", false),
    BoolParam("Reverse", false),
    ChoiceParam("Background", kBackgroundTransparent, kBackgroundChoices),
    ColourParam("Background Color", kDefaultBackgroundColor),
};
const EffectDescriptor kBoardDescriptor{"Corvane 3D Checker Board", 2, kBoardParameters};

// Board sizes beyond the parameter's range only come from a misbehaving host;
// capped so that a frame stays finite.
constexpr int32_t kMaxGrid = 64;

}  // namespace

D3DChessBoard::D3DChessBoard() : BaseEffect(kBoardDescriptor) {}

BoardCell PickBoardCell(int32_t n, double x, double y, int32_t parity) {
    int32_t c = TruncToInt32(x * n - 0.5);
    int32_t r = TruncToInt32(y * n - 0.5);
    if (WrapAdd(c, r) % 2 == parity) {
        if (r < n - 1)
            r += 1;
        else if (c < n - 1)
            c += 1;
        else
            r -= 1;
    }
    return {c, r};
}

Matrix3D BoardWorldMatrix(double t, const BoardMotion& b) {
    const double s = std::sin(M_PI * t);
    const double a = s * M_PI * b.n * 0.1 * b.depth;
    const double sigma = b.tx < 0.5 ? -1.0 : 1.0;
    const double turn = b.rotate ? sigma * t * M_PI * 2.0 : sigma * a * 0.5 * 2.0;
    Matrix3D m = Matrix3D::Translation(b.sx, b.sy, 0.0);
    m = Multiply(m, Matrix3D::RotationZ(turn));
    m = Multiply(m, Matrix3D::RotationX((b.ty * 2.0 - 1.0) * a));
    m = Multiply(m, Matrix3D::RotationY((b.tx * 2.0 - 1.0) * a));
    m = Multiply(m, Matrix3D::Translation(0.0, 0.0, b.depth * -15.0 * s * b.n * 0.5));
    m = Multiply(m, Matrix3D::Translation(t * -(b.ex - b.sx), t * -(b.ey - b.sy), 0.0));
    return Multiply(m, Matrix3D::Translation(-b.sx, -b.sy, 0.0));
}

bool D3DChessBoard::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                                double progress, MemoryAllocator*) {
    ParameterReader read(host);
    const float grid = read.Float(0);
    const float depth = read.Float(1);
    float tiltX, tiltY, startX, startY, endX, endY;
    read.Point(2, tiltX, tiltY);
    read.Point(3, startX, startY);
    read.Point(4, endX, endY);
    const bool rotate = read.Bool(5);
    const bool reverse = read.Bool(6);
    const int32_t background = read.Choice(7);
    const uint32_t backgroundColour = read.Colour(8);

    const int32_t n = ClampInt(TruncToInt32(grid * 7.0f + 3.0f), 0, kMaxGrid);
    // Start and End invert y; Tilt inverts x.
    const float sx = startX, sy = 1.0f - startY;
    const float ex = endX, ey = 1.0f - endY;
    const float tx = 1.0f - tiltX, ty = tiltY;

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, reverse);

    LinearLight light;
    SetUpLitScene(scene, light, 1.0 - 0.4, pictures.output);

    const double t = SceneTime(progress, reverse);
    if (!ClearAtEnds(scene, pictures.first, pictures.second, t)) {
        DrawBackground(background, backgroundColour, pictures);

        // One square is 2 units wide, the size of the whole view.
        const double x0 = -n;
        const double y0 = n;
        QuadMesh board;
        board.faces.reserve(static_cast<size_t>(n) * static_cast<size_t>(n));
        for (int32_t r = 0; r < n; ++r) {
            for (int32_t c = 0; c < n; ++c) {
                const double left = x0 + 2.0 * c;
                const double right = left + 2.0;
                const double top = y0 - 2.0 * r;
                const double bottom = top - 2.0;
                Picture* picture = (r + c) % 2 == 0 ? &pictures.second : &pictures.first;
                board.AddFace(QuadFace({left, top, 0.0}, {right, top, 0.0}, {right, bottom, 0.0},
                                       {left, bottom, 0.0}, picture, nullptr, kBackFlipHorizontal));
            }
        }
        const BoardCell startCell = PickBoardCell(n, sx, sy, 0);
        const BoardCell endCell = PickBoardCell(n, ex, ey, 1);
        BoardMotion motion{};
        motion.n = n;
        motion.depth = depth;
        motion.tx = tx;
        motion.ty = ty;
        motion.rotate = rotate;
        motion.sx = x0 + 2.0 * startCell.column + 1.0;
        motion.sy = y0 - 2.0 * startCell.row - 1.0;
        motion.ex = x0 + 2.0 * endCell.column + 1.0;
        motion.ey = y0 - 2.0 * endCell.row - 1.0;
        // The start square stands in the middle of the view.
        board.Transform(Matrix3D::Translation(-motion.sx, -motion.sy, 0.0));

        scene.SetWorldMatrix(BoardWorldMatrix(t, motion));
        scene.DrawMesh(board, SceneDrawFlags());
    }
    scene.ClearLights();
    return true;
}

}  // namespace halcyra

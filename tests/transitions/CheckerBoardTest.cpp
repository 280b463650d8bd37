// Checker Board: parameters, the choice of cells, the board's motion, ends of
// the transition and regression checksums.
#include <gtest/gtest.h>

#include <cstring>

#include "TransitionTestSupport.h"
#include "transitions/CheckerBoard.h"

namespace halcyra {
namespace {

using test::TransitionRun;

constexpr int32_t kGrid = 0;
constexpr int32_t kDepth = 1;
constexpr int32_t kTilt = 2;
constexpr int32_t kStart = 3;
constexpr int32_t kRotate = 5;
constexpr int32_t kReverse = 6;
constexpr int32_t kBackground = 7;

TEST(CheckerBoard, ParametersInTheirOrder) {
    TransitionRun run(new D3DChessBoard(), 32, 24);
    EXPECT_STREQ(run.effect->GetName(), "Corvane 3D Checker Board");
    ParameterInfo info{};
    const char* names[] = {"Grid",   "Depth",   "Tilt",       "Start",           "End",
                           "Rotate", "Reverse", "Background", "Background Color"};
    const int32_t types[] = {kParamFloat, kParamFloat, kParamPoint,  kParamPoint, kParamPoint,
                             kParamBool,  kParamBool,  kParamChoice, kParamColour};
    for (int32_t i = 0; i < 9; ++i) {
        ASSERT_TRUE(run.effect->GetParameterInfo(i, &info));
        EXPECT_STREQ(info.name, names[i]);
        EXPECT_EQ(info.type, types[i]);
    }
    EXPECT_FALSE(run.effect->GetParameterInfo(9, &info));
    EXPECT_EQ(run.host.values[kTilt].point[0], 0.2f);
    EXPECT_EQ(run.host.values[kTilt].point[1], 0.1f);
    run.Render(0.3);
    EXPECT_EQ(run.host.requested, (std::vector<int32_t>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(CheckerBoard, CellsHaveTheRightPicture) {
    EXPECT_EQ(PickBoardCell(4, 0.2, 0.2, 0).row, 1);  // (0, 0) is a second-picture square
    EXPECT_EQ(PickBoardCell(4, 0.8, 0.8, 1).column, 2);
    EXPECT_EQ(PickBoardCell(4, 0.8, 0.8, 1).row, 2);
    // The same position for both: one of them moves, the camera still travels.
    const BoardCell start = PickBoardCell(4, 0.5, 0.5, 0);
    const BoardCell end = PickBoardCell(4, 0.5, 0.5, 1);
    EXPECT_EQ(start.row, 2);
    EXPECT_EQ(end.row, 1);
    // The corner cell with the wrong picture falls back a row.
    const BoardCell corner = PickBoardCell(5, 1.0, 1.0, 0);
    EXPECT_EQ(corner.column, 4);
    EXPECT_EQ(corner.row, 3);
    EXPECT_EQ(PickBoardCell(5, 1.0, 1.0, 1).row, 4);
}

TEST(CheckerBoard, BoardFliesFromStartSquareToEndSquare) {
    BoardMotion m{4, 0.6, 0.8, 0.1, false, -3.0, 1.0, 1.0, -1.0};
    EXPECT_EQ(BoardWorldMatrix(0.0, m), Matrix3D::Identity());
    // In mesh coordinates (start square at the origin) the end square's
    // centre reaches the middle of the view at t = 1.
    const Vector3D end = TransformPoint(BoardWorldMatrix(1.0, m), {m.ex - m.sx, m.ey - m.sy, 0.0});
    EXPECT_NEAR(end.x, 0.0, 1e-12);
    EXPECT_NEAR(end.y, 0.0, 1e-12);
    EXPECT_NEAR(end.z, 0.0, 1e-12);
    // Tilt x of 0.5: no turn about y, and sigma +1.
    m.tx = 0.5;
    m.depth = 0.0;
    const Vector3D flat = TransformPoint(BoardWorldMatrix(0.5, m), {1.0, 0.0, 0.0});
    EXPECT_NEAR(flat.x, 1.0 - 0.5 * (m.ex - m.sx), 1e-12);
    EXPECT_EQ(flat.z, 0.0);
    // With Rotate the board turns about its own centre, nearly once by t = 1.
    m.rotate = true;
    const Vector3D turned = TransformPoint(BoardWorldMatrix(0.999999, m), {m.ex - m.sx, m.ey - m.sy, 0.0});
    EXPECT_NEAR(turned.x, 0.0, 1e-4);
    EXPECT_NEAR(turned.y, 0.0, 1e-4);
}

TEST(CheckerBoard, EndsShowThePlainPictures) {
    TransitionRun run(new D3DChessBoard(), 32, 24);
    test::ExpectPlainEnds(run, kReverse);
}

TEST(CheckerBoard, FlatBoardSlidesWholePictures) {
    // No depth and no rotation on a 3 x 3 board: the start (0.5, 0.5) names
    // the centre cell, a second-picture square, and moves down to (1, 2); the
    // end (0.8, 0.8) lands on (1, 1). Halfway, the view shows the lower half
    // of the second picture above the upper half of the first. Squares share
    // their edge pixels, and the one later in the list draws them: the lower
    // square the shared row, the right-hand neighbour the last column.
    TransitionRun run(new D3DChessBoard(), 33, 9);
    run.host.values[kDepth].number = 0.0f;
    run.host.values[kGrid].number = 0.0f;
    run.host.values[kStart].point[0] = 0.5f;
    run.host.values[kStart].point[1] = 0.5f;
    ASSERT_TRUE(run.Render(0.5));
    for (int32_t y = 0; y < 9; ++y) {
        const uint8_t* expected = y < 4 ? run.b.Pixel(0, y + 4) : run.a.Pixel(0, y - 4);
        EXPECT_EQ(std::memcmp(run.out.Pixel(0, y), expected, 32 * 4), 0) << "row " << y;
        const uint8_t* neighbour = y < 4 ? run.a.Pixel(0, y + 4) : run.b.Pixel(0, y - 4);
        EXPECT_EQ(std::memcmp(run.out.Pixel(32, y), neighbour, 4), 0) << "row " << y;
    }
}

TEST(CheckerBoard, RegressionChecksums) {
    const test::CrcCase cases[] = {
        {0.1, false, 3, 2625060925u}, {0.25, false, 3, 1562451378u}, {0.5, false, 3, 710816045u},
        {0.8, false, 3, 175319080u},  {0.25, true, 3, 2963724434u},  {0.5, true, 3, 4048505235u},
        {0.5, false, 0, 3199979943u}, {0.5, false, 1, 218282298u},   {0.5, false, 2, 1885942168u},
        {0.65, true, 1, 1306827918u},
    };
    test::ExpectChecksums([] { return new D3DChessBoard(); }, cases, kReverse, kBackground);
    TransitionRun rotating(new D3DChessBoard(), 64, 48);
    rotating.host.values[kRotate].flag = 1;
    ASSERT_TRUE(rotating.Render(0.4));
    EXPECT_EQ(rotating.out.Crc(), 3773513311u) << "rotate";
}

}  // namespace
}  // namespace halcyra

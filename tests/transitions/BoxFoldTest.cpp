// Box Fold: the fold's time, the unfolded box at a quarter and a half turn,
// and regression checksums.
#include <gtest/gtest.h>

#include "TransitionTestSupport.h"
#include "transitions/BoxFold.h"

namespace halcyra {
namespace {

using test::ExpectNear;

constexpr int32_t kReverse = 4, kBackground = 5;

TEST(BoxFold, FoldTakesTheMiddleShareOfTime) {
    // Speed value 1: V = 1, the fold spreads over all the time.
    const float fastest = 1.0f * 0.9f + 0.1f;
    EXPECT_EQ(BoxFoldTime(0.3, fastest), 0.3 / static_cast<double>(fastest));
    // Speed value 0: V = 0.1, h = 0.45, the fold takes the middle tenth.
    const float slowest = 0.0f * 0.9f + 0.1f;
    EXPECT_EQ(BoxFoldTime(0.44, slowest), 0.0);
    EXPECT_EQ(BoxFoldTime(0.56, slowest), 1.0);
    EXPECT_NEAR(BoxFoldTime(0.5, slowest), 0.5, 1e-6);
}

QuadMesh Box(Picture* front, Picture* back) {
    return QuadMeshCreator().MakeBox({-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, -2.0, front, back, 0);
}

TEST(BoxFold, UnfoldsIntoACrossAndThrough) {
    Picture first, second;
    EXPECT_TRUE(FoldBox(QuadMesh(), 0.5).faces.empty());
    const QuadMesh closed = Box(&first, &second);
    const QuadMesh cross = FoldBox(closed, 0.5);
    ASSERT_EQ(cross.faces.size(), 6u);
    EXPECT_EQ(cross.faces[0].corners, closed.faces[0].corners);  // the front stays
    ExpectNear(cross.faces[1].Centre(), {2, 0, 0}, 1e-6);
    ExpectNear(cross.faces[2].Centre(), {0, 4, 0}, 1e-6);  // the rear beyond the top
    ExpectNear(cross.faces[3].Centre(), {-2, 0, 0}, 1e-6);
    ExpectNear(cross.faces[4].Centre(), {0, 2, 0}, 1e-6);
    ExpectNear(cross.faces[5].Centre(), {0, -2, 0}, 1e-6);
    const QuadMesh inverted = FoldBox(closed, 1.0);
    ExpectNear(inverted.faces[2].Centre(), {0, 0, 2}, 1e-6);  // the rear over the front
    ExpectNear(inverted.faces[1].Centre(), {1, 0, 1}, 1e-6);
    ExpectNear(inverted.faces[4].Centre(), {0, 1, 1}, 1e-6);
    // The rear ends upright: its first corner (b') at the top right.
    EXPECT_NEAR(inverted.faces[2].corners[0].x, 1.0, 1e-6);
    EXPECT_NEAR(inverted.faces[2].corners[0].y, 1.0, 1e-6);
}

// Regression checksums of 64 x 48 frames from fixed inputs.
TEST(BoxFold, RegressionChecksums) {
    const test::CrcCase cases[] = {
        {0.1, false, 3, 4139874325u}, {0.3, false, 3, 1951686371u}, {0.5, false, 3, 703791529u},
        {0.7, false, 3, 1806261490u}, {0.9, false, 3, 700706618u},  {0.4, true, 3, 3036642146u},
        {0.5, false, 0, 3428298731u}, {0.5, false, 1, 1365916933u}, {0.6, false, 2, 2326225354u},
        {0.75, true, 1, 1309420901u},
    };
    test::ExpectChecksums([] { return new D3DBoxInversion(); }, cases, kReverse, kBackground);
}

}  // namespace
}  // namespace halcyra

// Faces, source rectangles and the mesh builders.
#include <gtest/gtest.h>

#include "picture/Picture.h"
#include "scene/QuadMesh.h"

namespace halcyra {
namespace {

// Only the size of a picture matters to the meshes; nothing reads its pixels.
void SetSize(Picture& p, int32_t w, int32_t h) {
    static uint8_t byte;
    p.Attach(&byte, w, h, w * 4, 4);
}

TEST(QuadFace, SourceRectAndPictureChoice) {
    Picture front;
    front.Attach(reinterpret_cast<void*>(0x1000), 720, 480, 2880, 4);
    Picture back;
    back.Attach(reinterpret_cast<void*>(0x2000), 720, 480, 2880, 4);
    QuadFace face({-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, &front, nullptr, kBackFlipHorizontal);
    EXPECT_EQ(face.SourceRect(false), (PixelRect{0, 0, 720, 480}));
    face.backRect = {0.5, 0.5, 1, 1};
    // Without a back picture, the back shows the front with the front rectangle.
    EXPECT_EQ(face.GetPicture(true), &front);
    EXPECT_EQ(face.SourceRect(true), (PixelRect{0, 0, 720, 480}));
    face.SetBackPicture(&back);
    EXPECT_EQ(face.GetPicture(true), &back);
    EXPECT_EQ(face.SourceRect(true), (PixelRect{360, 240, 360, 240}));  // trunc(719 * 0.5 + 0.5) = 360
    face.SetFrontPicture(nullptr);
    EXPECT_FALSE(face.IsValid());
    EXPECT_EQ(face.SourceRect(false), PixelRect{});
}

TEST(QuadFace, CornerOrderMirrorsTheBack) {
    QuadFace face;
    using Order = std::array<int32_t, 4>;
    EXPECT_EQ(face.CornerOrder(false), (Order{0, 1, 2, 3}));
    face.backFlip = kBackFlipHorizontal;
    EXPECT_EQ(face.CornerOrder(true), (Order{1, 0, 3, 2}));
    face.backFlip = kBackFlipVertical;
    EXPECT_EQ(face.CornerOrder(true), (Order{3, 2, 1, 0}));
    face.backFlip = 7;
    EXPECT_EQ(face.CornerOrder(true), (Order{0, 1, 2, 3}));
    face.backRect = {0.1, 0.2, 0.3, 0.6};
    face.MirrorBackRect(true);
    EXPECT_DOUBLE_EQ(face.backRect.left, 0.7);
    EXPECT_DOUBLE_EQ(face.backRect.right, 0.9);
    face.MirrorBackRect(false);
    EXPECT_DOUBLE_EQ(face.backRect.top, 0.4);
    EXPECT_DOUBLE_EQ(face.backRect.bottom, 0.8);
}

TEST(QuadMeshCreator, TilesLieOnWholePixels) {
    Picture p;
    SetSize(p, 100, 50);
    QuadMeshCreator creator;
    const QuadMesh mesh = creator.MakeTiles(100, 50, {-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, 3, 2, &p,
                                            nullptr, kBackFlipHorizontal, false);
    ASSERT_EQ(mesh.faces.size(), 6u);
    const int32_t edges[] = {0, 33, 67, 99};
    for (int c = 0; c < 3; ++c) {
        EXPECT_DOUBLE_EQ(mesh.faces[c].frontRect.left, edges[c] / 99.0);
        EXPECT_DOUBLE_EQ(mesh.faces[c].frontRect.right, edges[c + 1] / 99.0);
        EXPECT_DOUBLE_EQ(mesh.faces[c].backRect.left, 1.0 - edges[c + 1] / 99.0);
    }
    // Neighbouring tiles share their edge column in the source rectangles.
    EXPECT_EQ(mesh.faces[0].SourceRect(false), (PixelRect{0, 0, 34, 26}));
    EXPECT_EQ(mesh.faces[1].SourceRect(false), (PixelRect{33, 0, 35, 26}));
    EXPECT_EQ(mesh.faces[5].SourceRect(false), (PixelRect{67, 25, 33, 25}));
    EXPECT_DOUBLE_EQ(mesh.faces[1].corners[0].x, -1.0 + 2.0 * (33 / 99.0));

    EXPECT_TRUE(creator.MakeTiles(1, 50, {}, {}, {}, {}, 3, 2, &p, nullptr, 0, false).faces.empty());
    EXPECT_TRUE(creator.MakeTiles(100, 50, {}, {}, {}, {}, 0, 2, &p, nullptr, 0, false).faces.empty());

    const QuadMesh zigzag = creator.MakeTiles(100, 50, {-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, 3, 2,
                                              &p, nullptr, kBackFlipVertical, true);
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(zigzag.faces[c].frontRect, mesh.faces[c].frontRect);
        EXPECT_EQ(zigzag.faces[3 + c].frontRect, mesh.faces[5 - c].frontRect);
    }
    EXPECT_DOUBLE_EQ(zigzag.faces[0].backRect.top, 1.0 - 25 / 49.0);
}

TEST(QuadMeshCreator, BoxFacesLookOutward) {
    Picture p;
    SetSize(p, 8, 8);
    QuadMeshCreator creator;
    const QuadMesh box = creator.MakeBox({-1, 1, 0}, {1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, -2.0, &p, nullptr,
                                         kBackFlipHorizontal);
    ASSERT_EQ(box.faces.size(), 6u);
    const Vector3D outward[6] = {{0, 0, 1}, {1, 0, 0}, {0, 0, -1}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}};
    for (int i = 0; i < 6; ++i) {
        const auto& c = box.faces[i].corners;
        EXPECT_EQ(TriangleNormal(c[0], c[3], c[1]), outward[i]) << "face " << i;
    }
    EXPECT_EQ(box.Centre(), Vector3D(0, 0, -1));
}

TEST(QuadMeshCreator, BoxesTakeTheDiagonalIntoTheirDepth) {
    Picture p;
    SetSize(p, 8, 8);
    QuadMesh plane;
    plane.AddFace(QuadFace({0, 4, 0}, {3, 4, 0}, {3, 0, 0}, {0, 0, 0}, &p, nullptr, kBackFlipHorizontal,
                           {0.1, 0.2, 0.3, 0.4}));
    QuadFace odd;
    odd.corners.resize(3);
    plane.AddFace(odd);  // skipped
    const std::vector<QuadMesh> boxes = QuadMeshCreator().MakeBoxes(plane);
    ASSERT_EQ(boxes.size(), 1u);
    ASSERT_EQ(boxes[0].faces.size(), 6u);
    const double depth = (3.0 + 5.0) * 0.5;                           // top edge 3, diagonal 5
    EXPECT_EQ(boxes[0].faces[2].corners[0], Vector3D(3, 4, -depth));  // rear starts at q1
    for (const QuadFace& f : boxes[0].faces) {
        EXPECT_EQ(f.frontRect, (TextureRect{0.1, 0.2, 0.3, 0.4}));
        EXPECT_EQ(f.frontPicture, &p);
        const auto& c = f.corners;
        EXPECT_GE(Dot(TriangleNormal(c[0], c[3], c[1]), f.Centre() - boxes[0].Centre()), 0.0);
    }
}

TEST(QuadMeshCreator, GridBackRectanglesFollowTheTurn) {
    Picture p;
    SetSize(p, 8, 8);
    const QuadMesh grid = QuadMeshCreator().MakeGrid({-1, 1, 0}, {1, 1, 0}, {}, {-1, -1, 0}, 4, 2, &p,
                                                     nullptr, kBackFlipHorizontal);
    ASSERT_EQ(grid.faces.size(), 8u);
    EXPECT_EQ(grid.faces[1].frontRect, (TextureRect{0.25, 0, 0.5, 0.5}));
    EXPECT_EQ(grid.faces[1].backRect, (TextureRect{0.5, 0, 0.75, 0.5}));
    const QuadMesh vertical = QuadMeshCreator().MakeGrid({-1, 1, 0}, {1, 1, 0}, {}, {-1, -1, 0}, 4, 2, &p,
                                                         nullptr, kBackFlipVertical);
    EXPECT_EQ(vertical.faces[1].backRect, (TextureRect{0.25, 0.5, 0.5, 1.0}));
    EXPECT_EQ(grid.faces[7].corners[2], Vector3D(1, -1, 0));
}

}  // namespace
}  // namespace halcyra

// The one kind of geometry of the 3D transitions: flat four-cornered faces
// that carry a rectangle of a picture on each side, lists of them, and the
// builder of the usual shapes (a box, a grid, a plane of tiles, a box per tile).
// A face is drawn as one perspective warp of its picture rectangle, which is
// why it needs nothing but four corners and a source rectangle.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "scene/Math3D.h"

namespace halcyra {

class Picture;

struct PixelRect {
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    int32_t height = 0;
    bool operator==(const PixelRect&) const = default;
};

// A rectangle across a picture, 0..1 on both axes.
struct TextureRect {
    double left = 0.0;
    double top = 0.0;
    double right = 1.0;
    double bottom = 1.0;
    bool operator==(const TextureRect&) const = default;
};

// How the back side of a face is mirrored when drawn.
enum BackFlip : int32_t {
    kBackFlipHorizontal = 0,  // right way round after a turn about a vertical axis
    kBackFlipVertical = 1,    // right way round after a turn about a horizontal axis
    kBackFlipNone = 2,        // any other value: the back picture shows mirrored
};

class QuadFace {
public:
    QuadFace() : corners(4) {}
    QuadFace(const Vector3D& c0, const Vector3D& c1, const Vector3D& c2, const Vector3D& c3, Picture* front,
             Picture* back, int32_t flip, const TextureRect& frontSource = {},
             const TextureRect& backSource = {})
        : corners{c0, c1, c2, c3},
          frontRect(frontSource),
          backRect(backSource),
          frontPicture(front),
          backPicture(back),
          backFlip(flip) {}

    void SetCorners(const Vector3D& c0, const Vector3D& c1, const Vector3D& c2, const Vector3D& c3) {
        corners = {c0, c1, c2, c3};
    }
    std::vector<Vector3D> GetCorners() const { return corners; }
    void SetFrontPicture(Picture* picture) { frontPicture = picture; }
    void SetBackPicture(Picture* picture) { backPicture = picture; }
    void SetFrontRect(double left, double top, double right, double bottom) {
        frontRect = {left, top, right, bottom};
    }
    void SetBackRect(double left, double top, double right, double bottom) {
        backRect = {left, top, right, bottom};
    }

    Picture* GetPicture(bool back) const {
        return back && backPicture != nullptr ? backPicture : frontPicture;
    }
    bool IsValid() const { return !corners.empty() && frontPicture != nullptr; }
    // The pixels to cut from GetPicture(back); sized by the front picture,
    // since both sides are assumed to share one size.
    PixelRect SourceRect(bool back) const;
    std::vector<Vector3D> TransformedCorners(const Matrix3D& m) const;
    void Transform(const Matrix3D& m);
    // Which corner takes the picture's top-left, top-right, bottom-right, bottom-left.
    std::array<int32_t, 4> CornerOrder(bool back) const;
    Vector3D Centre() const;
    void MirrorBackRect(bool horizontal);
    void SwapPictures() { std::swap(frontPicture, backPicture); }

    std::vector<Vector3D> corners;
    TextureRect frontRect;
    TextureRect backRect;
    Picture* frontPicture = nullptr;  // not owned
    Picture* backPicture = nullptr;   // not owned; null shows the front picture on the back
    int32_t backFlip = kBackFlipHorizontal;
};

class QuadMesh {
public:
    void AddFace(const QuadFace& face) { faces.push_back(face); }
    void SetFaces(const std::vector<QuadFace>& list) { faces = list; }
    std::vector<QuadFace> GetFaces() const { return faces; }
    Vector3D Centre() const;
    void Transform(const Matrix3D& m);
    void MirrorBackRects(bool horizontal);
    void SwapPictures();

    std::vector<QuadFace> faces;
};

class QuadMeshCreator {
public:
    // Six faces, front, right, rear, left, top, bottom; the rear at absolute z.
    QuadMesh MakeBox(const Vector3D& a, const Vector3D& b, const Vector3D& c, const Vector3D& d, double rearZ,
                     Picture* front, Picture* back, int32_t flip) const;
    // columns x rows faces on equal shares of the rectangle; br is not used.
    QuadMesh MakeGrid(const Vector3D& tl, const Vector3D& tr, const Vector3D& br, const Vector3D& bl,
                      int32_t columns, int32_t rows, Picture* front, Picture* back, int32_t flip) const;
    // columns x rows faces whose edges lie on whole pixels of a w x h picture;
    // with zigzag the odd rows run right to left. br is not used.
    QuadMesh MakeTiles(int32_t w, int32_t h, const Vector3D& tl, const Vector3D& tr, const Vector3D& br,
                       const Vector3D& bl, int32_t columns, int32_t rows, Picture* front, Picture* back,
                       int32_t flip, bool zigzag) const;
    // One six-faced box per face, as deep as the mean of its top edge and diagonal.
    std::vector<QuadMesh> MakeBoxes(const QuadMesh& mesh) const;
};

}  // namespace halcyra

// Faces, meshes and the shapes the transitions are built from.
#include "scene/QuadMesh.h"

#include "picture/Picture.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

int32_t RoundHalfUp(double v) {
    return TruncToInt32(v + 0.5);
}

Vector3D GridPoint(const Vector3D& tl, const Vector3D& right, const Vector3D& down, double u, double v) {
    return tl + right * u + down * v;
}

}  // namespace

PixelRect QuadFace::SourceRect(bool back) const {
    if (!IsValid()) return {};
    const TextureRect& r = back && backPicture != nullptr ? backRect : frontRect;
    const int32_t w = frontPicture->width;
    const int32_t h = frontPicture->height;
    if (w <= 0 || h <= 0) return {};
    const double sw = static_cast<double>(w - 1);
    const double sh = static_cast<double>(h - 1);
    PixelRect out;
    out.x = RoundHalfUp(sw * r.left);
    out.y = RoundHalfUp(sh * r.top);
    out.width = WrapAdd(WrapSub(RoundHalfUp(sw * r.right), out.x), 1);
    out.height = WrapAdd(WrapSub(RoundHalfUp(sh * r.bottom), out.y), 1);
    return out;
}

std::vector<Vector3D> QuadFace::TransformedCorners(const Matrix3D& m) const {
    std::vector<Vector3D> out(4);
    if (corners.size() == 4)
        for (size_t i = 0; i < 4; ++i) out[i] = TransformPoint(m, corners[i]);
    return out;
}

void QuadFace::Transform(const Matrix3D& m) {
    if (corners.size() != 4) return;
    for (Vector3D& c : corners) c = TransformPoint(m, c);
}

std::array<int32_t, 4> QuadFace::CornerOrder(bool back) const {
    // Seen from behind, the corners run the other way round.
    if (back && backFlip == kBackFlipHorizontal) return {1, 0, 3, 2};
    if (back && backFlip == kBackFlipVertical) return {3, 2, 1, 0};
    return {0, 1, 2, 3};
}

Vector3D QuadFace::Centre() const {
    Vector3D sum;
    if (corners.empty()) return sum;
    for (const Vector3D& c : corners) sum += c;
    sum /= static_cast<double>(corners.size());
    return sum;
}

void QuadFace::MirrorBackRect(bool horizontal) {
    if (horizontal) {
        const double left = backRect.left;
        backRect.left = 1.0 - backRect.right;
        backRect.right = 1.0 - left;
    } else {
        const double top = backRect.top;
        backRect.top = 1.0 - backRect.bottom;
        backRect.bottom = 1.0 - top;
    }
}

Vector3D QuadMesh::Centre() const {
    Vector3D sum;
    if (faces.empty()) return sum;
    for (const QuadFace& f : faces) sum += f.Centre();
    sum /= static_cast<double>(faces.size());
    return sum;
}

void QuadMesh::Transform(const Matrix3D& m) {
    for (QuadFace& f : faces) f.Transform(m);
}

void QuadMesh::MirrorBackRects(bool horizontal) {
    for (QuadFace& f : faces) f.MirrorBackRect(horizontal);
}

void QuadMesh::SwapPictures() {
    for (QuadFace& f : faces) f.SwapPictures();
}

QuadMesh QuadMeshCreator::MakeBox(const Vector3D& a, const Vector3D& b, const Vector3D& c, const Vector3D& d,
                                  double rearZ, Picture* front, Picture* back, int32_t flip) const {
    const Vector3D ar(a.x, a.y, rearZ), br(b.x, b.y, rearZ), cr(c.x, c.y, rearZ), dr(d.x, d.y, rearZ);
    const Vector3D sides[6][4] = {
        {a, b, c, d}, {b, br, cr, c}, {br, ar, dr, cr}, {ar, a, d, dr}, {ar, br, b, a}, {d, c, cr, dr},
    };
    QuadMesh mesh;
    for (const auto& s : sides) mesh.AddFace(QuadFace(s[0], s[1], s[2], s[3], front, back, flip));
    return mesh;
}

QuadMesh QuadMeshCreator::MakeGrid(const Vector3D& tl, const Vector3D& tr, const Vector3D&,
                                   const Vector3D& bl, int32_t columns, int32_t rows, Picture* front,
                                   Picture* back, int32_t flip) const {
    QuadMesh mesh;
    const Vector3D right = tr - tl;
    const Vector3D down = bl - tl;
    for (int32_t r = 0; r < rows; ++r) {
        const double vt = static_cast<double>(r) / rows;
        const double vb = static_cast<double>(r + 1) / rows;
        for (int32_t c = 0; c < columns; ++c) {
            const double ul = static_cast<double>(c) / columns;
            const double ur = static_cast<double>(c + 1) / columns;
            QuadFace face(GridPoint(tl, right, down, ul, vt), GridPoint(tl, right, down, ur, vt),
                          GridPoint(tl, right, down, ur, vb), GridPoint(tl, right, down, ul, vb), front, back,
                          flip);
            face.frontRect = {ul, vt, ur, vb};
            // The same part of the back picture lands on the tile's back once
            // the whole plane has turned over.
            face.backRect = flip == kBackFlipHorizontal ? TextureRect{1.0 - ur, vt, 1.0 - ul, vb}
                                                        : TextureRect{ul, 1.0 - vb, ur, 1.0 - vt};
            mesh.AddFace(face);
        }
    }
    return mesh;
}

QuadMesh QuadMeshCreator::MakeTiles(int32_t w, int32_t h, const Vector3D& tl, const Vector3D& tr,
                                    const Vector3D&, const Vector3D& bl, int32_t columns, int32_t rows,
                                    Picture* front, Picture* back, int32_t flip, bool zigzag) const {
    QuadMesh mesh;
    if (columns < 1 || rows < 1 || w < 2 || h < 2) return mesh;
    const Vector3D right = tr - tl;
    const Vector3D down = bl - tl;
    const double colW = static_cast<double>(w) / columns;
    const double rowH = static_cast<double>(h) / rows;
    const double lastX = static_cast<double>(w - 1);
    const double lastY = static_cast<double>(h - 1);
    mesh.faces.reserve(static_cast<size_t>(columns) * static_cast<size_t>(rows));
    for (int32_t r = 0; r < rows; ++r) {
        const int32_t y0 = RoundHalfUp(rowH * r);
        const int32_t y1 = r < rows - 1 ? RoundHalfUp(rowH * r + rowH) : h - 1;
        const double vt = y0 / lastY;
        const double vb = y1 / lastY;
        for (int32_t c = 0; c < columns; ++c) {
            const int32_t k = zigzag && (r & 1) != 0 ? columns - c - 1 : c;
            const int32_t x0 = RoundHalfUp(k * colW);
            const int32_t x1 = k < columns - 1 ? RoundHalfUp(colW * k + colW) : w - 1;
            const double ul = x0 / lastX;
            const double ur = x1 / lastX;
            QuadFace face(GridPoint(tl, right, down, ul, vt), GridPoint(tl, right, down, ur, vt),
                          GridPoint(tl, right, down, ur, vb), GridPoint(tl, right, down, ul, vb), front, back,
                          flip);
            face.frontRect = {ul, vt, ur, vb};
            if (flip == kBackFlipHorizontal)
                face.backRect = {1.0 - ur, vt, 1.0 - ul, vb};
            else if (flip == kBackFlipVertical)
                face.backRect = {ul, 1.0 - vb, ur, 1.0 - vt};
            else
                face.backRect = {ul, vt, ur, vb};
            mesh.AddFace(face);
        }
    }
    return mesh;
}

std::vector<QuadMesh> QuadMeshCreator::MakeBoxes(const QuadMesh& mesh) const {
    std::vector<QuadMesh> boxes;
    boxes.reserve(mesh.faces.size());
    for (const QuadFace& face : mesh.faces) {
        if (face.corners.size() != 4) continue;
        const Vector3D& p0 = face.corners[0];
        const Vector3D& p1 = face.corners[1];
        const Vector3D& p2 = face.corners[2];
        const Vector3D& p3 = face.corners[3];
        // The second length is the tile's diagonal, not its height: that is
        // how the thickness of a tile's box is defined.
        const double depth = ((p1 - p0).Length() + (p2 - p0).Length()) * 0.5;
        const Vector3D q0(p0.x, p0.y, p0.z - depth), q1(p1.x, p1.y, p1.z - depth),
            q2(p2.x, p2.y, p2.z - depth), q3(p3.x, p3.y, p3.z - depth);
        const Vector3D sides[5][4] = {
            {p1, q1, q2, p2}, {q1, q0, q3, q2}, {q0, p0, p3, q3}, {q0, q1, p1, p0}, {p3, p2, q2, q3},
        };
        QuadMesh box;
        box.faces.reserve(6);
        box.AddFace(face);
        for (const auto& s : sides) {
            QuadFace side = face;
            side.SetCorners(s[0], s[1], s[2], s[3]);
            box.AddFace(side);
        }
        boxes.push_back(std::move(box));
    }
    return boxes;
}

}  // namespace halcyra

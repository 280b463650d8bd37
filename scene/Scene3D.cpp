// Scene state, projection, clearing, depth order and the drawing of faces.
#include "scene/Scene3D.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"
#include "scene/detail/FaceWarp.h"

namespace halcyra {
namespace {

// A non-owning copy of a picture's descriptor.
void ShareDescriptor(const Picture& from, Picture& to) {
    to.Release();
    to.data = from.data;
    to.width = from.width;
    to.height = from.height;
    to.pitch = from.pitch;
    to.pitchInPixels = from.pitchInPixels;
    to.bytesPerPixel = from.bytesPerPixel;
    to.format = from.format;
    to.allocator = from.allocator;
    to.owned = false;
}

bool HasPixels(const Picture& p) {
    return p.data != nullptr && p.width > 0 && p.height > 0 && p.bytesPerPixel == 4;
}

// The rectangle lies inside the picture, so it can be cut without reading
// past the picture's rows.
bool InsidePicture(const PixelRect& r, const Picture& p) {
    return r.x >= 0 && r.y >= 0 && r.width > 0 && r.height > 0 && r.width <= p.width - r.x &&
           r.height <= p.height - r.y;
}

// A shaded face is folded into its warp when it covers at most a share of the
// source box it reads; beyond it a shaded copy is cheaper. A copy that stays
// in a core's own cache (up to about a megabyte) is read much faster than the
// picture, so folding pays only for faces shrunk far; a larger copy is read
// from memory like the picture itself, and then folding pays unless the face
// is brought close.
constexpr double kCachedCopyPixels = 262144.0;
constexpr double kFoldedShareOfCachedCopy = 0.09;
constexpr double kFoldedShareOfLargeCopy = 0.5;

constexpr int32_t kShadeTile = 32;
// Shaded pictures kept within one DrawMesh.
constexpr size_t kShadeCacheSize = 4;

// A non-owning picture over a rectangle of another.
void ViewRect(const Picture& picture, int32_t x, int32_t y, int32_t width, int32_t height, Picture& view) {
    view.Attach(picture.PixelAddress(x, y), width, height, picture.pitch, 4);
}

// The target's drawable size, as WarpFaceInto takes it.
int32_t TargetWidth(const SceneTarget& target) {
    return std::min(target.width, target.picture.width);
}
int32_t TargetHeight(const SceneTarget& target) {
    return std::min(target.height, target.picture.height);
}

// The shaded copy of a face's picture, made only within the box of pixels the
// warp can read, in tiles; tiles already shaded for an earlier face of the
// same copy (marked in `done`) are kept. The rest of the work picture is
// never read.
void ShadeSampledPart(const Picture& source, Picture& work, int32_t factor,
                      const detail::FaceFootprint& footprint, std::vector<uint8_t>& done) {
    const int32_t columns = (source.width + kShadeTile - 1) / kShadeTile;
    const int32_t rows = (source.height + kShadeTile - 1) / kShadeTile;
    done.resize(static_cast<size_t>(columns) * rows, 0);
    if (footprint.x0 > footprint.x1 || footprint.y0 > footprint.y1) return;
    const int32_t tx0 = footprint.x0 / kShadeTile, tx1 = footprint.x1 / kShadeTile;
    for (int32_t ty = footprint.y0 / kShadeTile; ty <= footprint.y1 / kShadeTile; ++ty) {
        uint8_t* doneRow = done.data() + static_cast<size_t>(ty) * columns;
        const int32_t y = ty * kShadeTile;
        const int32_t height = std::min(kShadeTile, source.height - y);
        for (int32_t tx = tx0; tx <= tx1;) {
            if (doneRow[tx] != 0) {
                ++tx;
                continue;
            }
            int32_t runEnd = tx;
            while (runEnd <= tx1 && doneRow[runEnd] == 0) doneRow[runEnd++] = 1;
            const int32_t x = tx * kShadeTile;
            const int32_t width = std::min(runEnd * kShadeTile, source.width) - x;
            Picture from, to;
            ViewRect(source, x, y, width, height, from);
            ViewRect(work, x, y, width, height, to);
            PictureOps::ScalePictureAlpha(from, to, factor);
            tx = runEnd;
        }
    }
}

}  // namespace

double SnapToPixel(double v) {
    constexpr double e = static_cast<double>(1e-5f);
    if (v > 0.0) {
        const int32_t i = TruncToInt32(v);
        const int32_t up = TruncToInt32(v + e);
        if (i < up) return static_cast<double>(up);
        if (TruncToInt32(v - e) < i) return static_cast<double>(i);
        if (v - e <= 0.0) return 0.0;
        return v;
    }
    if (v < 0.0 && v + e >= 0.0) return 0.0;
    return v;
}

std::vector<int32_t> DepthSortOrder(const std::vector<QuadFace>& faces) {
    const size_t n = faces.size();
    std::vector<int32_t> order(n);
    std::vector<double> key(n);
    for (size_t i = 0; i < n; ++i) {
        order[i] = static_cast<int32_t>(i);
        key[i] = faces[i].Centre().z;
    }
    if (n < 2) return order;
    // Bubble sort keeps faces of equal depth, which are common, in list order;
    // that order is part of the picture.
    for (size_t limit = n - 1; limit > 0; --limit) {
        bool swapped = false;
        for (size_t j = 0; j < limit; ++j) {
            if (key[j] > key[j + 1]) {
                std::swap(key[j], key[j + 1]);
                std::swap(order[j], order[j + 1]);
                swapped = true;
            }
        }
        if (!swapped) break;
    }
    return order;
}

bool WarpFaceInto(SceneTarget& target, const double q[8], const Picture& source, uint32_t flags) {
    if (!target.IsValid() || !HasPixels(source) || !HasPixels(target.picture)) return false;
    return detail::WarpSourceIntoQuad(source.data, source.width, source.height, source.pitch,
                                      target.picture.data, TargetWidth(target), TargetHeight(target),
                                      target.picture.pitch, q, flags);
}

Scene3D::Scene3D()
    : world(Matrix3D::Identity()), projection(Matrix3D::Identity()), combined(Matrix3D::Identity()) {}

Scene3D::~Scene3D() {
    DeletePostEffects();
}

bool Scene3D::SetTarget(const Picture& picture) {
    if (target == nullptr) target = std::make_unique<SceneTarget>();
    target->width = 0;
    target->height = 0;
    target->halfWidth = 1.0;
    ShareDescriptor(picture, target->picture);
    if (!HasPixels(picture)) return false;
    target->width = picture.width;
    target->height = picture.height;
    return true;
}

void Scene3D::SetWorldMatrix(const Matrix3D& m) {
    world = m;
    combined = Multiply(world, projection);
}

void Scene3D::SetProjectionMatrix(const Matrix3D& m) {
    projection = m;
    combined = Multiply(world, projection);
}

void Scene3D::AddLight(Light3D* light) {
    if (light == nullptr || std::find(lights.begin(), lights.end(), light) != lights.end()) return;
    lights.push_back(light);
}

void Scene3D::AddPostEffect(PREffect* effect) {
    if (std::find(postEffects.begin(), postEffects.end(), effect) != postEffects.end()) return;
    postEffects.push_back(effect);
}

void Scene3D::DeletePostEffects() {
    for (PREffect* effect : postEffects) delete effect;
    postEffects.clear();
}

void Scene3D::ClearToColor(ColorRGB color, bool clearAlpha) {
    if (target == nullptr || !target->IsValid()) return;
    Picture& p = target->picture;
    // Pixels as little-endian words: blue in the low byte, alpha in the high.
    const uint32_t rgb = static_cast<uint32_t>(color.b) | static_cast<uint32_t>(color.g) << 8 |
                         static_cast<uint32_t>(color.r) << 16;
    if (clearAlpha) {
        PictureOps::FillPicture(p, rgb);
        return;
    }
    for (int32_t y = 0; y < target->height; ++y) {
        uint8_t* row = p.Row(y);
        for (int32_t x = 0; x < target->width; ++x) {
            uint32_t pixel;
            std::memcpy(&pixel, row + static_cast<size_t>(x) * 4, 4);
            pixel = (pixel & 0xFF000000u) | rgb;
            std::memcpy(row + static_cast<size_t>(x) * 4, &pixel, 4);
        }
    }
}

void Scene3D::ClearToPicture(const Picture& source, ColorRGB color) {
    if (target == nullptr || !target->IsValid() || !HasPixels(source)) return;
    const Picture& p = target->picture;
    const int32_t w = std::min(source.width, target->width);
    const int32_t h = std::min(source.height, target->height);
    const uint8_t fill[4] = {color.b, color.g, color.r, 255};
    for (int32_t y = 0; y < target->height; ++y) {
        uint8_t* row = p.Row(y);
        int32_t x = 0;
        if (y < h) {
            std::memcpy(row, source.Row(y), static_cast<size_t>(w) * 4);
            x = w;
        }
        for (; x < target->width; ++x) std::memcpy(row + static_cast<size_t>(x) * 4, fill, 4);
    }
}

void Scene3D::ClearToImage(const ImageDesc& image, ColorRGB color) {
    // A record whose rows would overlap is no frame to read from.
    const int64_t pitch = image.pitch < 0 ? -static_cast<int64_t>(image.pitch) : image.pitch;
    if (image.height > 1 && pitch < static_cast<int64_t>(image.width) * 4) return;
    Picture source;
    source.AttachImage(image);
    ClearToPicture(source, color);
}

Vector3D Scene3D::Corner(double sx, double y) const {
    if (target == nullptr || !target->IsValid()) return {};
    return {sx * target->halfWidth, y, 0.0};
}

Vector3D Scene3D::TopLeft() const {
    return Corner(-1.0, 1.0);
}
Vector3D Scene3D::TopRight() const {
    return Corner(1.0, 1.0);
}
Vector3D Scene3D::BottomLeft() const {
    return Corner(-1.0, -1.0);
}
Vector3D Scene3D::BottomRight() const {
    return Corner(1.0, -1.0);
}

PixelPosition Scene3D::Project(const Vector3D& p) const {
    if (target == nullptr) return {};
    // x = -1 and x = 1 fall on the centres of the first and last columns;
    // pixel rows run downward, world y upward.
    const double cx = static_cast<double>(static_cast<float>(target->width) - 1.0f) * 0.5;
    const double cy = static_cast<double>(static_cast<float>(target->height) - 1.0f) * 0.5;
    return {cx + (cx * p.x) / target->halfWidth, cy - cy * p.y};
}

double Scene3D::LightFactor(const Vector3D& normal, const Vector3D& point, bool twoSided) const {
    if (lights.empty()) return 1.0;
    double sum = 0.0;
    for (Light3D* light : lights) sum += light->GetLight(normal, point, twoSided);
    return sum / static_cast<double>(lights.size());
}

bool Scene3D::DrawQuad(const QuadFace& face, uint32_t warpFlags, bool backPass) {
    const bool doubleSided = TestFlags(SceneFlagDoubleSided);
    if (!doubleSided && backPass) return false;
    if (!face.IsValid() || target == nullptr || !target->IsValid()) return false;

    const std::vector<Vector3D> c = face.TransformedCorners(combined);
    const Vector3D n = TriangleNormal(c[0], c[3], c[1]);
    const bool frontFacing = n.z >= 0.0;
    if (!doubleSided && !frontFacing) return false;
    if (backPass && frontFacing) return false;

    const bool back = !frontFacing;
    const Vector3D centre = (c[0] + c[1] + c[2] + c[3]) * 0.25;
    const double brightness = LightFactor(n, centre, doubleSided);

    const std::array<int32_t, 4> order = face.CornerOrder(back);
    const double w = static_cast<double>(target->width);
    const double h = static_cast<double>(target->height);
    double q[8];
    int32_t sx = 0;
    int32_t sy = 0;
    for (int i = 0; i < 4; ++i) {
        const PixelPosition p = Project(c[order[i]]);
        q[2 * i] = SnapToPixel(p.x);
        q[2 * i + 1] = SnapToPixel(p.y);
        sx += q[2 * i] < 0.0 ? -1 : (q[2 * i] > w ? 1 : 0);
        sy += q[2 * i + 1] < 0.0 ? -1 : (q[2 * i + 1] > h ? 1 : 0);
    }
    if (sx == -4 || sx == 4 || sy == -4 || sy == 4) return true;  // wholly beyond one side

    const PixelRect rect = face.SourceRect(back);
    const Picture& picture = *face.GetPicture(back);
    // A rectangle reaching past its picture (small frames with many tiles)
    // is not drawn.
    if (!HasPixels(picture) || !InsidePicture(rect, picture)) return true;

    // Shading lowers alpha with the colours; the face overwrites the frame,
    // so the lowered alpha goes out with it.
    const bool shaded = brightness < 1.0;
    const int32_t factor = shaded ? TruncToInt32(brightness * 255.0) : 0;
    if (postEffects.empty()) {
        // Only the shading changes the face's pixels: warp from the picture's
        // rectangle itself, which reads exactly what a cut copy holds.
        Picture view;
        ViewRect(picture, rect.x, rect.y, rect.width, rect.height, view);
        if (!shaded) {
            WarpFaceInto(*target, q, view, warpFlags);
            return true;
        }
        // Either the warp shades each pixel it reads, or a copy is shaded
        // where the warp can read it and the warp reads the copy. Folding
        // costs per destination pixel, and more where a face shrunk far into
        // the distance reads scattered pixels; the copy costs per source
        // pixel, once for all faces of a mesh that share it. Both give the
        // same bytes.
        const int32_t dw = TargetWidth(*target);
        const int32_t dh = TargetHeight(*target);
        const detail::FaceFootprint footprint = detail::FaceFootprintOf(rect.width, rect.height, dw, dh, q);
        const double boxPixels = (static_cast<double>(footprint.x1) - footprint.x0 + 1.0) *
                                 (static_cast<double>(footprint.y1) - footprint.y0 + 1.0);
        ShadedPicture* kept = shadeCache != nullptr ? FindShaded(picture, rect, factor) : nullptr;
        if (kept == nullptr && detail::ShadingFoldsIntoWarp(factor, warpFlags) &&
            footprint.area <= boxPixels * (boxPixels <= kCachedCopyPixels ? kFoldedShareOfCachedCopy
                                                                          : kFoldedShareOfLargeCopy)) {
            if (HasPixels(target->picture))
                detail::WarpShadedSourceIntoQuad(view.data, view.width, view.height, view.pitch,
                                                 target->picture.data, dw, dh, target->picture.pitch, q,
                                                 warpFlags, factor);
            return true;
        }
        if (shadeCache != nullptr) {
            if (kept == nullptr) kept = &AddShaded(picture, rect, factor);
            if (kept->work.data == nullptr) return true;
            ShadeSampledPart(view, kept->work, factor, footprint, kept->done);
            WarpFaceInto(*target, q, kept->work, warpFlags);
            return true;
        }
        Picture work;
        if (!work.Allocate(rect.width, rect.height, 4, allocator)) return true;
        std::vector<uint8_t> done;
        ShadeSampledPart(view, work, factor, footprint, done);
        WarpFaceInto(*target, q, work, warpFlags);
        return true;
    }

    // Post effects see the whole rectangle.
    Picture work;
    if (!work.Allocate(rect.width, rect.height, 4, allocator)) return true;
    if (!PictureOps::CopyPictureRect(picture, rect.x, rect.y, rect.width, rect.height, work, 0, 0))
        return true;
    for (PREffect* effect : postEffects)
        if (effect != nullptr) effect->ProcessPicture(work);
    if (shaded) PictureOps::ScalePictureAlpha(work, work, factor);
    WarpFaceInto(*target, q, work, warpFlags);
    return true;
}

Scene3D::ShadedPicture* Scene3D::FindShaded(const Picture& picture, const PixelRect& rect, int32_t factor) {
    for (auto& entry : *shadeCache)
        if (entry->source == picture.data && entry->rect == rect && entry->factor == factor)
            return entry.get();
    return nullptr;
}

Scene3D::ShadedPicture& Scene3D::AddShaded(const Picture& picture, const PixelRect& rect, int32_t factor) {
    if (shadeCache->size() >= kShadeCacheSize) shadeCache->erase(shadeCache->begin());
    auto entry = std::make_unique<ShadedPicture>();
    entry->source = picture.data;
    entry->rect = rect;
    entry->factor = factor;
    entry->work.Allocate(rect.width, rect.height, 4, allocator);
    shadeCache->push_back(std::move(entry));
    return *shadeCache->back();
}

void Scene3D::DrawMesh(const QuadMesh& mesh, uint32_t warpFlags) {
    if (target == nullptr) return;
    // Within one mesh no face's picture changes, so a face shaded alike from
    // the same rectangle (the copies of one picture in a spiral) reuses the
    // shading.
    std::vector<std::unique_ptr<ShadedPicture>> cache;
    shadeCache = &cache;
    for (const int32_t index : DepthSortOrder(mesh.faces)) DrawQuad(mesh.faces[index], warpFlags, false);
    shadeCache = nullptr;
}

}  // namespace halcyra

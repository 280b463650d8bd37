// The painter's-method renderer of the 3D transitions. Each face is taken
// through the scene's world and projection matrices to a quadrangle in the
// output frame; its picture rectangle is cut into a work picture, run through
// the post effects, shaded, and warped into that quadrangle, far faces first.
// There is no depth buffer: visibility comes from the order of drawing and
// from dropping faces that look away.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "picture/Picture.h"
#include "scene/Lights.h"
#include "scene/Math3D.h"
#include "scene/QuadMesh.h"

namespace halcyra {

class MemoryAllocator;

// Faces looking away are drawn too, with their back picture.
inline constexpr uint32_t SceneFlagDoubleSided = 0x40;

// A change made to a face's own picture before it is shaded and warped.
class PREffect {
public:
    virtual void ProcessPicture(Picture& picture) = 0;
    virtual ~PREffect() = default;
};

// The picture a scene draws into: a shallow copy of the output's descriptor.
// The world spans -halfWidth..halfWidth across and -1..1 down, whatever the
// picture's proportions.
struct SceneTarget {
    Picture picture;
    int32_t width = 0;
    int32_t height = 0;
    double halfWidth = 1.0;

    bool IsValid() const { return width >= 1 && height >= 1; }
};

struct PixelPosition {
    double x = 0.0;
    double y = 0.0;
};

// Pulls a projected coordinate within the single-precision 1e-5 of a whole
// number onto it, so that corners on the frame or on tile edges stay there.
double SnapToPixel(double v);

// Face indices, farthest first: a stable bubble sort on the z of the faces'
// untransformed centres (neither world nor projection counts).
std::vector<int32_t> DepthSortOrder(const std::vector<QuadFace>& faces);

// The projective warp of the whole source into the quadrangle q (pixel
// positions q0x, q0y, ... q3x, q3y) of the target. False when nothing was drawn.
bool WarpFaceInto(SceneTarget& target, const double q[8], const Picture& source, uint32_t flags);

class Scene3D {
public:
    Scene3D();
    ~Scene3D();
    Scene3D(const Scene3D&) = delete;
    Scene3D& operator=(const Scene3D&) = delete;

    void SetAllocator(MemoryAllocator* memory) { allocator = memory; }
    bool SetTarget(const Picture& picture);
    const SceneTarget* GetTarget() const { return target.get(); }

    void SetWorldMatrix(const Matrix3D& m);
    Matrix3D GetWorldMatrix() const { return world; }
    void SetProjectionMatrix(const Matrix3D& m);
    Matrix3D GetProjectionMatrix() const { return projection; }
    Matrix3D GetCombinedMatrix() const { return combined; }

    void SetFlags(uint32_t value) { flags = value; }
    uint32_t GetFlags() const { return flags; }
    bool TestFlags(uint32_t mask) const { return (flags & mask) != 0; }

    void AddLight(Light3D* light);
    void ClearLights() { lights.clear(); }
    size_t LightCount() const { return lights.size(); }
    // The scene owns a post effect from now on.
    void AddPostEffect(PREffect* effect);
    void DeletePostEffects();

    void ClearToColor(ColorRGB color, bool clearAlpha);
    void ClearToPicture(const Picture& source, ColorRGB color);
    void ClearToImage(const ImageDesc& image, ColorRGB color);

    Vector3D TopLeft() const;
    Vector3D TopRight() const;
    Vector3D BottomLeft() const;
    Vector3D BottomRight() const;
    double ViewHalfWidth() const { return target != nullptr ? target->halfWidth : 1.0; }

    PixelPosition Project(const Vector3D& p) const;
    double LightFactor(const Vector3D& normal, const Vector3D& point, bool twoSided) const;

    // Whether the face was dealt with: false only for a face that may not be
    // drawn in this pass (looking away, invalid face, no target).
    bool DrawQuad(const QuadFace& face, uint32_t warpFlags, bool backPass);
    void DrawMesh(const QuadMesh& mesh, uint32_t warpFlags);

private:
    // A face's rectangle shaded by one factor, filled in as faces need it.
    struct ShadedPicture {
        const uint8_t* source = nullptr;
        PixelRect rect;
        int32_t factor = 0;
        Picture work;
        std::vector<uint8_t> done;  // tiles already shaded
    };

    Vector3D Corner(double sx, double y) const;
    ShadedPicture* FindShaded(const Picture& picture, const PixelRect& rect, int32_t factor);
    ShadedPicture& AddShaded(const Picture& picture, const PixelRect& rect, int32_t factor);

    std::unique_ptr<SceneTarget> target;
    Matrix3D world;
    Matrix3D projection;
    Matrix3D combined;
    uint32_t flags = 0;
    std::vector<Light3D*> lights;        // not owned
    std::vector<PREffect*> postEffects;  // owned
    MemoryAllocator* allocator = nullptr;
    std::vector<std::unique_ptr<ShadedPicture>>* shadeCache = nullptr;  // only during DrawMesh
};

}  // namespace halcyra

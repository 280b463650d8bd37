// The frame that every 3D transition shares: one Scene3D per effect object,
// the common Render around the transition's RenderScene, the warp flags, the
// four backgrounds and the reading of the parameters most transitions share.
#pragma once

#include <cstdint>
#include <functional>

#include "frame/EffectBase.h"
#include "scene/Scene3D.h"

namespace halcyra {

class LinearLight;
class MemoryAllocator;

// The "Background" choice.
enum SceneBackground : int32_t {
    kBackgroundColor = 0,
    kBackgroundFirst = 1,
    kBackgroundSecond = 2,
    kBackgroundTransparent = 3,
};

inline constexpr const char* kBackgroundChoices[] = {"Color", "First picture", "Second picture",
                                                     "Transparent"};
inline constexpr const char* kRotationChoices[] = {"None", "Vertical", "Horizontal"};
inline constexpr uint32_t kDefaultBackgroundColor = 0x606060;

class BaseEffect : public VideoEffectBase {
public:
    explicit BaseEffect(const EffectDescriptor& descriptor) : VideoEffectBase(descriptor) {}

    // The 3D form: a null out pointer fails; otherwise null is written first.
    int32_t QueryInterface(const Guid& iid, void** out) override;
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;

    // One frame of the transition; the base draws nothing.
    virtual bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                             double progress, MemoryAllocator* allocator);

    // 1, 2 or 4 for modes 0, 1, 2 (nearest, bilinear, bicubic), plus the
    // smooth-edge bit.
    static uint32_t InterpolationFlags(int32_t mode, bool smooth);
    // What every scene draws with: bilinear, smooth edges.
    static uint32_t SceneDrawFlags() { return InterpolationFlags(1, true); }

protected:
    // The common frame around a body that draws it: the allocator the scene
    // uses, the memory note and the licence gate. Render runs RenderScene in
    // it; a transition with its own Render runs its own body.
    bool RenderFrame(IVideoHost* host, ImageDesc* output, RenderInfo* info,
                     const std::function<bool(MemoryAllocator* allocator, double progress)>& body);

    // The frame's pictures, with the inputs swapped when Reverse is on. Frames
    // that cannot be drawn on stay empty and draw nothing.
    struct ScenePictures {
        Picture first;
        Picture second;
        Picture output;
    };
    static void AttachScenePictures(ScenePictures& pictures, ImageDesc* first, ImageDesc* second,
                                    ImageDesc* output, bool reverse);
    // Step 9 of every scene: what lies behind the faces.
    void DrawBackground(int32_t background, uint32_t colour, const ScenePictures& pictures);

    Scene3D scene;
};

// trunc(value * 8 + 2) in single precision: 2 to 10 tiles.
int32_t TileCount(float value);

// How far the camera of most scenes stands from the picture plane.
inline constexpr double kSceneCameraDistance = 6.0;

// The camera of the lit scenes: drawing into target, one light at the given
// ambient level, a perspective from the given distance. The caller owns the
// light and keeps it alive until ClearLights.
void SetUpLitScene(Scene3D& scene, LinearLight& light, double ambient, const Picture& target,
                   double cameraDistance = kSceneCameraDistance);

// The transition's own time: Reverse runs it backwards.
inline double SceneTime(double progress, bool reverse) {
    return reverse ? 1.0 - progress : progress;
}

// The ends of a transition are the plain pictures: before the start the
// first, from t = 1 on the second. A scene whose opening frame already
// belongs to the motion draws t = 0 itself (drawsStart). True when the frame
// was finished here.
bool ClearAtEnds(Scene3D& scene, const Picture& first, const Picture& second, double t,
                 bool drawsStart = false);

}  // namespace halcyra

// The common Render of the 3D transitions and their shared helpers.
#include "scene/BaseEffect.h"

#include <cstdio>
#include <cstring>

#include "frame/ActivationManager.h"
#include "picture/MemoryAllocator.h"
#include "picture/kernels/Numerics.h"
#include "scene/Lights.h"

namespace halcyra {

int32_t BaseEffect::QueryInterface(const Guid& iid, void** out) {
    if (out == nullptr) return kStatusFail;
    *out = nullptr;
    if (SameGuid(iid, IID_IUnknown) || SameGuid(iid, IID_IVideoEffect)) {
        *out = static_cast<IVideoEffect*>(this);
        AddRef();
        return kStatusOk;
    }
    return kStatusNoInterface;
}

bool BaseEffect::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                        RenderInfo* info) {
    return RenderFrame(host, output, info, [&](MemoryAllocator* allocator, double progress) {
        return RenderScene(host, first, second, output, progress, allocator);
    });
}

bool BaseEffect::RenderFrame(IVideoHost* host, ImageDesc* output, RenderInfo* info,
                             const std::function<bool(MemoryAllocator* allocator, double progress)>& body) {
    MemoryAllocator allocator(host, &workPictures);
    scene.SetAllocator(&allocator);
    MemoryHandle handle(&allocator);
    const double progress = info != nullptr ? info->progress : 0.0;
    const bool result = body(&allocator, progress);
    scene.SetAllocator(nullptr);
    // Where memory accounting belongs; usage is not kept, so nothing is
    // formatted and the text goes nowhere.
    char usage[1000];
    std::memset(usage, 0, sizeof usage);
    uint64_t pictureBytes = 0;
    uint64_t individualBytes = 0;
    int32_t workPictures = 0;
    if (handle.GetUsage(&pictureBytes, &workPictures, &individualBytes)) {
        std::snprintf(
            usage, sizeof usage,
            "Memory usage: total - %d bytes (pictures - %d bytes, individual - %d bytes); work picture "
            "count - %d",
            static_cast<int>(pictureBytes + individualBytes), static_cast<int>(pictureBytes),
            static_cast<int>(individualBytes), workPictures);
    }
    HandToLicenceGate(host, output);
    return result;
}

bool BaseEffect::RenderScene(IVideoHost*, ImageDesc*, ImageDesc*, ImageDesc*, double, MemoryAllocator*) {
    return false;
}

uint32_t BaseEffect::InterpolationFlags(int32_t mode, bool smooth) {
    uint32_t flags = 0;
    if (mode == 0) flags += 1;
    if (mode == 1) flags += 2;
    if (mode == 2) flags += 4;
    if (smooth) flags += 0x80000000u;
    return flags;
}

void BaseEffect::AttachScenePictures(ScenePictures& pictures, ImageDesc* first, ImageDesc* second,
                                     ImageDesc* output, bool reverse) {
    AttachFrame(pictures.first, reverse ? second : first);
    AttachFrame(pictures.second, reverse ? first : second);
    AttachFrame(pictures.output, output);
}

void BaseEffect::DrawBackground(int32_t background, uint32_t colour, const ScenePictures& pictures) {
    switch (background) {
        case kBackgroundColor:
            scene.ClearToColor(ColorRGB(colour), false);  // alpha stays as the host delivered it
            break;
        case kBackgroundFirst:
            scene.ClearToPicture(pictures.first, ColorRGB());
            break;
        case kBackgroundSecond:
            scene.ClearToPicture(pictures.second, ColorRGB());
            break;
        case kBackgroundTransparent:
            scene.ClearToColor(ColorRGB(), true);
            break;
        default:
            break;  // the faces go over what the output held
    }
}

int32_t TileCount(float value) {
    return TruncToInt32(value * 8.0f + 2.0f);
}

void SetUpLitScene(Scene3D& scene, LinearLight& light, double ambient, const Picture& target,
                   double cameraDistance) {
    light.SetAmbient(ambient);
    scene.SetTarget(target);
    scene.AddLight(&light);
    scene.SetProjectionMatrix(Matrix3D::Perspective(cameraDistance));
}

bool ClearAtEnds(Scene3D& scene, const Picture& first, const Picture& second, double t, bool drawsStart) {
    if (drawsStart ? t < 0.0 : t <= 0.0) {
        scene.ClearToPicture(first, ColorRGB());
        return true;
    }
    if (t >= 1.0) {
        scene.ClearToPicture(second, ColorRGB());
        return true;
    }
    return false;
}

}  // namespace halcyra

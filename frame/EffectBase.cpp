// Shared effect plumbing: QueryInterface and the frames of a render.
#include "frame/EffectBase.h"

#include <algorithm>

namespace halcyra {

int32_t VideoEffectBase::QueryInterface(const Guid& iid, void** out) {
    if (SameGuid(iid, IID_IUnknown) || SameGuid(iid, IID_IVideoEffect)) {
        *out = static_cast<IVideoEffect*>(this);
        AddRef();
        return kStatusOk;
    }
    *out = nullptr;
    return kStatusNoInterface;
}

bool AttachFrame(Picture& picture, const ImageDesc* image) {
    picture.Release();
    if (image == nullptr || image->data == nullptr || image->width <= 0 || image->height <= 0 ||
        image->bytesPerPixel != 4)
        return false;
    const int64_t rowBytes = static_cast<int64_t>(image->width) * 4;
    const int64_t pitchMagnitude = image->pitch < 0 ? -static_cast<int64_t>(image->pitch) : image->pitch;
    if (image->height > 1 && pitchMagnitude < rowBytes) return false;  // rows would overlap: not a frame
    picture.AttachImage(*image);
    return true;
}

RenderFrames::RenderFrames(const ImageDesc* first, const ImageDesc* second, const ImageDesc* outputImage,
                           int32_t inputCount) {
    bool ok = AttachFrame(inputs[0], first) && AttachFrame(output, outputImage);
    width = std::min(inputs[0].width, output.width);
    height = std::min(inputs[0].height, output.height);
    if (inputCount >= 2) {
        ok = AttachFrame(inputs[1], second) && ok;
        width = std::min(width, inputs[1].width);
        height = std::min(height, inputs[1].height);
    }
    usable = ok && width > 0 && height > 0;
    if (!usable) width = height = 0;
}

float ProgressAsFloat(const RenderInfo* info) {
    return info != nullptr ? static_cast<float>(info->progress) : 0.0f;
}

float ClampProgress(const RenderInfo* info) {
    float p = ProgressAsFloat(info);
    if (p > 1.0f) p = 1.0f;
    if (p < 0.0f) p = 0.0f;
    return p;
}

double TimeOf(const RenderInfo* info) {
    return info != nullptr ? info->time : 0.0;
}

}  // namespace halcyra

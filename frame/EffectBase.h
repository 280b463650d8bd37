// What every effect class shares: the reference count and Release rule, the
// two forms of QueryInterface, names and parameter lists from data, the default
// preset answers; and, for Render, the reading of parameters through the host
// and the wrapping of the host's frames in Pictures with the working size.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "frame/EffectInterfaces.h"
#include "frame/ParameterTable.h"
#include "picture/Picture.h"
#include "picture/WorkPictureCache.h"

namespace halcyra {

struct EffectDescriptor {
    const char* displayName;
    int32_t inputCount;
    std::span<const ParameterDesc> parameters;
};

// Atomic decrement; at 1 the object is destroyed and 0 returned. Otherwise a
// fresh plain read of the count, not the value the decrement produced.
template <class Object>
uint32_t ReleaseCounted(Object* object, std::atomic<int32_t>& count) {
    if (count.fetch_sub(1) == 1) {
        delete object;
        return 0;
    }
    return static_cast<uint32_t>(count.load(std::memory_order_relaxed));
}

class VideoEffectBase : public IVideoEffect {
public:
    explicit VideoEffectBase(const EffectDescriptor& descriptor) : descriptor(descriptor) {}
    virtual ~VideoEffectBase() = default;
    VideoEffectBase(const VideoEffectBase&) = delete;
    VideoEffectBase& operator=(const VideoEffectBase&) = delete;

    // The form of 2D effects: the out pointer is not checked.
    int32_t QueryInterface(const Guid& iid, void** out) override;
    uint32_t AddRef() override { return static_cast<uint32_t>(refCount.fetch_add(1) + 1); }
    uint32_t Release() override { return ReleaseCounted(this, refCount); }
    const char* GetName() override { return descriptor.displayName; }
    int32_t GetInputCount() override { return descriptor.inputCount; }
    bool GetParameterInfo(int32_t index, ParameterInfo* info) override {
        return FillParameterInfo(descriptor.parameters, index, info);
    }
    const char* GetPresetName(int32_t) override { return nullptr; }
    bool GetPresetValue(int32_t, int32_t, void*) override { return false; }
    intptr_t ReservedEffectSlot(void*, int32_t) override { return 0; }

    int32_t ParameterCount() const { return static_cast<int32_t>(descriptor.parameters.size()); }

protected:
    std::atomic<int32_t> refCount{1};
    const EffectDescriptor& descriptor;
    WorkPictureCache workPictures;  // the heap fallback's blocks, kept between frames
};

// Reads parameters through the host with one reused record: a refused read
// leaves the previous parameter's value in it, as hosts have always seen.
class ParameterReader {
public:
    explicit ParameterReader(IVideoHost* host) : host(host) {}

    const ParameterData& Read(int32_t index, int32_t type) {
        if (host != nullptr) host->GetParameterValue(index, &record, type);
        return record.value;
    }
    float Float(int32_t index) { return Read(index, kParamFloat).number; }
    uint32_t Colour(int32_t index) { return Read(index, kParamColour).colour; }
    int32_t Choice(int32_t index) { return Read(index, kParamChoice).choice; }
    bool Bool(int32_t index) { return Read(index, kParamBool).flag != 0; }
    void Point(int32_t index, float& x, float& y) {
        const ParameterData& v = Read(index, kParamPoint);
        x = v.point[0];
        y = v.point[1];
    }

private:
    IVideoHost* host;
    ParameterValue record{};
};

// Attaches a host frame. A frame that cannot be drawn on safely (no record,
// no memory, no area, not 4 bytes a pixel) leaves the Picture empty.
bool AttachFrame(Picture& picture, const ImageDesc* image);

// The common frame of a render: the host's frames as Pictures and the working
// size, the smaller width and height of all of them. `usable` is false when any
// frame is missing or the overlap is empty; nothing may then be drawn.
struct RenderFrames {
    RenderFrames(const ImageDesc* first, const ImageDesc* second, const ImageDesc* output,
                 int32_t inputCount);

    Picture inputs[2];
    Picture output;
    int32_t width = 0;
    int32_t height = 0;
    bool usable = false;
};

float ProgressAsFloat(const RenderInfo* info);  // 0 without a record
// The progress as a float held to 0..1 (a NaN stays NaN: both tests fail).
float ClampProgress(const RenderInfo* info);
double TimeOf(const RenderInfo* info);  // 0 without a record

}  // namespace halcyra

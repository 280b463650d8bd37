// Wrapped effects: a short, localisable parameter list in front of a full inner
// effect. The wrapper holds the inner effect by value and stands in as its
// host, answering each inner parameter either from the real host under the
// shown index or with a fixed value. All ten wrappers are this one class
// template over data tables.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

#include "frame/ActivationManager.h"
#include "frame/EffectBase.h"

namespace halcyra {

// Where one inner parameter's value comes from.
struct InnerSource {
    int32_t shownIndex;  // >= 0: the real host's parameter; -1: the fixed value
    uint32_t fixedBits;  // the fixed value's bytes (a float's bit pattern, an integer or a bool)
    uint8_t fixedSize;   // 4 for floats, integers and colours; 1 for a bool
};

constexpr InnerSource Shown(int32_t index) {
    return {index, 0, 0};
}
constexpr InnerSource FixedFloat(float value) {
    return {-1, std::bit_cast<uint32_t>(value), 4};
}
constexpr InnerSource FixedInt(uint32_t value) {
    return {-1, value, 4};
}
constexpr InnerSource FixedBool(bool value) {
    return {-1, value ? 1u : 0u, 1};
}

struct WrapperDescriptor {
    const char* displayName;
    std::span<const ParameterDesc> shown;
    std::span<const InnerSource> inner;
    bool gateAfterInner = false;  // the inner effect leaves the licence gate to its wrapper
};

// The host face of every wrapper: parameter answers from the table.
bool AnswerInnerParameter(const WrapperDescriptor& descriptor, IVideoHost* outerHost, int32_t index,
                          ParameterValue* value, int32_t type);

template <class Inner>
class WrappedEffect : public IVideoEffect, public IVideoHost {
public:
    explicit WrappedEffect(const WrapperDescriptor& descriptor) : descriptor(descriptor) {}
    virtual ~WrappedEffect() = default;

    // Both faces: the same object, the same count.
    int32_t QueryInterface(const Guid& iid, void** out) override {
        if (SameGuid(iid, IID_IUnknown) || SameGuid(iid, IID_IVideoEffect)) {
            *out = static_cast<IVideoEffect*>(this);
            AddRef();
            return kStatusOk;
        }
        if (SameGuid(iid, IID_IVideoHost)) {
            *out = static_cast<IVideoHost*>(this);
            AddRef();
            return kStatusOk;
        }
        // Unknown interfaces are the real host's: this is how the inner
        // effect's allocator reaches the host's memory service.
        if (outerHost != nullptr) return outerHost->QueryInterface(iid, out);
        *out = nullptr;
        return kStatusNoInterface;
    }
    uint32_t AddRef() override { return static_cast<uint32_t>(refCount.fetch_add(1) + 1); }
    uint32_t Release() override { return ReleaseCounted(this, refCount); }

    const char* GetName() override { return descriptor.displayName; }
    int32_t GetInputCount() override { return 1; }
    bool GetParameterInfo(int32_t index, ParameterInfo* info) override {
        return FillParameterInfo(descriptor.shown, index, info);
    }
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override {
        outerHost = host;
        const bool result = inner.Render(static_cast<IVideoHost*>(this), first, second, output, info);
        if (descriptor.gateAfterInner) HandToLicenceGate(static_cast<IVideoHost*>(this), output);
        return result;
    }
    const char* GetPresetName(int32_t) override { return nullptr; }
    bool GetPresetValue(int32_t, int32_t, void*) override { return false; }
    intptr_t ReservedEffectSlot(void*, int32_t) override { return 0; }

    bool GetParameterValue(int32_t index, ParameterValue* value, int32_t type) override {
        return AnswerInnerParameter(descriptor, outerHost, index, value, type);
    }
    bool HostReservedA(int32_t a, void* b, uint8_t c) override {
        return outerHost != nullptr ? outerHost->HostReservedA(a, b, c) : false;
    }
    intptr_t HostReservedB(void* a, void* b) override {
        return outerHost != nullptr ? outerHost->HostReservedB(a, b) : 0;
    }
    bool HostReservedC(void*, void*) override { return false; }
    void HostReservedD(void*) override {}

    Inner& InnerEffect() { return inner; }
    IVideoHost* OuterHost() const { return outerHost; }

private:
    const WrapperDescriptor& descriptor;
    Inner inner;
    IVideoHost* outerHost = nullptr;  // not counted; may dangle after Render
    std::atomic<int32_t> refCount{1};
};

}  // namespace halcyra

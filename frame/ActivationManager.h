// The licence gate: one process-wide object that every finished frame is
// handed to. In this open build it lets every frame stand as drawn.
#pragma once

#include <atomic>

#include "frame/EffectInterfaces.h"

namespace halcyra {

class CActivationManager final : public IActivationManager {
public:
    int32_t QueryInterface(const Guid& iid, void** out) override;
    uint32_t AddRef() override;
    uint32_t Release() override;
    bool CheckFrame(IVideoHost* host, ImageDesc* output) override;

    // How many frames were handed over; read by tests only.
    uint64_t FramesSeen() const { return framesSeen.load(std::memory_order_relaxed); }

private:
    std::atomic<uint64_t> framesSeen{0};
};

// The one instance.
CActivationManager& ActivationManager();

// The last step of every Render that draws a frame.
inline void HandToLicenceGate(IVideoHost* host, ImageDesc* output) {
    ActivationManager().CheckFrame(host, output);
}

}  // namespace halcyra

// The open build's licence gate.
#include "frame/ActivationManager.h"

namespace halcyra {

CActivationManager& ActivationManager() {
    static CActivationManager instance;
    return instance;
}

int32_t CActivationManager::QueryInterface(const Guid& iid, void** out) {
    if (out == nullptr) return kStatusFail;
    if (SameGuid(iid, IID_IUnknown)) {
        *out = static_cast<IUnknown*>(this);
        return kStatusOk;
    }
    *out = nullptr;
    return kStatusNoInterface;
}

// A static object: its count is not kept.
uint32_t CActivationManager::AddRef() {
    return 1;
}
uint32_t CActivationManager::Release() {
    return 1;
}

bool CActivationManager::CheckFrame(IVideoHost*, ImageDesc*) {
    framesSeen.fetch_add(1, std::memory_order_relaxed);
    return true;
}

}  // namespace halcyra

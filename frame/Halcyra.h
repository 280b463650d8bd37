// CHalcyra, the library object behind IEffectLibrary.
#pragma once

#include <atomic>

#include "frame/EffectInterfaces.h"

namespace halcyra {

class CHalcyra final : public IEffectLibrary {
public:
    int32_t QueryInterface(const Guid& iid, void** out) override;
    uint32_t AddRef() override;
    uint32_t Release() override;
    const char* GetName() override;
    IVideoEffect* CreateEffect(int32_t index) override;
    void LibraryReservedA(void* pointer, int32_t value) override;
    IActivationManager* GetActivationManager() override;
    intptr_t LibraryReservedB() override;

private:
    std::atomic<int32_t> refCount{1};
};

// The module handle remembered at process attach; read by nothing else.
const void* ModuleHandle();

}  // namespace halcyra

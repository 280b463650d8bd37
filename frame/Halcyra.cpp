// The library object, the exported entry and the process-attach step.
#include "frame/Halcyra.h"

#include <dlfcn.h>

#include "frame/ActivationManager.h"
#include "frame/Catalogue.h"
#include "frame/EffectBase.h"
#include "picture/kernels/CpuClass.h"

namespace halcyra {
namespace {

const void* moduleHandle = nullptr;

// Process attach: choose the kernels' processor class and remember where the
// library was loaded. Nothing else runs at load.
__attribute__((constructor)) void AttachProcess() {
    SelectCpuClass(DetectCpuClass());
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&AttachProcess), &info) != 0) moduleHandle = info.dli_fbase;
}

}  // namespace

const void* ModuleHandle() {
    return moduleHandle;
}

int32_t CHalcyra::QueryInterface(const Guid& iid, void** out) {
    if (SameGuid(iid, IID_IUnknown) || SameGuid(iid, IID_IEffectLibrary)) {
        *out = static_cast<IEffectLibrary*>(this);
        AddRef();
        return kStatusOk;
    }
    *out = nullptr;
    return kStatusNoInterface;
}

uint32_t CHalcyra::AddRef() {
    return static_cast<uint32_t>(refCount.fetch_add(1) + 1);
}

uint32_t CHalcyra::Release() {
    return ReleaseCounted(this, refCount);
}

const char* CHalcyra::GetName() {
    return "Corvane Halcyra Suite";
}

IVideoEffect* CHalcyra::CreateEffect(int32_t index) {
    return CreateCatalogueEffect(index);
}

void CHalcyra::LibraryReservedA(void*, int32_t) {}

IActivationManager* CHalcyra::GetActivationManager() {
    return &ActivationManager();
}

intptr_t CHalcyra::LibraryReservedB() {
    return 0;
}

}  // namespace halcyra

extern "C" __attribute__((visibility("default"))) halcyra::IEffectLibrary* GetEffectsLibrary() {
    return new halcyra::CHalcyra();
}

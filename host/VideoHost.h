// The host's side of the effect contract: IVideoHost answering parameter values
// from an array, and IHostAllocator handing out row-padded heap memory.
#pragma once

#include "host/Parameters.h"

namespace halcyra::host {

// Serves 32-byte-aligned blocks and pictures with rows padded to 16 pixels.
// Stateless, so one process-wide object serves every worker thread.
class HostAllocator final : public IHostAllocator {
public:
    static HostAllocator& Instance();

    int32_t QueryInterface(const Guid& iid, void** out) override;
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    int32_t Allocate(void** out, uint32_t size) override;
    void Free(void* block) override;
    int32_t AllocatePicture(void** out, int32_t width, int32_t height, int32_t channels,
                            int32_t* pitch) override;
    void FreePicture(void* block) override;
};

// Answers GetParameterValue from a fixed set of values. Effects only read it,
// so one object may serve several threads at once. Lives on the host's stack or
// in a render plan; the counts are not used to free it.
class ParameterHost final : public IVideoHost {
public:
    ParameterHost(ParameterSet set, bool offerAllocator)
        : set(std::move(set)), offerAllocator(offerAllocator) {}

    int32_t QueryInterface(const Guid& iid, void** out) override;
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    bool GetParameterValue(int32_t index, ParameterValue* value, int32_t type) override;
    bool HostReservedA(int32_t, void*, uint8_t) override { return false; }
    intptr_t HostReservedB(void*, void*) override { return 0; }
    bool HostReservedC(void*, void*) override { return false; }
    void HostReservedD(void*) override {}

private:
    ParameterSet set;
    bool offerAllocator;
};

}  // namespace halcyra::host

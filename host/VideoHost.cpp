// IVideoHost and IHostAllocator of the command-line host.
#include "host/VideoHost.h"

#include <cstdlib>
#include <cstring>

namespace halcyra::host {

namespace {
constexpr size_t kAlignment = 32;

void* AlignedBlock(size_t size) {
    size_t rounded = (size + kAlignment - 1) / kAlignment * kAlignment;
    return std::aligned_alloc(kAlignment, rounded == 0 ? kAlignment : rounded);
}
}  // namespace

HostAllocator& HostAllocator::Instance() {
    static HostAllocator instance;
    return instance;
}

int32_t HostAllocator::QueryInterface(const Guid& iid, void** out) {
    if (!out) return kStatusFail;
    if (SameGuid(iid, IID_IUnknown) || SameGuid(iid, IID_IHostAllocator)) {
        *out = this;
        return kStatusOk;
    }
    *out = nullptr;
    return kStatusNoInterface;
}

int32_t HostAllocator::Allocate(void** out, uint32_t size) {
    if (!out) return kStatusFail;
    *out = AlignedBlock(size);
    return *out ? kStatusOk : kStatusFail;
}

void HostAllocator::Free(void* block) {
    std::free(block);
}

int32_t HostAllocator::AllocatePicture(void** out, int32_t width, int32_t height, int32_t channels,
                                       int32_t* pitch) {
    if (!out) return kStatusFail;
    *out = nullptr;
    if (!pitch || width <= 0 || height <= 0 || channels <= 0 || channels > 16) return kStatusFail;
    // Padding to whole 16-pixel groups keeps the pitch a multiple of the pixel size.
    int64_t paddedWidth = (static_cast<int64_t>(width) + 15) / 16 * 16;
    int64_t rowBytes = paddedWidth * channels;
    if (rowBytes > INT32_MAX || rowBytes * height > (int64_t{1} << 40)) return kStatusFail;
    *out = AlignedBlock(static_cast<size_t>(rowBytes * height));
    if (!*out) return kStatusFail;
    *pitch = static_cast<int32_t>(rowBytes);
    return kStatusOk;
}

void HostAllocator::FreePicture(void* block) {
    std::free(block);
}

int32_t ParameterHost::QueryInterface(const Guid& iid, void** out) {
    if (!out) return kStatusFail;
    if (SameGuid(iid, IID_IUnknown) || SameGuid(iid, IID_IVideoHost)) {
        *out = static_cast<IVideoHost*>(this);
        return kStatusOk;
    }
    if (offerAllocator && SameGuid(iid, IID_IHostAllocator)) {
        *out = static_cast<IHostAllocator*>(&HostAllocator::Instance());
        return kStatusOk;
    }
    *out = nullptr;
    return kStatusNoInterface;
}

bool ParameterHost::GetParameterValue(int32_t index, ParameterValue* value, int32_t type) {
    if (!value || index < 0 || static_cast<size_t>(index) >= set.values.size()) return false;
    value->value = set.values[index];
    value->type = type;
    return true;
}

}  // namespace halcyra::host

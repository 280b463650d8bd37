// The host-facing contract of the effect library: interfaces, identifiers and
// records exactly as a separately built host sees them (x86-64, Itanium ABI).
// This header stands alone so that it can be installed as the SDK header.
#pragma once

#include <cstddef>
#include <cstdint>

namespace halcyra {

struct Guid {
    uint32_t data1;
    uint16_t data2;
    uint16_t data3;
    uint8_t data4[8];
};
static_assert(sizeof(Guid) == 16);

inline bool SameGuid(const Guid& a, const Guid& b) {
    const auto* pa = reinterpret_cast<const uint8_t*>(&a);
    const auto* pb = reinterpret_cast<const uint8_t*>(&b);
    for (int i = 0; i < 16; ++i)
        if (pa[i] != pb[i]) return false;
    return true;
}

inline constexpr Guid IID_IUnknown = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr Guid IID_IEffectLibrary = {
    0x9B8D0B5F, 0x065A, 0x46B1, {0x88, 0x9C, 0xF0, 0x57, 0x93, 0x4C, 0xE8, 0xA4}};
inline constexpr Guid IID_IVideoEffect = {
    0x0BCF7FCD, 0x6BE5, 0x4A40, {0x9A, 0x49, 0xA6, 0x8D, 0x6B, 0xF6, 0x60, 0x26}};
inline constexpr Guid IID_IVideoHost = {
    0x4ABCB36F, 0x7FDC, 0x43E6, {0xB4, 0x5D, 0xFA, 0xD4, 0xD7, 0xAA, 0x80, 0xDD}};
inline constexpr Guid IID_IHostAllocator = {
    0x9F635B81, 0x506A, 0x4DEE, {0x9D, 0xC7, 0x9E, 0x0B, 0xAB, 0xA2, 0xD5, 0xA2}};

inline constexpr int32_t kStatusOk = 0;
inline constexpr int32_t kStatusNoInterface = static_cast<int32_t>(0x80004002u);
inline constexpr int32_t kStatusFail = static_cast<int32_t>(0x80004005u);

// Parameter type codes.
enum ParameterType : int32_t {
    kParamPoint = 0,
    kParamChoice = 1,
    kParamFloat = 2,
    kParamColour = 3,
    kParamBool = 4,
};

union ParameterData {
    float point[2];   // x, y as fractions of the frame
    int32_t choice;   // index of the chosen option
    float number;     // normalised position in the displayed range
    uint32_t colour;  // red in the lowest byte, then green, then blue
    uint8_t flag;     // 0 off, anything else on
    uint8_t bytes[8];
    uint64_t raw;
};
static_assert(sizeof(ParameterData) == 8 && alignof(ParameterData) == 8);

struct ParameterInfo {
    ParameterData value;  // default, encoded as for the type
    int32_t type;
    union {
        float minimum;
        int32_t choiceCount;
    };
    union {
        struct {
            float maximum;
            int32_t rangeExtra;
        };
        char choices[10][20];
    };
    char name[40];
    int32_t layoutPrimary;
    int32_t layoutSecondary;
    uint8_t layoutValid;
};
static_assert(sizeof(ParameterInfo) == 272);
static_assert(offsetof(ParameterInfo, value) == 0);
static_assert(offsetof(ParameterInfo, type) == 8);
static_assert(offsetof(ParameterInfo, minimum) == 12);
static_assert(offsetof(ParameterInfo, choiceCount) == 12);
static_assert(offsetof(ParameterInfo, maximum) == 16);
static_assert(offsetof(ParameterInfo, rangeExtra) == 20);
static_assert(offsetof(ParameterInfo, choices) == 16);
static_assert(offsetof(ParameterInfo, name) == 216);
static_assert(offsetof(ParameterInfo, layoutPrimary) == 256);
static_assert(offsetof(ParameterInfo, layoutSecondary) == 260);
static_assert(offsetof(ParameterInfo, layoutValid) == 264);

struct ParameterValue {
    ParameterData value;
    int32_t type;
};
static_assert(sizeof(ParameterValue) == 16);
static_assert(offsetof(ParameterValue, value) == 0);
static_assert(offsetof(ParameterValue, type) == 8);

struct ImageDesc {
    void* data;  // first byte of row 0; rows follow at data + pitch * row
    int32_t width;
    int32_t height;
    int32_t pitch;  // may be negative
    int32_t bytesPerPixel;
    int32_t reservedA;
    int32_t reservedB;
    int32_t format;
};
static_assert(sizeof(ImageDesc) == 40);
static_assert(offsetof(ImageDesc, data) == 0);
static_assert(offsetof(ImageDesc, width) == 8);
static_assert(offsetof(ImageDesc, height) == 12);
static_assert(offsetof(ImageDesc, pitch) == 16);
static_assert(offsetof(ImageDesc, bytesPerPixel) == 20);
static_assert(offsetof(ImageDesc, reservedA) == 24);
static_assert(offsetof(ImageDesc, reservedB) == 28);
static_assert(offsetof(ImageDesc, format) == 32);

struct RenderInfo {
    uint8_t reserved0[8];
    double progress;  // 0 at the start of the effect, 1 at the end
    double time;      // seconds
    uint8_t reserved1[20];
    int16_t fieldMode;  // 3: the frame has its full height
};
static_assert(sizeof(RenderInfo) == 48);
static_assert(offsetof(RenderInfo, progress) == 8);
static_assert(offsetof(RenderInfo, time) == 16);
static_assert(offsetof(RenderInfo, reserved1) == 24);
static_assert(offsetof(RenderInfo, fieldMode) == 44);

// Interfaces: pure virtual tables in the order of their slots, no destructors.
class IUnknown {
public:
    virtual int32_t QueryInterface(const Guid& iid, void** out) = 0;
    virtual uint32_t AddRef() = 0;
    virtual uint32_t Release() = 0;
};

class IVideoEffect;
class IActivationManager;

class IEffectLibrary : public IUnknown {
public:
    virtual const char* GetName() = 0;
    virtual IVideoEffect* CreateEffect(int32_t index) = 0;
    virtual void LibraryReservedA(void* pointer, int32_t value) = 0;
    virtual IActivationManager* GetActivationManager() = 0;
    virtual intptr_t LibraryReservedB() = 0;
};

class IVideoHost : public IUnknown {
public:
    virtual bool GetParameterValue(int32_t index, ParameterValue* value, int32_t type) = 0;
    virtual bool HostReservedA(int32_t value, void* pointer, uint8_t flag) = 0;
    virtual intptr_t HostReservedB(void* a, void* b) = 0;
    virtual bool HostReservedC(void* a, void* b) = 0;
    virtual void HostReservedD(void* pointer) = 0;
};

class IVideoEffect : public IUnknown {
public:
    virtual const char* GetName() = 0;
    virtual int32_t GetInputCount() = 0;
    virtual bool GetParameterInfo(int32_t index, ParameterInfo* info) = 0;
    virtual bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                        RenderInfo* info) = 0;
    virtual const char* GetPresetName(int32_t preset) = 0;
    virtual bool GetPresetValue(int32_t preset, int32_t parameter, void* value) = 0;
    virtual intptr_t ReservedEffectSlot(void* pointer, int32_t value) = 0;
};

class IHostAllocator : public IUnknown {
public:
    virtual int32_t Allocate(void** out, uint32_t size) = 0;
    virtual void Free(void* block) = 0;
    virtual int32_t AllocatePicture(void** out, int32_t width, int32_t height, int32_t channels,
                                    int32_t* pitch) = 0;
    virtual void FreePicture(void* block) = 0;
};

// The licence gate. In this build it lets every frame stand as drawn.
class IActivationManager : public IUnknown {
public:
    virtual bool CheckFrame(IVideoHost* host, ImageDesc* output) = 0;
};

}  // namespace halcyra

// The one exported entry of the library.
extern "C" halcyra::IEffectLibrary* GetEffectsLibrary();
using GetEffectsLibraryFunction = halcyra::IEffectLibrary* (*)();

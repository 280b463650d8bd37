// A stand-in libhalcyra.so for the host tests: a few effects with simple,
// exactly predictable output, so the host is tested apart from the real
// effects. Row 2 is missing on purpose, as unfinished rows are in the library.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <vector>

#include "frame/EffectInterfaces.h"

namespace halcyra::fake {

namespace {

struct ParameterRow {
    const char* name;
    int32_t type;
    ParameterData value;
    float minimum;
    float maximum;
    std::vector<const char*> choices;
};

// One reference count for the object, which answers to IUnknown and `kOwn`.
template <class Face, const Guid& kOwn>
class Counted : public Face {
public:
    virtual ~Counted() = default;
    int32_t QueryInterface(const Guid& iid, void** out) override {
        *out = SameGuid(iid, IID_IUnknown) || SameGuid(iid, kOwn) ? this : nullptr;
        if (*out == nullptr) return kStatusNoInterface;
        AddRef();
        return kStatusOk;
    }
    uint32_t AddRef() override { return ++count; }
    uint32_t Release() override {
        if (count.fetch_sub(1) == 1) {
            delete this;
            return 0;
        }
        return count.load();
    }

private:
    std::atomic<uint32_t> count{1};
};

class EffectBase : public Counted<IVideoEffect, IID_IVideoEffect> {
public:
    bool GetParameterInfo(int32_t index, ParameterInfo* info) override {
        const std::vector<ParameterRow>& rows = Rows();
        if (index < 0 || static_cast<size_t>(index) >= rows.size()) return false;
        const ParameterRow& row = rows[index];
        info->value = row.value;
        info->type = row.type;
        if (row.type == kParamFloat) info->minimum = row.minimum, info->maximum = row.maximum;
        if (row.type == kParamChoice) info->choiceCount = static_cast<int32_t>(row.choices.size());
        for (size_t i = 0; i < row.choices.size(); ++i) std::strcpy(info->choices[i], row.choices[i]);
        std::strcpy(info->name, row.name);
        return true;
    }
    const char* GetPresetName(int32_t) override { return nullptr; }
    bool GetPresetValue(int32_t, int32_t, void*) override { return false; }
    intptr_t ReservedEffectSlot(void*, int32_t) override { return 0; }

protected:
    virtual const std::vector<ParameterRow>& Rows() const = 0;
    // Reads every parameter the way the library's effects do: one call each.
    std::vector<ParameterData> ReadAll(IVideoHost* host) {
        std::vector<ParameterData> values;
        ParameterValue value{};
        for (size_t i = 0; i < Rows().size(); ++i) {
            host->GetParameterValue(static_cast<int32_t>(i), &value, Rows()[i].type);
            values.push_back(value.value);
        }
        return values;
    }
    static void CopyOverlap(const ImageDesc* in, ImageDesc* out) {
        int w = in->width < out->width ? in->width : out->width;
        int h = in->height < out->height ? in->height : out->height;
        for (int y = 0; y < h; ++y)
            std::memcpy(static_cast<uint8_t*>(out->data) + static_cast<ptrdiff_t>(y) * out->pitch,
                        static_cast<const uint8_t*>(in->data) + static_cast<ptrdiff_t>(y) * in->pitch,
                        static_cast<size_t>(w) * 4);
    }
};

// Transition: a 256ths mix, exactly the first picture at 0 and the second at 1.
class FakeMix final : public EffectBase {
public:
    const char* GetName() override { return "Corvane Fake Mix"; }
    int32_t GetInputCount() override { return 2; }
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override {
        ReadAll(host);
        double p = info->progress < 0 ? 0 : info->progress > 1 ? 1 : info->progress;
        int weight = static_cast<int>(p * 256 + 0.5);
        int w = std::min({first->width, second->width, output->width});
        int h = std::min({first->height, second->height, output->height});
        for (int y = 0; y < h; ++y) {
            auto* a = static_cast<const uint8_t*>(first->data) + static_cast<ptrdiff_t>(y) * first->pitch;
            auto* b = static_cast<const uint8_t*>(second->data) + static_cast<ptrdiff_t>(y) * second->pitch;
            auto* o = static_cast<uint8_t*>(output->data) + static_cast<ptrdiff_t>(y) * output->pitch;
            for (int i = 0; i < w * 4; ++i)
                o[i] = static_cast<uint8_t>((a[i] * (256 - weight) + b[i] * weight) >> 8);
        }
        return true;
    }

private:
    const std::vector<ParameterRow>& Rows() const override {
        static const std::vector<ParameterRow> rows = {
            {"Softness", kParamFloat, {.number = 0.2f}, 0, 10, {}}};
        return rows;
    }
};

// Filter that reports what it was given: the raw 8 bytes of each parameter,
// progress, time and whether the host offered its allocator, spread over the
// blue, green and red bytes of row 0 (alpha is not kept by every output).
class FakeProbe final : public EffectBase {
public:
    const char* GetName() override { return "Probe HY"; }
    int32_t GetInputCount() override { return 1; }
    const char* GetPresetName(int32_t preset) override {
        static const char* names[] = {"Gentle", "Wild"};
        return preset >= 0 && preset < 2 ? names[preset] : nullptr;
    }
    bool GetPresetValue(int32_t preset, int32_t parameter, void* value) override {
        if (preset < 0 || preset > 1 || parameter < 0 || parameter >= static_cast<int32_t>(Rows().size()))
            return false;
        ParameterData data = Rows()[parameter].value;
        if (preset == 1 && parameter == 0) data.number = 1.0f;
        if (preset == 1 && parameter == 5) data.flag = 1;
        std::memcpy(value, &data, 8);
        return true;
    }
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc*, ImageDesc* output,
                RenderInfo* info) override {
        void* allocator = nullptr;
        bool offered = host->QueryInterface(IID_IHostAllocator, &allocator) == kStatusOk && allocator;
        if (offered) static_cast<IHostAllocator*>(allocator)->Release();
        std::vector<uint8_t> record;
        for (const ParameterData& value : ReadAll(host))
            record.insert(record.end(), value.bytes, value.bytes + 8);
        const auto* progress = reinterpret_cast<const uint8_t*>(&info->progress);
        const auto* time = reinterpret_cast<const uint8_t*>(&info->time);
        record.insert(record.end(), progress, progress + 8);
        record.insert(record.end(), time, time + 8);
        record.push_back(offered ? 1 : 0);
        record.push_back(static_cast<uint8_t>(info->fieldMode));
        CopyOverlap(first, output);
        if (output->width * 3 < static_cast<int>(record.size()) || output->height < 1) return true;
        auto* row = static_cast<uint8_t*>(output->data);
        for (size_t i = 0; i < record.size(); ++i) row[(i / 3) * 4 + i % 3] = record[i];
        return true;
    }

private:
    const std::vector<ParameterRow>& Rows() const override {
        static const std::vector<ParameterRow> rows = {
            {"$$$/CV/Strength=Strength", kParamFloat, {.number = 0.5f}, -100, 100, {}},
            {"$$$/CV/Angle=Angle", kParamFloat, {.number = 0.25f}, 0, 360, {}},
            {"$$$/CV/Color=Color", kParamColour, {.colour = 0x0000FE}, 0, 0, {}},
            {"$$$/CV/Center=Center", kParamPoint, {.point = {0.5f, 0.5f}}, 0, 0, {}},
            {"$$$/CV/Background=Background",
             kParamChoice,
             {},
             0,
             0,
             {"First picture", "Second picture", "Black"}},
            {"$$$/CV/Rotate=Rotate", kParamBool, {}, 0, 0, {}},
        };
        return rows;
    }
};

// Keeps state from frame to frame: frame n (counted from 1 on this object)
// has n added to every blue byte. Deliberately not thread-safe.
class FakeEarthquake final : public EffectBase {
public:
    const char* GetName() override { return "Earthquake HY"; }
    int32_t GetInputCount() override { return 1; }
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc*, ImageDesc* output, RenderInfo*) override {
        ReadAll(host);
        ++frames;
        CopyOverlap(first, output);
        int w = std::min(first->width, output->width), h = std::min(first->height, output->height);
        for (int y = 0; y < h; ++y) {
            auto* o = static_cast<uint8_t*>(output->data) + static_cast<ptrdiff_t>(y) * output->pitch;
            for (int x = 0; x < w; ++x) o[x * 4] = static_cast<uint8_t>(o[x * 4] + frames);
        }
        return true;
    }

private:
    const std::vector<ParameterRow>& Rows() const override {
        static const std::vector<ParameterRow> rows = {
            {"$$$/CV/Magnitude=Magnitude", kParamFloat, {.number = 0.835f}, 0, 100, {}}};
        return rows;
    }
    int frames = 0;
};

class FakeLibrary final : public Counted<IEffectLibrary, IID_IEffectLibrary> {
public:
    const char* GetName() override { return "Fake Effects"; }
    IVideoEffect* CreateEffect(int32_t index) override {
        switch (index) {
            case 0:
                return new FakeMix;
            case 1:
                return new FakeProbe;
            case 3:
                return new FakeEarthquake;
            default:
                return nullptr;
        }
    }
    void LibraryReservedA(void*, int32_t) override {}
    IActivationManager* GetActivationManager() override { return nullptr; }
    intptr_t LibraryReservedB() override { return 0; }
};

}  // namespace

}  // namespace halcyra::fake

extern "C" __attribute__((visibility("default"))) halcyra::IEffectLibrary* GetEffectsLibrary() {
    return new halcyra::fake::FakeLibrary;
}

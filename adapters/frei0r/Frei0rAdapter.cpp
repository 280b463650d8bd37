// One catalogue row as a frei0r plugin. The plugin is a host like any other:
// it finds libhalcyra.so beside itself or one folder up, opens it with dlopen
// and speaks only the SDK interfaces. Parameters keep the library's own
// encoding inside an instance; the conversion to frei0r's doubles, colours and
// positions happens only where a host sets or reads a value.
#include "adapters/frei0r/Frei0rAdapter.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "frame/EffectInterfaces.h"
#include "picture/kernels/Numerics.h"

namespace halcyra::frei0r {

namespace {

// A bound keeps a misbehaving library from looping us forever.
constexpr int32_t kParameterLimit = 256;
constexpr int32_t kMaxChoices = 10;

struct Parameter {
    bool isProgress = false;
    ParameterInfo info{};  // the effect's record; unused for the progress
    int frei0rType = F0R_PARAM_DOUBLE;
    std::string name;
    std::string explanation;
};

// What every instance of this plugin shares, set up by the first Init.
struct PluginState {
    std::mutex mutex;
    int initCount = 0;
    int liveInstances = 0;
    void* handle = nullptr;
    IEffectLibrary* library = nullptr;
    int32_t row = -1;
    std::string name;
    std::string explanation;
    int32_t inputCount = 0;
    std::vector<Parameter> parameters;  // frei0r order: the progress, then the effect's
};

PluginState& State() {
    static PluginState state;
    return state;
}

class Instance final : public IVideoHost {
public:
    int32_t QueryInterface(const Guid& iid, void** out) override {
        if (!out) return kStatusFail;
        if (SameGuid(iid, IID_IUnknown) || SameGuid(iid, IID_IVideoHost)) {
            *out = static_cast<IVideoHost*>(this);
            return kStatusOk;
        }
        *out = nullptr;
        return kStatusNoInterface;
    }
    // The adapter owns the instance; the effect only borrows it during Render.
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    bool GetParameterValue(int32_t index, ParameterValue* value, int32_t type) override {
        if (!value || index < 0 || static_cast<size_t>(index) >= values.size()) return false;
        value->value = values[static_cast<size_t>(index)];
        value->type = type;
        return true;
    }
    bool HostReservedA(int32_t, void*, uint8_t) override { return false; }
    intptr_t HostReservedB(void*, void*) override { return 0; }
    bool HostReservedC(void*, void*) override { return false; }
    void HostReservedD(void*) override {}

    IVideoEffect* effect = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    double progress = 0.5;
    std::vector<ParameterData> values;  // the effect's encoding, one per effect parameter
    std::vector<uint8_t> scratch;       // output when a host hands us an input to write into
};

std::string FormatNumber(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%g", value);
    return buffer;
}

std::string FixedText(const char* field, size_t capacity) {
    return std::string(field, strnlen(field, capacity));
}

// Localisation strings "$$$/KEY=Default text": a host shows the default text.
std::string ShownName(const std::string& raw) {
    if (raw.rfind("$$$/", 0) == 0) {
        size_t equals = raw.find('=');
        if (equals != std::string::npos) return raw.substr(equals + 1);
    }
    return raw;
}

int32_t ChoiceCount(const ParameterInfo& info) {
    return ClampInt(info.choiceCount, 1, kMaxChoices);
}

Parameter DescribeProgress(bool transition) {
    Parameter progress;
    progress.isProgress = true;
    progress.name = "Progress";
    progress.explanation = transition ? "Position in the transition: 0 at its start, 1 at its end"
                                      : "Position in the effect: 0 at its start, 1 at its end";
    return progress;
}

Parameter DescribeParameter(const ParameterInfo& info, int frei0rIndex) {
    Parameter parameter;
    parameter.info = info;
    parameter.name = ShownName(FixedText(info.name, sizeof info.name));
    if (parameter.name.empty()) parameter.name = "Parameter " + std::to_string(frei0rIndex + 1);
    switch (info.type) {
        case kParamFloat:
            parameter.frei0rType = F0R_PARAM_DOUBLE;
            parameter.explanation =
                "0 .. 1 spans " + FormatNumber(info.minimum) + " .. " + FormatNumber(info.maximum);
            break;
        case kParamBool:
            parameter.frei0rType = F0R_PARAM_BOOL;
            parameter.explanation = "On or off";
            break;
        case kParamColour:
            parameter.frei0rType = F0R_PARAM_COLOR;
            parameter.explanation = "Colour";
            break;
        case kParamPoint:
            parameter.frei0rType = F0R_PARAM_POSITION;
            parameter.explanation = "Fractions of the frame, 0,0 at the top left";
            break;
        case kParamChoice: {
            parameter.frei0rType = F0R_PARAM_DOUBLE;
            const int32_t count = ChoiceCount(info);
            std::string options;
            for (int32_t i = 0; i < count; ++i) {
                // An option may run on into the next field; read to the end of the array.
                std::string option = FixedText(info.choices[i], sizeof info.choices - 20 * i);
                if (option.empty()) option = "option " + std::to_string(i + 1);
                options += (i ? ", " : "") + option + " (" +
                           FormatNumber(count > 1 ? static_cast<double>(i) / (count - 1) : 0.0) + ")";
            }
            parameter.explanation = "One of: " + options + "; values between pick the nearest";
            break;
        }
        default:
            // A type this adapter does not know: shown as a number the effect reads unchanged.
            parameter.frei0rType = F0R_PARAM_DOUBLE;
            parameter.explanation = "Unknown kind";
            break;
    }
    return parameter;
}

std::string PluginDirectory() {
    Dl_info where{};
    if (dladdr(reinterpret_cast<void*>(&PluginDirectory), &where) == 0 || !where.dli_fname) return {};
    std::string file = where.dli_fname;
    size_t slash = file.rfind('/');
    return slash == std::string::npos ? std::string(".") : file.substr(0, slash);
}

// Beside the plugin (a private folder) or one up (lib/frei0r-1/ under lib/).
void* OpenLibrary() {
    const std::string directory = PluginDirectory();
    if (directory.empty()) return nullptr;
    const char* names[] = {"libhalcyra.so", HALCYRA_FREI0R_SONAME};
    for (const char* folder : {"/", "/../"}) {
        for (const char* name : names) {
            const std::string candidate = directory + folder + name;
            if (access(candidate.c_str(), F_OK) != 0) continue;
            if (void* handle = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL)) return handle;
        }
    }
    return nullptr;
}

// Called with the mutex held, when no instance is left.
void Unload(PluginState& state) {
    if (state.library) state.library->Release();
    if (state.handle) dlclose(state.handle);
    state.library = nullptr;
    state.handle = nullptr;
    state.row = -1;
    state.name.clear();
    state.explanation.clear();
    state.inputCount = 0;
    state.parameters.clear();
}

bool Load(PluginState& state, int32_t row) {
    state.handle = OpenLibrary();
    if (!state.handle) return false;
    auto entry = reinterpret_cast<GetEffectsLibraryFunction>(dlsym(state.handle, "GetEffectsLibrary"));
    state.library = entry ? entry() : nullptr;
    IVideoEffect* effect = state.library ? state.library->CreateEffect(row) : nullptr;
    if (!effect) return false;
    state.row = row;
    const char* name = effect->GetName();
    state.name = name ? name : "Halcyra " + std::to_string(row);
    state.inputCount = effect->GetInputCount();
    const bool transition = state.inputCount >= 2;
    state.explanation =
        transition ? "Halcyra transition between two clips, moved by Progress" : "Halcyra filter on one clip";
    state.parameters.push_back(DescribeProgress(transition));
    for (int32_t index = 0; index < kParameterLimit; ++index) {
        ParameterInfo info;
        std::memset(&info, 0, sizeof info);
        if (!effect->GetParameterInfo(index, &info)) break;
        state.parameters.push_back(DescribeParameter(info, static_cast<int>(state.parameters.size())));
    }
    effect->Release();
    return true;
}

// Values a host sends outside 0..1 are held at the nearer end; NaN gives false
// and leaves the parameter as it was.
bool UnitInterval(double value, double& out) {
    if (std::isnan(value)) return false;
    out = value < 0.0 ? 0.0 : (value > 1.0 ? 1.0 : value);
    return true;
}

// Halves round up: 0.5 of a 0..1 colour channel is 128.
void SetColourByte(uint32_t& colour, int shift, float channel) {
    double unit = 0.0;
    if (!UnitInterval(channel, unit)) return;
    const auto byte = static_cast<uint32_t>(TruncToInt32(unit * 255.0 + 0.5));
    colour = (colour & ~(0xFFu << shift)) | (byte << shift);
}

void SetEffectValue(const Parameter& parameter, ParameterData& data, const void* param) {
    const ParameterInfo& info = parameter.info;
    double unit = 0.0;
    switch (info.type) {
        case kParamFloat:
            if (UnitInterval(*static_cast<const double*>(param), unit))
                data.number = static_cast<float>(unit);
            break;
        case kParamBool:
            data.flag = *static_cast<const double*>(param) >= 0.5 ? 1 : 0;
            break;
        case kParamColour: {
            const auto* colour = static_cast<const f0r_param_color_t*>(param);
            SetColourByte(data.colour, 0, colour->r);
            SetColourByte(data.colour, 8, colour->g);
            SetColourByte(data.colour, 16, colour->b);
            break;
        }
        case kParamPoint: {
            // frei0r frames start at the top row; the effects measure y upward.
            const auto* position = static_cast<const f0r_param_position_t*>(param);
            if (UnitInterval(position->x, unit)) data.point[0] = static_cast<float>(unit);
            if (UnitInterval(position->y, unit)) data.point[1] = static_cast<float>(1.0 - unit);
            break;
        }
        case kParamChoice:
            if (UnitInterval(*static_cast<const double*>(param), unit))
                data.choice = TruncToInt32(unit * (ChoiceCount(info) - 1) + 0.5);
            break;
        default:
            break;
    }
}

void GetEffectValue(const Parameter& parameter, const ParameterData& data, void* param) {
    const ParameterInfo& info = parameter.info;
    switch (info.type) {
        case kParamFloat:
            *static_cast<double*>(param) = data.number;
            break;
        case kParamBool:
            *static_cast<double*>(param) = data.flag ? 1.0 : 0.0;
            break;
        case kParamColour: {
            auto* colour = static_cast<f0r_param_color_t*>(param);
            colour->r = static_cast<float>(data.colour & 0xFF) / 255.0f;
            colour->g = static_cast<float>((data.colour >> 8) & 0xFF) / 255.0f;
            colour->b = static_cast<float>((data.colour >> 16) & 0xFF) / 255.0f;
            break;
        }
        case kParamPoint: {
            auto* position = static_cast<f0r_param_position_t*>(param);
            position->x = data.point[0];
            position->y = 1.0 - static_cast<double>(data.point[1]);
            break;
        }
        case kParamChoice: {
            const int32_t count = ChoiceCount(info);
            *static_cast<double*>(param) = count > 1 ? static_cast<double>(data.choice) / (count - 1) : 0.0;
            break;
        }
        default:
            *static_cast<double*>(param) = 0.0;
            break;
    }
}

// Opaque black under what the effect draws: not every effect covers the whole
// output, and a host's buffer may hold an old frame.
void KernelFillOpaqueBlack(uint8_t* pixels, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        pixels[4 * i] = 0;
        pixels[4 * i + 1] = 0;
        pixels[4 * i + 2] = 0;
        pixels[4 * i + 3] = 255;
    }
}

bool Overlaps(const void* a, const void* b, size_t bytes) {
    const auto x = reinterpret_cast<uintptr_t>(a);
    const auto y = reinterpret_cast<uintptr_t>(b);
    return x < y + bytes && y < x + bytes;
}

ImageDesc Describe(const void* data, int32_t width, int32_t height) {
    ImageDesc desc{};
    // The library never writes its inputs; the record simply has no const form.
    desc.data = const_cast<void*>(data);
    desc.width = width;
    desc.height = height;
    desc.pitch = width * 4;
    desc.bytesPerPixel = 4;
    return desc;
}

}  // namespace

int Init(int32_t row) {
    PluginState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    if (state.library) {
        if (state.row != row) return 0;
        ++state.initCount;
        return 1;
    }
    if (!Load(state, row)) {
        Unload(state);
        return 0;
    }
    state.initCount = 1;
    return 1;
}

void Deinit() {
    PluginState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    if (state.initCount == 0) return;
    --state.initCount;
    // Instances a host forgot keep the library: their code must stay mapped.
    if (state.initCount == 0 && state.liveInstances == 0) Unload(state);
}

void GetPluginInfo(f0r_plugin_info_t* info, const char* fallbackName) {
    if (!info) return;
    const PluginState& state = State();
    const bool loaded = state.library != nullptr;
    info->name = loaded ? state.name.c_str() : fallbackName;
    info->author = "Halcyra";
    info->plugin_type = loaded && state.inputCount >= 2 ? F0R_PLUGIN_TYPE_MIXER2 : F0R_PLUGIN_TYPE_FILTER;
    info->color_model = F0R_COLOR_MODEL_BGRA8888;
    info->frei0r_version = FREI0R_MAJOR_VERSION;
    info->major_version = HALCYRA_VERSION_MAJOR;
    info->minor_version = HALCYRA_VERSION_MINOR;
    info->num_params = loaded ? static_cast<int>(state.parameters.size()) : 0;
    info->explanation = loaded ? state.explanation.c_str()
                               : "libhalcyra.so was not found beside this plugin or one folder up";
}

void GetParamInfo(f0r_param_info_t* info, int index) {
    const PluginState& state = State();
    if (!info || index < 0 || static_cast<size_t>(index) >= state.parameters.size()) return;
    const Parameter& parameter = state.parameters[static_cast<size_t>(index)];
    info->name = parameter.name.c_str();
    info->type = parameter.frei0rType;
    info->explanation = parameter.explanation.c_str();
}

f0r_instance_t Construct(unsigned int width, unsigned int height) {
    // Rows of width * 4 bytes must fit the record's 32-bit pitch.
    if (width == 0 || height == 0 || width > INT32_MAX / 4 || height > INT32_MAX) return nullptr;
    PluginState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    if (!state.library) return nullptr;
    auto* instance = new (std::nothrow) Instance;
    if (!instance) return nullptr;
    instance->effect = state.library->CreateEffect(state.row);
    if (!instance->effect) {
        delete instance;
        return nullptr;
    }
    instance->width = static_cast<int32_t>(width);
    instance->height = static_cast<int32_t>(height);
    for (const Parameter& parameter : state.parameters)
        if (!parameter.isProgress) instance->values.push_back(parameter.info.value);
    ++state.liveInstances;
    return instance;
}

void Destruct(f0r_instance_t handle) {
    auto* instance = static_cast<Instance*>(handle);
    if (!instance) return;
    PluginState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    instance->effect->Release();
    delete instance;
    --state.liveInstances;
    if (state.initCount == 0 && state.liveInstances == 0) Unload(state);
}

void SetParamValue(f0r_instance_t handle, f0r_param_t param, int index) {
    auto* instance = static_cast<Instance*>(handle);
    const PluginState& state = State();
    if (!instance || !param || index < 0 || static_cast<size_t>(index) >= state.parameters.size()) return;
    const Parameter& parameter = state.parameters[static_cast<size_t>(index)];
    if (parameter.isProgress) {
        const double progress = *static_cast<const double*>(param);
        if (!std::isnan(progress)) instance->progress = progress;
        return;
    }
    SetEffectValue(parameter, instance->values[static_cast<size_t>(index - 1)], param);
}

void GetParamValue(f0r_instance_t handle, f0r_param_t param, int index) {
    auto* instance = static_cast<Instance*>(handle);
    const PluginState& state = State();
    if (!instance || !param || index < 0 || static_cast<size_t>(index) >= state.parameters.size()) return;
    const Parameter& parameter = state.parameters[static_cast<size_t>(index)];
    if (parameter.isProgress) {
        *static_cast<double*>(param) = instance->progress;
        return;
    }
    GetEffectValue(parameter, instance->values[static_cast<size_t>(index - 1)], param);
}

void Update(f0r_instance_t handle, double time, const uint32_t* first, const uint32_t* second,
            uint32_t* output) {
    auto* instance = static_cast<Instance*>(handle);
    if (!instance || !first || !output) return;
    if (!second) second = first;
    const size_t pixelCount = static_cast<size_t>(instance->width) * static_cast<size_t>(instance->height);
    const size_t bytes = pixelCount * 4;
    // The effects read their inputs while they write: an output that shares
    // memory with an input is drawn aside and copied over at the end.
    const bool inPlace = Overlaps(output, first, bytes) || Overlaps(output, second, bytes);
    uint8_t* target = reinterpret_cast<uint8_t*>(output);
    if (inPlace) {
        instance->scratch.resize(bytes);
        target = instance->scratch.data();
    }
    KernelFillOpaqueBlack(target, pixelCount);
    ImageDesc firstDesc = Describe(first, instance->width, instance->height);
    ImageDesc secondDesc = Describe(second, instance->width, instance->height);
    ImageDesc outputDesc = Describe(target, instance->width, instance->height);
    RenderInfo info{};
    info.progress = instance->progress;
    info.time = time;
    info.fieldMode = 3;
    // A frame the effect refuses passes the first clip through rather than a black hole.
    if (!instance->effect->Render(instance, &firstDesc, &secondDesc, &outputDesc, &info))
        std::memmove(target, first, bytes);
    if (inPlace) std::memcpy(output, target, bytes);
}

}  // namespace halcyra::frei0r

// The frei0r plugins as a frei0r host sees them: each is opened with dlopen and
// driven only through its f0r_* entry points. What they draw is compared byte
// for byte with the same effect rendered directly through libhalcyra.so, with
// the values the frei0r ones must become. With an ffmpeg binary on the
// machine, its frei0r filter renders a frame through a plugin too.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <vector>

extern "C" {
#include <frei0r.h>
}

#include "frame/EffectInterfaces.h"

using namespace halcyra;

namespace {

constexpr int32_t kSpin = 4;           // empty parameter and option names
constexpr int32_t kCheckerBoard = 11;  // every parameter kind
constexpr int32_t kColorize = 24;      // a filter with colours
constexpr int32_t kShearenergy = 30;   // a filter with a position
constexpr int32_t kActivecamera = 32;  // a filter that follows the clock

std::string PluginFile(int32_t row) {
    std::string list = HALCYRA_FREI0R_PLUGIN_FILES;
    size_t start = 0;
    for (int32_t i = 0; i < row; ++i) start = list.find(':', start) + 1;
    return list.substr(start, list.find(':', start) - start);
}

// The entry points a host resolves, held in members named like the functions.
// clang-format off
#define FREI0R_ENTRY_POINTS(X) \
    X(f0r_init) X(f0r_deinit) X(f0r_get_plugin_info) X(f0r_get_param_info) X(f0r_construct) \
    X(f0r_destruct) X(f0r_set_param_value) X(f0r_get_param_value) X(f0r_update) X(f0r_update2)
// clang-format on

struct Plugin {
    explicit Plugin(const std::string& path) : handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
#define BIND(name) \
    name = reinterpret_cast<decltype(name)>(handle ? dlsym(handle, #name) : nullptr), ok = ok && name;
        FREI0R_ENTRY_POINTS(BIND)
#undef BIND
        initialised = ok && f0r_init() == 1;
    }
    explicit Plugin(int32_t row) : Plugin(PluginFile(row)) {}
    ~Plugin() {
        if (initialised) f0r_deinit();
    }
    f0r_plugin_info_t Info() const {
        f0r_plugin_info_t info{};
        f0r_get_plugin_info(&info);
        return info;
    }
    f0r_param_info_t Param(int index) const {
        f0r_param_info_t info{};
        f0r_get_param_info(&info, index);
        return info;
    }
    void* handle;
    bool ok = true, initialised = false;
#define MEMBER(name) decltype(&::name) name;
    FREI0R_ENTRY_POINTS(MEMBER)
#undef MEMBER
};

IEffectLibrary* Library() {
    static IEffectLibrary* library = [] {
        void* handle = dlopen(HALCYRA_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
        auto entry =
            reinterpret_cast<GetEffectsLibraryFunction>(handle ? dlsym(handle, "GetEffectsLibrary") : 0);
        return entry ? entry() : nullptr;
    }();
    return library;
}

std::vector<ParameterInfo> Records(int32_t row) {
    IVideoEffect* effect = Library()->CreateEffect(row);
    std::vector<ParameterInfo> records;
    for (ParameterInfo info{}; effect->GetParameterInfo(static_cast<int32_t>(records.size()), &info);
         info = {})
        records.push_back(info);
    effect->Release();
    return records;
}

class DirectHost final : public IVideoHost {
public:
    int32_t QueryInterface(const Guid&, void** out) override { return *out = nullptr, kStatusNoInterface; }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    bool GetParameterValue(int32_t index, ParameterValue* value, int32_t type) override {
        if (index < 0 || static_cast<size_t>(index) >= values.size()) return false;
        *value = {values[static_cast<size_t>(index)], type};
        return true;
    }
    bool HostReservedA(int32_t, void*, uint8_t) override { return false; }
    intptr_t HostReservedB(void*, void*) override { return 0; }
    bool HostReservedC(void*, void*) override { return false; }
    void HostReservedD(void*) override {}
    std::vector<ParameterData> values;
};

using Pixels = std::vector<uint32_t>;

Pixels Pattern(int32_t w, int32_t h, uint32_t seed) {
    std::mt19937 random(seed);
    Pixels pixels(static_cast<size_t>(w) * static_cast<size_t>(h));
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = (random() & 0x3F3F3F3Fu) + static_cast<uint32_t>(i) * 0x01030205u;
    return pixels;
}

// The reference: the effect through the SDK, over opaque black.
Pixels RenderDirect(int32_t row, const std::vector<ParameterData>& values, double progress, double time,
                    const Pixels& a, const Pixels& b, int32_t w, int32_t h) {
    auto desc = [w, h](const Pixels& p) {
        return ImageDesc{const_cast<uint32_t*>(p.data()), w, h, w * 4, 4, 0, 0, 0};
    };
    IVideoEffect* effect = Library()->CreateEffect(row);
    DirectHost host;
    host.values = values;
    Pixels out(a.size(), 0xFF000000u);
    ImageDesc first = desc(a), second = desc(b), output = desc(out);
    RenderInfo info{};
    info.progress = progress;
    info.time = time;
    info.fieldMode = 3;
    EXPECT_TRUE(effect->Render(&host, &first, &second, &output, &info));
    effect->Release();
    return out;
}

// A frei0r value away from the default for each kind, and the encoding the effect must read.
struct Setting {
    union {
        double number;
        f0r_param_color_t colour;
        f0r_param_position_t position;
    } sent;
    ParameterData expected;
};

Setting ChangedValue(const ParameterInfo& info, size_t index) {
    Setting s{{0.0}, info.value};
    const int32_t last = info.choiceCount - 1;
    switch (info.type) {
        case kParamFloat:
            s.sent.number = index % 2 ? 0.25 : 0.75;
            s.expected.number = static_cast<float>(s.sent.number);
            break;
        case kParamBool:
            s.sent.number = info.value.flag ? 0.0 : 1.0;
            s.expected.flag = !info.value.flag;
            break;
        case kParamColour:  // halves round up: 0.25 * 255 is 63.75, 64
            s.sent.colour = {1.0f, 0.5f, 0.25f};
            s.expected.colour = (info.value.colour & 0xFF000000u) | 255u | 128u << 8 | 64u << 16;
            break;
        case kParamPoint:  // frei0r's y runs down the frame, the effects' up
            s.sent.position = {0.25, 0.125};
            s.expected.point[0] = 0.25f;
            s.expected.point[1] = 0.875f;
            break;
        case kParamChoice:
            s.expected.choice = info.value.choice == last ? 0 : last;
            s.sent.number = s.expected.choice == 0 ? 0.0 : 1.0;
            break;
    }
    return s;
}

TEST(Frei0rPlugins, EveryRowLoadsAndDescribesItsEffect) {
    ASSERT_NE(Library(), nullptr) << dlerror();
    const int32_t frei0rType[] = {F0R_PARAM_POSITION, F0R_PARAM_DOUBLE, F0R_PARAM_DOUBLE, F0R_PARAM_COLOR,
                                  F0R_PARAM_BOOL};
    for (int32_t row = 0; row < 37; ++row) {
        SCOPED_TRACE(PluginFile(row));
        Plugin plugin(row);
        ASSERT_NE(plugin.handle, nullptr) << dlerror();
        ASSERT_TRUE(plugin.initialised);
        IVideoEffect* effect = Library()->CreateEffect(row);
        const std::vector<ParameterInfo> records = Records(row);
        const f0r_plugin_info_t info = plugin.Info();
        const bool transition = effect->GetInputCount() == 2;
        EXPECT_STREQ(info.name, effect->GetName());
        EXPECT_STREQ(info.author, "Halcyra");
        EXPECT_EQ(info.plugin_type, transition ? F0R_PLUGIN_TYPE_MIXER2 : F0R_PLUGIN_TYPE_FILTER);
        EXPECT_EQ(info.color_model, F0R_COLOR_MODEL_BGRA8888);
        EXPECT_EQ(info.frei0r_version, FREI0R_MAJOR_VERSION);
        EXPECT_NE(std::strstr(info.explanation, transition ? "transition" : "filter"), nullptr);
        ASSERT_EQ(info.num_params, static_cast<int>(records.size()) + 1);
        EXPECT_STREQ(plugin.Param(0).name, "Progress");
        // Hosts that address parameters by name need every name, and each once.
        std::set<std::string> names;
        for (int i = 1; i < info.num_params; ++i) {
            const f0r_param_info_t param = plugin.Param(i);
            EXPECT_TRUE(*param.name && !std::strstr(param.name, "$$$") && names.insert(param.name).second)
                << "\"" << param.name << "\"";
            EXPECT_EQ(param.type, frei0rType[records[static_cast<size_t>(i - 1)].type]) << param.name;
        }
        effect->Release();
    }
}

TEST(Frei0rPlugins, NamesOptionsAndValuesInFrei0rTerms) {
    Plugin spin(kSpin), board(kCheckerBoard);
    ASSERT_TRUE(spin.initialised && board.initialised);
    EXPECT_STREQ(spin.Param(1).name, "Parameter 2");
    EXPECT_NE(std::strstr(spin.Param(5).explanation, "option 4 (1)"), nullptr) << spin.Param(5).explanation;

    f0r_instance_t instance = board.f0r_construct(16, 8);
    f0r_param_position_t tilt{};
    board.f0r_get_param_value(instance, &tilt, 3);  // 20 % across, 10 % up from the bottom
    EXPECT_FLOAT_EQ(static_cast<float>(tilt.y), 0.9f);
    // Choices go to the nearest option; numbers stop at 0 and 1; NaN and unknown indices change nothing.
    const double cases[][3] = {{0, 0.25, 0.25}, {8, 0.49, 1.0 / 3}, {8, 0.51, 2.0 / 3}, {8, -3, 0},
                               {1, 1.7, 1.0},   {1, NAN, 1.0},      {6, 0.7, 1.0},      {10, 0.3, 42}};
    for (const auto& c : cases) {
        double sent = c[1], read = 42.0;
        board.f0r_set_param_value(instance, &sent, static_cast<int>(c[0]));
        board.f0r_get_param_value(instance, &read, static_cast<int>(c[0]));
        EXPECT_DOUBLE_EQ(read, c[2]) << c[0] << " " << c[1];
    }
    f0r_param_color_t colour{0.5f, 2.0f, -1.0f};
    board.f0r_set_param_value(instance, &colour, 9);
    board.f0r_get_param_value(instance, &colour, 9);
    EXPECT_TRUE(colour.r == 128 / 255.0f && colour.g == 1.0f && colour.b == 0.0f);
    board.f0r_destruct(instance);
}

struct RenderCase {
    int32_t row, w, h;
    double progress, time;
    bool useUpdate2;
};
void PrintTo(const RenderCase& c, std::ostream* out) {
    *out << "row " << c.row << " " << c.w << "x" << c.h << " progress " << c.progress << " time " << c.time;
}

class PluginRender : public ::testing::TestWithParam<RenderCase> {};

TEST_P(PluginRender, DrawsWhatTheLibraryDraws) {
    const RenderCase c = GetParam();
    Plugin plugin(c.row);
    ASSERT_TRUE(plugin.initialised);
    const bool transition = plugin.Info().plugin_type == F0R_PLUGIN_TYPE_MIXER2;
    f0r_instance_t instance = plugin.f0r_construct(static_cast<unsigned>(c.w), static_cast<unsigned>(c.h));
    ASSERT_NE(instance, nullptr);
    std::vector<ParameterData> values;
    const std::vector<ParameterInfo> records = Records(c.row);
    for (size_t i = 0; i < records.size(); ++i) {
        Setting s = ChangedValue(records[i], i);
        plugin.f0r_set_param_value(instance, &s.sent, static_cast<int>(i + 1));
        values.push_back(s.expected);
    }
    double progress = c.progress;
    plugin.f0r_set_param_value(instance, &progress, 0);

    const Pixels a = Pattern(c.w, c.h, 1), b = Pattern(c.w, c.h, 2), aBefore = a, bBefore = b;
    Pixels out(a.size(), 0x12345678u);  // a host's stale frame
    if (c.useUpdate2)
        plugin.f0r_update2(instance, c.time, a.data(), transition ? b.data() : nullptr, nullptr, out.data());
    else
        plugin.f0r_update(instance, c.time, a.data(), out.data());
    EXPECT_TRUE(a == aBefore && b == bBefore) << "input written";
    const Pixels expected = RenderDirect(c.row, values, c.progress, c.time, a, transition ? b : a, c.w, c.h);
    EXPECT_TRUE(out == expected) << "plugin and library differ";
    if (!transition) {  // a host may hand the input as the output
        Pixels inPlace = a;
        plugin.f0r_update(instance, c.time, inPlace.data(), inPlace.data());
        EXPECT_TRUE(inPlace == expected) << "in-place render differs";
    }
    plugin.f0r_destruct(instance);
}

INSTANTIATE_TEST_SUITE_P(Rows, PluginRender,
                         ::testing::Values(RenderCase{kCheckerBoard, 64, 48, 0.3, 1.5, true},
                                           RenderCase{kSpin, 37, 21, 0.6, 0.0, true},
                                           RenderCase{kColorize, 40, 24, 0.5, 2.0, false},
                                           RenderCase{kShearenergy, 33, 17, 0.8, 0.75, true},
                                           RenderCase{kActivecamera, 48, 32, 0.5, 3.25, false}),
                         [](const auto& info) { return "Row" + std::to_string(info.param.row); });

TEST(Frei0rPlugins, InitNestsAndNeedsTheLibrary) {
    {
        Plugin outer(kColorize);
        { Plugin inner(kColorize); }  // the same file: one state, initialised twice
        f0r_instance_t instance = outer.f0r_construct(8, 8);
        ASSERT_NE(instance, nullptr) << "the first Deinit unloaded the library";
        EXPECT_EQ(outer.f0r_construct(0x40000000u, 1), nullptr) << "pitch beyond 32 bits";
        outer.f0r_destruct(instance);
    }
    EXPECT_TRUE(Plugin(kColorize).initialised) << "no load after the last Deinit";

    // A copy with no libhalcyra.so beside it or one folder up.
    char work[] = "/tmp/halcyra-frei0r-XXXXXX";
    ASSERT_NE(mkdtemp(work), nullptr);
    const std::string lonely = std::string(work) + "/halcyra-lonely.so";
    std::ofstream(lonely, std::ios::binary) << std::ifstream(PluginFile(kColorize), std::ios::binary).rdbuf();
    {
        Plugin orphan(lonely);
        ASSERT_NE(orphan.handle, nullptr) << dlerror();
        EXPECT_FALSE(orphan.initialised);
        EXPECT_STREQ(orphan.Info().name, "Colorize HY");
        EXPECT_EQ(orphan.Info().num_params, 0);
        EXPECT_EQ(orphan.f0r_construct(8, 8), nullptr);
    }
    std::remove(lonely.c_str());
    rmdir(work);
}

// ffmpeg's frei0r filter finds plugins by name along FREI0R_PATH; its first
// frame has time 0 and the default parameters.
TEST(Frei0rPlugins, FfmpegRendersAFrameThroughAPlugin) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "an uninstrumented ffmpeg cannot load plugins built with the address sanitizer";
#endif
    if (std::system("command -v ffmpeg > /dev/null 2>&1") != 0) GTEST_SKIP() << "no ffmpeg on this machine";
    const std::string file = PluginFile(kColorize), folder = file.substr(0, file.rfind('/'));
    const std::string name = file.substr(folder.size() + 1, file.size() - folder.size() - 4);
    char work[] = "/tmp/halcyra-frei0r-XXXXXX";
    ASSERT_NE(mkdtemp(work), nullptr);
    const std::string input = std::string(work) + "/in.bgra", output = std::string(work) + "/out.bgra";
    const std::string ffmpeg =
        "ffmpeg -nostdin -v error -f lavfi -i testsrc=size=320x240:rate=1 -frames:v 1 ";
    const std::string raw = " -f rawvideo -pix_fmt bgra -y ";
    ASSERT_EQ(std::system((ffmpeg + raw + input).c_str()), 0);
    ASSERT_EQ(std::system(
                  ("FREI0R_PATH='" + folder + "' " + ffmpeg + "-vf frei0r=filter_name=" + name + raw + output)
                      .c_str()),
              0);
    auto read = [](const std::string& path) {
        std::ifstream stream(path, std::ios::binary);
        std::vector<char> bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
        Pixels pixels(bytes.size() / 4);
        std::memcpy(pixels.data(), bytes.data(), pixels.size() * 4);
        return std::remove(path.c_str()), pixels;
    };
    const Pixels in = read(input), out = read(output);
    rmdir(work);
    ASSERT_EQ(out.size(), 320u * 240u);
    ASSERT_EQ(in.size(), out.size());
    std::vector<ParameterData> defaults;
    for (const ParameterInfo& info : Records(kColorize)) defaults.push_back(info.value);
    EXPECT_TRUE(out == RenderDirect(kColorize, defaults, 0.5, 0.0, in, in, 320, 240));
}

}  // namespace

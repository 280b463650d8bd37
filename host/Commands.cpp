// Command-line parsing and the five commands. Every failure becomes a
// HostError, printed by RunHalcyra as "halcyra: message" with exit status 1;
// usage mistakes exit with 2.
#include "host/Commands.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>

#include "host/BuiltinPictures.h"
#include "host/EffectLibrary.h"
#include "host/Media.h"
#include "host/Renderer.h"
#include "host/Sheet.h"

namespace halcyra::host {

namespace {

enum CommandBit : int { kList = 1, kInfo = 2, kRender = 4, kSheet = 8, kDemo = 16, kAll = 31 };

struct OptionSpec {
    const char* name;
    char shortName;
    bool takesValue;
    int commands;
};

constexpr OptionSpec kOptions[] = {
    {"library", 0, true, kAll},
    {"jobs", 'j', true, kRender | kSheet | kDemo},
    {"quiet", 'q', false, kRender | kSheet | kDemo},
    {"no-host-allocator", 0, false, kRender | kSheet | kDemo},
    {"from", 0, true, kRender | kSheet},
    {"to", 0, true, kRender | kSheet},
    {"output", 'o', true, kRender | kSheet},
    {"duration", 0, true, kRender},
    {"fps", 0, true, kRender},
    {"size", 0, true, kRender | kSheet},
    {"set", 0, true, kRender},
    {"preset", 0, true, kRender},
    {"reverse-progress", 0, false, kRender},
    {"progress", 0, true, kRender | kSheet},
};

constexpr const char* kUsage =
    "usage: halcyra COMMAND [options]\n"
    "\n"
    "commands:\n"
    "  list                     the effects this library offers\n"
    "  info EFFECT              an effect's parameters, ranges, defaults and presets\n"
    "  render EFFECT -o OUT     render a transition or filter\n"
    "  sheet -o SHEET.png [EFFECT...]  a contact sheet, one row per effect\n"
    "  demo [DIR]               a contact sheet of every effect and a short video\n"
    "\n"
    "EFFECT is a catalogue index (9) or a name (\"3D Twist\", case-insensitive,\n"
    "the \"Corvane \" prefix optional).\n"
    "\n"
    "render options:\n"
    "  --from A, --to B         clips or pictures (any format FFmpeg reads); without\n"
    "                           them two built-in pictures are used\n"
    "  -o, --output OUT         video (.mp4, .webm, .gif, .mkv), one image (.png, .jpg,\n"
    "                           .bmp, .tif) or an image sequence (frames/%04d.png,\n"
    "                           numbered from 0)\n"
    "  --progress P             for one image: the progress of that frame, 0..1 (0.5)\n"
    "  --duration SECONDS       length of a transition (2), or of a filter on a still\n"
    "  --fps N                  frame rate (the first clip's, else 30)\n"
    "  --size WxH               output size (the first clip's, else 1280x720)\n"
    "  --set NAME=VALUE         a parameter in display units: Zoom=50, Angle=90,\n"
    "                           Color=#ff8800, Center=25,75 (percent, y up),\n"
    "                           Background=\"Second picture\", Rotate=on\n"
    "  --preset NAME            start from one of the effect's presets\n"
    "  --reverse-progress       run progress from 1 to 0\n"
    "sheet options:\n"
    "  --progress P1,P2,...     columns (0.25,0.5,0.75); --size WxH sets the cell size\n"
    "common options:\n"
    "  -j, --jobs N             worker threads (all cores)\n"
    "  -q, --quiet              no progress bar\n"
    "  --library PATH           load this libhalcyra.so instead of the installed one\n"
    "  --no-host-allocator      do not offer the host's memory service to effects\n";

struct UsageError : HostError {
    using HostError::HostError;
};

struct Arguments {
    std::string command;
    std::vector<std::string> positionals;
    std::map<std::string, std::vector<std::string>> values;  // option name -> values in order

    bool Has(const char* name) const { return values.count(name) != 0; }
    std::string Last(const char* name) const {
        auto it = values.find(name);
        return it == values.end() ? std::string() : it->second.back();
    }
    std::vector<std::string> All(const char* name) const {
        auto it = values.find(name);
        return it == values.end() ? std::vector<std::string>() : it->second;
    }
};

int CommandBitOf(const std::string& command) {
    if (command == "list") return kList;
    if (command == "info") return kInfo;
    if (command == "render") return kRender;
    if (command == "sheet") return kSheet;
    if (command == "demo") return kDemo;
    return 0;
}

Arguments ParseArguments(const std::vector<std::string>& args) {
    Arguments parsed;
    parsed.command = args.at(0);
    int bit = CommandBitOf(parsed.command);
    if (!bit) throw UsageError("unknown command \"" + parsed.command + "\"; see 'halcyra --help'");
    bool optionsEnded = false;
    for (size_t i = 1; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-' ||
            (std::isdigit(static_cast<unsigned char>(arg[1])))) {
            parsed.positionals.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        std::string name;
        std::optional<std::string> inlineValue;
        if (arg.rfind("--", 0) == 0) {
            name = arg.substr(2);
            size_t equals = name.find('=');
            if (equals != std::string::npos) {
                inlineValue = name.substr(equals + 1);
                name.erase(equals);
            }
        }
        const OptionSpec* matched = nullptr;
        for (const OptionSpec& option : kOptions)
            if ((!name.empty() && name == option.name) ||
                (name.empty() && arg.size() == 2 && option.shortName == arg[1]))
                matched = &option;
        if (!matched) throw UsageError("unknown option " + arg + "; see 'halcyra --help'");
        if (!(matched->commands & bit))
            throw UsageError("option --" + std::string(matched->name) + " does not apply to '" +
                             parsed.command + "'");
        std::string value;
        if (matched->takesValue) {
            if (inlineValue)
                value = *inlineValue;
            else if (i + 1 < args.size())
                value = args[++i];
            else
                throw UsageError("option --" + std::string(matched->name) + " needs a value");
        } else if (inlineValue) {
            throw UsageError("option --" + std::string(matched->name) + " takes no value");
        }
        parsed.values[matched->name].push_back(value);
    }
    return parsed;
}

double NumberOption(const Arguments& args, const char* name, double low, double high) {
    double value = 0;
    std::string text = args.Last(name);
    if (!ParseDouble(text, value) || value < low || value > high)
        throw HostError("--" + std::string(name) + " expects a number from " + FormatNumber(low) + " to " +
                        FormatNumber(high) + ", got \"" + text + "\"");
    return value;
}

std::pair<int, int> SizeOption(const Arguments& args) {
    std::string text = ToLower(args.Last("size"));
    size_t x = text.find('x');
    long long w = 0, h = 0;
    if (x == std::string::npos || !ParseInt(text.substr(0, x), w) || !ParseInt(text.substr(x + 1), h) ||
        w < 1 || h < 1 || w > 16384 || h > 16384)
        throw HostError("--size expects WIDTHxHEIGHT from 1x1 to 16384x16384, got \"" + args.Last("size") +
                        "\"");
    return {static_cast<int>(w), static_cast<int>(h)};
}

int WorkerCount(const Arguments& args) {
    if (!args.Has("jobs")) return DefaultWorkerCount();
    return static_cast<int>(NumberOption(args, "jobs", 1, 256));
}

bool ShowProgress(const Arguments& args) {
    return !args.Has("quiet") && ProgressAllowed();
}

// ---------------------------------------------------------------------------

int CommandList(const EffectLibrary& library) {
    std::printf("%5s  %-28s %-11s %s\n", "index", "name", "kind", "parameters");
    for (const CatalogueEntry& entry : library.Entries())
        std::printf("%5d  %-28s %-11s %zu\n", entry.index, entry.name.c_str(),
                    entry.IsTransition() ? "transition" : "filter", entry.parameters.size());
    std::printf("%zu effects in %s\n", library.Entries().size(), library.Path().c_str());
    return 0;
}

int CommandInfo(const EffectLibrary& library, const Arguments& args) {
    if (args.positionals.size() != 1) throw UsageError("usage: halcyra info EFFECT");
    const CatalogueEntry& entry = library.Resolve(args.positionals[0]);
    std::printf("%s\n  index %d, %s (%d input%s), %zu parameter%s\n", entry.name.c_str(), entry.index,
                entry.IsTransition() ? "transition" : "filter", entry.inputCount,
                entry.inputCount == 1 ? "" : "s", entry.parameters.size(),
                entry.parameters.size() == 1 ? "" : "s");
    if (!entry.parameters.empty()) {
        size_t nameWidth = 4;
        for (const ParameterSpec& parameter : entry.parameters)
            nameWidth = std::max(nameWidth, parameter.shownName.size());
        std::printf("\n  %2s  %-*s  %-7s %-24s %s\n", "#", static_cast<int>(nameWidth), "name", "type",
                    "range", "default");
        for (const ParameterSpec& parameter : entry.parameters) {
            std::printf("  %2d  %-*s  %-7s %-24s %s\n", parameter.index, static_cast<int>(nameWidth),
                        parameter.shownName.c_str(), TypeName(parameter.info.type),
                        RangeText(parameter).c_str(), DisplayValue(parameter, parameter.info.value).c_str());
            for (size_t i = 0; i < parameter.choices.size(); ++i)
                std::printf("  %2s  %-*s    %zu: \"%s\"\n", "", static_cast<int>(nameWidth), "", i,
                            parameter.choices[i].c_str());
        }
    }
    if (!entry.presets.empty()) {
        std::printf("\n  presets:\n");
        EffectPtr effect = library.Create(entry.index);
        for (size_t preset = 0; preset < entry.presets.size(); ++preset) {
            std::string values;
            for (const ParameterSpec& parameter : entry.parameters) {
                ParameterData data{};
                if (effect && effect->GetPresetValue(static_cast<int32_t>(preset), parameter.index, &data))
                    values += (values.empty() ? "" : ", ") + parameter.shownName + "=" +
                              DisplayValue(parameter, data);
            }
            std::printf("  %2zu  %s: %s\n", preset, entry.presets[preset].c_str(), values.c_str());
        }
    }
    return 0;
}

ParameterSet ParametersFor(const EffectLibrary& library, const CatalogueEntry& entry, const Arguments& args) {
    ParameterSet set = DefaultParameters(entry.parameters);
    if (args.Has("preset")) {
        std::string wanted = args.Last("preset");
        int chosen = -1;
        for (size_t i = 0; i < entry.presets.size(); ++i)
            if (ToLower(entry.presets[i]) == ToLower(Trim(wanted))) chosen = static_cast<int>(i);
        long long index = 0;
        if (chosen < 0 && ParseInt(wanted, index) && index >= 0 &&
            index < static_cast<long long>(entry.presets.size()))
            chosen = static_cast<int>(index);
        if (chosen < 0) {
            std::string known;
            for (const std::string& name : entry.presets)
                known += (known.empty() ? "\"" : ", \"") + name + "\"";
            throw HostError("unknown preset \"" + wanted + "\" for " + entry.name +
                            (known.empty() ? " (it has no presets)" : "; it has " + known));
        }
        EffectPtr effect = library.Create(entry.index);
        for (const ParameterSpec& parameter : entry.parameters) {
            ParameterData data{};
            if (effect && effect->GetPresetValue(chosen, parameter.index, &data))
                set.values[parameter.index] = data;
        }
    }
    ApplySettings(set, entry.parameters, args.All("set"), entry.name);
    return set;
}

// The first and second pictures: given files or the built-in pair.
struct Sources {
    std::unique_ptr<MediaReader> first;
    std::unique_ptr<MediaReader> second;
};

Sources OpenSources(const Arguments& args, bool transition, const std::string& effectName) {
    Sources sources;
    bool hasFrom = args.Has("from"), hasTo = args.Has("to");
    if (transition && hasFrom != hasTo)
        throw HostError(effectName +
                        " is a transition and needs two clips: give both --from and --to (or neither "
                        "for the built-in pictures)");
    if (!transition && hasTo)
        throw HostError(effectName + " is a filter and reads one clip: give it with --from, not --to");
    if (hasFrom) sources.first = std::make_unique<MediaReader>(args.Last("from"));
    if (hasTo) sources.second = std::make_unique<MediaReader>(args.Last("to"));
    return sources;
}

int CommandRender(const EffectLibrary& library, const Arguments& args) {
    if (args.positionals.size() != 1) throw UsageError("usage: halcyra render EFFECT -o OUT [options]");
    const CatalogueEntry& entry = library.Resolve(args.positionals[0]);
    if (!args.Has("output")) throw UsageError("render needs an output: -o OUT");
    const std::string output = args.Last("output");
    ParameterSet parameters = ParametersFor(library, entry, args);
    const bool transition = entry.IsTransition();
    const OutputKind kind = ClassifyOutput(output);
    if (args.Has("progress") && kind != OutputKind::Image)
        throw HostError("--progress picks the frame of a single-image output; " + output + " is not one");
    double singleProgress = args.Has("progress") ? NumberOption(args, "progress", 0, 1) : 0.5;

    Sources sources = OpenSources(args, transition, entry.name);
    int width = kBuiltinWidth, height = kBuiltinHeight;
    if (args.Has("size"))
        std::tie(width, height) = SizeOption(args);
    else if (sources.first)
        width = sources.first->Width(), height = sources.first->Height();
    const bool firstIsVideo = sources.first && !sources.first->IsStill();
    double fps = args.Has("fps") ? NumberOption(args, "fps", 0.1, 240)
                                 : (firstIsVideo ? sources.first->FrameRate() : 30.0);
    double duration = 2.0;
    if (args.Has("duration"))
        duration = NumberOption(args, "duration", 0.001, 24 * 3600);
    else if (!transition && firstIsVideo && sources.first->Duration() > 0)
        duration = sources.first->Duration();
    int count = kind == OutputKind::Image ? 1 : std::max(1, static_cast<int>(std::lround(duration * fps)));

    std::shared_ptr<const Frame> builtinFirst, builtinSecond;
    if (!sources.first) builtinFirst = std::make_shared<Frame>(MakeBuiltinPicture(0, width, height));
    if (transition && !sources.second)
        builtinSecond = std::make_shared<Frame>(MakeBuiltinPicture(1, width, height));

    std::unique_ptr<FrameWriter> writer = CreateWriter(output, width, height, fps);
    std::vector<EffectSlot> slots{
        {&entry, std::make_shared<ParameterHost>(parameters, !args.Has("no-host-allocator"))}};
    const bool reverse = args.Has("reverse-progress");
    auto prepare = [&](int index) {
        FrameJob job;
        double progress =
            kind == OutputKind::Image ? singleProgress : (count > 1 ? double(index) / (count - 1) : 0.0);
        double time = kind == OutputKind::Image ? singleProgress * duration : index / fps;
        job.progress = reverse ? 1.0 - progress : progress;
        job.time = time;
        job.first = sources.first ? sources.first->FrameAt(time, width, height) : builtinFirst;
        if (transition)
            job.second = sources.second ? sources.second->FrameAt(time, width, height) : builtinSecond;
        return job;
    };
    ProgressBar bar(ShowProgress(args), entry.name);
    PipelineSettings settings;
    settings.workers = WorkerCount(args);
    settings.width = width;
    settings.height = height;
    settings.progress = &bar;
    RunPipeline(
        library, slots, count, prepare, [&](int, const Frame& frame) { writer->Write(frame); }, settings);
    writer->Finish();
    return 0;
}

std::vector<double> ProgressList(const Arguments& args) {
    if (!args.Has("progress")) return {0.25, 0.5, 0.75};
    std::vector<double> list;
    for (const std::string& part : Split(args.Last("progress"), ',')) {
        double value = 0;
        if (!ParseDouble(part, value) || value < 0 || value > 1)
            throw HostError("--progress expects values from 0 to 1 separated by commas, got \"" +
                            args.Last("progress") + "\"");
        list.push_back(value);
    }
    if (list.size() > 32) throw HostError("--progress takes at most 32 values");
    return list;
}

Frame MakeSheet(const EffectLibrary& library, const std::vector<const CatalogueEntry*>& effects,
                const std::vector<double>& progresses, const Arguments& args, int cellWidth, int cellHeight) {
    SheetSettings settings;
    settings.effects = effects;
    settings.progresses = progresses;
    if (args.Has("from") != args.Has("to"))
        throw HostError(
            "a sheet uses two pictures: give both --from and --to (or neither for the built-in ones)");
    if (args.Has("from")) {
        settings.first = MediaReader(args.Last("from")).FrameAt(0, cellWidth, cellHeight);
        settings.second = MediaReader(args.Last("to")).FrameAt(0, cellWidth, cellHeight);
    } else {
        settings.first = std::make_shared<Frame>(MakeBuiltinPicture(0, cellWidth, cellHeight));
        settings.second = std::make_shared<Frame>(MakeBuiltinPicture(1, cellWidth, cellHeight));
    }
    settings.workers = WorkerCount(args);
    settings.offerAllocator = !args.Has("no-host-allocator");
    ProgressBar bar(ShowProgress(args), "sheet");
    settings.progress = &bar;
    return BuildSheet(library, settings);
}

int CommandSheet(const EffectLibrary& library, const Arguments& args) {
    if (!args.Has("output")) throw UsageError("sheet needs an output: -o SHEET.png");
    const std::string output = args.Last("output");
    if (ClassifyOutput(output) != OutputKind::Image)
        throw HostError("a sheet is one picture: name it .png, .jpg, .bmp or .tif, not " + output);
    std::vector<const CatalogueEntry*> effects;
    for (const std::string& name : args.positionals) effects.push_back(&library.Resolve(name));
    if (args.positionals.empty())
        for (const CatalogueEntry& entry : library.Entries()) effects.push_back(&entry);
    if (effects.empty()) throw HostError("the library at " + library.Path() + " offers no effects");
    int cellWidth = 320, cellHeight = 180;
    if (args.Has("size")) std::tie(cellWidth, cellHeight) = SizeOption(args);
    if (cellWidth > 4096 || cellHeight > 4096)
        throw HostError("--size for a sheet cell is at most 4096x4096");
    Frame sheet = MakeSheet(library, effects, ProgressList(args), args, cellWidth, cellHeight);
    WriteImage(output, sheet);
    return 0;
}

void MakeDirectories(const std::string& path) {
    std::string partial;
    for (const std::string& part : Split(path, '/')) {
        partial += part;
        if (!partial.empty() && mkdir(partial.c_str(), 0777) != 0 && errno != EEXIST)
            throw HostError("cannot create the directory " + partial + ": " + std::strerror(errno));
        partial += '/';
    }
    struct stat info {};
    if (stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
        throw HostError("cannot use " + path + " as the demo directory: it is not a directory");
}

int CommandDemo(const EffectLibrary& library, const Arguments& args) {
    if (args.positionals.size() > 1) throw UsageError("usage: halcyra demo [DIR]");
    std::string dir = args.positionals.empty() ? "halcyra-demo" : args.positionals[0];
    while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
    const auto& entries = library.Entries();
    if (entries.empty()) throw HostError("the library at " + library.Path() + " offers no effects");
    MakeDirectories(dir);

    std::vector<const CatalogueEntry*> all;
    for (const CatalogueEntry& entry : entries) all.push_back(&entry);
    const std::string sheetPath = dir + "/sheet.png";
    Frame sheet = MakeSheet(library, all, {0.25, 0.5, 0.75}, args, 320, 180);
    WriteImage(sheetPath, sheet);

    // A few transitions that show the range of the library, the 3D ones first;
    // any transition will do when those are missing, and filters as a last resort.
    constexpr int kFavourites[] = {9, 11, 15, 12, 13, 6, 0, 34};
    std::vector<const CatalogueEntry*> chosen;
    for (int index : kFavourites)
        for (const CatalogueEntry& entry : entries)
            if (entry.index == index && entry.IsTransition() && chosen.size() < 4) chosen.push_back(&entry);
    for (const CatalogueEntry& entry : entries)
        if (chosen.size() < 4 && entry.IsTransition() &&
            std::find(chosen.begin(), chosen.end(), &entry) == chosen.end())
            chosen.push_back(&entry);
    for (const CatalogueEntry& entry : entries)
        if (chosen.empty() && !entry.IsTransition()) chosen.push_back(&entry);

    constexpr int kWidth = kBuiltinWidth, kHeight = kBuiltinHeight, kFramesPerEffect = 45;
    constexpr double kFps = 30;
    auto pictureA = std::make_shared<const Frame>(MakeBuiltinPicture(0, kWidth, kHeight));
    auto pictureB = std::make_shared<const Frame>(MakeBuiltinPicture(1, kWidth, kHeight));
    std::vector<EffectSlot> slots;
    for (const CatalogueEntry* entry : chosen)
        slots.push_back({entry, std::make_shared<ParameterHost>(DefaultParameters(entry->parameters),
                                                                !args.Has("no-host-allocator"))});
    const std::string videoPath = dir + "/transitions.mp4";
    std::unique_ptr<FrameWriter> writer = CreateWriter(videoPath, kWidth, kHeight, kFps);
    const int count = kFramesPerEffect * static_cast<int>(chosen.size());
    auto prepare = [&](int index) {
        FrameJob job;
        job.slot = index / kFramesPerEffect;
        int local = index % kFramesPerEffect;
        job.progress = double(local) / (kFramesPerEffect - 1);
        job.time = local / kFps;
        // Alternate directions so the video runs A to B, B to A and so on.
        bool forward = job.slot % 2 == 0;
        job.first = forward ? pictureA : pictureB;
        if (chosen[job.slot]->IsTransition()) job.second = forward ? pictureB : pictureA;
        return job;
    };
    ProgressBar bar(ShowProgress(args), "video");
    PipelineSettings settings;
    settings.workers = WorkerCount(args);
    settings.width = kWidth;
    settings.height = kHeight;
    settings.progress = &bar;
    RunPipeline(
        library, slots, count, prepare, [&](int, const Frame& frame) { writer->Write(frame); }, settings);
    writer->Finish();

    std::string names;
    for (const CatalogueEntry* entry : chosen) names += (names.empty() ? "" : ", ") + entry->name;
    std::printf("contact sheet: %s (%zu effects)\n", sheetPath.c_str(), all.size());
    std::printf("video:         %s (%s; %.1f s)\n", videoPath.c_str(), names.c_str(), count / kFps);
    return 0;
}

}  // namespace

int RunHalcyra(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    try {
        InstallInterruptHandler();
        InitMedia();
        if (args.empty()) {
            std::fputs(kUsage, stderr);
            return 2;
        }
        for (const std::string& arg : args) {
            if (arg == "--") break;
            if (arg == "--help" || arg == "-h" || (&arg == &args.front() && arg == "help")) {
                std::fputs(kUsage, stdout);
                return 0;
            }
            if (arg == "--version") {
                std::printf("halcyra %s\n", HALCYRA_VERSION);
                return 0;
            }
        }
        Arguments parsed = ParseArguments(args);
        if (parsed.command == "list" && !parsed.positionals.empty()) throw UsageError("usage: halcyra list");
        EffectLibrary library(parsed.Last("library"));
        if (parsed.command == "list") return CommandList(library);
        if (parsed.command == "info") return CommandInfo(library, parsed);
        if (parsed.command == "render") return CommandRender(library, parsed);
        if (parsed.command == "sheet") return CommandSheet(library, parsed);
        return CommandDemo(library, parsed);
    } catch (const UsageError& error) {
        std::fprintf(stderr, "halcyra: %s\n", error.what());
        return 2;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "halcyra: out of memory\n");
        return 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "halcyra: %s\n", error.what());
        return 1;
    }
}

}  // namespace halcyra::host

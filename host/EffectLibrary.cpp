// Loading of libhalcyra.so and the catalogue as the host knows it. The library
// has no operation that counts its effects, so the host asks CreateEffect for
// each index and keeps the rows that answer.
#include "host/EffectLibrary.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace halcyra::host {

namespace {

// Catalogue indices above this are not probed; the catalogue's are 0..36.
constexpr int kProbeLimit = 64;

// Display names of the fixed catalogue, used only to tell the user which row an
// index or name means when this build of the library does not offer it yet.
constexpr const char* kCatalogueNames[] = {"Corvane Roll",
                                           "Corvane Shake",
                                           "Corvane Shear",
                                           "Corvane Smear",
                                           "Corvane Spin",
                                           "Corvane Wave",
                                           "Corvane Zoom",
                                           "Corvane 3D Plane Explode",
                                           "Corvane 3D Box Explode",
                                           "Corvane 3D Twist",
                                           "Corvane 3D Rotating Frames",
                                           "Corvane 3D Checker Board",
                                           "Corvane 3D Bouncing Cubes",
                                           "Corvane 3D Spiral",
                                           "Corvane 3D Spiral Rotation",
                                           "Corvane 3D Box Fold",
                                           "Corvane 3D Bouncing Frames",
                                           "Corvane 3D Wave",
                                           "Corvane 3D Wiggle",
                                           "Corvane 3D Confetti",
                                           "Corvane Glow",
                                           "Corvane Halo",
                                           "Corvane Metallic",
                                           "Airbrush HY",
                                           "Colorize HY",
                                           "Linedrawing HY",
                                           "Metallic HY",
                                           "Pastelsketch HY",
                                           "Earthquake HY",
                                           "Motionblur HY",
                                           "Shearenergy HY",
                                           "Zoomblur HY",
                                           "Activecamera HY",
                                           "Corvane 3D Fly Apart",
                                           "Corvane Road Sign",
                                           "Corvane Wedding",
                                           "Corvane Star"};
constexpr int kCatalogueSize = static_cast<int>(std::size(kCatalogueNames));

// Lower case without the "Corvane " prefix: the form names are matched in.
std::string MatchKey(std::string_view name) {
    std::string key = ToLower(Trim(name));
    if (key.rfind("corvane ", 0) == 0) key.erase(0, 8);
    return Trim(key);
}

std::string ExecutableDirectory() {
    char buffer[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (length <= 0) return {};
    std::string exe(buffer, static_cast<size_t>(length));
    size_t slash = exe.rfind('/');
    return slash == std::string::npos ? std::string() : exe.substr(0, slash);
}

size_t EditDistance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

}  // namespace

bool CatalogueEntry::KeepsState() const {
    return ToLower(name).find("earthquake") != std::string::npos;
}

EffectLibrary::EffectLibrary(const std::string& explicitPath) {
    std::vector<std::string> candidates;
    if (!explicitPath.empty()) {
        // dlopen reads a name without a slash as a search, not as a file here.
        bool bareName = explicitPath.find('/') == std::string::npos;
        candidates.push_back(bareName && access(explicitPath.c_str(), F_OK) == 0 ? "./" + explicitPath
                                                                                 : explicitPath);
    } else {
        std::string dir = ExecutableDirectory();
        if (!dir.empty()) {
            candidates.push_back(dir + "/../lib/libhalcyra.so");
#ifdef HALCYRA_INSTALL_LIBDIR
            candidates.push_back(dir + "/../" HALCYRA_INSTALL_LIBDIR "/libhalcyra.so");
#endif
        }
        candidates.push_back("libhalcyra.so");
    }
    std::string lastError;
    for (const std::string& candidate : candidates) {
        // A bare name goes to the loader's search; a path must exist to be worth a try.
        if (candidate.find('/') != std::string::npos && access(candidate.c_str(), F_OK) != 0 &&
            explicitPath.empty())
            continue;
        handle = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle) {
            path = candidate;
            // Messages show the directory without "bin/..", the file name as found.
            size_t slash = candidate.rfind('/');
            char resolved[PATH_MAX];
            if (slash != std::string::npos && realpath(candidate.substr(0, slash + 1).c_str(), resolved))
                path = std::string(resolved) + candidate.substr(slash);
            break;
        }
        const char* error = dlerror();
        lastError = error ? error : candidate;
    }
    if (!handle) throw HostError("cannot load the effect library: " + lastError);
    auto entry = reinterpret_cast<GetEffectsLibraryFunction>(dlsym(handle, "GetEffectsLibrary"));
    if (!entry) throw HostError(path + " does not export GetEffectsLibrary");
    library = entry();
    if (!library) throw HostError(path + ": GetEffectsLibrary returned no library object");
    Probe();
}

EffectLibrary::~EffectLibrary() {
    if (library) library->Release();
    // The handle stays open: effect objects' code must outlive every reference.
}

const char* EffectLibrary::Name() const {
    const char* name = library->GetName();
    return name ? name : "";
}

EffectPtr EffectLibrary::Create(int index) const {
    return EffectPtr(library->CreateEffect(index));
}

void EffectLibrary::Probe() {
    for (int index = 0; index < kProbeLimit; ++index) {
        EffectPtr effect = Create(index);
        if (!effect) continue;
        CatalogueEntry entry;
        entry.index = index;
        const char* name = effect->GetName();
        entry.name = name ? name : ("effect " + std::to_string(index));
        entry.inputCount = effect->GetInputCount();
        entry.parameters = ReadParameters(effect.get());
        for (int preset = 0; preset < 256; ++preset) {
            const char* presetName = effect->GetPresetName(preset);
            if (!presetName) break;
            entry.presets.emplace_back(presetName);
        }
        entries.push_back(std::move(entry));
    }
}

const CatalogueEntry& EffectLibrary::Resolve(std::string_view query) const {
    std::string text = Trim(query);
    if (text.empty()) throw HostError("no effect given; see 'halcyra list'");
    long long index = 0;
    if (ParseInt(text, index)) {
        for (const CatalogueEntry& entry : entries)
            if (entry.index == index) return entry;
        if (index >= 0 && index < kCatalogueSize)
            throw HostError("effect " + std::to_string(index) + " (" + kCatalogueNames[index] +
                            ") is not available in this build of " + path);
        throw HostError("no effect with index " + text + "; see 'halcyra list'");
    }
    std::string key = MatchKey(text);
    for (const CatalogueEntry& entry : entries)
        if (MatchKey(entry.name) == key) return entry;
    // Not exact: a name that is contained in exactly one entry's name is enough.
    std::vector<const CatalogueEntry*> containing;
    for (const CatalogueEntry& entry : entries)
        if (MatchKey(entry.name).find(key) != std::string::npos) containing.push_back(&entry);
    if (containing.size() == 1) return *containing.front();
    auto describe = [](const std::vector<std::string>& names) {
        std::string list;
        for (const std::string& name : names) list += (list.empty() ? "\"" : ", \"") + name + "\"";
        return list;
    };
    if (containing.size() > 1) {
        std::vector<std::string> names;
        for (const CatalogueEntry* entry : containing) names.push_back(entry->name);
        throw HostError("effect name \"" + text + "\" is ambiguous: " + describe(names));
    }
    // A catalogue row this build lacks, named exactly or by a unique part.
    int missingRow = -1, partialMatches = 0;
    for (int i = 0; i < kCatalogueSize; ++i) {
        std::string candidate = MatchKey(kCatalogueNames[i]);
        if (candidate == key) {
            missingRow = i;
            partialMatches = 1;
            break;
        }
        if (candidate.find(key) != std::string::npos) {
            missingRow = i;
            ++partialMatches;
        }
    }
    if (partialMatches == 1)
        throw HostError("effect " + std::to_string(missingRow) + " (" + kCatalogueNames[missingRow] +
                        ") is not available in this build of " + path);
    std::vector<std::string> close;
    for (const CatalogueEntry& entry : entries) {
        std::string candidate = MatchKey(entry.name);
        if (EditDistance(candidate, key) <= std::max<size_t>(2, key.size() / 3)) close.push_back(entry.name);
    }
    throw HostError("unknown effect \"" + text + "\"" +
                    (close.empty() ? "; see 'halcyra list'" : "; did you mean " + describe(close) + "?"));
}

}  // namespace halcyra::host

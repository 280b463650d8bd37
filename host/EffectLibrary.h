// The loaded libhalcyra.so as the host sees it: found and opened with dlopen,
// its catalogue probed through CreateEffect, effects looked up by index or name.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/Parameters.h"

namespace halcyra::host {

struct CatalogueEntry {
    int index = 0;
    std::string name;  // display name as GetName gives it
    int inputCount = 0;
    std::vector<ParameterSpec> parameters;
    std::vector<std::string> presets;

    bool IsTransition() const { return inputCount >= 2; }
    // Effects that carry state from frame to frame must see their frames in order
    // on one object; Earthquake keeps its random walk.
    bool KeepsState() const;
};

// Releases an effect's reference when it goes out of scope.
struct EffectReleaser {
    void operator()(IVideoEffect* effect) const {
        if (effect) effect->Release();
    }
};
using EffectPtr = std::unique_ptr<IVideoEffect, EffectReleaser>;

class EffectLibrary {
public:
    // Search order: the explicit path if given; the library installed beside the
    // executable ($ORIGIN/../lib); the dynamic loader's own search.
    explicit EffectLibrary(const std::string& explicitPath);
    ~EffectLibrary();
    EffectLibrary(const EffectLibrary&) = delete;
    EffectLibrary& operator=(const EffectLibrary&) = delete;

    const std::string& Path() const { return path; }
    const char* Name() const;
    const std::vector<CatalogueEntry>& Entries() const { return entries; }

    // Null when the row does not exist in this build of the library.
    EffectPtr Create(int index) const;

    // Index ("9") or name ("3D Twist", "corvane 3d twist"). Throws a one-line
    // HostError for rows that are missing, unknown or ambiguous names.
    const CatalogueEntry& Resolve(std::string_view query) const;

private:
    void Probe();

    std::string path;
    void* handle = nullptr;
    IEffectLibrary* library = nullptr;
    std::vector<CatalogueEntry> entries;
};

}  // namespace halcyra::host

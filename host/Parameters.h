// Parameters as a user sees them: names without their localisation key, values
// in display units, and the conversion to and from the normalised encoding that
// effects read through IVideoHost.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/Common.h"

namespace halcyra::host {

struct ParameterSpec {
    int index = 0;
    ParameterInfo info{};
    std::string rawName;    // as the effect reports it, e.g. "$$$/CV/Zoom=Zoom"
    std::string shownName;  // what a host shows, e.g. "Zoom"
    std::vector<std::string> choices;
};

// Asks GetParameterInfo with 0, 1, 2 ... on cleared records until it answers false.
std::vector<ParameterSpec> ReadParameters(IVideoEffect* effect);

const char* TypeName(int32_t type);
std::string RangeText(const ParameterSpec& parameter);
std::string DisplayValue(const ParameterSpec& parameter, const ParameterData& value);

// Parses a value in display units: Float in the displayed range, Colour as
// #rrggbb, Point as "x,y" in percent of the frame, Choice by option text or
// index, Bool as on/off/true/false/yes/no/1/0. Throws HostError naming the
// parameter and the accepted form.
ParameterData ParseDisplayValue(const ParameterSpec& parameter, std::string_view text);

// Finds a parameter by its shown name, its raw name or its index; throws a
// HostError listing the parameters when nothing matches.
const ParameterSpec& FindParameter(const std::vector<ParameterSpec>& specs, std::string_view name,
                                   const std::string& effectName);

// The current value of every parameter of one effect, as the host answers it.
struct ParameterSet {
    std::vector<int32_t> types;
    std::vector<ParameterData> values;
};

ParameterSet DefaultParameters(const std::vector<ParameterSpec>& specs);
// Applies "NAME=VALUE" settings in order; later ones win.
void ApplySettings(ParameterSet& set, const std::vector<ParameterSpec>& specs,
                   const std::vector<std::string>& settings, const std::string& effectName);

}  // namespace halcyra::host

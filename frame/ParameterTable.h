// Parameter lists as data. Every effect describes its parameters in a constexpr
// array of ParameterDesc, and one generic routine fills the host's record from
// it, so that no effect writes GetParameterInfo by hand.
#pragma once

#include <cstdint>
#include <span>

#include "frame/EffectInterfaces.h"

namespace halcyra {

struct ParameterDesc {
    const char* name = nullptr;
    int32_t type = kParamFloat;
    ParameterData value{};  // normalised default
    float minimum = 0.0f;   // displayed range of a Float
    float maximum = 0.0f;
    bool writesRangeExtra = false;  // the few Floats that clear the field after maximum
    int32_t choiceCount = 0;
    const char* choices[10] = {};
    int32_t layoutPrimary = 0;  // control panel hints; wrapped effects only
    int32_t layoutSecondary = 0;
    bool layoutValid = false;
};

constexpr ParameterDesc FloatParam(const char* name, float normalisedDefault, float minimum = 0.0f,
                                   float maximum = 100.0f) {
    ParameterDesc d;
    d.name = name;
    d.type = kParamFloat;
    d.value.number = normalisedDefault;
    d.minimum = minimum;
    d.maximum = maximum;
    return d;
}

constexpr ParameterDesc ColourParam(const char* name, uint32_t colour) {
    ParameterDesc d;
    d.name = name;
    d.type = kParamColour;
    d.value.colour = colour;
    return d;
}

constexpr ParameterDesc BoolParam(const char* name, bool on) {
    ParameterDesc d;
    d.name = name;
    d.type = kParamBool;
    d.value.flag = on ? 1 : 0;
    return d;
}

constexpr ParameterDesc PointParam(const char* name, float x, float y) {
    ParameterDesc d;
    d.name = name;
    d.type = kParamPoint;
    d.value.point[0] = x;
    d.value.point[1] = y;
    return d;
}

template <size_t N>
constexpr ParameterDesc ChoiceParam(const char* name, int32_t defaultIndex, const char* const (&options)[N]) {
    static_assert(N <= 10);
    ParameterDesc d;
    d.name = name;
    d.type = kParamChoice;
    d.value.choice = defaultIndex;
    d.choiceCount = static_cast<int32_t>(N);
    for (size_t i = 0; i < N; ++i) d.choices[i] = options[i];
    return d;
}

constexpr ParameterDesc WithLayout(ParameterDesc d, int32_t primary, int32_t secondary) {
    d.layoutPrimary = primary;
    d.layoutSecondary = secondary;
    d.layoutValid = true;
    return d;
}

constexpr ParameterDesc WithRangeExtra(ParameterDesc d) {
    d.writesRangeExtra = true;
    return d;
}

// Fills only the fields that belong to the parameter's type (and the layout
// hints when the row has them); false and an untouched record past the list.
bool FillParameterInfo(std::span<const ParameterDesc> table, int32_t index, ParameterInfo* info);

}  // namespace halcyra

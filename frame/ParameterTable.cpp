// The generic GetParameterInfo over a parameter table.
#include "frame/ParameterTable.h"

#include <cstring>

namespace halcyra {
namespace {

// A plain terminated copy with no length check, as the host expects: one option
// text is longer than its 20-byte field and runs on into the next one, which
// holds no option. The copy stays inside the record.
void CopyText(char* destination, const char* text) {
    std::memcpy(destination, text, std::strlen(text) + 1);
}

}  // namespace

bool FillParameterInfo(std::span<const ParameterDesc> table, int32_t index, ParameterInfo* info) {
    if (index < 0 || static_cast<size_t>(index) >= table.size() || info == nullptr) return false;
    const ParameterDesc& d = table[static_cast<size_t>(index)];
    info->type = d.type;
    switch (d.type) {
        case kParamFloat:
            std::memcpy(&info->value, &d.value, 4);
            info->minimum = d.minimum;
            info->maximum = d.maximum;
            if (d.writesRangeExtra) info->rangeExtra = 0;
            break;
        case kParamChoice:
            std::memcpy(&info->value, &d.value, 4);
            info->choiceCount = d.choiceCount;
            for (int32_t i = 0; i < d.choiceCount; ++i) CopyText(info->choices[i], d.choices[i]);
            break;
        case kParamPoint:
            std::memcpy(&info->value, &d.value, 8);
            break;
        case kParamColour:
            std::memcpy(&info->value, &d.value, 4);
            break;
        case kParamBool:
            std::memcpy(&info->value, &d.value, 1);
            break;
        default:
            break;
    }
    CopyText(info->name, d.name);
    if (d.layoutValid) {
        info->layoutPrimary = d.layoutPrimary;
        info->layoutSecondary = d.layoutSecondary;
        info->layoutValid = 1;
    }
    return true;
}

}  // namespace halcyra

// Display-unit conversion of effect parameters. A Float's normalised value is
// (display - minimum) / (maximum - minimum), worked in double and narrowed once,
// so that round numbers on the common 0..100 range give exact fractions.
#include "host/Parameters.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace halcyra::host {

namespace {

std::string FixedText(const char* field, size_t capacity) {
    return std::string(field, strnlen(field, capacity));
}

std::string ShownName(const std::string& raw) {
    // Localisation strings "$$$/KEY=Default text": a host shows the default text.
    if (raw.rfind("$$$/", 0) == 0) {
        size_t equals = raw.find('=');
        if (equals != std::string::npos) return raw.substr(equals + 1);
    }
    return raw;
}

double DisplayFromNormalised(const ParameterInfo& info, float value) {
    return static_cast<double>(info.minimum) +
           static_cast<double>(value) * (static_cast<double>(info.maximum) - info.minimum);
}

[[noreturn]] void Reject(const ParameterSpec& spec, std::string_view text, const std::string& expected) {
    throw HostError("bad value \"" + std::string(text) + "\" for parameter \"" + spec.shownName +
                    "\": " + expected);
}

}  // namespace

std::vector<ParameterSpec> ReadParameters(IVideoEffect* effect) {
    std::vector<ParameterSpec> specs;
    // A bound keeps a misbehaving library from looping us forever.
    for (int index = 0; index < 256; ++index) {
        ParameterSpec spec;
        std::memset(&spec.info, 0, sizeof spec.info);
        if (!effect->GetParameterInfo(index, &spec.info)) break;
        spec.index = index;
        spec.rawName = FixedText(spec.info.name, sizeof spec.info.name);
        spec.shownName = ShownName(spec.rawName);
        if (spec.info.type == kParamChoice) {
            int count = spec.info.choiceCount;
            if (count < 0) count = 0;
            if (count > 10) count = 10;
            for (int i = 0; i < count; ++i) {
                // An option may run on into the next field; read to the end of the array.
                spec.choices.push_back(FixedText(spec.info.choices[i], sizeof spec.info.choices - 20 * i));
            }
        }
        specs.push_back(std::move(spec));
    }
    return specs;
}

const char* TypeName(int32_t type) {
    switch (type) {
        case kParamPoint:
            return "point";
        case kParamChoice:
            return "choice";
        case kParamFloat:
            return "float";
        case kParamColour:
            return "colour";
        case kParamBool:
            return "bool";
        default:
            return "unknown";
    }
}

std::string RangeText(const ParameterSpec& spec) {
    switch (spec.info.type) {
        case kParamFloat:
            return FormatNumber(spec.info.minimum) + " .. " + FormatNumber(spec.info.maximum);
        case kParamPoint:
            return "x,y % (0,0 bottom left)";
        case kParamColour:
            return "#rrggbb";
        case kParamBool:
            return "on/off";
        case kParamChoice:
            return std::to_string(spec.choices.size()) + " options";
        default:
            return "";
    }
}

std::string DisplayValue(const ParameterSpec& spec, const ParameterData& value) {
    char buffer[64];
    switch (spec.info.type) {
        case kParamFloat:
            return FormatNumber(DisplayFromNormalised(spec.info, value.number));
        case kParamPoint:
            return FormatNumber(value.point[0] * 100.0) + "," + FormatNumber(value.point[1] * 100.0);
        case kParamColour:
            std::snprintf(buffer, sizeof buffer, "#%02x%02x%02x", value.colour & 0xFF,
                          (value.colour >> 8) & 0xFF, (value.colour >> 16) & 0xFF);
            return buffer;
        case kParamBool:
            return value.flag ? "on" : "off";
        case kParamChoice:
            if (value.choice >= 0 && static_cast<size_t>(value.choice) < spec.choices.size())
                return "\"" + spec.choices[value.choice] + "\"";
            return std::to_string(value.choice);
        default:
            return "?";
    }
}

ParameterData ParseDisplayValue(const ParameterSpec& spec, std::string_view rawText) {
    ParameterData data{};
    std::string text = Trim(rawText);
    switch (spec.info.type) {
        case kParamFloat: {
            double minimum = spec.info.minimum;
            double maximum = spec.info.maximum;
            double display = 0;
            std::string expected = "a number from " + FormatNumber(minimum) + " to " + FormatNumber(maximum);
            if (!ParseDouble(text, display)) Reject(spec, rawText, expected);
            if (display < minimum || display > maximum)
                Reject(spec, rawText, "out of range, expected " + expected);
            double span = maximum - minimum;
            data.number = span == 0.0 ? 0.0f : static_cast<float>((display - minimum) / span);
            return data;
        }
        case kParamColour: {
            std::string hex = text;
            if (!hex.empty() && hex[0] == '#')
                hex.erase(0, 1);
            else if (hex.size() > 2 && (hex.rfind("0x", 0) == 0 || hex.rfind("0X", 0) == 0))
                hex.erase(0, 2);
            bool ok = hex.size() == 6;
            for (char c : hex) ok = ok && std::isxdigit(static_cast<unsigned char>(c));
            if (!ok) Reject(spec, rawText, "a colour as #rrggbb");
            unsigned long rgb = std::strtoul(hex.c_str(), nullptr, 16);
            uint32_t red = (rgb >> 16) & 0xFF, green = (rgb >> 8) & 0xFF, blue = rgb & 0xFF;
            data.colour = red | (green << 8) | (blue << 16);
            return data;
        }
        case kParamPoint: {
            std::vector<std::string> parts = Split(text, ',');
            double x = 0, y = 0;
            std::string expected = "a point as x,y in percent of the frame, each 0 to 100";
            if (parts.size() != 2 || !ParseDouble(parts[0], x) || !ParseDouble(parts[1], y))
                Reject(spec, rawText, expected);
            if (x < 0 || x > 100 || y < 0 || y > 100)
                Reject(spec, rawText, "out of range, expected " + expected);
            data.point[0] = static_cast<float>(x / 100.0);
            data.point[1] = static_cast<float>(y / 100.0);
            return data;
        }
        case kParamBool: {
            std::string lower = ToLower(text);
            if (lower == "on" || lower == "true" || lower == "yes" || lower == "1")
                data.flag = 1;
            else if (lower == "off" || lower == "false" || lower == "no" || lower == "0")
                data.flag = 0;
            else
                Reject(spec, rawText, "on or off");
            return data;
        }
        case kParamChoice: {
            std::string lower = ToLower(text);
            for (size_t i = 0; i < spec.choices.size(); ++i) {
                if (ToLower(spec.choices[i]) == lower) {
                    data.choice = static_cast<int32_t>(i);
                    return data;
                }
            }
            long long index = 0;
            if (ParseInt(text, index) && index >= 0 && index < static_cast<long long>(spec.choices.size())) {
                data.choice = static_cast<int32_t>(index);
                return data;
            }
            std::string options;
            for (size_t i = 0; i < spec.choices.size(); ++i)
                options += (i ? ", \"" : "\"") + spec.choices[i] + "\"";
            Reject(spec, rawText, "one of " + options + " or an index from 0");
        }
        default:
            Reject(spec, rawText, "the parameter has an unknown type");
    }
}

const ParameterSpec& FindParameter(const std::vector<ParameterSpec>& specs, std::string_view name,
                                   const std::string& effectName) {
    std::string wanted = ToLower(Trim(name));
    for (const ParameterSpec& spec : specs)
        if (ToLower(spec.shownName) == wanted || ToLower(spec.rawName) == wanted) return spec;
    long long index = 0;
    if (ParseInt(wanted, index) && index >= 0 && index < static_cast<long long>(specs.size()))
        return specs[index];
    std::string known;
    for (const ParameterSpec& spec : specs) known += (known.empty() ? "\"" : ", \"") + spec.shownName + "\"";
    throw HostError("unknown parameter \"" + std::string(name) + "\" for " + effectName +
                    (specs.empty() ? " (it has no parameters)" : "; it has " + known));
}

ParameterSet DefaultParameters(const std::vector<ParameterSpec>& specs) {
    ParameterSet set;
    for (const ParameterSpec& spec : specs) {
        set.types.push_back(spec.info.type);
        set.values.push_back(spec.info.value);
    }
    return set;
}

void ApplySettings(ParameterSet& set, const std::vector<ParameterSpec>& specs,
                   const std::vector<std::string>& settings, const std::string& effectName) {
    for (const std::string& setting : settings) {
        // Values never hold '=', raw localisation names do: split at the last one.
        size_t equals = setting.rfind('=');
        if (equals == std::string::npos || equals == 0)
            throw HostError("--set expects NAME=VALUE, got \"" + setting + "\"");
        const ParameterSpec& spec = FindParameter(specs, setting.substr(0, equals), effectName);
        set.values[spec.index] = ParseDisplayValue(spec, std::string_view(setting).substr(equals + 1));
    }
}

}  // namespace halcyra::host

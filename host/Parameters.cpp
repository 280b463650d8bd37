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

[[noreturn]] void Reject(const ParameterSpec& parameter, std::string_view text, const std::string& expected) {
    throw HostError("bad value \"" + std::string(text) + "\" for parameter \"" + parameter.shownName +
                    "\": " + expected);
}

}  // namespace

std::vector<ParameterSpec> ReadParameters(IVideoEffect* effect) {
    std::vector<ParameterSpec> specs;
    // A bound keeps a misbehaving library from looping us forever.
    for (int index = 0; index < 256; ++index) {
        ParameterSpec parameter;
        std::memset(&parameter.info, 0, sizeof parameter.info);
        if (!effect->GetParameterInfo(index, &parameter.info)) break;
        parameter.index = index;
        parameter.rawName = FixedText(parameter.info.name, sizeof parameter.info.name);
        parameter.shownName = ShownName(parameter.rawName);
        if (parameter.info.type == kParamChoice) {
            int count = parameter.info.choiceCount;
            if (count < 0) count = 0;
            if (count > 10) count = 10;
            for (int i = 0; i < count; ++i) {
                // An option may run on into the next field; read to the end of the array.
                parameter.choices.push_back(
                    FixedText(parameter.info.choices[i], sizeof parameter.info.choices - 20 * i));
            }
        }
        specs.push_back(std::move(parameter));
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

std::string RangeText(const ParameterSpec& parameter) {
    switch (parameter.info.type) {
        case kParamFloat:
            return FormatNumber(parameter.info.minimum) + " .. " + FormatNumber(parameter.info.maximum);
        case kParamPoint:
            return "x,y % (0,0 bottom left)";
        case kParamColour:
            return "#rrggbb";
        case kParamBool:
            return "on/off";
        case kParamChoice:
            return std::to_string(parameter.choices.size()) + " options";
        default:
            return "";
    }
}

std::string DisplayValue(const ParameterSpec& parameter, const ParameterData& value) {
    char buffer[64];
    switch (parameter.info.type) {
        case kParamFloat:
            return FormatNumber(DisplayFromNormalised(parameter.info, value.number));
        case kParamPoint:
            return FormatNumber(value.point[0] * 100.0) + "," + FormatNumber(value.point[1] * 100.0);
        case kParamColour:
            std::snprintf(buffer, sizeof buffer, "#%02x%02x%02x", value.colour & 0xFF,
                          (value.colour >> 8) & 0xFF, (value.colour >> 16) & 0xFF);
            return buffer;
        case kParamBool:
            return value.flag ? "on" : "off";
        case kParamChoice:
            if (value.choice >= 0 && static_cast<size_t>(value.choice) < parameter.choices.size())
                return "\"" + parameter.choices[value.choice] + "\"";
            return std::to_string(value.choice);
        default:
            return "?";
    }
}

ParameterData ParseDisplayValue(const ParameterSpec& parameter, std::string_view rawText) {
    ParameterData data{};
    std::string text = Trim(rawText);
    switch (parameter.info.type) {
        case kParamFloat: {
            double minimum = parameter.info.minimum;
            double maximum = parameter.info.maximum;
            double display = 0;
            std::string expected = "a number from " + FormatNumber(minimum) + " to " + FormatNumber(maximum);
            if (!ParseDouble(text, display)) Reject(parameter, rawText, expected);
            if (display < minimum || display > maximum)
                Reject(parameter, rawText, "out of range, expected " + expected);
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
            if (!ok) Reject(parameter, rawText, "a colour as #rrggbb");
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
                Reject(parameter, rawText, expected);
            if (x < 0 || x > 100 || y < 0 || y > 100)
                Reject(parameter, rawText, "out of range, expected " + expected);
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
                Reject(parameter, rawText, "on or off");
            return data;
        }
        case kParamChoice: {
            std::string lower = ToLower(text);
            for (size_t i = 0; i < parameter.choices.size(); ++i) {
                if (ToLower(parameter.choices[i]) == lower) {
                    data.choice = static_cast<int32_t>(i);
                    return data;
                }
            }
            long long index = 0;
            if (ParseInt(text, index) && index >= 0 &&
                index < static_cast<long long>(parameter.choices.size())) {
                data.choice = static_cast<int32_t>(index);
                return data;
            }
            std::string options;
            for (size_t i = 0; i < parameter.choices.size(); ++i)
                options += (i ? ", \"" : "\"") + parameter.choices[i] + "\"";
            Reject(parameter, rawText, "one of " + options + " or an index from 0");
        }
        default:
            Reject(parameter, rawText, "the parameter has an unknown type");
    }
}

const ParameterSpec& FindParameter(const std::vector<ParameterSpec>& specs, std::string_view name,
                                   const std::string& effectName) {
    std::string wanted = ToLower(Trim(name));
    for (const ParameterSpec& parameter : specs)
        if (ToLower(parameter.shownName) == wanted || ToLower(parameter.rawName) == wanted) return parameter;
    long long index = 0;
    if (ParseInt(wanted, index) && index >= 0 && index < static_cast<long long>(specs.size()))
        return specs[index];
    std::string known;
    for (const ParameterSpec& parameter : specs)
        known += (known.empty() ? "\"" : ", \"") + parameter.shownName + "\"";
    throw HostError("unknown parameter \"" + std::string(name) + "\" for " + effectName +
                    (specs.empty() ? " (it has no parameters)" : "; it has " + known));
}

ParameterSet DefaultParameters(const std::vector<ParameterSpec>& specs) {
    ParameterSet set;
    for (const ParameterSpec& parameter : specs) {
        set.types.push_back(parameter.info.type);
        set.values.push_back(parameter.info.value);
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
        const ParameterSpec& parameter = FindParameter(specs, setting.substr(0, equals), effectName);
        set.values[parameter.index] =
            ParseDisplayValue(parameter, std::string_view(setting).substr(equals + 1));
    }
}

}  // namespace halcyra::host

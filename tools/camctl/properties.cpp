#include <algorithm>
#include <charconv>

#include "commands.h"
#include "text.h"

namespace camctl {

namespace {

struct PropertyName {
    int id;
    const char* name;
    const char* unit;  // as the camera control and video processing sets define them; "" is a plain number
};

constexpr PropertyName kProperties[] = {
    {0, "brightness", ""},
    {1, "contrast", ""},
    {2, "hue", "degrees x 100"},
    {3, "saturation", ""},
    {4, "sharpness", ""},
    {5, "gamma", "x 100"},
    {6, "color-enable", "0 or 1"},
    {7, "white-balance", "kelvin"},
    {8, "backlight-compensation", ""},
    {9, "pan", "degrees"},
    {10, "tilt", "degrees"},
    {11, "roll", "degrees"},
    {12, "zoom", ""},
    {13, "exposure", "log2 seconds"},
    {14, "iris", "f-stop x 10"},
    {15, "focus", "millimetres"},
    {16, "flash", ""},
    {59, "focus-step", ""},
    {60, "focus-maximum", ""},
    {61, "focus-minimum", ""},
    {62, "focus-fixed", ""},
};

std::string NameOf(int id) {
    for (const PropertyName& property : kProperties) {
        if (property.id == id) return property.name;
    }
    return "property-" + std::to_string(id);
}

// The imager's values are its own library's: units are known of the colour camera only.
const char* UnitOf(int id) {
    int type;
    camGetSelectedType(&type);
    if (type == CAM_TYPE_IMAGER && id != CAM_PROPERTY_COLOR_ENABLE) return "";
    for (const PropertyName& property : kProperties) {
        if (property.id == id) return property.unit;
    }
    return "";
}

bool ParseNumber(std::string_view text, long& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

// A name, "property-N" or the number itself.
int IdOf(const std::string& name) {
    for (const PropertyName& property : kProperties) {
        if (name == property.name) return property.id;
    }
    const std::string prefix = "property-";
    long id = 0;
    if (ParseNumber(name.starts_with(prefix) ? name.substr(prefix.size()) : name, id) && id >= 0 &&
        id <= CAM_PROPERTY_LAST) {
        return static_cast<int>(id);
    }
    std::string known;
    for (const PropertyName& property : kProperties)
        known += (known.empty() ? "" : ", ") + std::string(property.name);
    throw ToolError{kExitUsage, "there is no property '" + name + "'",
                    "give a number from 0 to 80, or one of " + known};
}

std::string FlagsText(long flags) {
    if (flags == (CAM_FLAG_AUTO | CAM_FLAG_MANUAL)) return "auto or manual";
    if (flags == CAM_FLAG_AUTO) return "auto";
    if (flags == CAM_FLAG_MANUAL) return "manual";
    return std::to_string(flags);
}

struct Range {
    long minimum, maximum, step, defaultValue, flags;
};

std::optional<Range> RangeOf(int id) {
    Range r = {};
    if (camGetPropertyRange(id, &r.minimum, &r.maximum, &r.step, &r.defaultValue, &r.flags) != camOk)
        return std::nullopt;
    return r;
}

std::string RangeText(const Range& range) {
    return std::to_string(range.minimum) + " to " + std::to_string(range.maximum) + " in steps of " +
           std::to_string(range.step);
}

Json PropertyJson(int id, const std::optional<Range>& range, bool hasValue, long value, long flags) {
    Json json = {{"id", id}, {"name", NameOf(id)}, {"unit", UnitOf(id)}};
    if (range) {
        json["minimum"] = range->minimum;
        json["maximum"] = range->maximum;
        json["step"] = range->step;
        json["default"] = range->defaultValue;
        json["modes"] = FlagsText(range->flags);
    }
    if (hasValue) {
        json["value"] = value;
        json["mode"] = FlagsText(flags);
    }
    return json;
}

// Before the range is asked for or a value set: the imager camera takes from the value it is handed which exposure
// setting is meant from then on.
camResult ReadValue(int id, long& value, long& flags) {
    constexpr long kDirectExposure = -1;
    value = kDirectExposure;
    flags = 0;
    return camGetProperty(id, &value, &flags);
}

}  // namespace

void Properties(const CameraOptions& options, bool asJson) {
    const CameraSession session(options);
    Json list = Json::array();
    std::string text;
    for (int id = 0; id <= CAM_PROPERTY_LAST; ++id) {
        long value, flags;
        const bool hasValue = ReadValue(id, value, flags) == camOk;
        const std::optional<Range> range = RangeOf(id);
        if (!hasValue && !range) continue;
        list.push_back(PropertyJson(id, range, hasValue, value, flags));
        char line[200];
        snprintf(line, sizeof line, "%2d  %-23s %-14s %8s  %s\n", id, NameOf(id).c_str(), UnitOf(id),
                 hasValue ? std::to_string(value).c_str() : "?",
                 (range ? RangeText(*range) + ", default " + std::to_string(range->defaultValue) + ", " +
                              FlagsText(range->flags)
                        : "range unknown")
                     .c_str());
        text += line;
    }
    PrintResult(asJson, {{"ok", true}, {"properties", list}},
                text.empty() ? "this camera has no properties\n" : text);
}

void GetProperty(const CameraOptions& options, const std::string& name, bool asJson) {
    const int id = IdOf(name);
    const CameraSession session(options);
    long value, flags;
    const camResult result = ReadValue(id, value, flags);
    if (result != camOk) {
        throw ToolError{kExitInvalidArgument, "this camera does not tell property " + NameOf(id),
                        "'camctl props' lists those it has", result};
    }
    Json json = PropertyJson(id, RangeOf(id), true, value, flags);
    json["ok"] = true;
    PrintResult(asJson, json, std::to_string(value) + " (" + FlagsText(flags) + ")\n");
}

void SetProperty(const CameraOptions& options, const std::string& assignment, bool asJson) {
    const size_t equals = assignment.find('=');
    std::string valueText = equals == std::string::npos ? "" : assignment.substr(equals + 1);
    const bool isAuto = valueText.ends_with(",auto");
    if (isAuto) valueText.resize(valueText.size() - 5);
    const char* form = "write NAME=NUMBER or NAME=NUMBER,auto";
    if (equals == std::string::npos)
        throw ToolError{kExitUsage, "'" + assignment + "' is no assignment", form};
    const int id = IdOf(assignment.substr(0, equals));
    long value = 0;
    if (!ParseNumber(valueText, value))
        throw ToolError{kExitUsage, "'" + valueText + "' is no whole number of 32 bits", form};
    const CameraSession session(options);
    long current, flags;
    ReadValue(id, current, flags);
    const std::optional<Range> range = RangeOf(id);
    if (!range) {
        throw ToolError{kExitInvalidArgument, "this camera does not have property " + NameOf(id),
                        "'camctl props' lists those it has", camInvalidArgument};
    }
    const camResult result = camSetProperty(id, value, isAuto ? CAM_FLAG_AUTO : CAM_FLAG_MANUAL);
    if (result != camOk || value < range->minimum || value > range->maximum) {
        const std::string verdict =
            result == camOk ? " is out of range, and the camera took it all the same" : " was refused";
        throw ToolError{kExitInvalidArgument, NameOf(id) + "=" + assignment.substr(equals + 1) + verdict,
                        "give " + RangeText(*range) + ", " + FlagsText(range->flags), result};
    }
    const bool hasValue = ReadValue(id, current, flags) == camOk;
    if (hasValue) value = current;
    Json json = PropertyJson(id, range, hasValue, value, flags);
    json["ok"] = true;
    PrintResult(asJson, json, NameOf(id) + " is " + std::to_string(value) + " (" + FlagsText(flags) + ")\n");
}

}  // namespace camctl

#include <algorithm>
#include <charconv>

#include <ocellus/cam_properties.hpp>

#include "commands.h"
#include "text.h"

namespace camctl {

namespace {

std::string NameOf(int id) {
    const ocellus::PropertyName* const property = ocellus::FindProperty(id);
    return property ? std::string(property->name) : "property-" + std::to_string(id);
}

// The imager's values are its own library's: units are known of the colour camera only.
std::string UnitOf(int id) {
    int type;
    camGetSelectedType(&type);
    if (type == CAM_TYPE_IMAGER && id != CAM_PROPERTY_COLOR_ENABLE) return "";
    const ocellus::PropertyName* const property = ocellus::FindProperty(id);
    return property ? std::string(property->unit) : "";
}

bool ParseNumber(std::string_view text, long& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

// A name, "property-N" or the number itself.
int IdOf(const std::string& name) {
    if (const auto* const property = ocellus::FindProperty(name)) return property->id;
    const std::string prefix = "property-";
    long id = 0;
    if (ParseNumber(name.starts_with(prefix) ? name.substr(prefix.size()) : name, id) && id >= 0 &&
        id <= CAM_PROPERTY_LAST) {
        return static_cast<int>(id);
    }
    std::string known;
    for (const ocellus::PropertyName& property : ocellus::kPropertyNames)
        known += (known.empty() ? "" : ", ") + std::string(property.name);
    throw ToolError{ExitCode::Usage, "there is no property '" + name + "'",
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

// Before the range is asked for or a value set: the imager camera takes from the value it is handed which
// exposure setting is meant from then on.
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
        snprintf(line, sizeof line, "%2d  %-23s %-14s %8s  %s\n", id, NameOf(id).c_str(), UnitOf(id).c_str(),
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
        throw ToolError{ExitCode::InvalidArgument, "this camera does not tell property " + NameOf(id),
                        "'camctl props' lists those it has", result};
    }
    Json json = PropertyJson(id, RangeOf(id), true, value, flags);
    json["ok"] = true;
    PrintResult(asJson, json, std::to_string(value) + " (" + FlagsText(flags) + ")\n");
}

void ResetProperties(const CameraOptions& options, const std::vector<std::string>& names, bool asJson) {
    std::vector<int> ids;
    for (const std::string& name : names) ids.push_back(IdOf(name));
    const bool all = ids.empty();
    for (int id = 0; all && id <= CAM_PROPERTY_LAST; ++id) ids.push_back(id);
    const CameraSession session(options);
    Json list = Json::array();
    std::string text;
    for (const int id : ids) {
        long value, flags;
        ReadValue(id, value, flags);
        const std::optional<Range> range = RangeOf(id);
        // A camera that adjusts a property by itself does so by default.
        const long mode = range && range->flags & CAM_FLAG_AUTO ? CAM_FLAG_AUTO : CAM_FLAG_MANUAL;
        const camResult result =
            range ? camSetProperty(id, range->defaultValue, mode) : camResult{camInvalidArgument};
        if (result != camOk) {
            if (all) continue;
            throw ToolError{ExitCode::InvalidArgument, "this camera has no default for " + NameOf(id),
                            "'camctl props' lists those it has", result};
        }
        const bool hasValue = ReadValue(id, value, flags) == camOk;
        list.push_back(PropertyJson(id, range, hasValue, value, flags));
        text += NameOf(id) + " is " + std::to_string(hasValue ? value : range->defaultValue) + " (" +
                FlagsText(hasValue ? flags : mode) + ")\n";
    }
    PrintResult(asJson, {{"ok", true}, {"properties", list}},
                text.empty() ? "this camera has no defaults\n" : text);
}

void SetProperty(const CameraOptions& options, const std::string& assignment, bool asJson) {
    const size_t equals = assignment.find('=');
    std::string valueText = equals == std::string::npos ? "" : assignment.substr(equals + 1);
    const bool isAuto = valueText.ends_with(",auto");
    if (isAuto) valueText.resize(valueText.size() - 5);
    const char* form = "write NAME=NUMBER or NAME=NUMBER,auto";
    if (equals == std::string::npos)
        throw ToolError{ExitCode::Usage, "'" + assignment + "' is no assignment", form};
    const int id = IdOf(assignment.substr(0, equals));
    long value = 0;
    if (!ParseNumber(valueText, value))
        throw ToolError{ExitCode::Usage, "'" + valueText + "' is no whole number of 32 bits", form};
    const CameraSession session(options);
    long current, flags;
    ReadValue(id, current, flags);
    const std::optional<Range> range = RangeOf(id);
    if (!range) {
        throw ToolError{ExitCode::InvalidArgument, "this camera does not have property " + NameOf(id),
                        "'camctl props' lists those it has", camInvalidArgument};
    }
    const camResult result = camSetProperty(id, value, isAuto ? CAM_FLAG_AUTO : CAM_FLAG_MANUAL);
    if (result != camOk || value < range->minimum || value > range->maximum) {
        const std::string verdict =
            result == camOk ? " is out of range, and the camera took it all the same" : " was refused";
        throw ToolError{ExitCode::InvalidArgument, NameOf(id) + "=" + assignment.substr(equals + 1) + verdict,
                        "give " + RangeText(*range) + ", " + FlagsText(range->flags), result};
    }
    const bool hasValue = ReadValue(id, current, flags) == camOk;
    if (hasValue) value = current;
    Json json = PropertyJson(id, range, hasValue, value, flags);
    json["ok"] = true;
    PrintResult(asJson, json, NameOf(id) + " is " + std::to_string(value) + " (" + FlagsText(flags) + ")\n");
}

}  // namespace camctl

// What the properties of a camera are called. C++17, header only.
//
//     ocellus::FindProperty("zoom")->id             // CAM_PROPERTY_ZOOM
//     ocellus::FindProperty(CAM_PROPERTY_PAN)->unit // "degrees"
#pragma once

#include <ocellus/cam_property_ids.h>

#include <string_view>

namespace ocellus {

struct PropertyName {
    int id;
    std::string_view name;  // words in small letters, joined by dashes
    // As the system's video processing and camera control sets define it; empty for a plain number. The
    // imager camera's values are its own library's.
    std::string_view unit;
};

// All properties that have a name, by their id.
inline constexpr PropertyName kPropertyNames[] = {
    {CAM_PROPERTY_BRIGHTNESS, "brightness", ""},
    {CAM_PROPERTY_CONTRAST, "contrast", ""},
    {CAM_PROPERTY_HUE, "hue", "degrees x 100"},
    {CAM_PROPERTY_SATURATION, "saturation", ""},
    {CAM_PROPERTY_SHARPNESS, "sharpness", ""},
    {CAM_PROPERTY_GAMMA, "gamma", "x 100"},
    {CAM_PROPERTY_COLOR_ENABLE, "color-enable", "0 or 1"},
    {CAM_PROPERTY_WHITE_BALANCE, "white-balance", "kelvin"},
    {CAM_PROPERTY_BACKLIGHT_COMPENSATION, "backlight-compensation", ""},
    {CAM_PROPERTY_PAN, "pan", "degrees"},
    {CAM_PROPERTY_TILT, "tilt", "degrees"},
    {CAM_PROPERTY_ROLL, "roll", "degrees"},
    {CAM_PROPERTY_ZOOM, "zoom", ""},
    {CAM_PROPERTY_EXPOSURE, "exposure", "log2 seconds"},
    {CAM_PROPERTY_IRIS, "iris", "f-stop x 10"},
    {CAM_PROPERTY_FOCUS, "focus", "millimetres"},
    {CAM_PROPERTY_FLASH, "flash", ""},
    {CAM_PROPERTY_FOCUS_STEP, "focus-step", ""},
    {CAM_PROPERTY_FOCUS_MAXIMUM, "focus-maximum", ""},
    {CAM_PROPERTY_FOCUS_MINIMUM, "focus-minimum", ""},
    {CAM_PROPERTY_FOCUS_FIXED, "focus-fixed", ""},
};

// Null: the property has no name, and no property has the name.
constexpr const PropertyName* FindProperty(int id) {
    for (const PropertyName& property : kPropertyNames) {
        if (property.id == id) return &property;
    }
    return nullptr;
}
constexpr const PropertyName* FindProperty(std::string_view name) {
    for (const PropertyName& property : kPropertyNames) {
        if (property.name == name) return &property;
    }
    return nullptr;
}

}  // namespace ocellus

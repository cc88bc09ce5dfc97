#include "properties.h"

#include <charconv>
#include <string>

#include <ocellus/cam_properties.hpp>

namespace kit {
namespace {

// By the library's ids: the ids of the camera control set stand after those of the video processing set.
constexpr int kFirstControlId = kVideoProcAmpCount;

struct UsualProperty {
    int id;
    long minimum, maximum, step, initial, capabilities;
};

constexpr long kBoth = kFlagAuto | kFlagManual;

constexpr UsualProperty kUsual[] = {
    {CAM_PROPERTY_BRIGHTNESS, -100, 100, 1, 0, kFlagManual},
    {CAM_PROPERTY_CONTRAST, 0, 200, 1, 100, kFlagManual},
    {CAM_PROPERTY_HUE, -180, 180, 1, 0, kFlagManual},
    {CAM_PROPERTY_SATURATION, 0, 200, 1, 100, kFlagManual},
    {CAM_PROPERTY_SHARPNESS, 0, 10, 1, 5, kFlagManual},
    {CAM_PROPERTY_GAMMA, 50, 300, 10, 100, kFlagManual},
    {CAM_PROPERTY_COLOR_ENABLE, 0, 1, 1, 1, kFlagManual},
    {CAM_PROPERTY_WHITE_BALANCE, 2800, 6500, 100, 5000, kBoth},
    {CAM_PROPERTY_BACKLIGHT_COMPENSATION, 0, 1, 1, 0, kFlagManual},
    {CAM_PROPERTY_PAN, -180, 180, 1, 0, kFlagManual},
    {CAM_PROPERTY_TILT, -180, 180, 1, 0, kFlagManual},
    {CAM_PROPERTY_ROLL, -180, 180, 1, 0, kFlagManual},
    {CAM_PROPERTY_ZOOM, 1, 8, 1, 1, kFlagManual},
    {CAM_PROPERTY_EXPOSURE, -10, 0, 1, -5, kBoth},
    {CAM_PROPERTY_IRIS, 10, 220, 10, 30, kBoth},
    {CAM_PROPERTY_FOCUS, 0, 1, 1, 1, kBoth},
    {CAM_PROPERTY_FLASH, 0, 1, 1, 0, kFlagManual},
    {CAM_PROPERTY_FOCUS_STEP, 1, 64, 1, 8, kFlagManual},
    {CAM_PROPERTY_FOCUS_MAXIMUM, 0, 255, 1, 200, kFlagManual},
    {CAM_PROPERTY_FOCUS_MINIMUM, 0, 255, 1, 100, kFlagManual},
    {CAM_PROPERTY_FOCUS_FIXED, 0, 255, 1, 150, kFlagManual},
};

// Scenarios write a property's name in the way of their own members: "focusStep" for "focus-step".
std::string InScenario(std::string_view name) {
    std::string written;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool startsWord = name[i] == '-' && i + 1 < name.size();
        written += startsWord ? static_cast<char>(name[++i] - 'a' + 'A') : name[i];
    }
    return written;
}

constexpr std::string_view kNumberedPrefix = "cameraControl";
constexpr long kMaxFurtherValue = 1000;

}  // namespace

PropertyTable::PropertyTable() {
    for (Property& property : cameraControl) property.maximum = kMaxFurtherValue;
    for (const UsualProperty& usual : kUsual)
        *Find(usual.id) = {
            true,          usual.minimum,      usual.maximum, usual.step,
            usual.initial, usual.capabilities, usual.initial, usual.capabilities & kFlagManual};
}

const Property* PropertyTable::Find(PropertySet set, long number) const {
    const long count = set == PropertySet::VideoProcAmp ? kVideoProcAmpCount : kCameraControlCount;
    if (number < 0 || number >= count) return nullptr;
    const auto index = static_cast<std::size_t>(number);
    return set == PropertySet::VideoProcAmp ? &videoProcAmp[index] : &cameraControl[index];
}

Property* PropertyTable::Find(PropertySet set, long number) {
    return const_cast<Property*>(static_cast<const PropertyTable*>(this)->Find(set, number));
}

Property* PropertyTable::Find(int id) {
    return id < kFirstControlId ? Find(PropertySet::VideoProcAmp, id)
                                : Find(PropertySet::CameraControl, id - kFirstControlId);
}

Property* PropertyTable::Find(std::string_view name) {
    for (const ocellus::PropertyName& property : ocellus::kPropertyNames) {
        if (InScenario(property.name) == name) return Find(property.id);
    }
    if (name.substr(0, kNumberedPrefix.size()) != kNumberedPrefix) return nullptr;
    name.remove_prefix(kNumberedPrefix.size());
    long number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error != std::errc() || end != name.data() + name.size()) return nullptr;
    return Find(PropertySet::CameraControl, number);
}

std::int32_t PropertyTable::Set(PropertySet set, long number, long value, long flags) {
    Property* property = Find(set, number);
    if (!property || !property->supported) return kNoSuchProperty;
    if (flags == 0 || (flags & ~property->capabilities) != 0 || flags == kBoth) return kRefused;
    Property changed = *property;
    changed.value = value;
    changed.flags = flags;
    if (Fault(changed)) return kRefused;
    *property = changed;
    return 0;
}

const char* Fault(const Property& property) {
    if (property.minimum > property.maximum) return "its minimum must not be above its maximum";
    if (property.step < 1) return "its step must be at least 1";
    if (property.initial < property.minimum || property.initial > property.maximum)
        return "its default must lie between its minimum and its maximum";
    if (property.value < property.minimum || property.value > property.maximum)
        return "its value must lie between its minimum and its maximum";
    const auto above = static_cast<long long>(property.value) - property.minimum;
    if (above % property.step != 0) return "its value must be a whole number of steps above its minimum";
    return nullptr;
}

}  // namespace kit

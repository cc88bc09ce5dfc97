#include "properties.h"

#include <charconv>

namespace kit {
namespace {

struct NamedProperty {
    std::string_view name;
    PropertySet set;
    long number;
    long minimum, maximum, step, initial, capabilities;
};

constexpr auto kAmp = PropertySet::VideoProcAmp;
constexpr auto kControl = PropertySet::CameraControl;
constexpr long kBoth = kFlagAuto | kFlagManual;

constexpr NamedProperty kNamed[] = {
    {"brightness", kAmp, kBrightness, -100, 100, 1, 0, kFlagManual},
    {"contrast", kAmp, kContrast, 0, 200, 1, 100, kFlagManual},
    {"hue", kAmp, 2, -180, 180, 1, 0, kFlagManual},
    {"saturation", kAmp, kSaturation, 0, 200, 1, 100, kFlagManual},
    {"sharpness", kAmp, 4, 0, 10, 1, 5, kFlagManual},
    {"gamma", kAmp, kGamma, 50, 300, 10, 100, kFlagManual},
    {"colorEnable", kAmp, kColorEnable, 0, 1, 1, 1, kFlagManual},
    {"whiteBalance", kAmp, 7, 2800, 6500, 100, 5000, kBoth},
    {"backlightCompensation", kAmp, 8, 0, 1, 1, 0, kFlagManual},
    {"pan", kControl, 0, -180, 180, 1, 0, kFlagManual},
    {"tilt", kControl, 1, -180, 180, 1, 0, kFlagManual},
    {"roll", kControl, 2, -180, 180, 1, 0, kFlagManual},
    {"zoom", kControl, kZoom, 1, 8, 1, 1, kFlagManual},
    {"exposure", kControl, 4, -10, 0, 1, -5, kBoth},
    {"iris", kControl, 5, 10, 220, 10, 30, kBoth},
    {"focus", kControl, kFocus, 0, 1, 1, 1, kBoth},
    {"flash", kControl, kFlash, 0, 1, 1, 0, kFlagManual},
    {"focusStep", kControl, 50, 1, 64, 1, 8, kFlagManual},
    {"focusMaximum", kControl, 51, 0, 255, 1, 200, kFlagManual},
    {"focusMinimum", kControl, 52, 0, 255, 1, 100, kFlagManual},
    {"focusFixed", kControl, kFocusFixed, 0, 255, 1, 150, kFlagManual},
};

constexpr std::string_view kNumberedPrefix = "cameraControl";
constexpr long kMaxFurtherValue = 1000;

}  // namespace

PropertyTable::PropertyTable() {
    for (Property& property : cameraControl) property.maximum = kMaxFurtherValue;
    for (const NamedProperty& named : kNamed)
        *Find(named.set, named.number) = {
            true,          named.minimum,      named.maximum, named.step,
            named.initial, named.capabilities, named.initial, named.capabilities & kFlagManual};
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

Property* PropertyTable::Find(std::string_view name) {
    for (const NamedProperty& named : kNamed) {
        if (named.name == name) return Find(named.set, named.number);
    }
    if (name.substr(0, kNumberedPrefix.size()) != kNumberedPrefix) return nullptr;
    name.remove_prefix(kNumberedPrefix.size());
    long number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error != std::errc() || end != name.data() + name.size()) return nullptr;
    return Find(PropertySet::CameraControl, number);
}

HRESULT PropertyTable::Set(PropertySet set, long number, long value, long flags) {
    Property* property = Find(set, number);
    if (!property || !property->supported) return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    if (flags == 0 || (flags & ~property->capabilities) != 0 || flags == kBoth) return E_INVALIDARG;
    Property changed = *property;
    changed.value = value;
    changed.flags = flags;
    if (Fault(changed)) return E_INVALIDARG;
    *property = changed;
    return S_OK;
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

// The camera's properties: which there are, what values they take, and what they hold.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace kit {

// The two property sets of the capture filter: IAMVideoProcAmp and IAMCameraControl.
enum class PropertySet { VideoProcAmp, CameraControl };

constexpr auto kNoSuchProperty = static_cast<std::int32_t>(0x80070490);  // ERROR_NOT_FOUND
constexpr auto kRefused = static_cast<std::int32_t>(0x80070057);         // E_INVALIDARG

constexpr long kFlagAuto = 1;
constexpr long kFlagManual = 2;
constexpr long kPropertyCameraId = -1;  // of IAMVideoProcAmp, cannot be set

constexpr int kVideoProcAmpCount = 9;    // 0 to 8
constexpr int kCameraControlCount = 72;  // 0 to 71; 8 and above are the driver's own

// Numbers of the properties that act on the picture.
constexpr long kBrightness = 0, kContrast = 1, kSaturation = 3, kGamma = 5, kColorEnable = 6;  // VideoProcAmp
constexpr long kZoom = 3, kFocus = 6, kFlash = 7, kFocusFixed = 53;  // CameraControl

struct Property {
    bool supported = true;
    long minimum = 0;
    long maximum = 0;
    long step = 1;
    long initial = 0;                 // the default
    long capabilities = kFlagManual;  // flags it can be set with
    long value = 0;
    long flags = kFlagManual;
};

// What every property is on a camera that nobody configured.
class PropertyTable {
  public:
    PropertyTable();

    // Null: there is no such number in the set.
    Property* Find(PropertySet set, long number);
    const Property* Find(PropertySet set, long number) const;
    // By its name in a scenario ("brightness", "zoom", "cameraControl17"); null: no such name.
    Property* Find(std::string_view name);

    long Value(PropertySet set, long number) const { return Find(set, number)->value; }

    // As the driver judges, an HRESULT: 0, kNoSuchProperty, or kRefused for a value out of range, off its
    // steps, or flags that the property cannot have.
    std::int32_t Set(PropertySet set, long number, long value, long flags);

  private:
    Property* Find(int id);

    std::array<Property, kVideoProcAmpCount> videoProcAmp;
    std::array<Property, kCameraControlCount> cameraControl;
};

// Why `property` cannot be (a range upside down, a value outside of it), or null.
const char* Fault(const Property& property);

}  // namespace kit

// Properties: what the camera says of them is consistent, and reaches the driver under its numbers.
#include "camera.h"
#include "check.h"
#include "kit.h"

namespace verify {

namespace {

struct Range {
    long minimum = 0, maximum = 0, step = 0, preset = 0, flags = 0;

    bool Read(int id) {
        return cam.GetPropertyRange(id, &minimum, &maximum, &step, &preset, &flags) == camOk;
    }
};

// The imager selects by what is asked, and has its own group.
void Consistent() {
    const Session session;
    session.NeedUp();
    int count = 0;
    for (int id = 0; id <= CAM_PROPERTY_LAST; ++id) {
        const Row row("property " + std::to_string(id));
        Range range;
        if (!range.Read(id)) continue;
        ++count;
        Holds("minimum is not above maximum", range.minimum <= range.maximum);
        Holds("the step is positive, or there is one value",
              range.step > 0 || range.minimum == range.maximum);
        Holds("the default lies within the range",
              range.preset >= range.minimum && range.preset <= range.maximum);
        Holds("it can be set by hand or automatically",
              range.flags >= CAM_FLAG_AUTO && range.flags <= (CAM_FLAG_AUTO | CAM_FLAG_MANUAL));
        long value = 0, flags = 0;
        if (!Equal("its value", cam.GetProperty(id, &value, &flags), camResult{camOk})) continue;
        Measured("property " + std::to_string(id),
                 std::to_string(value) + " in " + std::to_string(range.minimum) + " to " +
                     std::to_string(range.maximum) + ", step " + std::to_string(range.step) + ", default " +
                     std::to_string(range.preset) + ", flags " + std::to_string(range.flags));
        if (flags & CAM_FLAG_MANUAL)
            Holds("the value lies within the range", value >= range.minimum && value <= range.maximum);
        Holds("it is set as the range allows", (flags & ~range.flags) == 0);
        // What it has already, so that nothing changes.
        if (flags == CAM_FLAG_MANUAL && value >= range.minimum && value <= range.maximum) {
            Equal("setting the value that it has", cam.SetProperty(id, value, flags), camResult{camOk});
            long again = value + 1;
            cam.GetProperty(id, &again, &flags);
            Equal("the value after that", again, value);
        }
    }
    Measured("properties", count, "");
    long byProperty = -1, flags = 0, byCall = -2;
    const camResult result = cam.GetProperty(CAM_PROPERTY_CAMERA_ID, &byProperty, &flags);
    Equal("the camera's number by either function", cam.GetCameraID(&byCall), result);
    if (result == camOk) {
        Equal("the camera's number", byCall, byProperty);
        Measured("camera", byCall, "");
    }
}

void Places() {
    const Session session(
        std::wstring(L"{\"properties\": {\"zoom\": {\"minimum\": 1, \"maximum\": 8, \"value\": 2}}}"));
    session.NeedUp();
    // Which number of which set an id means.
    const struct {
        int id;
        const char* set;
        int number;
    } places[] = {{0, "IAMVideoProcAmp", 0},  {8, "IAMVideoProcAmp", 8},   {-1, "IAMVideoProcAmp", -1},
                  {9, "IAMCameraControl", 0}, {12, "IAMCameraControl", 3}, {80, "IAMCameraControl", 71}};
    for (const auto& [id, set, number] : places) {
        const Row row("property " + std::to_string(id));
        const auto calls = [&](const char* operation) {
            return CountOf(std::string(set) + "::" + operation + " " + std::to_string(number));
        };
        long value = 0, flags = 0;
        Equal("its value", cam.GetProperty(id, &value, &flags), camResult{camOk});
        Equal("the driver is asked", calls("Get"), LONG{1});
        if (id < 0) continue;  // it can only be read
        Range range;
        Need("its range", range.Read(id));
        Equal("the driver is asked for the range", calls("GetRange"), LONG{1});
        const long fresh = range.maximum;
        Equal("set", cam.SetProperty(id, fresh, CAM_FLAG_MANUAL), camResult{camOk});
        Equal("the driver is told", calls("Set"), LONG{1});
        cam.GetProperty(id, &value, &flags);
        Equal("the value after that", value, fresh);
        Equal("flags", flags, long{CAM_FLAG_MANUAL});
        // The driver's refusal is passed on, and nothing changes.
        Equal("beyond the range", cam.SetProperty(id, range.maximum + 1, CAM_FLAG_MANUAL),
              camResult{camInvalidArgument});
        Equal("with flags that it lacks", cam.SetProperty(id, fresh, 4), camResult{camInvalidArgument});
        cam.GetProperty(id, &value, &flags);
        Equal("the value after a refusal", value, fresh);
    }
    Range zoom;
    zoom.Read(CAM_PROPERTY_ZOOM);
    Equal("the five numbers of a range, in their places",
          std::vector<long>{zoom.minimum, zoom.maximum, zoom.step, zoom.preset, zoom.flags},
          std::vector<long>{1, 8, 1, 1, 2});
}

void Refused() {
    const Session session(std::wstring(L"{\"properties\": {\"pan\": {\"supported\": false}}}"));
    session.NeedUp();
    long value = 77, flags = 77;
    Equal("a property that the camera lacks", cam.GetProperty(CAM_PROPERTY_PAN, &value, &flags),
          camResult{camInvalidArgument});
    Range range;
    Holds("its range", !range.Read(CAM_PROPERTY_PAN));
    Equal("setting it", cam.SetProperty(CAM_PROPERTY_PAN, 0, CAM_FLAG_MANUAL), camResult{camInvalidArgument});
    Equal("a property that it has", cam.GetProperty(CAM_PROPERTY_TILT, &value, &flags), camResult{camOk});
}

constexpr char kDriver[] = "correct what the camera driver says of this property";
constexpr Check kChecks[] = {
    {"ranges, defaults, values and flags agree", kCamera | kDShow, Consistent, kDriver},
    {"an id reaches the driver's set and number that belong to it", kKit, Places, kLibraryFault},
    {"what the camera lacks is refused", kKit, Refused, kLibraryFault},
};

}  // namespace

const Group kProperties = {"properties", "ranges, values and the driver's numbers", kChecks};

}  // namespace verify

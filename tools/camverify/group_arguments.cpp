// Arguments good and bad: which is judged first, and what each function answers without a camera.
#include <algorithm>

#include "camera.h"
#include "check.h"

namespace verify {

namespace {

constexpr camResult kNone = camNotInitialised, kBad = camInvalidArgument;

long longs[5];
int number;
wchar_t revision[16];
void* snapshot;
long* const l = longs;

struct Case {
    const char* name;
    camResult (*call)();
    camResult withoutCamera, withCamera;
};

// With a camera those only that ask nothing of it.
constexpr camResult kAsks = -1;
const Case kCases[] = {
    {"ShutDown", [] { return cam.ShutDown(); }, kNone, kAsks},
    {"StartPreview", [] { return cam.StartPreview(); }, kNone, kAsks},
    {"StopPreview", [] { return cam.StopPreview(); }, kNone, kAsks},
    {"SetEventsWindow", [] { return cam.SetEventsWindow(reinterpret_cast<HWND>(1)); }, kNone, kAsks},
    {"SetEventsWindow null", [] { return cam.SetEventsWindow(nullptr); }, kNone, kBad},
    {"GetState", [] { return cam.GetState(&number); }, kNone, camOk},
    {"GetState null", [] { return cam.GetState(nullptr); }, kBad, kBad},
    {"GetPropertyRange -1", [] { return cam.GetPropertyRange(-1, l, l + 1, l + 2, l + 3, l + 4); }, kNone,
     kBad},
    {"GetPropertyRange 0", [] { return cam.GetPropertyRange(0, l, l + 1, l + 2, l + 3, l + 4); }, kNone,
     kAsks},
    {"GetPropertyRange 80", [] { return cam.GetPropertyRange(80, l, l + 1, l + 2, l + 3, l + 4); }, kNone,
     kAsks},
    {"GetPropertyRange 81", [] { return cam.GetPropertyRange(81, l, l + 1, l + 2, l + 3, l + 4); }, kNone,
     kBad},
    {"GetPropertyRange, no minimum", [] { return cam.GetPropertyRange(0, nullptr, l, l, l, l); }, kNone,
     kBad},
    {"GetPropertyRange, no maximum", [] { return cam.GetPropertyRange(0, l, nullptr, l, l, l); }, kNone,
     kBad},
    {"GetPropertyRange, no step", [] { return cam.GetPropertyRange(9, l, l, nullptr, l, l); }, kNone, kBad},
    {"GetPropertyRange, no default", [] { return cam.GetPropertyRange(9, l, l, l, nullptr, l); }, kNone,
     kBad},
    {"GetPropertyRange, no flags", [] { return cam.GetPropertyRange(9, l, l, l, l, nullptr); }, kNone, kBad},
    {"GetProperty -2", [] { return cam.GetProperty(-2, l, l + 1); }, kNone, kBad},
    {"GetProperty -1", [] { return cam.GetProperty(-1, l, l + 1); }, kNone, kAsks},
    {"GetProperty 81", [] { return cam.GetProperty(81, l, l + 1); }, kNone, kBad},
    {"GetProperty, no value", [] { return cam.GetProperty(0, nullptr, l); }, kNone, kBad},
    {"GetProperty, no flags", [] { return cam.GetProperty(9, l, nullptr); }, kNone, kBad},
    {"SetProperty -1", [] { return cam.SetProperty(-1, 5, CAM_FLAG_MANUAL); }, kNone, kBad},
    {"SetProperty 8", [] { return cam.SetProperty(8, 5, CAM_FLAG_MANUAL); }, kNone, kAsks},
    {"SetProperty 81", [] { return cam.SetProperty(81, 5, CAM_FLAG_MANUAL); }, kNone, kBad},
    {"GetCameraID", [] { return cam.GetCameraID(l); }, kNone, kAsks},
    {"GetCameraID null", [] { return cam.GetCameraID(nullptr); }, kBad, kBad},
    {"GetResolutionCount", [] { return cam.GetResolutionCount(&number); }, kNone, kAsks},
    {"GetResolutionCount null", [] { return cam.GetResolutionCount(nullptr); }, kBad, kBad},
    {"GetResolutionDimensions", [] { return cam.GetResolutionDimensions(l, l + 1, -1); }, kNone, kAsks},
    {"GetResolutionDimensions, no height", [] { return cam.GetResolutionDimensions(nullptr, l, 0); }, kNone,
     kBad},
    {"GetResolutionDimensions, no width", [] { return cam.GetResolutionDimensions(l, nullptr, 0); }, kNone,
     kBad},
    {"SetResolution", [] { return cam.SetResolution(4); }, kNone, kAsks},
    {"SnapPicture a.Jpg", [] { return cam.SnapPicture(L"a.Jpg", 0); }, kNone, kAsks},
    {"SnapPicture null", [] { return cam.SnapPicture(nullptr, 1); }, kNone, kAsks},
    {"SnapPicture a.jpeg", [] { return cam.SnapPicture(L"a.jpeg", 0); }, kNone, kBad},
    {"SnapPicture dir.jpg\\a", [] { return cam.SnapPicture(L"dir.jpg\\a", 0); }, kNone, kBad},
    {"SnapPicture, empty name", [] { return cam.SnapPicture(L"", 0); }, kNone, kBad},
    {"SnapPicture, mode 3", [] { return cam.SnapPicture(L"a.jpg", 3); }, kNone, kBad},
    {"SnapPicture, mode -1", [] { return cam.SnapPicture(nullptr, -1); }, kNone, kBad},
    {"SnapPictureWithText", [] { return cam.SnapPictureWithText(L"a.jpg", 1, 0, 0, 13, 14, 15); }, kNone,
     kAsks},
    {"SnapPictureWithText, mode 3", [] { return cam.SnapPictureWithText(L"a.jpg", 3, 0, 0, 0, 0, 0); }, kNone,
     kBad},
    {"GetSnapshot", [] { return cam.GetSnapshot(&snapshot); }, kNone, kAsks},
    {"GetSnapshot null", [] { return cam.GetSnapshot(nullptr); }, kNone, kBad},
    {"RegisterPreviewCallback", [] { return cam.RegisterPreviewCallback(nullptr); }, kNone, camOk},
    {"RegisterStillImageCallback", [] { return cam.RegisterStillImageCallback(nullptr); }, kNone, camOk},
    {"RegisterMediaTypeCallback", [] { return cam.RegisterMediaTypeCallback(nullptr); }, kNone, camOk},
    {"GetDllRevision null", [] { return cam.GetDllRevision(nullptr); }, kBad, kBad},
};

void WithoutCamera() {
    cam.ShutDown();
    for (const Case& one : kCases) {
        const Row row(one.name);
        Equal("result", one.call(), one.withoutCamera);
    }
}

void WithCamera() {
    const Session session;
    session.NeedUp();
    for (const Case& one : kCases) {
        if (one.withCamera == kAsks) continue;
        const Row row(one.name);
        Equal("result", one.call(), one.withCamera);
        Equal("state", State(), int{CAM_STATE_INITIALISED});
    }
}

void Revision() {
    std::fill(std::begin(revision), std::end(revision), L'x');
    Equal("result", cam.GetDllRevision(revision), camResult{camOk});
    size_t length = 0;
    while (length < 13 && revision[length] != L'x' && revision[length]) ++length;
    Equal("characters", length, size_t{13});
    Holds("a zero, and nothing beyond it", revision[13] == 0 && revision[14] == L'x' && revision[15] == L'x');
    Holds("version 2.209", std::wstring(revision, 6) == L"2.209.");
}

void SelectedType() {
    for (const int type : {7, 0, -1}) {
        const Row row("type " + std::to_string(type));
        Equal("an unknown type", cam.Select(nullptr, nullptr, nullptr, type), camResult{camNotInitialised});
        int selected = -99;
        Equal("result", cam.GetSelectedType(&selected), camResult{camOk});
        Equal("the type given last, known or not", selected, type);
        Equal("no camera", cam.ShutDown(), camResult{camNotInitialised});
        cam.GetSelectedType(&selected);
        Equal("the type after a shutdown", selected, type);
    }
}

constexpr char kLibraryFault[] = "a fault of the library: report it with this output";

constexpr Check kChecks[] = {
    {"without a camera every function says so, or what is wrong first", kNothing, WithoutCamera,
     kLibraryFault},
    {"with a camera bad arguments are refused before it is asked", kCamera, WithCamera, kLibraryFault},
    {"the revision is thirteen characters", kNothing, Revision,
     "install the library that this camverify came with"},
    {"an unknown type leaves no camera, and is remembered", kNothing, SelectedType, kLibraryFault},
};

}  // namespace

const Group kArguments = {"arguments", "what the functions refuse", kChecks};

}  // namespace verify

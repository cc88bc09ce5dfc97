// Which camera driver is opened, none at all, and one that goes away. The list of active devices is the
// machine's: nothing else may use a camera meanwhile.
#include "camera.h"
#include "check.h"
#include "kit.h"

namespace verify {

namespace {

void NoDriver() {
    const DWORD started = GetTickCount();
    Session session(std::wstring(L"{\"devices\": []}"));
    Equal("result", session.initResult, static_cast<camResult>(0x80070012));
    Holds("it is known in time", GetTickCount() - started < kLongEnough);
    Equal("state: the graph has got as far as its media control", State(), int{CAM_STATE_NONE});
    Holds("preview is refused", cam.StartPreview() != camOk);
    Equal("stop", cam.StopPreview(), camResult{camOk});
    Equal("a picture", cam.SnapPicture(nullptr, 0), camResult{camCaptureFailed});
    long value = 0, flags = 0;
    Equal("a property", cam.GetProperty(0, &value, &flags), camResult{camInvalidArgument});
    Equal("a resolution: there is no still branch to change", cam.SetResolution(0), camResult{camOk});
    Equal("a callback", cam.RegisterPreviewCallback(CatchPreview), camResult{camOk});
    Equal("no callback", cam.RegisterPreviewCallback(nullptr), camResult{camOk});
    HBITMAP bitmap = nullptr;
    Equal("the snapshot", cam.GetSnapshot(&bitmap), camResult{camInvalidArgument});

    // The next selection cleans up and works.
    Play(L"{}");
    Equal("with a driver", cam.Init(session.windows.owner, nullptr, nullptr), camResult{camOk});
    Equal("preview starts", cam.StartPreview(), camResult{camOk});
}

void SecondDriver() {
    const struct {
        const char *devices, *opened;
        long id;
    } cases[] = {{"[\"CAM1:\"]", "CAM1:", 1},
                 {"[{\"name\": \"CAM1:\", \"cameraId\": 7}]", "CAM1:", 7},
                 {"[\"CAM1:\", \"CAM2:\"]", "CAM2:", 2},
                 {"[\"CAM1:\", \"CAM2:\", \"CAM3:\"]", "CAM2:", 2}};
    for (const auto& [devices, opened, id] : cases) {
        const Row row(devices);
        const Session session(Wide(std::string("{\"devices\": ") + devices + "}"));
        session.NeedUp();
        Equal("opened as expected", CountOf(std::string("IPersistPropertyBag::Load ") + opened), LONG{1});
        Equal("opened at all", CountOf("IPersistPropertyBag::Load"), LONG{1});
        long seen = -1;
        Equal("its number", cam.GetCameraID(&seen), camResult{camOk});
        Equal("its number", seen, id);
    }
}

// Chooses nothing any more when it ends.
struct NoChoice {
    ~NoChoice() { cam.ChooseDevice(nullptr); }
};

void Choice() {
    const NoChoice after;
    const std::wstring devices =
        L"{\"devices\": [{\"name\": \"CAM1:\", \"cameraId\": 7}, \"CAM2:\", \"CAM3:\"]}";
    const struct {
        const wchar_t* choice;
        long id;
    } cases[] = {{L"CAM1:", 7}, {L"cam3:", 3}, {L"0", 7}, {L"2", 3}, {L"AM3", 3}, {L"", 2}, {nullptr, 2}};
    for (const auto& [choice, id] : cases) {
        const Row row(choice ? Utf8(choice) : "null");
        Equal("chosen", cam.ChooseDevice(choice), camResult{camOk});
        const Session session(devices);
        session.NeedUp();
        long seen = -1;
        Equal("its number", cam.GetCameraID(&seen), camResult{camOk});
        Equal("its number", seen, id);
    }
    for (const wchar_t* absent : {L"CAM4:", L"9"}) {
        const Row row(Utf8(absent));
        Equal("chosen, though it is not there", cam.ChooseDevice(absent), camResult{camOk});
        const Session session(devices);
        Equal("selected", session.initResult, static_cast<camResult>(0x8007048F));
    }
    Equal("a choice that is too long", cam.ChooseDevice(std::wstring(260, L'C').c_str()),
          camResult{camInvalidArgument});
    Session session;
    Equal("the choice before it stays", session.initResult, static_cast<camResult>(0x8007048F));
}

void DeviceLists() {
    Play(L"{\"devices\": [\"CAM1:\", \"CAM2:\"]}");
    int count = -1;
    Equal("counted", cam.ListDevices(nullptr, 0, &count), camResult{camOk});
    Holds("both are there", count >= 2);
    camDevice devices[3] = {};
    devices[1].type = -1;
    Equal("listed, as far as there is room", cam.ListDevices(devices, 1, &count), camResult{camOk});
    Holds("and counted, all of them", count >= 2);
    Equal("identity", Utf8(devices[0].identity), std::string("CAM1:"));
    Equal("type", devices[0].type, LONG{CAM_DEVICE_DRIVER});
    Equal("what lies behind the room", devices[1].type, LONG{-1});
    Equal("listed", cam.ListDevices(devices, 3, &count), camResult{camOk});
    Equal("identity", Utf8(devices[1].identity), std::string("CAM2:"));

    const camResult bad = camInvalidArgument;
    Equal("no count", cam.ListDevices(devices, 3, nullptr), bad);
    Equal("no list", cam.ListDevices(nullptr, 1, &count), bad);
    Equal("less than no room", cam.ListDevices(devices, -1, &count), bad);
    Equal("no state", cam.GetStreamState(nullptr), bad);
    Equal("less than no frames to warm up", cam.SetWarmUpFrames(-1), bad);
}

void DeviceFormats() {
    Play(L"{\"devices\": [\"CAM1:\"]}");
    camDeviceFormat format = {};
    int count = 0;
    const camResult bad = camInvalidArgument;
    Equal("formats of no camera", cam.ListDeviceFormats(nullptr, &format, 1, &count), bad);
    Equal("formats of a camera that is not there", cam.ListDeviceFormats(L"CAM9:", &format, 1, &count), bad);
    Equal("no count of formats", cam.ListDeviceFormats(L"CAM1:", &format, 1, nullptr), bad);
    Equal("formats of a driver", cam.ListDeviceFormats(L"CAM1:", &format, 1, &count), camResult{camFailed});
}

void LostDevice() {
    const Session session(std::wstring(L"{}"));
    session.NeedUp();
    {
        const Callbacks callbacks;
        Need("preview starts", cam.StartPreview(), camResult{camOk});
        Need("frames come", PumpUntil([] { return previewFrames.Count() > 2; }));
        kit.loseDevice();
        Equal("a picture", cam.SnapPicture(nullptr, 0), camResult{camCaptureFailed});
        long value = 0, flags = 0;
        Equal("a property", cam.GetProperty(0, &value, &flags), camResult{camInvalidArgument});
    }
    Equal("shut down", cam.ShutDown(), camResult{camOk});
    Equal("objects of the kit's that live", kit.liveObjects(), LONG{0});
}

// A webcam that ran before is another camera.
void NoStreamOfDriver() {
    const Session session(std::wstring(L"{}"));
    session.NeedPreview();
    camStreamState stream = {};
    Equal("the state of a webcam's stream", cam.GetStreamState(&stream), camResult{camFailed});
}

constexpr Check kChecks[] = {
    {"without a camera driver nothing comes up, and the next selection works", kKit, NoDriver, kLibraryFault},
    {"of two camera drivers the second is opened, further ones are not looked at", kKit, SecondDriver,
     kLibraryFault},
    {"a camera is chosen by identity, position, name or a part of it; without a choice it is the second",
     kKit, Choice, kLibraryFault},
    {"the cameras are listed as far as there is room, and counted", kKit, DeviceLists, kLibraryFault},
    {"a driver has no list of a webcam's formats", kKit | kDesktop, DeviceFormats, kLibraryFault},
    {"a driver has no state of a webcam's stream", kKit, NoStreamOfDriver, kLibraryFault},
    {"a camera that is lost in mid-stream is shut down like any other", kKit, LostDevice, kLibraryFault},
};

}  // namespace

const Group kDevices = {"devices", "which camera is opened, and what happens without", kChecks};

}  // namespace verify

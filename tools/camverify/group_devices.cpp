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

constexpr Check kChecks[] = {
    {"without a camera driver nothing comes up, and the next selection works", kKit, NoDriver, kLibraryFault},
    {"of two camera drivers the second is opened, further ones are not looked at", kKit, SecondDriver,
     kLibraryFault},
    {"a camera that is lost in mid-stream is shut down like any other", kKit, LostDevice, kLibraryFault},
};

}  // namespace

const Group kDevices = {"devices", "which camera is opened, and what happens without", kChecks};

}  // namespace verify

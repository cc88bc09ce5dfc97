// The scenario that the environment names. A program of its own: once a scenario has been loaded, the
// environment no longer counts.
#include "device_kit/test_graph.h"

#include <doctest/doctest.h>

namespace {

using namespace kit;
using namespace kit::test;

const Apartment apartment;

HRESULT Try(const wchar_t* scenario, const wchar_t* device) {
    SetEnvironmentVariableW(L"DEVICEKIT_SCENARIO", scenario);
    ComPtr<IBaseFilter> camera;
    const HRESULT hr = Create(kClsidCaptureFilter, camera);
    return SUCCEEDED(hr) ? LoadDevice(camera.get(), device) : hr;
}

}  // namespace

TEST_CASE("the environment's scenario is read whenever a camera is created, until a program loads one") {
    constexpr HRESULT kNoSuchDevice = static_cast<HRESULT>(0x80070002);
    CHECK(Try(nullptr, L"CAM1:") == S_OK);
    CHECK(Try(L"{\"devices\": [\"CAM5:\"]}", L"CAM1:") == kNoSuchDevice);
    CHECK(Try(L"{\"devices\": [\"CAM5:\"]}", L"CAM5:") == S_OK);
    CHECK(kitCallCount(L"IPersistPropertyBag::Load CAM5:") == 1);
    CHECK(Try(L"{\"calls\": {\"IPersistPropertyBag::Load\": {\"result\": \"0x80041234\"}}}", L"CAM1:") ==
          static_cast<HRESULT>(0x80041234));
    // Mistakes, and what comes too late for a graph that exists already.
    CHECK(Try(L"{\"devices\": 5}", L"CAM1:") == E_INVALIDARG);
    CHECK(Try(L"{\"watchGraph\": true}", L"CAM1:") == E_INVALIDARG);
    CHECK(Try(L"C:\\no such scenario.json", L"CAM1:") == E_INVALIDARG);

    REQUIRE(kitLoadScenario(L"{\"devices\": [\"CAM6:\"]}", nullptr, 0));
    CHECK(Try(L"{\"devices\": 5}", L"CAM6:") == S_OK);
    kitReset();
    CHECK(Try(L"{\"devices\": [\"CAM5:\"]}", L"CAM1:") == S_OK);
    CHECK(kitLiveObjects() == 0);
}

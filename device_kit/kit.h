// The kit's state in this process: the scenario that is played, the calls seen so far, and whether the device
// is still there.
#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

#include "scenario.h"

namespace kit {

// What calls on a camera give that is gone.
constexpr HRESULT kDeviceGone = static_cast<HRESULT>(0x8007048F);  // ERROR_DEVICE_NOT_CONNECTED

// Member of every object that a client can hold and that is no cam::filter_base::ComObject, which count
// themselves: counts those alive.
class LiveObject {
  public:
    LiveObject() { ++count; }
    LiveObject(const LiveObject&) : LiveObject() {}
    ~LiveObject() { --count; }
    static LONG Count() { return count; }

  private:
    static inline std::atomic<LONG> count = 0;
};

// The scenario being played; never null. Any thread; a new scenario does not change one that is held.
std::shared_ptr<const Scenario> CurrentScenario();

// Plays `scenario` from its beginning: counts, log and loss of the device are forgotten, its devices are
// recorded as active.
void PlayScenario(Scenario scenario);

// Called when a capture filter is created. Unless a program has chosen a scenario through the kit's
// interface, the one named by DEVICEKIT_SCENARIO (or the default one) is played from its beginning.
// E_INVALIDARG: it has an error, which is printed.
HRESULT PrepareScenario();

// A program has chosen the scenario: the environment no longer counts.
void KeepScenario();

// Counts a call, notes it in the call log unless `quiet`, waits as long as the scenario says, and gives the
// result that the scenario has for it (S_OK: none). Any thread.
HRESULT Judge(std::wstring_view call, std::wstring_view argument, bool quiet = false);

// A call as the scenario wants it: a failure instead of the work, or a success code after it.
template <typename Work>
HRESULT Call(std::wstring_view call, std::wstring_view argument, Work&& work) {
    const HRESULT wanted = Judge(call, argument);
    if (FAILED(wanted)) return wanted;
    const HRESULT hr = work();
    return SUCCEEDED(hr) && wanted != S_OK ? wanted : hr;
}

bool IsLost();

// Call(), of the camera itself: fails once the device is lost.
template <typename Work>
HRESULT DeviceCall(std::wstring_view call, std::wstring_view argument, Work&& work) {
    return Call(call, argument, [&] { return IsLost() ? kDeviceGone : work(); });
}

LONG CallCount(const std::wstring& call);
std::wstring CallLog();

// Counts a delivered preview frame or still; a preview frame may bring the loss or the resume that the
// scenario asks for.
void CountPreviewFrame();
void CountStill();
// A preview frame is about to be delivered.
void NoteFrameSent();

// Records the devices under HKEY_LOCAL_MACHINE\Drivers\Active in place of those recorded before, as the
// device manager does on a device. What other programs recorded stays.
HRESULT RecordDevices(const std::vector<Device>& devices);

}  // namespace kit

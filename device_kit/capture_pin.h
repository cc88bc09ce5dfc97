// The camera's pins.
#pragma once

#include <strmif.h>

#include <atomic>
#include <thread>

#include "base/unique_resource.h"
#include "filter_base/category_pin.h"
#include "media_format.h"
#include "look.h"
#include "scenario.h"

namespace kit {

class CaptureFilter;

// Preview and capture: frames at the scenario's rate while the graph runs. Still: one sample for every
// trigger. The streaming thread lives from pause to stop. It never calls the graph and never takes the
// filter's lock.
using CapturePinBase = cam::filter_base::Implements<cam::filter_base::CategoryPin, IAMStreamConfig>;

class CapturePin final : public CapturePinBase {
  public:
    enum class Role { Preview, Capture, Still };
    CapturePin(CaptureFilter& owner, Role part, const wchar_t* name, const Format& first);
    ~CapturePin() override;

    // Opens the pin's own view of the scene; E_FAIL: the scene's file is gone.
    HRESULT OpenScene();
    // Still pin: one more sample. A trigger given while the graph does not run is kept until it does.
    HRESULT Trigger();

    // The graph is paused: no samples until it runs again.
    void Hold() { ResetEvent(running.get()); }

    // Pin
    HRESULT NonDelegatingQueryInterface(REFIID iid, void** out) override;
    HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override {
        return Matches(format, type) ? S_OK : S_FALSE;
    }
    HRESULT GetMediaType(int position, cam::filter_base::MediaType& type) override;
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;
    HRESULT Active() override;
    void Inactive() override;
    HRESULT Run(REFERENCE_TIME start) override;
    // IPin
    HRESULT STDMETHODCALLTYPE Connect(IPin* receiver, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE Disconnect() override;
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** out) override;
    // IKsPropertySet
    HRESULT STDMETHODCALLTYPE Get(REFGUID set, ULONG id, void* instance, ULONG instanceSize, void* data,
                                  ULONG size, ULONG* returned) override;
    // IAMStreamConfig, of the still pin
    HRESULT STDMETHODCALLTYPE SetFormat(AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE GetFormat(AM_MEDIA_TYPE** out) override;
    HRESULT STDMETHODCALLTYPE GetNumberOfCapabilities(int* count, int* size) override;
    HRESULT STDMETHODCALLTYPE GetStreamCaps(int index, AM_MEDIA_TYPE** out, BYTE* capabilities) override;

  private:
    HRESULT NewType(const Format& wanted, AM_MEDIA_TYPE** out) const;
    void EndStreaming();
    void Stream();
    bool WaitForTurn(HANDLE event, DWORD timeoutMs);
    void StreamFrames();
    void StreamStills();
    HRESULT SendPicture();

    CaptureFilter& camera;
    const Role role;
    Format format;  // changed under the filter's lock while nothing is connected
    std::unique_ptr<Scene> scene;
    Look look;
    cam::UniqueHandle stopping;  // manual-reset
    cam::UniqueHandle running;   // manual-reset
    cam::UniqueHandle triggers;  // semaphore: stills asked for and not yet taken
    std::thread thread;
};

}  // namespace kit

// Base of a filter that is a camera.
#pragma once

#include <ocidl.h>

#include "filter_base/filter.h"

namespace cam::filter_base {

// IAMVideoProcAmp or IAMCameraControl as part of a filter: the two have the same operations, so one object
// cannot implement both.
template <typename Interface>
class PropertySetPart : public Interface {
  public:
    explicit PropertySetPart(Filter& owner) : filter(owner) {}
    virtual ~PropertySetPart() = default;

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
        return filter.QueryInterface(id, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return filter.AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return filter.Release(); }

  private:
    Filter& filter;
};

// A live source that is told which device to open, and whose still pin sends a picture when it is triggered.
class CameraFilter : public Implements<Filter, IPersistPropertyBag, IAMVideoControl> {
  public:
    // What a derived class says and is told.

    virtual IAMVideoProcAmp& VideoProcAmp() = 0;
    virtual IAMCameraControl& CameraControl() = 0;
    // Null: there is none.
    virtual Pin* TriggeredPin() = 0;
    // One picture more, of TriggeredPin().
    virtual HRESULT TriggerStill() = 0;
    // Of the video, in 100 ns; 0: unknown.
    virtual LONGLONG FrameTime() = 0;

    HRESULT NonDelegatingQueryInterface(REFIID id, void** out) override;
    // IPersist
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* id) override { return Filter::GetClassID(id); }
    // IMediaFilter
    HRESULT STDMETHODCALLTYPE GetState(DWORD timeoutMs, FILTER_STATE* state) override;
    // IPersistPropertyBag
    HRESULT STDMETHODCALLTYPE InitNew() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Save(IPropertyBag* bag, BOOL clearDirty, BOOL saveAll) override;
    // IAMVideoControl
    HRESULT STDMETHODCALLTYPE GetCaps(IPin* pin, LONG* flags) override;
    HRESULT STDMETHODCALLTYPE SetMode(IPin* pin, LONG mode) override;
    HRESULT STDMETHODCALLTYPE GetMode(IPin* pin, LONG* mode) override;
    HRESULT STDMETHODCALLTYPE GetCurrentActualFrameRate(IPin* pin, LONGLONG* frameTime) override;
    HRESULT STDMETHODCALLTYPE GetMaxAvailableFrameRate(IPin* pin, LONG index, SIZE size,
                                                       LONGLONG* frameTime) override;
    HRESULT STDMETHODCALLTYPE GetFrameRateList(IPin* pin, LONG index, SIZE size, LONG* count,
                                               LONGLONG** frameTimes) override;

  protected:
    using Implements::Implements;

  private:
    bool IsTriggered(IPin* pin);
};

}  // namespace cam::filter_base

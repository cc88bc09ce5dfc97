// A capture graph over the kit's camera, built in the steps in which a camera library builds it.
#pragma once

#include <dshow.h>
#include <qedit.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "base/com_ptr.h"
#include "class_ids.h"
#include "devicekit.h"
#include "filter_base/media_type.h"

namespace kit::test {

using cam::ComPtr;

// The multithreaded apartment for as long as the program runs.
struct Apartment {
    Apartment() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
    ~Apartment() { CoUninitialize(); }
};

// Collects the samples that pass through a system sample grabber. Outlives the graph.
class Frames final : public ISampleGrabberCB {
  public:
    struct Frame {
        std::vector<BYTE> bytes;
        bool stamped;
    };
    // Waits until at least `count` frames have come; false after five seconds.
    bool WaitFor(std::size_t count);
    std::size_t Count();
    Frame Last();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE SampleCB(double time, IMediaSample* sample) override;
    HRESULT STDMETHODCALLTYPE BufferCB(double, BYTE*, LONG) override { return E_NOTIMPL; }

  private:
    std::mutex lock_;
    std::condition_variable arrived_;
    std::size_t count_ = 0;
    Frame last_;
};

// One variant under one name.
class NameBag final : public IPropertyBag {
  public:
    explicit NameBag(const wchar_t* name) : name_(name) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override;
    HRESULT STDMETHODCALLTYPE Write(LPCOLESTR, VARIANT* value) override;
    std::wstring written;

  private:
    const wchar_t* name_;
};

HRESULT Create(REFCLSID classId, ComPtr<IBaseFilter>& filter);
HRESULT LoadDevice(IBaseFilter* camera, const wchar_t* name);

// Camera, then preview and still branch, each through a system grabber into a null renderer (or the preview
// into the system's video renderer).
class Graph {
  public:
    ~Graph();
    // The first failing step's result. `camera` is the kit's, unless there is one already.
    HRESULT Build(const wchar_t* device = L"CAM1:", bool videoRenderer = false);
    HRESULT Run();
    HRESULT Stop();
    HRESULT TriggerStill();

    Frames previewFrames, stillFrames;  // outlive the graph's filters
    ComPtr<ICaptureGraphBuilder2> builder;
    ComPtr<IGraphBuilder> graph;
    ComPtr<IMediaControl> control;
    ComPtr<IBaseFilter> camera, previewGrabber, renderer, stillGrabber, stillEnd;
    ComPtr<IPin> stillPin;
    ComPtr<IAMVideoControl> videoControl;
    ComPtr<IAMStreamConfig> stillConfig;

  private:
    HRESULT AddGrabber(ComPtr<IBaseFilter>& filter, Frames& frames, const wchar_t* name);
};

}  // namespace kit::test

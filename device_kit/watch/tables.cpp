// The interfaces that are watched: all their methods, and names for what stands in their arguments.
#include <dshow.h>

#include <cstdio>
#include <cstdlib>

#include "still/filter_interfaces.h"
#include "watch/forward.h"

namespace kit::watch {

HRESULT STDMETHODCALLTYPE FacetQueryInterface(Facet* self, REFIID iid, void** out) {
    return self->object->QueryInterface(self, iid, out);
}
ULONG STDMETHODCALLTYPE FacetAddRef(Facet* self) {
    return self->object->AddRef();
}
ULONG STDMETHODCALLTYPE FacetRelease(Facet* self) {
    return self->object->Release();
}

bool HasOpaqueNumbers(std::wstring_view call) {
    for (const std::wstring_view opaque :
         {L"IVideoWindow::put_Owner", L"IVideoWindow::put_MessageDrain", L"IVideoWindow::NotifyOwnerMessage",
          L"IMediaEvent::FreeEventParams", L"IMediaEventEx::FreeEventParams",
          L"IMediaEventEx::SetNotifyWindow", L"IStillImageSinkControl::SetText"}) {
        if (call == opaque) return true;
    }
    return false;
}

InterfaceTable MakeTable(const IID& iid, const wchar_t* name, std::initializer_list<Method> methods) {
    constexpr std::size_t kUnknownMethods = 3;
    InterfaceTable table{&iid, name, {}, {}};
    table.functions.resize(methods.size() + kUnknownMethods);
    table.functions[0] = reinterpret_cast<void*>(&FacetQueryInterface);
    table.functions[1] = reinterpret_cast<void*>(&FacetAddRef);
    table.functions[2] = reinterpret_cast<void*>(&FacetRelease);
    table.calls.push_back(std::wstring(name) + L"::QueryInterface");
    for (const Method& method : methods) {
        *method.call = std::wstring(name) + L"::" + method.name;
        table.calls.push_back(*method.call);
        // A method too few would leave a hole that a client falls into, one too many a slot beyond the table.
        if (method.slot >= table.functions.size() || table.functions[method.slot]) {
            std::fwprintf(stderr, L"devicekit: the table of %ls is wrong at %ls\n", name, method.name);
            std::abort();
        }
        table.functions[method.slot] = method.function;
    }
    return table;
}

namespace {

#define KIT_METHOD(Interface, name) MethodOf<Interface, &Interface::name>(L## #name)
#define KIT_DISPATCH(Interface)                                                  \
    KIT_METHOD(Interface, GetTypeInfoCount), KIT_METHOD(Interface, GetTypeInfo), \
        KIT_METHOD(Interface, GetIDsOfNames), KIT_METHOD(Interface, Invoke)
#define KIT_FILTER_GRAPH(Interface)                                                  \
    KIT_METHOD(Interface, AddFilter), KIT_METHOD(Interface, RemoveFilter),           \
        KIT_METHOD(Interface, EnumFilters), KIT_METHOD(Interface, FindFilterByName), \
        KIT_METHOD(Interface, ConnectDirect), KIT_METHOD(Interface, Reconnect),      \
        KIT_METHOD(Interface, Disconnect), KIT_METHOD(Interface, SetDefaultSyncSource)
#define KIT_MEDIA_EVENT(Interface)                                                                   \
    KIT_DISPATCH(Interface), KIT_METHOD(Interface, GetEventHandle), KIT_METHOD(Interface, GetEvent), \
        KIT_METHOD(Interface, WaitForCompletion), KIT_METHOD(Interface, CancelDefaultHandling),      \
        KIT_METHOD(Interface, RestoreDefaultHandling), KIT_METHOD(Interface, FreeEventParams)
#define KIT_PROPERTY(Interface, name) KIT_METHOD(Interface, put_##name), KIT_METHOD(Interface, get_##name)

std::vector<InterfaceTable> MakeTables() {
    using cam::ISampleGrabberControl;
    using cam::IStillImageSinkControl;
    return {
        MakeTable(IID_IUnknown, L"IUnknown", {}),
        MakeTable(
            IID_ICaptureGraphBuilder2, L"ICaptureGraphBuilder2",
            {KIT_METHOD(ICaptureGraphBuilder2, SetFiltergraph),
             KIT_METHOD(ICaptureGraphBuilder2, GetFiltergraph),
             KIT_METHOD(ICaptureGraphBuilder2, SetOutputFileName),
             KIT_METHOD(ICaptureGraphBuilder2, FindInterface),
             KIT_METHOD(ICaptureGraphBuilder2, RenderStream),
             KIT_METHOD(ICaptureGraphBuilder2, ControlStream),
             KIT_METHOD(ICaptureGraphBuilder2, AllocCapFile),
             KIT_METHOD(ICaptureGraphBuilder2, CopyCaptureFile), KIT_METHOD(ICaptureGraphBuilder2, FindPin)}),
        MakeTable(IID_IFilterGraph, L"IFilterGraph", {KIT_FILTER_GRAPH(IFilterGraph)}),
        MakeTable(IID_IGraphBuilder, L"IGraphBuilder",
                  {KIT_FILTER_GRAPH(IGraphBuilder), KIT_METHOD(IGraphBuilder, Connect),
                   KIT_METHOD(IGraphBuilder, Render), KIT_METHOD(IGraphBuilder, RenderFile),
                   KIT_METHOD(IGraphBuilder, AddSourceFilter), KIT_METHOD(IGraphBuilder, SetLogFile),
                   KIT_METHOD(IGraphBuilder, Abort), KIT_METHOD(IGraphBuilder, ShouldOperationContinue)}),
        MakeTable(
            IID_IMediaControl, L"IMediaControl",
            {KIT_DISPATCH(IMediaControl), KIT_METHOD(IMediaControl, Run), KIT_METHOD(IMediaControl, Pause),
             KIT_METHOD(IMediaControl, Stop), KIT_METHOD(IMediaControl, GetState),
             KIT_METHOD(IMediaControl, RenderFile), KIT_METHOD(IMediaControl, AddSourceFilter),
             KIT_METHOD(IMediaControl, get_FilterCollection),
             KIT_METHOD(IMediaControl, get_RegFilterCollection), KIT_METHOD(IMediaControl, StopWhenReady)}),
        MakeTable(IID_IMediaEvent, L"IMediaEvent", {KIT_MEDIA_EVENT(IMediaEvent)}),
        MakeTable(IID_IMediaEventEx, L"IMediaEventEx",
                  {KIT_MEDIA_EVENT(IMediaEventEx), KIT_METHOD(IMediaEventEx, SetNotifyWindow),
                   KIT_METHOD(IMediaEventEx, SetNotifyFlags), KIT_METHOD(IMediaEventEx, GetNotifyFlags)}),
        MakeTable(IID_IMediaEventSink, L"IMediaEventSink", {KIT_METHOD(IMediaEventSink, Notify)}),
        MakeTable(IID_IVideoWindow, L"IVideoWindow",
                  {KIT_DISPATCH(IVideoWindow),
                   KIT_PROPERTY(IVideoWindow, Caption),
                   KIT_PROPERTY(IVideoWindow, WindowStyle),
                   KIT_PROPERTY(IVideoWindow, WindowStyleEx),
                   KIT_PROPERTY(IVideoWindow, AutoShow),
                   KIT_PROPERTY(IVideoWindow, WindowState),
                   KIT_PROPERTY(IVideoWindow, BackgroundPalette),
                   KIT_PROPERTY(IVideoWindow, Visible),
                   KIT_PROPERTY(IVideoWindow, Left),
                   KIT_PROPERTY(IVideoWindow, Width),
                   KIT_PROPERTY(IVideoWindow, Top),
                   KIT_PROPERTY(IVideoWindow, Height),
                   KIT_PROPERTY(IVideoWindow, Owner),
                   KIT_PROPERTY(IVideoWindow, MessageDrain),
                   KIT_PROPERTY(IVideoWindow, BorderColor),
                   KIT_PROPERTY(IVideoWindow, FullScreenMode),
                   KIT_METHOD(IVideoWindow, SetWindowForeground),
                   KIT_METHOD(IVideoWindow, NotifyOwnerMessage),
                   KIT_METHOD(IVideoWindow, SetWindowPosition),
                   KIT_METHOD(IVideoWindow, GetWindowPosition),
                   KIT_METHOD(IVideoWindow, GetMinIdealImageSize),
                   KIT_METHOD(IVideoWindow, GetMaxIdealImageSize),
                   KIT_METHOD(IVideoWindow, GetRestorePosition),
                   KIT_METHOD(IVideoWindow, HideCursor),
                   KIT_METHOD(IVideoWindow, IsCursorHidden)}),
        MakeTable(IID_IBaseFilter, L"IBaseFilter",
                  {KIT_METHOD(IBaseFilter, GetClassID), KIT_METHOD(IBaseFilter, Stop),
                   KIT_METHOD(IBaseFilter, Pause), KIT_METHOD(IBaseFilter, Run),
                   KIT_METHOD(IBaseFilter, GetState), KIT_METHOD(IBaseFilter, SetSyncSource),
                   KIT_METHOD(IBaseFilter, GetSyncSource), KIT_METHOD(IBaseFilter, EnumPins),
                   KIT_METHOD(IBaseFilter, FindPin), KIT_METHOD(IBaseFilter, QueryFilterInfo),
                   KIT_METHOD(IBaseFilter, JoinFilterGraph), KIT_METHOD(IBaseFilter, QueryVendorInfo)}),
        MakeTable(IID_IEnumPins, L"IEnumPins",
                  {KIT_METHOD(IEnumPins, Next), KIT_METHOD(IEnumPins, Skip), KIT_METHOD(IEnumPins, Reset),
                   KIT_METHOD(IEnumPins, Clone)}),
        MakeTable(
            __uuidof(ISampleGrabberControl), L"ISampleGrabberControl",
            {KIT_METHOD(ISampleGrabberControl, SetCallback), KIT_METHOD(ISampleGrabberControl, GetGeometry),
             KIT_METHOD(ISampleGrabberControl, GetInputMediaType)}),
        MakeTable(
            __uuidof(IStillImageSinkControl), L"IStillImageSinkControl",
            {KIT_METHOD(IStillImageSinkControl, SetCallback), KIT_METHOD(IStillImageSinkControl, SetFileName),
             KIT_METHOD(IStillImageSinkControl, SetQualityLevel), KIT_METHOD(IStillImageSinkControl, SetText),
             KIT_METHOD(IStillImageSinkControl, GetBitmap)}),
    };
}

}  // namespace

const std::vector<InterfaceTable>& AllTables() {
    static const std::vector<InterfaceTable>* const tables = new std::vector<InterfaceTable>(MakeTables());
    return *tables;
}

const InterfaceTable* FindTable(REFIID iid) {
    for (const InterfaceTable& table : AllTables()) {
        if (*table.iid == iid) return &table;
    }
    return nullptr;
}

std::wstring_view NameOf(REFGUID guid) {
    struct Named {
        const GUID& guid;
        std::wstring_view name;
    };
    static const Named others[] = {{PIN_CATEGORY_PREVIEW, L"PIN_CATEGORY_PREVIEW"},
                                   {PIN_CATEGORY_STILL, L"PIN_CATEGORY_STILL"},
                                   {PIN_CATEGORY_CAPTURE, L"PIN_CATEGORY_CAPTURE"},
                                   {MEDIATYPE_Video, L"MEDIATYPE_Video"},
                                   {IID_IAMStreamConfig, L"IAMStreamConfig"}};
    for (const Named& other : others) {
        if (other.guid == guid) return other.name;
    }
    const InterfaceTable* table = FindTable(guid);
    return table ? table->name : std::wstring_view();
}

}  // namespace kit::watch

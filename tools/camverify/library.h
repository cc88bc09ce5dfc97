// ocellus.dll as its applications see it: one function for each export, which notes the call while it is
// under way.
#pragma once

#include <windows.h>

#include <ocellus/cam.h>
#include <ocellus/cam_devices.h>

#include <cstdint>
#include <string>

#include "check.h"

namespace verify {

std::string ArgumentText(const void* pointer);
std::string ArgumentText(const wchar_t* text);
inline std::string ArgumentText(const GUID&) {
    return "id";
}
template <typename Number>
requires std::is_integral_v<Number> std::string ArgumentText(Number number) {
    constexpr long long kLongestNumber = 0xFFFFFF;  // beyond it a pointer as a number
    const auto value = static_cast<long long>(number);
    return value > kLongestNumber ? "0x..." : std::to_string(value);
}
template <typename... A>
std::string ArgumentText(void(WINAPI* function)(A...)) {
    return function ? "function" : "null";
}

class Library;

class ExportBase {
  public:
    ExportBase(Library& library, const char* exportName, int exportOrdinal);

    const char* name;
    int ordinal;
    FARPROC address = nullptr;
};

template <typename Function>
class Export;
template <typename Result, typename... A>
class Export<Result WINAPI(A...)> : public ExportBase {
  public:
    using ExportBase::ExportBase;
    Result operator()(A... arguments) const {
        std::string text = std::string(name) + "(";
        ((text += (text.back() == '(' ? "" : ", ") + ArgumentText(arguments)), ...);
        CallUnderWay call(text + ")");
        const auto function = reinterpret_cast<Result(WINAPI*)(A...)>(reinterpret_cast<void*>(address));
        return call.Returned(function(arguments...));
    }
};

class Library {
  public:
    std::vector<ExportBase*> exports;

    Library() = default;
    ~Library() { Unload(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // The system's error, or 0.
    DWORD Load(const std::wstring& path);
    void Unload();
    std::wstring Path() const;
    // The exports that it lacks or has under another ordinal, by name; empty when all is well.
    std::string Lacking() const;

    Export<decltype(camGetDllRevision)> GetDllRevision{*this, "camGetDllRevision", 1};
    Export<decltype(camInit)> Init{*this, "camInit", 2};
    Export<decltype(camSelect)> Select{*this, "camSelect", 3};
    Export<decltype(camGetSelectedType)> GetSelectedType{*this, "camGetSelectedType", 4};
    Export<decltype(camShutDown)> ShutDown{*this, "camShutDown", 5};
    Export<decltype(camStartPreview)> StartPreview{*this, "camStartPreview", 6};
    Export<decltype(camStopPreview)> StopPreview{*this, "camStopPreview", 7};
    Export<decltype(camSetEventsWindow)> SetEventsWindow{*this, "camSetEventsWindow", 8};
    Export<decltype(camGetState)> GetState{*this, "camGetState", 9};
    Export<decltype(camGetPropertyRange)> GetPropertyRange{*this, "camGetPropertyRange", 10};
    Export<decltype(camGetProperty)> GetProperty{*this, "camGetProperty", 11};
    Export<decltype(camSetProperty)> SetProperty{*this, "camSetProperty", 12};
    Export<decltype(camGetCameraID)> GetCameraID{*this, "camGetCameraID", 13};
    Export<decltype(camGetResolutionCount)> GetResolutionCount{*this, "camGetResolutionCount", 14};
    Export<decltype(camGetResolutionDimensions)> GetResolutionDimensions{*this, "camGetResolutionDimensions",
                                                                         15};
    Export<decltype(camSetResolution)> SetResolution{*this, "camSetResolution", 16};
    Export<decltype(camSnapPicture)> SnapPicture{*this, "camSnapPicture", 17};
    Export<decltype(camSnapPictureWithText)> SnapPictureWithText{*this, "camSnapPictureWithText", 18};
    Export<decltype(camGetSnapshot)> GetSnapshot{*this, "camGetSnapshot", 19};
    Export<decltype(camRegisterPreviewCallback)> RegisterPreviewCallback{*this, "camRegisterPreviewCallback",
                                                                         20};
    Export<decltype(camRegisterStillImageCallback)> RegisterStillImageCallback{
        *this, "camRegisterStillImageCallback", 21};
    Export<decltype(camRegisterMediaTypeCallback)> RegisterMediaTypeCallback{
        *this, "camRegisterMediaTypeCallback", 22};
    Export<decltype(camGetProfiles)> GetProfiles{*this, "camGetProfiles", 23};
    Export<HRESULT WINAPI()> RegisterServer{*this, "DllRegisterServer", 24};
    Export<HRESULT WINAPI()> UnregisterServer{*this, "DllUnregisterServer", 25};
    Export<HRESULT WINAPI()> CanUnloadNow{*this, "DllCanUnloadNow", 26};
    Export<HRESULT WINAPI(REFCLSID, REFIID, void**)> GetClassObject{*this, "DllGetClassObject", 27};
    Export<decltype(camListDevices)> ListDevices{*this, "camListDevices", 28};
    Export<decltype(camChooseDevice)> ChooseDevice{*this, "camChooseDevice", 29};
    Export<decltype(camListDeviceFormats)> ListDeviceFormats{*this, "camListDeviceFormats", 30};
    Export<decltype(camGetStreamState)> GetStreamState{*this, "camGetStreamState", 31};
    Export<decltype(camWatchDevices)> WatchDevices{*this, "camWatchDevices", 32};
    Export<decltype(camSetWarmUpFrames)> SetWarmUpFrames{*this, "camSetWarmUpFrames", 33};

  private:
    HMODULE module = nullptr;
};

// The one that is verified.
extern Library cam;

}  // namespace verify

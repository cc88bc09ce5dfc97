// Identifiers and control interfaces of the library's own two filters.
#pragma once

#include <strmif.h>
#include <unknwn.h>

#include <ocellus/cam.h>

namespace cam {

// {B62F694E-0593-4E60-AA1C-16AF6496AC39}
constexpr CLSID kClsidSampleGrabber = {
    0xB62F694E, 0x0593, 0x4E60, {0xAA, 0x1C, 0x16, 0xAF, 0x64, 0x96, 0xAC, 0x39}};
// {BCEED521-A101-45A9-8B7D-1583466FD57C}
constexpr CLSID kClsidStillImageSink = {
    0xBCEED521, 0xA101, 0x45A9, {0x8B, 0x7D, 0x15, 0x83, 0x46, 0x6F, 0xD5, 0x7C}};

// Sent by the sink to the filter graph when a picture has been dealt with; both parameters are 0.
constexpr long kEventStillCaptured = 0x101;
// Auto-reset event that the sink sets at the same moment.
constexpr wchar_t kSavedEventName[] = L"CAPTURED_IMAGE_SAVED";
// Results of the sink's setters and of stamping that are plain Win32 numbers and no HRESULTs.
constexpr HRESULT kBadFileName = ERROR_INVALID_NAME;               // 123
constexpr HRESULT kBitmapSectionFailed = ERROR_INVALID_PARAMETER;  // 87

// The shape of the frames that pass through the sample grabber: all 0 until a type has been negotiated.
struct FrameGeometry {
    LONG height;       // rows; positive: bottom-up
    LONG width;        // pixels
    DWORD sampleSize;  // bytes, the media type's fixed sample size
    DWORD stride;      // bytes from row to row, a multiple of 4
};

// Sample grabber: preview frames for the application.
struct ISampleGrabberControl : IUnknown {
    // Any thread, also while frames flow; null: no callback. The callback runs on the *streaming* thread.
    virtual HRESULT STDMETHODCALLTYPE SetCallback(camFrameCallback callback) = 0;
    // Fills in the geometry of the type accepted last; S_OK even when nothing is connected.
    virtual HRESULT STDMETHODCALLTYPE GetGeometry(FrameGeometry* geometry) = 0;
    // A copy of the type accepted last, whose format block the caller frees (filter_base::MediaType does), or
    // VFW_E_NOT_CONNECTED and an empty type when there has been none.
    virtual HRESULT STDMETHODCALLTYPE GetInputMediaType(AM_MEDIA_TYPE* type) = 0;
};

// Still image sink: what the next pictures shall look like and where they go.
struct IStillImageSinkControl : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetCallback(camFrameCallback callback) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetFileName(const wchar_t* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetQualityLevel(int level) = 0;
    // text, length, position, colour word and font, each as wide as a pointer.
    virtual HRESULT STDMETHODCALLTYPE SetText(UINT_PTR text, UINT_PTR length, UINT_PTR position,
                                              UINT_PTR colorWord, UINT_PTR font) = 0;
    // The sink keeps the bitmap.
    virtual HRESULT STDMETHODCALLTYPE GetBitmap(HBITMAP* bitmap) = 0;
};

}  // namespace cam

// {00BE5B5E-CCA0-4A9F-B198-DF2FACE82D57}
__CRT_UUID_DECL(cam::ISampleGrabberControl, 0x00BE5B5E, 0xCCA0, 0x4A9F, 0xB1, 0x98, 0xDF, 0x2F, 0xAC, 0xE8,
                0x2D, 0x57)
// {B587032B-B600-430E-8DE1-4ECE44B5B300}
__CRT_UUID_DECL(cam::IStillImageSinkControl, 0xB587032B, 0xB600, 0x430E, 0x8D, 0xE1, 0x4E, 0xCE, 0x44, 0xB5,
                0xB3, 0x00)

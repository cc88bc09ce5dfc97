#include "platform/desktop/camera_driver/driver_pins.h"

#include <algorithm>
#include <cstring>

#include "base/frame.h"
#include "platform/desktop/camera_driver/camera_driver.h"

namespace cam::driver {
namespace {

using filter_base::MediaType;

constexpr DWORD kBitsPerPixel = 16;

struct PictureBlock {
    VIDEOINFOHEADER header;
    DWORD masks[3];
};
constexpr DWORD kPictureBlockSize = offsetof(PictureBlock, masks) + sizeof(DWORD) * 3;  // without padding

}  // namespace

bool FillPictureType(const GUID& subtype, PictureSize size, bool topDown, LONGLONG frameTime,
                     MediaType& type) {
    auto* const block = reinterpret_cast<PictureBlock*>(type.AllocateFormat(kPictureBlockSize));
    if (!block) return false;
    const auto width = static_cast<LONG>(size.width), height = static_cast<LONG>(size.height);
    VIDEOINFOHEADER& header = block->header;
    header.AvgTimePerFrame = frameTime;
    header.rcSource = header.rcTarget = {0, 0, width, height};
    BITMAPINFOHEADER& bitmap = header.bmiHeader;
    bitmap.biSize = sizeof bitmap;
    bitmap.biWidth = width;
    bitmap.biHeight = topDown ? -height : height;
    bitmap.biPlanes = 1;
    bitmap.biBitCount = kBitsPerPixel;
    bitmap.biCompression = subtype == MEDIASUBTYPE_YUY2 ? subtype.Data1 : BI_RGB;
    bitmap.biSizeImage = static_cast<DWORD>(RowStride(size.width) * size.height);
    if (frameTime > 0) {
        constexpr LONGLONG kBitsPerByte = 8, kSecond = 10'000'000;
        const LONGLONG bits = LONGLONG{bitmap.biSizeImage} * kBitsPerByte * kSecond / frameTime;
        header.dwBitRate = static_cast<DWORD>(std::min<LONGLONG>(bits, MAXDWORD));
    }
    type.majortype = MEDIATYPE_Video;
    type.subtype = subtype;
    type.bFixedSizeSamples = TRUE;
    type.bTemporalCompression = FALSE;
    type.lSampleSize = bitmap.biSizeImage;
    type.formattype = FORMAT_VideoInfo;
    return true;
}

// ---- All of them ----------------------------------------------------------------------------------------

DriverPin::DriverPin(CameraDriver& owner, const wchar_t* name, const GUID& pinCategory)
    : CategoryPin(owner, name, pinCategory), driver(owner) {}

// The rate may differ.
HRESULT DriverPin::CheckMediaType(const AM_MEDIA_TYPE& type) {
    MediaType own;
    if (!FillType(own)) return E_FAIL;
    if (type.majortype != own.majortype || type.subtype != own.subtype || type.formattype != own.formattype ||
        !type.pbFormat || type.cbFormat < sizeof(VIDEOINFOHEADER)) {
        return S_FALSE;
    }
    const auto& asked = reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat)->bmiHeader;
    const auto& given = reinterpret_cast<const VIDEOINFOHEADER*>(own.pbFormat)->bmiHeader;
    return asked.biWidth == given.biWidth && asked.biHeight == given.biHeight ? S_OK : S_FALSE;
}

HRESULT DriverPin::GetMediaType(int position, MediaType& type) {
    if (position != 0 || !driver.IsLoaded()) return VFW_S_NO_MORE_ITEMS;
    return FillType(type) ? S_OK : E_OUTOFMEMORY;
}

// By the measures, which are the pin's own: the size of a sample is what the receiver may have said.
long DriverPin::PictureBytes() const {
    const auto& bitmap = reinterpret_cast<const VIDEOINFOHEADER*>(Type().pbFormat)->bmiHeader;
    return static_cast<long>(RowStride(static_cast<DWORD>(bitmap.biWidth)) * RowCount(bitmap.biHeight));
}

HRESULT DriverPin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) {
    const long needed = PictureBytes();
    request->cBuffers = std::max(request->cBuffers, 1L);
    request->cbBuffer = std::max(request->cbBuffer, needed);
    ALLOCATOR_PROPERTIES actual = {};
    const HRESULT result = allocator->SetProperties(request, &actual);
    if (FAILED(result)) return result;
    return actual.cBuffers >= 1 && actual.cbBuffer >= needed ? S_OK : E_FAIL;
}

HRESULT DriverPin::GetPictureBuffer(ComPtr<IMediaSample>& sample, BYTE*& bytes) {
    HRESULT result = GetDeliveryBuffer(sample.put());
    if (SUCCEEDED(result)) result = sample->GetPointer(&bytes);
    if (SUCCEEDED(result) && sample->GetSize() < PictureBytes()) result = E_UNEXPECTED;
    return result;
}

HRESULT DriverPin::Send(IMediaSample& sample) {
    sample.SetActualDataLength(PictureBytes());
    sample.SetSyncPoint(TRUE);
    sample.SetTime(nullptr, nullptr);
    return Deliver(&sample);
}

// ---- Preview and capture --------------------------------------------------------------------------------

PreviewPin::PreviewPin(CameraDriver& owner, Role part)
    : DriverPin(owner, part == Role::Preview ? L"Preview" : L"Capture",
                part == Role::Preview ? PIN_CATEGORY_PREVIEW : PIN_CATEGORY_CAPTURE),
      role(part) {}

HRESULT PreviewPin::CheckConnect(IPin* peer) {
    return role == Role::Preview ? DriverPin::CheckConnect(peer) : VFW_E_TYPE_NOT_ACCEPTED;
}

bool PreviewPin::FillType(MediaType& type) const {
    return FillPictureType(MEDIASUBTYPE_RGB555, driver.PreviewFrame(), false, driver.FrameTime(), type);
}

// ---- Still ----------------------------------------------------------------------------------------------

StillPin::StillPin(CameraDriver& owner) : StillPinBase(owner, L"Still", PIN_CATEGORY_STILL) {}

bool StillPin::FillType(MediaType& type) const {
    return FillPictureType(MEDIASUBTYPE_YUY2, driver.StillFrame(), true, driver.FrameTime(), type);
}

HRESULT StillPin::NewType(PictureSize size, AM_MEDIA_TYPE** out) const {
    MediaType type;
    const SourceFormat* const format = driver.FormatOf(size);
    if (!format) return E_INVALIDARG;
    if (!FillPictureType(MEDIASUBTYPE_YUY2, size, true, format->frameTime, type)) return E_OUTOFMEMORY;
    *out = filter_base::CreateMediaType(type);
    return *out ? S_OK : E_OUTOFMEMORY;
}

HRESULT STDMETHODCALLTYPE StillPin::SetFormat(AM_MEDIA_TYPE* type) {
    if (!type) return E_POINTER;
    const LockGuard lock(ownerFilter.StateLock());
    if (IsConnected()) return VFW_E_ALREADY_CONNECTED;
    if (type->subtype != MEDIASUBTYPE_YUY2) return VFW_E_INVALIDMEDIATYPE;
    const auto shape = ReadShape(*type);
    if (!shape || !driver.ChooseStill({shape->width, shape->height})) return VFW_E_INVALIDMEDIATYPE;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE StillPin::GetFormat(AM_MEDIA_TYPE** out) {
    if (!out) return E_POINTER;
    const LockGuard lock(ownerFilter.StateLock());
    return NewType(driver.StillFrame(), out);
}

HRESULT STDMETHODCALLTYPE StillPin::GetNumberOfCapabilities(int* count, int* size) {
    if (!count || !size) return E_POINTER;
    const LockGuard lock(ownerFilter.StateLock());
    *count = static_cast<int>(driver.Sizes().size());
    *size = sizeof(VIDEO_STREAM_CONFIG_CAPS);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE StillPin::GetStreamCaps(int index, AM_MEDIA_TYPE** out, BYTE* capabilities) {
    if (!out || !capabilities) return E_POINTER;
    if (index < 0) return E_INVALIDARG;
    const LockGuard lock(ownerFilter.StateLock());
    const auto& sizes = driver.Sizes();
    if (static_cast<std::size_t>(index) >= sizes.size()) return S_FALSE;
    const PictureSize size = sizes[static_cast<std::size_t>(index)];
    const HRESULT result = NewType(size, out);
    if (FAILED(result)) return result;
    const auto& header = *reinterpret_cast<const VIDEOINFOHEADER*>((*out)->pbFormat);
    VIDEO_STREAM_CONFIG_CAPS caps = {};
    caps.guid = FORMAT_VideoInfo;
    caps.InputSize = {static_cast<LONG>(size.width), static_cast<LONG>(size.height)};
    caps.MinCroppingSize = caps.MaxCroppingSize = caps.MinOutputSize = caps.MaxOutputSize = caps.InputSize;
    caps.CropGranularityX = caps.CropGranularityY = 1;
    caps.MinFrameInterval = caps.MaxFrameInterval = header.AvgTimePerFrame;
    caps.MinBitsPerSecond = caps.MaxBitsPerSecond = static_cast<LONG>(header.dwBitRate);
    std::memcpy(capabilities, &caps, sizeof caps);
    return S_OK;
}

}  // namespace cam::driver

#include "still/still_image_sink.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <new>
#include <utility>

#include "base/copy_text.h"
#include "base/insist.h"
#include "base/picture_format.h"
#include "still/bitmap_info.h"
#include "still/frame_format.h"

namespace cam::still {

namespace {
PixelFormat PixelFormatOf(const GUID& subtype) {
    if (IsEqualGUID(subtype, MEDIASUBTYPE_YUY2)) return PixelFormat::Yuy2;
    return IsEqualGUID(subtype, MEDIASUBTYPE_RGB565) ? PixelFormat::Rgb565 : PixelFormat::None;
}

// Whether everything that is done with a frame stays in its bytes. Of one without columns nothing is touched.
bool HoldsAllRows(const Frame& frame) {
    if (frame.width < 0) return false;
    if (frame.width == 0) return true;
    // Pixels go in pairs of 4 bytes. Rows that a format of fewer bits a pixel puts closer together overlap,
    // but the bitmap and the TIFF file read them as if they did not.
    const std::uint64_t rowBytes = RowStride(static_cast<std::uint32_t>(frame.width), kBitsPerPixel);
    return frame.rows() * std::max<std::uint64_t>(frame.stride, rowBytes) <= frame.bytes.size();
}
}  // namespace

const filter_base::FilterSetup kStillImageSinkSetup = {L"StillImageSink", 0x00800000, 1};

void DiscardBitmap(HBITMAP bitmap) {
    DeleteObject(bitmap);
    CloseHandle(bitmap);
}

StillImageSinkFilter::StillImageSinkFilter(IUnknown* outer)
    : Implements(nullptr, outer, kClsidStillImageSink),
      savedEvent(CreateEventW(nullptr, FALSE, FALSE, kSavedEventName)) {}

const filter_base::FilterSetup* StillImageSinkFilter::GetSetupData() const {
    return &kStillImageSinkSetup;
}

// ---- Media type ----------------------------------------------------------------------------------

HRESULT StillImageSinkFilter::CheckMediaType(const AM_MEDIA_TYPE& type) {
    return IsEqualGUID(type.majortype, MEDIATYPE_Video) && PixelFormatOf(type.subtype) != PixelFormat::None
               ? S_OK
               : E_FAIL;
}

HRESULT StillImageSinkFilter::SetMediaType(const AM_MEDIA_TYPE& type) {
    pixels = PixelFormat::None;
    const VIDEOINFOHEADER* info = CompleteVideoInfo(type);
    if (!info || CheckMediaType(type) != S_OK) return E_FAIL;
    format = FrameOf(*info);
    sampleSize = type.lSampleSize;
    pixels = PixelFormatOf(type.subtype);
    return S_OK;
}

// ---- Settings of the next picture ----------------------------------------------------------------

HRESULT STDMETHODCALLTYPE StillImageSinkFilter::SetCallback(camFrameCallback newCallback) {
    callback = newCallback;
    return S_OK;
}

// Whatever the new name is, the old one is forgotten.
HRESULT STDMETHODCALLTYPE StillImageSinkFilter::SetFileName(const wchar_t* name) {
    const auto next = settings.Locked();
    next->picture.fileName.reset();
    next->hasFileName = true;
    if (!name) return S_OK;
    if (PictureFormatOf(name) == PictureFormat::None) return kBadFileName;
    next->picture.fileName = CopyText(name, std::wcslen(name));
    return next->picture.fileName ? S_OK : E_OUTOFMEMORY;
}

HRESULT STDMETHODCALLTYPE StillImageSinkFilter::SetQualityLevel(int level) {
    const auto next = settings.Locked();
    next->picture.qualityLevel = static_cast<BYTE>(level);
    return S_OK;
}

// Without a text the old one is forgotten, while its position, colour and font stay.
HRESULT STDMETHODCALLTYPE StillImageSinkFilter::SetText(UINT_PTR text, UINT_PTR length, UINT_PTR position,
                                                        UINT_PTR colorWord, UINT_PTR font) {
    const auto next = settings.Locked();
    next->picture.overlayText.reset();
    next->hasText = true;
    if (!text || length == 0) return S_OK;
    next->picture.overlayText = CopyText(reinterpret_cast<const wchar_t*>(text), length);
    if (!next->picture.overlayText) return E_OUTOFMEMORY;
    next->picture.textFont = reinterpret_cast<HFONT>(font);
    next->picture.colorWord = static_cast<DWORD>(colorWord);
    next->picture.textPosition = static_cast<DWORD>(position);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE StillImageSinkFilter::GetBitmap(HBITMAP* handle) {
    if (!handle) return E_POINTER;
    *handle = bitmap.get();
    return S_OK;
}

// The file name stays for later pictures. So does a text that could not be stamped, until there is another.
void StillImageSinkFilter::TakeSettings() {
    const auto next = settings.Locked();
    if (std::exchange(next->hasFileName, false)) picture.fileName = std::move(next->picture.fileName);
    picture.qualityLevel = next->picture.qualityLevel;
    if (!std::exchange(next->hasText, false)) return;
    picture.overlayText = std::move(next->picture.overlayText);
    picture.textPosition = next->picture.textPosition;
    picture.colorWord = next->picture.colorWord;
    picture.textFont = next->picture.textFont;
}

// ---- The picture ---------------------------------------------------------------------------------

void StillImageSinkFilter::MakePicture(const Frame& frame) {
    TakeSettings();
    ImageWriter writer(picture, frame, pixels);
    writer.Prepare();

    bitmap.reset();
    bitmap.reset(CreateBitmap(frame.width, frame.height, 1, kBitsPerPixel, frame.bytes.data()));

    // A sender may state a size beyond its buffer's.
    const auto size = static_cast<DWORD>(std::min<std::size_t>(sampleSize, frame.bytes.size()));
    const camFrameCallback receiver = callback;
    if (receiver) receiver(frame.bytes.data(), size, frame.height, frame.width, frame.stride);

    // A picture that could not be written leaves no file; nobody is told but those who look for it.
    writer.Store();
}

HRESULT StillImageSinkFilter::DoRenderSample(IMediaSample* sample) {
    if (!sample) return E_FAIL;
    BYTE* bytes = nullptr;
    HRESULT result = sample->GetPointer(&bytes);
    if (FAILED(result)) return result;
    Frame frame = format;
    if (bytes) frame.bytes = {bytes, static_cast<std::size_t>(std::max(sample->GetSize(), 0L))};

    // The frame is rewritten in place: one that is too short for its type is a picture that failed.
    if (HoldsAllRows(frame)) {
        MakePicture(frame);
    } else {
        result = E_FAIL;
    }

    // Whoever waits for the picture is released even when there is none.
    Signal(savedEvent.get());
    NotifyEvent(kEventStillCaptured, 0, 0);
    return result;
}

filter_base::ComObject* CreateStillImageSink(IUnknown* outer, HRESULT* result) {
    auto* filter = new (std::nothrow) StillImageSinkFilter(outer);
    if (filter && !filter->CanWait()) {
        const ComPtr<IUnknown> toDestroy(filter->Inner());
        filter = nullptr;
    }
    if (!filter && result) *result = E_OUTOFMEMORY;
    return filter;
}

}  // namespace cam::still

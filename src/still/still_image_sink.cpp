#include "still/still_image_sink.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <new>
#include <utility>

#include "base/copy_text.h"
#include "base/picture_format.h"
#include "still/frame_format.h"
#include "still/image_writer.h"

namespace cam::still {

namespace {
constexpr UINT kBitsPerPixel = 16;  // of a prepared frame

LONG FormatCodeOf(const GUID& subtype) {
    if (IsEqualGUID(subtype, MEDIASUBTYPE_YUY2)) return kFormatYuy2;
    return IsEqualGUID(subtype, MEDIASUBTYPE_RGB565) ? kFormatRgb565 : kFormatNone;
}
}  // namespace

const filter_base::FilterSetup kStillImageSinkSetup = {L"StillImageSink", 0x00800000, 1};

void DiscardBitmap(HBITMAP bitmap) {
    DeleteObject(bitmap);
    CloseHandle(bitmap);
}

StillImageSinkFilter::StillImageSinkFilter(IUnknown* outer)
    : Implements(nullptr, outer, kClsidStillImageSink),
      savedEvent_(CreateEventW(nullptr, FALSE, FALSE, kSavedEventName)) {}

const filter_base::FilterSetup* StillImageSinkFilter::GetSetupData() const {
    return &kStillImageSinkSetup;
}

// ---- Media type ----------------------------------------------------------------------------------

HRESULT StillImageSinkFilter::CheckMediaType(const AM_MEDIA_TYPE& type) {
    return IsEqualGUID(type.majortype, MEDIATYPE_Video) && FormatCodeOf(type.subtype) != kFormatNone ? S_OK
                                                                                                     : E_FAIL;
}

HRESULT StillImageSinkFilter::SetMediaType(const AM_MEDIA_TYPE& type) {
    picture_.formatCode = kFormatNone;
    const VIDEOINFOHEADER* info = CompleteVideoInfo(type);
    if (!info || CheckMediaType(type) != S_OK) return E_FAIL;
    const FrameGeometry geometry = GeometryOf(type, *info);
    picture_.width = geometry.width;
    picture_.height = geometry.height;
    picture_.sampleSize = geometry.sampleSize;
    picture_.stride = geometry.stride;
    picture_.formatCode = FormatCodeOf(type.subtype);
    return S_OK;
}

// ---- Settings of the next picture ----------------------------------------------------------------

HRESULT STDMETHODCALLTYPE StillImageSinkFilter::SetCallback(camFrameCallback callback) {
    callback_ = callback;
    return S_OK;
}

// Whatever the new name is, the old one is forgotten.
HRESULT STDMETHODCALLTYPE StillImageSinkFilter::SetFileName(const wchar_t* name) {
    const auto settings = settings_.Locked();
    settings->fileName.reset();
    settings->hasFileName = true;
    if (!name) return S_OK;
    if (PictureFormatOf(name) == PictureFormat::None) return kBadFileName;
    settings->fileName = CopyText(name, std::wcslen(name));
    return settings->fileName ? S_OK : E_OUTOFMEMORY;
}

HRESULT STDMETHODCALLTYPE StillImageSinkFilter::SetQualityLevel(int level) {
    const auto settings = settings_.Locked();
    settings->qualityLevel = static_cast<BYTE>(level);
    return S_OK;
}

// Without a text the old one is forgotten, while its position, colour and font stay.
HRESULT STDMETHODCALLTYPE StillImageSinkFilter::SetText(UINT_PTR text, UINT_PTR length, UINT_PTR position,
                                                        UINT_PTR colorWord, UINT_PTR font) {
    const auto settings = settings_.Locked();
    settings->text.reset();
    settings->hasText = true;
    if (!text || length == 0) return S_OK;
    settings->text = CopyText(reinterpret_cast<const wchar_t*>(text), length);
    if (!settings->text) return E_OUTOFMEMORY;
    settings->font = reinterpret_cast<HFONT>(font);
    settings->colorWord = static_cast<DWORD>(colorWord);
    settings->textPosition = static_cast<DWORD>(position);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE StillImageSinkFilter::GetBitmap(HBITMAP* bitmap) {
    if (!bitmap) return E_POINTER;
    *bitmap = bitmap_.get();
    return S_OK;
}

// The file name stays for later pictures. So does a text that could not be stamped, until there is another.
void StillImageSinkFilter::TakeSettings() {
    const auto settings = settings_.Locked();
    if (std::exchange(settings->hasFileName, false)) picture_.fileName = std::move(settings->fileName);
    picture_.qualityLevel = settings->qualityLevel;
    if (!std::exchange(settings->hasText, false)) return;
    picture_.overlayText = std::move(settings->text);
    picture_.textPosition = settings->textPosition;
    picture_.colorWord = settings->colorWord;
    picture_.textFont = settings->font;
}

// ---- The picture ---------------------------------------------------------------------------------

// Whether everything that is done with a frame stays in the sample's buffer. Of a frame without extent nothing
// is touched.
bool StillImageSinkFilter::HoldsFrame(IMediaSample& sample) const {
    if (picture_.width < 0) return false;
    if (picture_.width == 0) return true;
    // Pixels go in pairs of 4 bytes. Rows that a format of fewer bits a pixel puts closer together overlap, but
    // the bitmap and the TIFF file read them as if they did not.
    const uint64_t rowBytes = (static_cast<uint64_t>(picture_.width) + 1) / 2 * 4;
    const auto size = static_cast<uint64_t>(std::max(sample.GetSize(), 0L));
    return RowCount(picture_.height) * std::max<uint64_t>(picture_.stride, rowBytes) <= size;
}

void StillImageSinkFilter::MakePicture(BYTE* frame) {
    TakeSettings();
    ImageWriter writer(picture_, frame);
    writer.Prepare();

    bitmap_.reset();
    const UINT bitsPerPixel = picture_.infoHeader ? picture_.infoHeader->header.biBitCount : kBitsPerPixel;
    bitmap_.reset(CreateBitmap(picture_.width, picture_.height, 1, bitsPerPixel, frame));

    const camFrameCallback callback = callback_;
    if (callback) callback(frame, picture_.sampleSize, picture_.height, picture_.width, picture_.stride);

    // A picture that could not be written leaves no file; nobody is told but those who look for it.
    writer.Store();
}

HRESULT StillImageSinkFilter::DoRenderSample(IMediaSample* sample) {
    if (!sample) return E_FAIL;
    BYTE* frame = nullptr;
    HRESULT result = sample->GetPointer(&frame);
    if (FAILED(result)) return result;

    // The frame is rewritten in place: one that is too short for its type is a picture that failed.
    if (HoldsFrame(*sample)) {
        MakePicture(frame);
    } else {
        result = E_FAIL;
    }

    // Whoever waits for the picture is released even when there is none.
    SetEvent(savedEvent_.get());
    NotifyEvent(kEventStillCaptured, 0, 0);
    return result;
}

filter_base::ComObject* CreateStillImageSink(IUnknown* outer, HRESULT* result) {
    auto* filter = new (std::nothrow) StillImageSinkFilter(outer);
    if (!filter && result) *result = E_OUTOFMEMORY;
    return filter;
}

}  // namespace cam::still

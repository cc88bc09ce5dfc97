#include "platform/desktop/camera_driver/source_format.h"

#include <dvdmedia.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "base/com_ptr.h"
#include "base/hresult.h"

namespace cam::driver {
namespace {

constexpr GUID FourccSubtype(DWORD fourcc) {
    return {fourcc, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}

struct KnownSubtype {
    GUID subtype;
    Encoding encoding;
};
constexpr KnownSubtype kFourccs[] = {
    {FourccSubtype(MAKEFOURCC('Y', 'U', 'Y', '2')), Encoding::Yuy2},
    {FourccSubtype(MAKEFOURCC('N', 'V', '1', '2')), Encoding::Nv12},
    {FourccSubtype(MAKEFOURCC('I', '4', '2', '0')), Encoding::I420},
    {FourccSubtype(MAKEFOURCC('I', 'Y', 'U', 'V')), Encoding::I420},
    {FourccSubtype(MAKEFOURCC('M', 'J', 'P', 'G')), Encoding::Mjpg},
};

constexpr LONG kMaxSide = 16384;
// No webcam has so many formats, or records of its capabilities of that size.
constexpr int kMaxTypes = 1000, kMaxRecord = 0x10000;

std::optional<Encoding> ReadEncoding(const GUID& subtype) {
    if (subtype == MEDIASUBTYPE_RGB24) return Encoding::Rgb24;
    if (subtype == MEDIASUBTYPE_RGB32) return Encoding::Rgb32;
    for (const KnownSubtype& known : kFourccs) {
        if (subtype == known.subtype) return known.encoding;
    }
    return std::nullopt;
}

const BITMAPINFOHEADER* FindBitmap(const AM_MEDIA_TYPE& type) {
    if (!type.pbFormat) return nullptr;
    if (type.formattype == FORMAT_VideoInfo && type.cbFormat >= sizeof(VIDEOINFOHEADER))
        return &reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat)->bmiHeader;
    if (type.formattype == FORMAT_VideoInfo2 && type.cbFormat >= sizeof(VIDEOINFOHEADER2))
        return &reinterpret_cast<const VIDEOINFOHEADER2*>(type.pbFormat)->bmiHeader;
    return nullptr;
}

static_assert(offsetof(VIDEOINFOHEADER, AvgTimePerFrame) == offsetof(VIDEOINFOHEADER2, AvgTimePerFrame));

// More frames a second than that are no use to a preview, and cost encodings that are more work.
constexpr LONGLONG kEnoughFrameTime = 10'000'000 / 30;

struct Rank {
    LONGLONG frameTime;  // the least is best
    Encoding encoding;
    bool operator<(const Rank& other) const {
        return frameTime != other.frameTime ? frameTime < other.frameTime : encoding < other.encoding;
    }
};

Rank RankOf(const SourceFormat& format) {
    // One part in a hundred more is the same rate: 333333 and 333667 both mean 30 a second.
    const LONGLONG time =
        format.frameTime <= kEnoughFrameTime * 101 / 100 ? kEnoughFrameTime : format.frameTime;
    return {time, format.shape.encoding};
}

// `fastest`: the time per frame that is stated beside the type, if it is above 0.
HRESULT AddFormat(const AM_MEDIA_TYPE& type, LONGLONG fastest, std::vector<SourceFormat>& formats) {
    const std::optional<SourceShape> shape = ReadShape(type);
    if (!shape) return S_OK;
    SourceFormat format;
    format.shape = *shape;
    const LONGLONG stated = ReadFrameTime(type);
    format.frameTime = fastest > 0 ? fastest : stated;
    CAM_RETURN_IF_FAILED(format.type.CopyFrom(type));
    // A webcam that states no rate in its types is given none.
    if (stated > 0 && fastest > 0) WriteFrameTime(format.type, std::min(fastest, stated));
    formats.push_back(std::move(format));
    return S_OK;
}

}  // namespace

std::optional<SourceShape> ReadShape(const AM_MEDIA_TYPE& type) {
    if (type.majortype != MEDIATYPE_Video) return std::nullopt;
    const std::optional<Encoding> encoding = ReadEncoding(type.subtype);
    const BITMAPINFOHEADER* const bitmap = FindBitmap(type);
    if (!encoding || !bitmap) return std::nullopt;
    const LONG width = bitmap->biWidth, height = bitmap->biHeight;
    if (width <= 0 || width > kMaxSide || height == 0 || height > kMaxSide || height < -kMaxSide)
        return std::nullopt;
    const bool isRgb = *encoding == Encoding::Rgb24 || *encoding == Encoding::Rgb32;
    return SourceShape{*encoding, static_cast<std::uint32_t>(width),
                       static_cast<std::uint32_t>(std::abs(height)), isRgb && height > 0};
}

LONGLONG ReadFrameTime(const AM_MEDIA_TYPE& type) {
    return std::max(reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat)->AvgTimePerFrame, LONGLONG{0});
}

void WriteFrameTime(AM_MEDIA_TYPE& type, LONGLONG frameTime) {
    reinterpret_cast<VIDEOINFOHEADER*>(type.pbFormat)->AvgTimePerFrame = frameTime;
}

HRESULT ReadFormats(IAMStreamConfig& config, std::vector<SourceFormat>& formats) {
    int count = 0;
    int size = 0;
    CAM_RETURN_IF_FAILED(config.GetNumberOfCapabilities(&count, &size));
    if (size < static_cast<int>(sizeof(VIDEO_STREAM_CONFIG_CAPS)) || size > kMaxRecord) return E_UNEXPECTED;
    const std::unique_ptr<BYTE[]> record(new BYTE[static_cast<std::size_t>(size)]());
    for (int index = 0; index < std::min(count, kMaxTypes); ++index) {
        filter_base::UniqueMediaType type;
        if (config.GetStreamCaps(index, type.put(), record.get()) != S_OK || !type) continue;
        // Some give the rate here only, and some swap the two limits.
        const auto& caps = *reinterpret_cast<const VIDEO_STREAM_CONFIG_CAPS*>(record.get());
        const LONGLONG fastest = std::min(caps.MinFrameInterval, caps.MaxFrameInterval);
        CAM_RETURN_IF_FAILED(AddFormat(*type.get(), fastest, formats));
    }
    return S_OK;
}

HRESULT ReadFormats(IPin& pin, std::vector<SourceFormat>& formats) {
    ComPtr<IEnumMediaTypes> types;
    CAM_RETURN_IF_FAILED(pin.EnumMediaTypes(types.put()));
    filter_base::UniqueMediaType type;
    for (int left = kMaxTypes; types && left > 0 && types->Next(1, type.put(), nullptr) == S_OK; --left) {
        if (type) CAM_RETURN_IF_FAILED(AddFormat(*type.get(), 0, formats));
    }
    return S_OK;
}

std::vector<PictureSize> SizesOf(const std::vector<SourceFormat>& formats) {
    std::vector<PictureSize> sizes;
    for (const SourceFormat& format : formats) {
        const PictureSize size = {format.shape.width, format.shape.height};
        if (std::find(sizes.begin(), sizes.end(), size) == sizes.end()) sizes.push_back(size);
    }
    return sizes;
}

const SourceFormat* BestFormat(const std::vector<SourceFormat>& formats, PictureSize size) {
    const SourceFormat* best = nullptr;
    for (const SourceFormat& format : formats) {
        if (PictureSize{format.shape.width, format.shape.height} != size) continue;
        if (!best || RankOf(format) < RankOf(*best)) best = &format;
    }
    return best;
}

PictureSize PreviewSize(const std::vector<PictureSize>& sizes) {
    constexpr long long kWanted = 640 * 480;
    const auto distance = [](const PictureSize& size) {
        return std::llabs(static_cast<long long>(size.width) * size.height - kWanted);
    };
    return *std::min_element(sizes.begin(), sizes.end(),
                             [&](const auto& a, const auto& b) { return distance(a) < distance(b); });
}

}  // namespace cam::driver

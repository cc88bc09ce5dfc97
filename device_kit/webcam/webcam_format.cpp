#include "webcam/webcam_format.h"

#include <strmif.h>
#include <amvideo.h>
#include <dvdmedia.h>
#include <uuids.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>

#include "base/frame.h"
#include "media_format.h"

namespace kit {
namespace {

constexpr int kJpegQuality = 90;

struct EncodingOfType {
    DWORD fourcc;
    WORD bits;
};

EncodingOfType TypeOf(WebcamEncoding encoding) {
    switch (encoding) {
        case WebcamEncoding::Nv12:
            return {MAKEFOURCC('N', 'V', '1', '2'), 12};
        case WebcamEncoding::Mjpg:
            return {MAKEFOURCC('M', 'J', 'P', 'G'), 24};
        case WebcamEncoding::Rgb24:
            return {BI_RGB, 24};
        case WebcamEncoding::Y800:
            return {MAKEFOURCC('Y', '8', '0', '0'), 8};
        case WebcamEncoding::Yuy2:
            break;
    }
    return {MAKEFOURCC('Y', 'U', 'Y', '2'), 16};
}

GUID SubtypeOf(WebcamEncoding encoding) {
    if (encoding == WebcamEncoding::Rgb24) return MEDIASUBTYPE_RGB24;
    return {TypeOf(encoding).fourcc, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}

// VIDEOINFOHEADER and VIDEOINFOHEADER2 begin alike.
template <typename Header>
BITMAPINFOHEADER* FillBlock(const WebcamFormat& format, cam::filter_base::MediaType& type) {
    constexpr REFERENCE_TIME kSecond = 10000000;
    auto* const header = reinterpret_cast<Header*>(type.AllocateFormat(sizeof(Header)));
    if (!header) return nullptr;
    header->AvgTimePerFrame = kSecond / format.framesPerSecond;
    header->dwBitRate =
        static_cast<DWORD>(format.SampleSize()) * 8 * static_cast<DWORD>(format.framesPerSecond);
    return &header->bmiHeader;
}

int PackBgr(const Picture& picture, BYTE* sample) {
    const auto stride = static_cast<int>(cam::RowStride(static_cast<unsigned>(picture.width), 24));
    for (int y = 0; y < picture.height; ++y) {
        BYTE* out = sample + (picture.height - 1 - y) * stride;
        const Pixel* const in = picture.Row(y);
        for (int x = 0; x < picture.width; ++x, out += 3) {
            out[0] = static_cast<BYTE>(Blue(in[x]));
            out[1] = static_cast<BYTE>(Green(in[x]));
            out[2] = static_cast<BYTE>(Red(in[x]));
        }
    }
    return stride * picture.height;
}

// From YUY2: two rows share the mean of their chroma.
int PackNv12(const Picture& picture, BYTE* sample) {
    const Format whole = {Layout::Yuy2, picture.width, picture.height, true};
    std::vector<BYTE> yuy2(static_cast<std::size_t>(whole.SampleSize()));
    Pack(picture, whole, yuy2.data());
    BYTE* luma = sample;
    BYTE* chroma = sample + picture.width * picture.height;
    for (int y = 0; y < picture.height; ++y) {
        const BYTE* const row = yuy2.data() + y * whole.Stride();
        const BYTE* const next = y + 1 < picture.height ? row + whole.Stride() : row;
        for (int x = 0; x < picture.width; ++x) *luma++ = row[2 * x];
        for (int x = 0; y % 2 == 0 && x < (picture.width + 1) / 2 * 2; ++x)
            *chroma++ = static_cast<BYTE>((row[2 * x + 1] + next[2 * x + 1] + 1) / 2);
    }
    return static_cast<int>(chroma - sample);
}

int PackGrey(const Picture& picture, BYTE* sample) {
    BYTE* out = sample;
    for (int y = 0; y < picture.height; ++y) {
        const Pixel* const in = picture.Row(y);
        for (int x = 0; x < picture.width; ++x)
            *out++ = static_cast<BYTE>((2 * Red(in[x]) + 5 * Green(in[x]) + Blue(in[x])) / 8);
    }
    return static_cast<int>(out - sample);
}

std::vector<BYTE> EncodeJpeg(const Picture& picture) {
    jpeg_error_mgr errors;
    jpeg_compress_struct jpeg;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &bytes, &size);
    jpeg.image_width = static_cast<JDIMENSION>(picture.width);
    jpeg.image_height = static_cast<JDIMENSION>(picture.height);
    jpeg.input_components = 4;
    jpeg.in_color_space = JCS_EXT_BGRX;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, kJpegQuality, TRUE);
    jpeg.comp_info[0].v_samp_factor = 1;  // 4:2:2, as webcams have it
    jpeg_start_compress(&jpeg, TRUE);
    for (int y = 0; y < picture.height; ++y) {
        auto* row = reinterpret_cast<JSAMPROW>(const_cast<Pixel*>(picture.Row(y)));
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    std::vector<BYTE> out(bytes, bytes + size);
    free(bytes);
    return out;
}

// Takes the tables (DHT, ITU-T T.81, B.2.4.2) out of what stands before the picture's data.
void RemoveHuffmanTables(std::vector<BYTE>& jpeg) {
    constexpr BYTE kTables = 0xC4, kScan = 0xDA;
    std::size_t at = 2;
    while (at + 4 <= jpeg.size() && jpeg[at + 1] != kScan) {
        const std::size_t length = 2 + (jpeg[at + 2] * 256U + jpeg[at + 3]);
        if (jpeg[at + 1] != kTables) {
            at += length;
            continue;
        }
        const auto begin = jpeg.begin() + static_cast<std::ptrdiff_t>(at);
        jpeg.erase(begin, begin + static_cast<std::ptrdiff_t>(length));
    }
}

}  // namespace

bool FillMediaType(const WebcamFormat& format, cam::filter_base::MediaType& type) {
    BITMAPINFOHEADER* const bitmap = format.longBlock ? FillBlock<VIDEOINFOHEADER2>(format, type)
                                                      : FillBlock<VIDEOINFOHEADER>(format, type);
    if (!bitmap) return false;
    const EncodingOfType encoding = TypeOf(format.encoding);
    bitmap->biSize = sizeof *bitmap;
    bitmap->biWidth = format.width;
    bitmap->biHeight = format.height;
    bitmap->biPlanes = 1;
    bitmap->biBitCount = encoding.bits;
    bitmap->biCompression = encoding.fourcc;
    bitmap->biSizeImage = static_cast<DWORD>(format.SampleSize());
    type.majortype = MEDIATYPE_Video;
    type.subtype = SubtypeOf(format.encoding);
    type.bFixedSizeSamples = format.encoding != WebcamEncoding::Mjpg;
    type.bTemporalCompression = FALSE;
    type.lSampleSize = bitmap->biSizeImage;
    type.formattype = format.longBlock ? FORMAT_VideoInfo2 : FORMAT_VideoInfo;
    return true;
}

bool Matches(const WebcamFormat& format, const AM_MEDIA_TYPE& type) {
    cam::filter_base::MediaType own;
    if (!FillMediaType(format, own) || type.subtype != own.subtype || type.formattype != own.formattype ||
        type.cbFormat < own.cbFormat || !type.pbFormat) {
        return false;
    }
    const std::size_t at =
        format.longBlock ? offsetof(VIDEOINFOHEADER2, bmiHeader) : offsetof(VIDEOINFOHEADER, bmiHeader);
    const auto& asked = *reinterpret_cast<const BITMAPINFOHEADER*>(type.pbFormat + at);
    return asked.biWidth == format.width && asked.biHeight == format.height;
}

int Pack(const Picture& picture, const WebcamFormat& format, const WebcamHabits& habits, BYTE* sample) {
    if (format.encoding == WebcamEncoding::Rgb24) return PackBgr(picture, sample);
    if (format.encoding == WebcamEncoding::Nv12) return PackNv12(picture, sample);
    if (format.encoding == WebcamEncoding::Y800) return PackGrey(picture, sample);
    if (format.encoding == WebcamEncoding::Yuy2) {
        const Format whole = {Layout::Yuy2, picture.width, picture.height, true};
        Pack(picture, whole, sample);
        return whole.SampleSize();
    }
    std::vector<BYTE> jpeg = EncodeJpeg(picture);
    if (!habits.huffmanTables) RemoveHuffmanTables(jpeg);
    const auto size = std::min(jpeg.size(), static_cast<std::size_t>(format.SampleSize()));
    std::memcpy(sample, jpeg.data(), size);
    return static_cast<int>(size);
}

}  // namespace kit

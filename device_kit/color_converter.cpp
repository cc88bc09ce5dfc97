#include "color_converter.h"

#include <algorithm>
#include <cstdlib>

namespace kit {
namespace {

const VIDEOINFOHEADER& Header(const AM_MEDIA_TYPE& type) {
    return *reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat);
}

// 0RRRRRGGGGGBBBBB to RRRRRGGGGGgBBBBB, two pixels at a time; green's new lowest bit repeats its highest, so
// that white stays white.
std::uint32_t Widen565(std::uint32_t pixels) {
    return (pixels & 0x7FE07FE0) << 1 | (pixels >> 4 & 0x00200020) | (pixels & 0x001F001F);
}

}  // namespace

// ---- Input ------------------------------------------------------------------------------------------------

ConverterInput::ConverterInput(ColorConverter& filter) : InputPin(filter, L"Input"), converter(filter) {}

HRESULT ConverterInput::CheckMediaType(const AM_MEDIA_TYPE& type) {
    const bool fits = type.majortype == MEDIATYPE_Video && type.subtype == MEDIASUBTYPE_RGB555 &&
                      type.formattype == FORMAT_VideoInfo && type.pbFormat &&
                      type.cbFormat >= sizeof(VIDEOINFOHEADER) && Header(type).bmiHeader.biWidth > 0 &&
                      Header(type).bmiHeader.biHeight != 0;
    return fits ? S_OK : S_FALSE;
}

HRESULT ConverterInput::EndOfStream() {
    return converter.Output().DeliverEndOfStream();
}

HRESULT ConverterInput::BeginFlush() {
    InputPin::BeginFlush();
    return converter.Output().DeliverBeginFlush();
}

HRESULT ConverterInput::EndFlush() {
    const HRESULT hr = converter.Output().DeliverEndFlush();
    InputPin::EndFlush();
    return hr;
}

HRESULT ConverterInput::NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
    return converter.Output().DeliverNewSegment(start, stop, rate);
}

HRESULT ConverterInput::Receive(IMediaSample* sample) {
    if (!sample) return E_POINTER;
    return converter.Convert(sample);
}

// ---- Output -----------------------------------------------------------------------------------------------

ConverterOutput::ConverterOutput(ColorConverter& filter) : OutputPin(filter, L"Output"), converter(filter) {}

HRESULT ConverterOutput::CheckMediaType(const AM_MEDIA_TYPE& type) {
    return converter.Input().IsConnected() && Matches(converter.OutputFormat(), type) ? S_OK : S_FALSE;
}

// Width and signed height are the input's: rows go through in the order in which they come.
HRESULT ConverterOutput::GetMediaType(int position, cam::filter_base::MediaType& type) {
    if (position != 0 || !converter.Input().IsConnected()) return VFW_S_NO_MORE_ITEMS;
    if (!FillMediaType(converter.OutputFormat(), 1, type)) return E_OUTOFMEMORY;
    reinterpret_cast<VIDEOINFOHEADER*>(type.pbFormat)->AvgTimePerFrame =
        Header(converter.Input().Type()).AvgTimePerFrame;
    return S_OK;
}

HRESULT ConverterOutput::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) {
    return RequestBuffers(converter.OutputFormat(), allocator, request);
}

// ---- Filter -----------------------------------------------------------------------------------------------

Format ColorConverter::OutputFormat() const {
    const BITMAPINFOHEADER& bitmap = Header(input.Type()).bmiHeader;
    return {Layout::Rgb565, static_cast<int>(bitmap.biWidth), std::abs(static_cast<int>(bitmap.biHeight)),
            bitmap.biHeight < 0};
}

HRESULT ColorConverter::Convert(IMediaSample* sample) {
    const std::lock_guard guard(converting);
    HRESULT hr = input.StreamingState();
    if (hr != S_OK) return hr;
    const Format format = OutputFormat();
    cam::ComPtr<IMediaSample> converted;
    hr = output.GetDeliveryBuffer(converted.put());
    BYTE *from = nullptr, *to = nullptr;
    if (SUCCEEDED(hr)) hr = sample->GetPointer(&from);
    if (SUCCEEDED(hr)) hr = converted->GetPointer(&to);
    if (FAILED(hr)) return hr;
    if (sample->GetActualDataLength() < format.SampleSize() || converted->GetSize() < format.SampleSize())
        return E_UNEXPECTED;
    const auto* in = reinterpret_cast<const std::uint32_t*>(from);
    auto* out = reinterpret_cast<std::uint32_t*>(to);
    const auto pairs = static_cast<std::size_t>(format.SampleSize()) / sizeof *in;
    for (std::size_t index = 0; index < pairs; ++index) out[index] = Widen565(in[index]);
    converted->SetActualDataLength(format.SampleSize());
    converted->SetSyncPoint(TRUE);
    REFERENCE_TIME start = 0, stop = 0;
    const HRESULT stamped = sample->GetTime(&start, &stop);
    converted->SetTime(SUCCEEDED(stamped) ? &start : nullptr, stamped == S_OK ? &stop : nullptr);
    return output.Deliver(converted.get());
}

}  // namespace kit

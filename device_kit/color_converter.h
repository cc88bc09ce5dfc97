// A filter that turns RGB 5-5-5 into RGB 5-6-5: what the camera gives into what a desktop's video renderer
// takes.
#pragma once

#include <mutex>

#include "class_ids.h"
#include "filter_base/filter.h"
#include "filter_base/input_pin.h"
#include "filter_base/output_pin.h"
#include "media_format.h"

namespace kit {

constexpr wchar_t kConverterName[] = L"Device Kit Colour Converter";

class ColorConverter;

// Takes samples on the upstream filter's streaming thread.
class ConverterInput final : public cam::filter_base::InputPin {
  public:
    explicit ConverterInput(ColorConverter& filter);

    // Pin
    HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override;
    // IPin
    HRESULT STDMETHODCALLTYPE EndOfStream() override;
    HRESULT STDMETHODCALLTYPE BeginFlush() override;
    HRESULT STDMETHODCALLTYPE EndFlush() override;
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;
    // IMemInputPin
    HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;

    // S_OK: samples are welcome.
    HRESULT StreamingState() const { return CheckStreaming(); }

  private:
    ColorConverter& converter;
};

class ConverterOutput final : public cam::filter_base::OutputPin {
  public:
    explicit ConverterOutput(ColorConverter& filter);

    // Pin
    HRESULT CheckMediaType(const AM_MEDIA_TYPE& type) override;
    HRESULT GetMediaType(int position, cam::filter_base::MediaType& type) override;
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;

  private:
    ColorConverter& converter;
};

class ColorConverter final : public cam::filter_base::Filter {
  public:
    ColorConverter() : Filter(kConverterName, nullptr, kClsidColorConverter) {}

    ConverterInput& Input() { return input; }
    ConverterOutput& Output() { return output; }
    // Of the samples that come out. Meaningful while the input is connected.
    Format OutputFormat() const;

    // Converts one sample and sends it on. Streaming thread.
    HRESULT Convert(IMediaSample* sample);

    // Filter
    int PinCount() override { return 2; }
    cam::filter_base::Pin* PinAt(int index) override {
        return index == 0 ? static_cast<cam::filter_base::Pin*>(&input) : &output;
    }

  private:
    // Stopping waits for the sample in hand; its allocators have been decommitted by then, so that it cannot
    // stay for ever.
    void WaitUntilIdle() override { const std::lock_guard guard(converting); }

    ConverterInput input{*this};
    ConverterOutput output{*this};
    std::mutex converting;
};

}  // namespace kit

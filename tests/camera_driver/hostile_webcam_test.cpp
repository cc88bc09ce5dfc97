// The driver before a webcam whose filter says and sends anything: capabilities that contradict each other,
// format blocks that are cut off, missing or make no sense, frames that do not fit them. Nothing may be read
// or written past its end, every call returns, and nothing stays behind. Memory of the webcam's ends where no
// access is allowed. tests/reliability/rounds.h says how a round is repeated.
#include <doctest/doctest.h>

#include <dshow.h>

#include <dvdmedia.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "base/frame.h"
#include "class_ids.h"
#include "com/server.h"
#include "device_kit/test_graph.h"
#include "devicekit.h"
#include "filter_base/category_pin.h"
#include "filter_base/test_filters.h"
#include "guarded_memory.h"
#include "platform/desktop/camera_driver/camera_driver.h"
#include "platform/desktop/camera_driver/webcams.h"
#include "reliability/rounds.h"

using namespace cam;
using namespace cam::test;

namespace {

constexpr LONG kSmall = 48;

template <size_t kCount>
GUID FourccSubtype(const char (&name)[kCount]) {
    GUID subtype = MEDIASUBTYPE_YUY2;
    std::memcpy(&subtype.Data1, name, 4);
    return subtype;
}

// ---- What the webcam says -------------------------------------------------------------------------------

LONG Measure(Random& random) {
    constexpr LONG kMeasures[] = {0,     1,      -1,         2,          3,        16383,       16384,
                                  16385, -16385, 0x40000001, 0x7FFFFFFF, LONG_MIN, LONG_MIN + 1};
    return random.OneIn(4) ? random.Of(kMeasures) : random.Below(kSmall) + 1;
}

LONGLONG FrameTime(Random& random) {
    constexpr LONGLONG kTimes[] = {0, 1, -1, 333333, 333667, 1000000, INT64_MAX, INT64_MIN};
    return random.Of(kTimes);
}

// A size that fits in memory, for what is streamed; both sides long only once in a while.
template <typename Header>
void FillBlock(Random& random, Header& header) {
    header.AvgTimePerFrame = FrameTime(random);
    header.bmiHeader.biSize = random.OneIn(3) ? static_cast<DWORD>(random.Bits()) : sizeof(BITMAPINFOHEADER);
    header.bmiHeader.biWidth = Measure(random);
    header.bmiHeader.biHeight = Measure(random) * (random.OneIn(3) ? -1 : 1);
    const LONGLONG pixels = LONGLONG{header.bmiHeader.biWidth} * header.bmiHeader.biHeight;
    if (std::llabs(pixels) > 0x100000 && !random.OneIn(10)) header.bmiHeader.biHeight = kSmall;
    header.bmiHeader.biPlanes = static_cast<WORD>(random.Below(3));
    header.bmiHeader.biBitCount = static_cast<WORD>(random.Bits());
    header.bmiHeader.biCompression = static_cast<DWORD>(random.Bits());
    header.bmiHeader.biSizeImage = static_cast<DWORD>(random.Bits());
    header.bmiHeader.biClrUsed = static_cast<DWORD>(random.Bits());
    header.rcSource = {Measure(random), Measure(random), Measure(random), Measure(random)};
}

// The block ends where no access is allowed.
struct HostileType {
    explicit HostileType(Random& random) {
        const GUID subtypes[] = {
            MEDIASUBTYPE_YUY2,     MEDIASUBTYPE_RGB24,    MEDIASUBTYPE_RGB32, FourccSubtype("NV12"),
            FourccSubtype("I420"), FourccSubtype("MJPG"), MEDIASUBTYPE_RGB8,  GUID_NULL};
        constexpr ULONG kPalette = 1024;
        union {
            VIDEOINFOHEADER usual;
            VIDEOINFOHEADER2 longer;
            BYTE bytes[sizeof(VIDEOINFOHEADER2) + kPalette] = {};
        };
        const bool isLong = random.OneIn(3);
        if (isLong) {
            FillBlock(random, longer);
        } else {
            FillBlock(random, usual);
        }
        const ULONG whole = isLong ? sizeof longer : sizeof usual;
        const ULONG sizes[] = {whole, whole, whole, whole, whole + 12, whole + kPalette, whole - 1, 40, 1, 0};
        const ULONG size = std::min<ULONG>(random.Of(sizes), sizeof bytes);
        block = std::make_unique<GuardedMemory>(bytes, size);
        type = {};
        type.majortype = random.OneIn(30) ? MEDIATYPE_Audio : MEDIATYPE_Video;
        type.subtype = random.Of(subtypes);
        type.formattype = isLong ? FORMAT_VideoInfo2 : FORMAT_VideoInfo;
        if (random.OneIn(20)) type.formattype = isLong ? FORMAT_VideoInfo : FORMAT_MPEGVideo;
        type.lSampleSize = static_cast<ULONG>(random.Bits());
        type.cbFormat = size;
        type.pbFormat = random.OneIn(20) ? nullptr : block->data();
    }

    AM_MEDIA_TYPE type;
    std::unique_ptr<GuardedMemory> block;
};

// A copy as an application gets it, with what a block lacks.
HRESULT HandOut(Random& random, const AM_MEDIA_TYPE& type, AM_MEDIA_TYPE** out) {
    *out = random.OneIn(30) ? nullptr : CreateMediaType(type);
    if (*out && random.OneIn(30)) (*out)->cbFormat = 0;
    return random.OneIn(20) ? S_FALSE : S_OK;
}

// ---- The webcam -----------------------------------------------------------------------------------------

class Webcam;

class HostilePin final : public Implements<CategoryPin, IAMStreamConfig> {
  public:
    HostilePin(Webcam& owner, const wchar_t* name, const GUID& purpose);

    // What it sends, on this thread.
    void Send();

    // Pin
    HRESULT CheckMediaType(const AM_MEDIA_TYPE&) override { return S_OK; }
    HRESULT GetMediaType(int position, MediaType& type) override;
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request) override;
    HRESULT NonDelegatingQueryInterface(REFIID id, void** out) override;
    // IAMStreamConfig
    HRESULT STDMETHODCALLTYPE SetFormat(AM_MEDIA_TYPE*) override;
    HRESULT STDMETHODCALLTYPE GetFormat(AM_MEDIA_TYPE**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetNumberOfCapabilities(int* count, int* size) override;
    HRESULT STDMETHODCALLTYPE GetStreamCaps(int index, AM_MEDIA_TYPE** out, BYTE* capabilities) override;

  private:
    AM_MEDIA_TYPE* NewType();

    Random& random;
    const bool hasConfig;
    std::vector<HostileType> types;
    int stated, recordSize;
};

class Webcam final : public Implements<Filter, IAMVideoControl> {
  public:
    explicit Webcam(Random& of) : Implements(L"Webcam", nullptr, GUID_NULL), random(of) {}

    int PinCount() override { return hasStillPin ? 2 : 1; }
    Pin* PinAt(int index) override { return index ? &still : &capture; }
    // IAMVideoControl
    HRESULT STDMETHODCALLTYPE GetCaps(IPin*, LONG* flags) override {
        return *flags = VideoControlFlag_Trigger, S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetMode(IPin*, LONG) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetMode(IPin*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCurrentActualFrameRate(IPin*, LONGLONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMaxAvailableFrameRate(IPin*, LONG, SIZE, LONGLONG*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetFrameRateList(IPin*, LONG, SIZE, LONG*, LONGLONG**) override {
        return E_NOTIMPL;
    }

    Random& random;
    const bool hasStillPin = random.OneIn(3);
    HostilePin capture{*this, L"Capture", PIN_CATEGORY_CAPTURE};
    HostilePin still{*this, L"Still", PIN_CATEGORY_STILL};
};

HostilePin::HostilePin(Webcam& owner, const wchar_t* name, const GUID& purpose)
    : Implements(owner, name, purpose), random(owner.random), hasConfig(!random.OneIn(4)) {
    for (int left = random.Below(6); left > 0; --left) types.emplace_back(random);
    constexpr int kCounts[] = {0, -1, INT_MIN, INT_MAX, 1000000};
    constexpr int kSizes[] = {0, -1, 1, 127, 129, 4096, INT_MIN, INT_MAX};
    stated = random.OneIn(5) ? random.Of(kCounts) : static_cast<int>(types.size());
    recordSize = random.OneIn(5) ? random.Of(kSizes) : static_cast<int>(sizeof(VIDEO_STREAM_CONFIG_CAPS));
}

HRESULT HostilePin::NonDelegatingQueryInterface(REFIID id, void** out) {
    if (id == __uuidof(IAMStreamConfig) && !hasConfig) return *out = nullptr, E_NOINTERFACE;
    return Implements::NonDelegatingQueryInterface(id, out);
}

HRESULT HostilePin::GetMediaType(int position, MediaType& type) {
    if (position < 0 || position >= static_cast<int>(types.size())) return VFW_S_NO_MORE_ITEMS;
    return type.CopyFrom(types[static_cast<size_t>(position)].type);
}

HRESULT HostilePin::DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES*) {
    ALLOCATOR_PROPERTIES wanted = {1, 1, 1, 0}, actual = {};
    return allocator->SetProperties(&wanted, &actual);
}

HRESULT STDMETHODCALLTYPE HostilePin::SetFormat(AM_MEDIA_TYPE* type) {
    if (!type || random.OneIn(20)) return E_FAIL;
    // Whoever hands a type over lets every byte of it be read.
    unsigned sum = 0;
    for (ULONG i = 0; type->pbFormat && i < type->cbFormat; ++i) sum += type->pbFormat[i];
    return sum == 1 ? S_FALSE : S_OK;
}

HRESULT STDMETHODCALLTYPE HostilePin::GetNumberOfCapabilities(int* count, int* size) {
    if (random.OneIn(20)) return E_NOTIMPL;
    *count = stated;
    *size = recordSize;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE HostilePin::GetStreamCaps(int index, AM_MEDIA_TYPE** out, BYTE* record) {
    if (index < 0 || index >= static_cast<int>(types.size())) return random.OneIn(2) ? S_FALSE : E_INVALIDARG;
    VIDEO_STREAM_CONFIG_CAPS caps = {};
    caps.MinFrameInterval = FrameTime(random);
    caps.MaxFrameInterval = FrameTime(random);
    constexpr int kMaxRecord = 4096;
    const int size = std::clamp(recordSize, 0, kMaxRecord);
    std::memset(record, random.Below(256), static_cast<size_t>(size));
    std::memcpy(record, &caps, std::min(static_cast<size_t>(size), sizeof caps));
    return HandOut(random, types[static_cast<size_t>(index)].type, out);
}

AM_MEDIA_TYPE* HostilePin::NewType() {
    if (random.OneIn(4)) return nullptr;
    const HostileType type(random);
    return CreateMediaType(type.type);
}

void HostilePin::Send() {
    IMemInputPin* const receiver = Receiver();
    if (!receiver) return;
    MediaType type;
    ConnectionMediaType(type.put());
    for (int left = random.Below(6); left > 0; --left) {
        constexpr size_t kMaxLength = 0x400000;
        const auto shape = driver::ReadShape(type);
        size_t length = shape ? shape->FrameBytes() : 0;
        if (length == 0 || random.OneIn(3)) length = static_cast<size_t>(random.Below(kSmall * kSmall));
        length = std::min(length, kMaxLength);
        GuardedMemory memory(length, random.OneIn(2) ? Flush::AtStart : Flush::AtEnd);
        constexpr BYTE kBegin[] = {0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0};
        std::memcpy(memory.data(), kBegin, std::min(length, sizeof kBegin));
        const auto size = static_cast<long>(length);
        const Held<FakeSample, BYTE*, long> sample(random.OneIn(20) ? nullptr : memory.data(), size);
        sample->dataLength = random.OneIn(5) ? random.Bits() : size;
        if (random.OneIn(20)) sample->size = random.OneIn(2) ? -1 : 0;
        if (random.OneIn(20)) sample->pointerResult = E_FAIL;
        if (random.OneIn(6)) sample->newType = [&] { return NewType(); };
        receiver->Receive(sample.get());
    }
    if (random.OneIn(10)) Peer()->EndOfStream();
}

// ---- An application with the driver ----------------------------------------------------------------------

Random* hostile;  // of the round
Webcam* opened;   // the last one

cam::filter_base::ComObject* CreateWebcam(IUnknown*, HRESULT*) {
    return opened = new Webcam(*hostile);
}

const com::ComClass kClasses[] = {
    {kit::kClsidWebcam, L"Hostile webcam", com::kBothThreadingModels, false, CreateWebcam}};

// While one lives, the system's filter for the kit's webcam is this one.
class HostileClass {
  public:
    HostileClass() {
        ComPtr<IUnknown> factory;
        REQUIRE(com::GetClassObject(kClasses, kit::kClsidWebcam, __uuidof(IClassFactory),
                                    factory.putVoid()) == S_OK);
        REQUIRE(CoRegisterClassObject(kit::kClsidWebcam, factory.get(), CLSCTX_INPROC_SERVER,
                                      REGCLS_MULTIPLEUSE, &cookie) == S_OK);
    }
    ~HostileClass() { CoRevokeClassObject(cookie); }

  private:
    DWORD cookie = 0;
};

LONG tooSmall;  // buffers that a whole picture does not fit into

long PictureBytes(const AM_MEDIA_TYPE& type) {
    const auto& bitmap = reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat)->bmiHeader;
    return static_cast<long>(RowStride(static_cast<DWORD>(bitmap.biWidth)) * RowCount(bitmap.biHeight));
}

// The application looks at every byte.
void LookAt(const TestSinkPin& pin, IMediaSample& sample) {
    static unsigned seen;
    if (std::min(sample.GetSize(), sample.GetActualDataLength()) < PictureBytes(pin.Type())) ++tooSmall;
    BYTE* bytes = nullptr;
    if (FAILED(sample.GetPointer(&bytes))) return;
    for (long i = 0; i < sample.GetActualDataLength(); ++i) seen += bytes[i];
}

IAMStreamConfig& StillConfig(driver::CameraDriver& camera) {
    ComPtr<IAMStreamConfig> config;
    REQUIRE(SUCCEEDED(camera.PinAt(2)->QueryInterface(__uuidof(IAMStreamConfig), config.putVoid())));
    return *config.get();  // the pin lives as long as the camera
}

void ChooseStill(Random& random, driver::CameraDriver& camera) {
    IAMStreamConfig& config = StillConfig(camera);
    int count = 0, size = 0;
    REQUIRE(config.GetNumberOfCapabilities(&count, &size) == S_OK);
    REQUIRE(count > 0);
    const int chosen = random.Below(count);
    for (int index = 0; index < count; ++index) {
        VIDEO_STREAM_CONFIG_CAPS caps;
        UniqueMediaType type;
        REQUIRE(config.GetStreamCaps(index, type.put(), reinterpret_cast<BYTE*>(&caps)) == S_OK);
        CHECK(caps.MinFrameInterval >= 0);
        if (index == chosen) CHECK(config.SetFormat(type.get()) == S_OK);
    }
}

void PlayWebcam(Random& random, const wchar_t* name) {
    const NoLeaks noLeaks;
    hostile = &random;
    const ComPtr<IBaseFilter> hold(new driver::CameraDriver);
    auto& camera = static_cast<driver::CameraDriver&>(*hold.get());
    if (FAILED(kit::test::LoadDevice(&camera, name))) return;
    ChooseStill(random, camera);
    const Held<TestSink> previewSink, stillSink;
    for (auto [sink, index] : {std::pair{previewSink.get(), 0}, {stillSink.get(), 2}}) {
        TestSinkPin& pin = sink->pin;
        pin.onSample = [&pin](IMediaSample& sample) { LookAt(pin, sample); };
        // A receiver has its own idea of how large a sample is.
        MediaType wish;
        if (random.OneIn(3) && camera.PinAt(index)->GetMediaType(0, wish) == S_OK) {
            constexpr ULONG kSizes[] = {0, 1, 16, 0xFFFFFFFF, 0x80000000};
            wish.lSampleSize = random.Of(kSizes);
            pin.wishes.push_back(std::move(wish));
        }
    }
    const HRESULT joined = camera.PinAt(0)->Connect(&previewSink->pin, nullptr);
    const HRESULT stillJoined = camera.PinAt(2)->Connect(&stillSink->pin, nullptr);
    for (int starts = 1 + random.Below(2); starts > 0; --starts) {
        previewSink->Pause(), stillSink->Pause();
        if (FAILED(camera.Pause())) break;
        camera.Run(0);
        for (int tries = 0; tries < 2; ++tries) {
            if (SUCCEEDED(stillJoined)) camera.TriggerStill();
            opened->capture.Send();
            if (opened->hasStillPin) opened->still.Send();
        }
        camera.Stop();
        previewSink->Stop(), stillSink->Stop();
    }
    camera.Stop();
    previewSink->Stop(), stillSink->Stop();
    if (SUCCEEDED(joined)) camera.PinAt(0)->Disconnect(), previewSink->pin.Disconnect();
    if (SUCCEEDED(stillJoined)) camera.PinAt(2)->Disconnect(), stillSink->pin.Disconnect();
    CHECK(tooSmall == 0);
}

}  // namespace

TEST_CASE("whatever a webcam says and sends, the driver stays within it") {
    SetEnvironmentVariableW(L"OCELLUS_WEBCAMS", L"1");
    wchar_t error[300] = L"";
    REQUIRE(kitLoadScenario(LR"({"webcams": [{"name": "Kit", "path": "\\\\?\\kit#1"}]})", error, 300));
    const HostileClass hostileClass;
    const auto webcams = driver::ListWebcams();
    REQUIRE(webcams.size() == 1);
    PlayRounds("webcams", [&](Random& random) { PlayWebcam(random, webcams.front().legacyName.c_str()); });
}

TEST_CASE("a frame is used as far as the sample reaches, and one that does not fit its format is broken") {
    struct Receiver final : driver::FrameReceiver {
        void OnFrame(const driver::SourceShape&, std::span<const std::uint8_t> sample) override {
            length = static_cast<long>(sample.size());
        }
        void OnBrokenFrame() override { length = -1; }
        void OnEnd() override {}
        long length = 0;
    };
    constexpr LONG kWidth = 8, kHeight = 4, kLength = 2 * kWidth * kHeight;
    const struct {
        long size, dataLength, taken;  // -1: broken
        bool hasMemory = true;
    } cases[] = {{kLength, kLength, kLength},
                 {kLength + 9, kLength + 9, kLength + 9},
                 {kLength, LONG_MAX, kLength},
                 {kLength - 1, kLength, -1},
                 {kLength, kLength - 1, -1},
                 {kLength, 0, -1},
                 {-1, kLength, -1},
                 {kLength, kLength, -1, false}};
    const NoLeaks noLeaks;
    const Held<driver::FrameSink> sink;
    const Held<TestSource> source;
    Receiver receiver;
    ComPtr<IMemInputPin> input;
    Pin* const pin = sink->PinAt(0);
    REQUIRE(SUCCEEDED(pin->QueryInterface(__uuidof(IMemInputPin), input.putVoid())));
    const MediaType type = VideoType(MEDIASUBTYPE_YUY2, kWidth, kHeight, 16);
    REQUIRE(pin->ReceiveConnection(&source->pin, &type) == S_OK);
    sink->SendTo(&receiver);
    sink->Pause();
    std::vector<BYTE> memory(kLength + 9);
    for (const auto& one : cases) {
        CAPTURE(one.size);
        CAPTURE(one.dataLength);
        const Held<FakeSample, BYTE*, long> sample(one.hasMemory ? memory.data() : nullptr, one.size);
        sample->dataLength = one.dataLength;
        CHECK(input->Receive(sample.get()) == S_OK);
        CHECK(receiver.length == one.taken);
    }
    sink->SendTo(nullptr);
    sink->Stop();
    pin->Disconnect();
}

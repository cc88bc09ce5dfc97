// What others wrote, at random: media types and samples of a foreign filter at the library's pins, and XML
// documents. Nothing may be read or written past its end, and nothing may stay behind. Memory of the sender's
// ends where no access is allowed. rounds.h says how a round is repeated.
#include <doctest/doctest.h>

#include <windows.h>

#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "config/camera_profiles.h"
#include "config/settings_store.h"
#include "filter_base/test_filters.h"
#include "guarded_memory.h"
#include "rounds.h"
#include "still/sample_grabber.h"
#include "still/still_image_sink.h"
#include "test_files.h"

using namespace cam;
using namespace cam::test;

namespace {

// ---- A foreign filter --------------------------------------------------------------------------

const GUID kSubtypes[] = {MEDIASUBTYPE_RGB565, MEDIASUBTYPE_RGB555, MEDIASUBTYPE_YUY2,
                          MEDIASUBTYPE_RGB24,  GUID_NULL,           MEDIASUBTYPE_MJPG};
constexpr LONG kMeasures[] = {
    0, 1, -1, 2, 3, 16, 33, -40, 0x7FFF, 0x10000, 0x40000001, 0x7FFFFFFF, static_cast<LONG>(0x80000000)};
constexpr WORD kBits[] = {16, 16, 16, 0, 1, 8, 12, 24, 32, 0xFFFF};
constexpr ULONG kBlockSizes[] = {88, 88, 88, 0, 1, 40, 87, 89, 200};
constexpr LONG kSmall = 48;

// A media type of a foreign sender's, its format block in guarded memory.
struct ForeignType {
    explicit ForeignType(Random& random) {
        const bool isSmall = !random.OneIn(3);
        const auto measure = [&] { return isSmall ? random.Below(kSmall) : random.Of(kMeasures); };
        const ULONG size = random.Of(kBlockSizes);
        MediaType made = VideoType(random.Of(kSubtypes), measure(), measure(), random.Of(kBits), 200);
        memory = std::make_unique<GuardedMemory>(made.pbFormat, size);
        type = made;
        type.pUnk = nullptr;
        type.cbFormat = size;
        type.pbFormat = random.OneIn(10) ? nullptr : memory->data();
        if (random.OneIn(10)) type.cbFormat = 0, type.pbFormat = nullptr;
        if (random.OneIn(10)) type.formattype = FORMAT_VideoInfo2;
        if (random.OneIn(20)) type.majortype = MEDIATYPE_Audio;
        if (random.OneIn(5)) type.lSampleSize = static_cast<ULONG>(random.Of(kMeasures));
    }

    AM_MEDIA_TYPE type;
    std::unique_ptr<GuardedMemory> memory;
};

// A type handed over with a sample is the receiver's to free.
AM_MEDIA_TYPE* HandOver(Random& random) {
    if (random.OneIn(8)) return nullptr;
    const ForeignType foreign(random);
    return CreateMediaType(foreign.type);
}

unsigned bytesSeen;

// The application looks at every byte that it is told of.
void WINAPI LookAt(void* data, DWORD size, LONG, LONG, DWORD) {
    for (DWORD i = 0; data && i < size; ++i) bytesSeen += static_cast<BYTE*>(data)[i];
}

// What a sender may tell or ask between two samples.
void Interrupt(Random& random, IPin& pin, IMemInputPin& memoryPin) {
    ComPtr<IMemAllocator> allocator;
    ALLOCATOR_PROPERTIES properties = {};
    switch (random.Below(8)) {
        case 0:
            pin.EndOfStream();
            break;
        case 1:
            pin.BeginFlush();
            break;
        case 2:
            pin.EndFlush();
            break;
        case 3:
            pin.NewSegment(random.Bits(), random.Bits(), 0);
            break;
        case 4:
            memoryPin.GetAllocator(allocator.put());
            break;
        case 5:
            memoryPin.GetAllocatorRequirements(&properties);
            break;
        case 6:
            memoryPin.ReceiveCanBlock();
            break;
        default: {
            const Held<FakeAllocator> other;
            other->given = {random.Of(kMeasures), random.Of(kMeasures), random.Below(9), random.Below(2)};
            memoryPin.NotifyAllocator(other.get(), random.OneIn(2));
        }
    }
}

void SendSamples(Random& random, IPin& pin, IMemInputPin& memoryPin) {
    for (int left = random.Below(6); left > 0; --left) {
        if (random.OneIn(3)) Interrupt(random, pin, memoryPin);
        constexpr long kExact = kSmall * kSmall * 2;
        const long length = random.OneIn(2) ? kExact : random.Below(2 * kExact);
        GuardedMemory memory(static_cast<size_t>(length), random.OneIn(2) ? Flush::AtStart : Flush::AtEnd);
        const Held<FakeSample, BYTE*, long> sample(random.OneIn(20) ? nullptr : memory.data(), length);
        if (random.OneIn(10)) sample->size = random.OneIn(2) ? -1 : random.Below(length + 1);
        sample->dataLength = random.OneIn(2) ? random.Bits() : random.Below(2 * kExact);
        if (random.OneIn(20)) sample->pointerResult = E_FAIL;
        if (random.OneIn(3)) sample->newType = [&] { return HandOver(random); };
        if (random.OneIn(8)) {
            IMediaSample* both[] = {sample.get(), sample.get()};
            long processed = 0;
            memoryPin.ReceiveMultiple(both, random.Below(3), &processed);
        } else {
            memoryPin.Receive(sample.get());
        }
    }
}

void SetUp(Random&, still::SampleGrabberFilter& grabber) {
    grabber.SetCallback(LookAt);
}

constexpr const wchar_t* kNames[] = {L"hostile.bmp", L"hostile.jpg", L"hostile.png", L"hostile.tif"};

void SetUp(Random& random, still::StillImageSinkFilter& sink) {
    sink.SetCallback(LookAt);
    sink.SetFileName(random.Of(kNames));
    sink.SetQualityLevel(random.Below(300));
    constexpr wchar_t kText[] = L"text\r\n\nthat is longer than most pictures are wide\n.\n";
    if (random.OneIn(2)) {
        const auto length = static_cast<UINT_PTR>(random.Below(static_cast<int>(std::size(kText))));
        const LONG position = random.OneIn(4) ? random.Bits() : random.Below(11);
        sink.SetText(reinterpret_cast<UINT_PTR>(kText), length, static_cast<UINT_PTR>(position),
                     static_cast<UINT_PTR>(random.Bits()),
                     reinterpret_cast<UINT_PTR>(GetStockObject(SYSTEM_FONT)));
    }
}

// The receiver behind the grabber takes its allocator, or wants copies.
void ConnectReceiver(Random& random, still::SampleGrabberFilter& grabber, TestSink& receiver) {
    if (random.OneIn(2))
        receiver.pin.requirements = {random.Below(9), random.Of(kMeasures), 1, random.Below(9)};
    grabber.PinAt(1)->Connect(&receiver.pin, nullptr);
    if (random.OneIn(2)) receiver.pin.accepts = [](const AM_MEDIA_TYPE&) { return false; };
}

void ConnectReceiver(Random&, still::StillImageSinkFilter&, TestSink&) {}  // there is nothing behind it

// The application asks for what it can ask for.
void Ask(Random& random, still::SampleGrabberFilter& grabber) {
    FrameGeometry geometry;
    MediaType type;
    CHECK(grabber.GetGeometry(&geometry) == S_OK);
    grabber.GetInputMediaType(type.put());
    if (random.OneIn(2)) grabber.SetCallback(random.OneIn(2) ? nullptr : LookAt);
}

void Ask(Random&, still::StillImageSinkFilter& sink) {
    HBITMAP bitmap = nullptr;
    CHECK(sink.GetBitmap(&bitmap) == S_OK);
}

template <typename Filter>
void PlayForeignSender(Random& random) {
    const NoLeaks noLeaks;
    const Held<Filter, IUnknown*> filter(nullptr);
    const Held<TestSource> source;
    const Held<FakeGraph> graph;
    filter->JoinFilterGraph(graph.get(), nullptr);
    SetUp(random, *filter);
    ComPtr<IMemInputPin> memoryPin;
    IPin* const pin = filter->PinAt(0);
    REQUIRE(SUCCEEDED(pin->QueryInterface(__uuidof(IMemInputPin), memoryPin.putVoid())));
    for (int tries = 0; tries < 8; ++tries) {
        const ForeignType foreign(random);
        const HRESULT accepted = pin->QueryAccept(&foreign.type);
        const HRESULT connected = pin->ReceiveConnection(&source->pin, &foreign.type);
        if (SUCCEEDED(connected)) {
            CHECK(accepted == S_OK);
            MediaType stored;
            CHECK(pin->ConnectionMediaType(stored.put()) == S_OK);
            CHECK(SameMediaType(stored, foreign.type));
            break;
        }
    }
    const Held<TestSink> receiver;
    if (random.OneIn(2)) ConnectReceiver(random, *filter, *receiver);
    if (!random.OneIn(10)) {
        filter->Pause();
        filter->Run(0);
    }
    SendSamples(random, *pin, *memoryPin.get());
    Ask(random, *filter);
    filter->Stop();
    pin->Disconnect();
    if (IPin* const peer = receiver->pin.Peer()) {
        peer->Disconnect();
        receiver->pin.Disconnect();
    }
    filter->JoinFilterGraph(nullptr, nullptr);
}

// ---- Documents ---------------------------------------------------------------------------------

constexpr const char* kDocuments[] = {
    "<?xml version=\"1.0\"?><ConfigDoc name='x'><Section name='Profiles'><Section name='A'/><Section "
    "name='B' "
    "flags='1'/><!-- c --></Section></ConfigDoc>",
    "<?xml version='1.0' encoding='ISO-8859-1'?><ConfigDoc><Section name='Camera'><Key name='Zoom' "
    "type='int' "
    "flags='32'>7</Key><Key name='Text'>abc &amp; def</Key></Section></ConfigDoc>",
    "<!DOCTYPE ConfigDoc><ConfigDoc><Section name='Camera'><Section name='Camera'><Key name='Zoom'>0x10</Key>"
    "</Section></Section></ConfigDoc>",
    "<?xml version=\"1.0\"?><!DOCTYPE ConfigDoc [<!ELEMENT ConfigDoc (Section)*><!ATTLIST Key name CDATA "
    "'Zoom' flags CDATA '33'>]><ConfigDoc><Section name='Camera'><Key>7</Key><Key "
    "name='Text'><![CDATA[abc]]>d</Key></Section></ConfigDoc>",
    "; no XML\n[Camera]\nZoom=010\nText=abc\x80\n[Other]\nZoom=x\n",
};

// In UTF-16 with a mark.
std::string Widened(const std::string& text) {
    std::string bytes = "\xFF\xFE";
    for (const char c : text) bytes += {c, '\0'};
    return bytes;
}

std::string Damaged(Random& random) {
    std::string text = random.Of(kDocuments);
    const std::string other = random.Of(kDocuments);
    const auto place = [&] { return static_cast<size_t>(random.Below(static_cast<int>(text.size()) + 1)); };
    for (int left = random.Below(4); left > 0; --left) {
        const size_t from = place(), count = static_cast<size_t>(random.Below(30));
        switch (random.Below(4)) {
            case 0:
                text.insert(from, other, static_cast<size_t>(random.Below(static_cast<int>(other.size()))),
                            count);
                break;
            case 1:
                text.erase(from, count);
                break;
            case 2:
                text.insert(from, 1, static_cast<char>(random.Below(256)));
                break;
            default:
                text.insert(from, text.substr(0, count));
                break;
        }
    }
    return random.OneIn(6) ? Widened(text) : text;
}

void PlayDocument(Random& random) {
    const TestFile file(L"hostile.exm", Damaged(random));
    wchar_t** slots = nullptr;
    if (config::GetProfiles(file.path(), &slots)) {
        for (int i = 0; i < config::kProfileSlots; ++i) {
            bool isFirst = slots[i] != nullptr;
            for (int before = 0; before < i; ++before) isFirst = isFirst && slots[before] != slots[i];
            if (isFirst) free(slots[i]);
        }
        free(slots);
    }
    constexpr int32_t kUntouched = -77;
    int32_t zoom = kUntouched;
    const int length = random.Below(6);
    // One character more than its length is the reader's, for the terminator.
    GuardedMemory text(static_cast<size_t>(length + 1) * sizeof(wchar_t));
    config::SettingsRequest requests[] = {
        {random.OneIn(2) ? L"Camera" : nullptr, L"Zoom", 0, &zoom, 0, 0, 0},
        {L"Camera", L"Text", 1, text.data(), length, 0, 0},
    };
    config::settingsStore.ReadSettings(nullptr, {});
    const int result = config::settingsStore.ReadSettings(file.path(), requests);
    CHECK(result <= 0);
    CHECK((requests[0].found != 0 || zoom == kUntouched));
    config::settingsStore.ReadSettings(nullptr, {});
}

}  // namespace

TEST_CASE("whatever a foreign filter sends, the grabber and the sink stay within it") {
    PlayRounds("samples", [](Random& random) {
        if (random.OneIn(3)) {
            PlayForeignSender<still::SampleGrabberFilter>(random);
        } else {
            PlayForeignSender<still::StillImageSinkFilter>(random);
        }
    });
    for (const wchar_t* const name : kNames) DeleteFileW(name);
}

TEST_CASE("a damaged document is refused or read, and nothing else") {
    PlayRounds("documents", PlayDocument);
}

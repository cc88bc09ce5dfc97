// The camera's properties and resolutions on ARM code: what the driver is asked, in which order, and what
// happens when it refuses.
#include "camera_fixture.h"
#include "tables/arguments.h"

using namespace ce;

namespace {

constexpr i32 kInvalid = 3;
constexpr u32 kRefused = 0x80041234;
const std::vector<VideoFormat> kStills = {
    {kSubtypeYuy2, 160, 120}, {kSubtype565, 320, 240}, {kSubtypeYuy2, 161, -101}, {kSubtypeYuy2, 640, 480}};

using Boxes = std::vector<std::string>;
using tables::kNotSetBox;

struct Controls : Fixture {
    struct Step {
        std::string call;
        u64 at;
    };

    // The calls that `call` makes on the platform, with their times; the time at which it returns stands at
    // the end.
    template <typename F>
    std::vector<Step> Watch(F call) {
        auto& log = Calls(process);
        std::vector<u64> times;
        log.Forget();
        log.onCall = [&](const std::string&) { times.resize(log.List().size(), process.scheduler.Now()); };
        call();
        log.onCall = nullptr;
        times.resize(log.List().size(), process.scheduler.Now());
        std::vector<Step> steps;
        for (size_t i = 0; i < log.List().size(); ++i) {
            if (InSharedTables(log.List()[i])) steps.push_back({log.List()[i], times[i]});
        }
        steps.push_back({"return", process.scheduler.Now()});
        return steps;
    }
    static std::vector<std::string> Names(const std::vector<Step>& steps) {
        std::vector<std::string> names;
        for (size_t i = 0; i + 1 < steps.size(); ++i) names.push_back(steps[i].call);
        return names;
    }
    // As the tables have them.
    Boxes TakeBoxes() {
        Boxes taken;
        for (const auto& [text, caption] : std::exchange(process.Attachment<Windows>("windows").boxes, {}))
            taken.push_back(std::string(caption.begin(), caption.end()) + "\t" +
                            std::string(text.begin(), text.end()));
        return taken;
    }
    // Height and width.
    std::pair<i32, i32> Dimensions(i32 index) {
        const u32 place = HostMemory(process, 8);
        REQUIRE(Cam("GetResolutionDimensions", {place, place + 4, static_cast<u32>(index)}) == 0);
        return {process.machine.Read<i32>(place), process.machine.Read<i32>(place + 4)};
    }
    void CheckPicture(const VideoFormat& format) {
        REQUIRE(Snap(u"\\p.bmp") == 0);
        CHECK(Compare(Decode(process.folder + "/p.bmp"), format).worst <= 4);
    }
};

}  // namespace

TEST_CASE_FIXTURE(Fixture, "arguments are judged before a camera is asked, and without one") {
    process.machine.CheckAlignment(true);
    for (const bool selected : {false, true}) {
        if (selected) REQUIRE(Cam("Init", {kOwner, 0, 0}) == 0);
        Calls(process).Forget();
        for (const tables::ArgumentCase& call : tables::kArguments) {
            if (selected && *call.reaches) continue;
            CAPTURE(tables::Describe(call));
            std::vector<u32> words;
            for (const auto& [kind, number, text] : call.arguments) {
                using Kind = tables::Argument::Kind;
                const std::string_view narrow = text;
                words.push_back(kind == Kind::kRoom ? HostMemory(process, 4)
                                : kind == Kind::kText
                                    ? process.NewText(std::u16string(narrow.begin(), narrow.end()))
                                    : static_cast<u32>(number));
            }
            CHECK(Cam(call.function, words) == (selected ? call.withCamera : call.withoutCamera));
        }
        CHECK(Calls(process).List().empty());
    }
}

TEST_CASE_FIXTURE(Controls, "properties reach the driver's two sets under their numbers") {
    process.machine.CheckAlignment(true);
    constexpr u32 kIdentifier = 0xFFFFFFFF;
    auto& video = platform.capture.videoProperties;
    auto& camera = platform.capture.cameraProperties;
    video[kIdentifier] = {0, 0, 0, 0, 4711, 0};
    video[8] = {1, 9, 2, 3, 5, 1};
    camera[0] = {-180, 180, 5, 0, -45, 3};
    camera[71] = {-3, 3, 1, 1, 2, 2};
    REQUIRE(Cam("Init", {kOwner, 0, 0}) == 0);
    const u32 place = HostMemory(process, 20);
    const auto word = [&](u32 index) { return process.machine.Read<i32>(place + 4 * index); };

    for (const auto& [signedId, set, signedNumber] : tables::kProperties) {
        CAPTURE(signedId);
        const u32 id = static_cast<u32>(signedId), number = static_cast<u32>(signedNumber);
        if (id == kIdentifier) continue;  // it can only be read
        Calls(process).Forget();
        auto& property = (set == std::string("IAMVideoProcAmp") ? video : camera).at(number);
        const i32 fresh = property.maximum;
        REQUIRE(Cam("GetPropertyRange", {id, place, place + 4, place + 8, place + 12, place + 16}) == 0);
        CHECK(std::vector{word(0), word(1), word(2), word(3)} ==
              std::vector{property.minimum, property.maximum, property.step, property.preset});
        CHECK(static_cast<u32>(word(4)) == property.flags);
        REQUIRE(Cam("GetProperty", {id, place, place + 4}) == 0);
        CHECK(word(0) == property.value);
        CHECK(word(1) == 2);
        REQUIRE(Cam("SetProperty", {id, static_cast<u32>(fresh), 1}) == 0);
        CHECK(property.value == fresh);
        CHECK(property.mode == 1);
        REQUIRE(Cam("GetProperty", {id, place, place + 4}) == 0);
        CHECK(word(0) == fresh);
        CHECK(word(1) == 1);
        // The driver's refusal is passed on, and nothing changes.
        CHECK(Cam("SetProperty", {id, 0x7FFFFFFF, 2}) == kInvalid);
        CHECK(property.value == fresh);
        CHECK(property.mode == 1);
        const std::string interface = set;
        CHECK(CallsOf(process, {"IAM"}) ==
              std::vector<std::string>{interface + "::GetRange", interface + "::Get", interface + "::Set",
                                       interface + "::Get", interface + "::Set"});
    }

    REQUIRE(Cam("GetCameraID", {place}) == 0);
    CHECK(word(0) == 4711);
    CHECK(Cam("GetProperty", {kIdentifier, place, place + 4}) == 0);
    // A number that the driver does not know.
    CHECK(Cam("GetProperty", {79, place, place + 4}) == kInvalid);
    End();
}

TEST_CASE_FIXTURE(Controls, "resolutions are the still pin's capabilities") {
    process.machine.CheckAlignment(true);
    REQUIRE(Cam("Init", {kOwner, 0, 0}) == 0);
    const u32 place = HostMemory(process, 8);
    // While the driver does not answer there are none; asked again, the answer is kept.
    Calls(process).Answer("IAMStreamConfig::GetNumberOfCapabilities", kRefused);
    REQUIRE(Cam("GetResolutionCount", {place}) == 0);
    CHECK(process.machine.Read<u32>(place) == 0);
    Calls(process).Play({});
    for (int i = 0; i < 3; ++i) {
        REQUIRE(Cam("GetResolutionCount", {place}) == 0);
        CHECK(process.machine.Read<u32>(place) == kStills.size());
    }
    CHECK(CallsOf(process, {"IAMStreamConfig"}).size() == 1);

    for (size_t i = 0; i < kStills.size(); ++i)
        CHECK(Dimensions(static_cast<i32>(i)) == std::pair(std::abs(kStills[i].height), kStills[i].width));
    CHECK(Dimensions(-1) == std::pair(120, 160));
    REQUIRE(Cam("SetResolution", {2}) == 0);
    CHECK(Dimensions(-1) == std::pair(101, 161));

    const auto refuses = [&](u32 index) {
        process.machine.Write(place, 77);
        CHECK(Cam("GetResolutionDimensions", {place, place + 4, index}) == kInvalid);
        CHECK(process.machine.Read<i32>(place) == 77);
    };
    refuses(static_cast<u32>(kStills.size()));
    // A driver that needs more room for its record than the system defines gets it.
    platform.capture.still.capabilityBytes = 200;
    CHECK(Dimensions(3) == std::pair(480, 640));
    platform.capture.still.capabilityBytes = 128;

    constexpr u32 kFormatAt = 44, kBlockSizeAt = 64;
    auto& onCapability = platform.capture.still.onCapability;
    onCapability = [&](u32 type) { process.machine.Write(type + kBlockSizeAt, 88u); };
    refuses(0);
    onCapability = [&](u32 type) { process.machine.Write(type + kBlockSizeAt, 89u); };
    CHECK(Dimensions(0) == std::pair(120, 160));
    onCapability = [&](u32 type) { WriteGuid(process.machine, type + kFormatAt, kIidUnknown); };
    refuses(0);
    onCapability = nullptr;
    for (const char* call : {"ICaptureGraphBuilder2::FindInterface",
                             "IAMStreamConfig::GetNumberOfCapabilities", "IAMStreamConfig::GetStreamCaps"}) {
        CAPTURE(std::string(call));
        Calls(process).Answer(call, kRefused);
        refuses(1);
        Calls(process).Play({});
    }
    End();
}

TEST_CASE_FIXTURE(Controls, "a resolution is set with the preview halted, in its order and with its pauses") {
    process.machine.CheckAlignment(true);
    Start();
    process.machine.CheckAlignment(false);
    for (const u32 index : {1u, 2u, 3u, 0u}) {
        CAPTURE(index);
        i32 result = -1;
        const auto steps = Watch([&] { result = Cam("SetResolution", {index}); });
        REQUIRE(result == 0);
        REQUIRE(Names(steps) == Expected(tables::ResolutionChange(static_cast<int>(index), true)));
        CHECK(steps[2].at - steps[1].at == 100);    // the window's owner, then the halt
        CHECK(steps[4].at - steps[3].at == 100);    // halted, then the pins
        CHECK(steps[12].at - steps[11].at == 100);  // the owner again, then the run
        CHECK(steps[13].at - steps[12].at == 200);
        CHECK(State() == 3);
        CheckPicture(kStills[index]);
        const u32 frames = platform.renderer.input.frames;
        process.scheduler.Sleep(200);
        CHECK(platform.renderer.input.frames > frames);
    }
    CHECK(TakeBoxes().empty());
    End();
}

TEST_CASE_FIXTURE(Controls, "a resolution set while nothing runs neither touches the window nor waits") {
    REQUIRE(Cam("Init", {kOwner, 0, 0}) == 0);
    REQUIRE(Cam("SetEventsWindow", {kEvents}) == 0);
    auto started = Expected(tables::kPreviewStart);
    // Before the first preview, and after one.
    for (const u32 index : {2u, 1u}) {
        i32 result = -1;
        const auto steps = Watch([&] { result = Cam("SetResolution", {index}); });
        REQUIRE(result == 0);
        CHECK(Names(steps) == Expected(tables::ResolutionChange(static_cast<int>(index), false)));
        CHECK(steps.back().at == steps.front().at);
        const auto start = Watch([&] { result = Cam("StartPreview"); });
        CHECK(result == 0);
        CHECK(Names(start) == started);
        started.erase(started.begin());  // the window is known by now
        CheckPicture(kStills[index]);
        const auto stop = Watch([&] { result = Cam("StopPreview"); });
        CHECK(result == 0);
        CHECK(Names(stop) == Expected(tables::kPreviewStop));
    }
    CHECK(TakeBoxes().empty());
    End();
}

TEST_CASE_FIXTURE(Controls,
                  "a resolution that cannot be set is reported, and the next one joins the pins again") {
    for (const bool previewing : {false, true}) {
        CAPTURE(previewing);
        REQUIRE(Cam("Init", {kOwner, 0, 0}) == 0);
        REQUIRE(Cam("SetEventsWindow", {kEvents}) == 0);
        if (previewing) REQUIRE(Cam("StartPreview") == 0);
        std::vector<tables::ChangeFault> faults(std::begin(tables::kChangeFaults),
                                                std::end(tables::kChangeFaults));
        faults.push_back({"IEnumMediaTypes::Next", {kNotSetBox}, true});
        for (const tables::ChangeFault& one : faults) {
            CAPTURE(one.call);
            // No type that the sink could take is no failure of the call.
            Calls(process).Answer(one.call, one.call == "IEnumMediaTypes::Next" ? kFalse : kRefused);
            i32 result = 0;
            const auto names = Names(Watch([&] { result = Cam("SetResolution", {3}); }));
            Calls(process).Play({});
            CHECK(result == kInvalid);
            CHECK(TakeBoxes() == one.boxes);
            CHECK(platform.capture.still.Connected() == !one.parted);
            // What ran runs again, and nothing else does.
            CHECK(std::count(names.begin(), names.end(), "IMediaControl::Run") == previewing);
            CHECK(platform.graph->state == (previewing ? 2 : 0));
            CHECK(platform.graph->windowOwner == (previewing ? kOwner : 0));
            REQUIRE(Cam("SetResolution", {1}) == 0);
            CHECK(TakeBoxes().empty());
            CHECK(platform.capture.still.Connected());
        }
        if (previewing) CheckPicture(kStills[1]);

        for (const u32 index : {static_cast<u32>(kStills.size()), 0xFFFFFFFFu}) {
            CHECK(Cam("SetResolution", {index}) == kInvalid);
            CHECK(TakeBoxes() == Boxes{kNotSetBox});
        }
        platform.capture.still.capabilityBytes = 120;
        CHECK(Cam("SetResolution", {0}) == kInvalid);
        CHECK(TakeBoxes() == Boxes{kNotSetBox});
        platform.capture.still.capabilityBytes = 128;
        if (previewing) CheckPicture(kStills[1]);
        // The end comes while the pins are apart.
        Calls(process).Answer("IGraphBuilder::ConnectDirect", kRefused);
        CHECK(Cam("SetResolution", {0}) == kInvalid);
        Calls(process).Play({});
        TakeBoxes();
        End();
    }
}

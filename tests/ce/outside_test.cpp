// The library on ARM code, as far as only the outside of the emulated device can see it: allocations that
// fail, a disk that is full, pauses to the millisecond, drivers that say strange things, and what is left.
// What an application can see of the library is camverify's.
#include "support.h"

#include <doctest/doctest.h>

#include <errno.h>

#include <algorithm>
#include <chrono>
#include <fstream>

#include "emulator/devices.h"
#include "emulator/drawing.h"
#include "emulator/graph/dom.h"
#include "emulator/graph/graph.h"
#include "emulator/graph/kit_scenario.h"
#include "emulator/windows.h"

using namespace ce;

namespace {

constexpr u32 kOwner = 0x00CE0001, kEvents = 0x00CE0002, kFont = 0x000F0042;
constexpr u32 kDShow = 1, kImager = 2;
constexpr i32 kInvalid = 3, kFailed = 10;
using Names = std::vector<std::string>;

// The loaded library, small formats, and a folder of its own.
struct Fixture {
    Process process{Scratch()};
    Platform platform{process};
    Parser& parser = RegisterParser(process);
    Module& module = process.Load(BuiltDll("ocellus.dll"));
    Windows& windows = process.Attachment<Windows>("windows");
    const u32 place = HostMemory(process, 40);
    size_t handles = process.Handles();
    u32 mark = process.heap.Mark();

    Fixture() {
        platform.RegisterFilters(module);
        Play();
    }
    // With these rules for the platform's calls.
    void Play(const std::string& calls = "{}") {
        platform.Play(ReadScenario(
            R"({"preview": {"width": 160, "height": 120}, "stillFormats": [{"width": 160, "height": 120},)"
            R"({"width": 320, "height": 240, "subtype": "RGB565"}, {"width": 161, "height": 101}],)"
            R"("calls": )" +
            calls + "}"));
    }
    static std::string Scratch() {
        const std::string folder =
            std::string(OCELLUS_CE_SCRATCH) + "/" + program_invocation_short_name + "-files";
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        return folder;
    }
    i32 Cam(const std::string& name, const std::vector<u32>& words = {}) {
        return static_cast<i32>(process.Call(module, "cam" + name, words));
    }
    i32 Select(u32 type = kDShow) { return Cam("Select", {kOwner, 0, 0, type}); }
    i32 State() {
        REQUIRE(Cam("GetState", {place}) == 0);
        return process.machine.Read<i32>(place);
    }
    void Start() {
        REQUIRE(Select() == 0);
        REQUIRE(Cam("SetEventsWindow", {kEvents}) == 0);
        REQUIRE(Cam("StartPreview") == 0);
    }
    // Takes a picture and waits for the message that it has been taken.
    i32 Snap(std::u16string_view name, std::u16string_view text = {}, u32 colors = 0) {
        const u32 file = process.NewText(name), stamped = process.NewText(text);
        windows.posted.clear();
        const i32 result = Cam("SnapPictureWithText", {file, 0, stamped, static_cast<u32>(text.size()), 0,
                                                       colors, text.empty() ? 0 : kFont});
        process.heap.Free(stamped);  // the camera has a copy
        for (int i = 0; result == 0 && i < 100 && windows.posted.empty(); ++i) process.scheduler.Sleep(20);
        process.heap.Free(file);
        return result;
    }
    // Nothing that the library held or made is left.
    void CheckNothingLeft() {
        process.heap.Validate();
        REQUIRE(ReferencedObjects(process) == "");
        REQUIRE(process.heap.LeakedSince(mark) == "");
        INFO(process.DescribeHandles());
        REQUIRE(process.Handles() == handles);
    }
    void End() {
        REQUIRE(Cam("ShutDown") == 0);
        CheckNothingLeft();
    }
    void Write(const std::string& name, const std::string& content) {
        std::ofstream(process.folder + "/" + name, std::ios::binary) << content;
    }
};

}  // namespace

TEST_CASE_FIXTURE(Fixture, "everything is given back, and the library unloads without a trace") {
    Start();
    REQUIRE(Snap(u"\\p.jpg") == 0);
    End();
    CHECK(process.Call(module, "DllCanUnloadNow") == 0);
    process.Unload(module);
    CHECK(process.heap.LeakedSince(0) == "");
}

TEST_CASE_FIXTURE(Fixture, "whatever allocation fails, nothing is lost and nothing breaks") {
    process.machine.CheckAlignment(false);
    int failed = 0;
    for (int allocations = 0; allocations < 400; ++allocations) {
        process.heap.FailAfter(allocations);
        const bool up = Select() == 0 && Cam("StartPreview") == 0;
        if (up) {
            Cam("SetEventsWindow", {kEvents});
            for (const char16_t* name : {u"\\m.png", u"\\m.tif", u"\\m.jpg"}) {
                const u32 text = process.NewText(name);
                windows.posted.clear();
                const i32 result = Cam("SnapPicture", {text, 0});
                for (int i = 0; result == 0 && i < 100 && windows.posted.empty(); ++i)
                    process.scheduler.Sleep(20);
                process.heap.Free(text);
            }
        }
        failed += !up;
        const bool used = process.heap.FailAfter(-1);
        Cam("ShutDown");
        CAPTURE(allocations);
        CheckNothingLeft();
        if (!used) break;  // everything went through before the count was reached
    }
    CHECK(failed > 5);
}

TEST_CASE_FIXTURE(Fixture, "no allocation that fails while profiles are read loses or breaks anything") {
    constexpr u32 kSlots = 32, kUntouched = 0xABCD;
    Write("p.exm",
          "<ConfigDoc><Section name='Profiles'><Section name='A'/><Section/><Section name='B'/></Section>"
          "</ConfigDoc>");
    const u32 name = process.NewText(u"\\p.exm");
    // A thread's first exception leaves a record that lasts as long as the thread.
    process.heap.FailAfter(1);
    REQUIRE(Cam("GetProfiles", {name, place}) == 0);
    REQUIRE(process.heap.FailAfter(-1));
    mark = process.heap.Mark();
    int refused = 0;
    for (bool used = true; used; ++refused) {
        CAPTURE(refused);
        process.machine.Write(place, kUntouched);
        process.heap.FailAfter(refused);
        REQUIRE(Cam("GetProfiles", {name, place}) == 0);
        used = process.heap.FailAfter(-1);
        const u32 block = process.machine.Read<u32>(place);
        if (block != kUntouched) {
            // A name that could not be read is none; one that is shared is freed once.
            CHECK(process.heap.Size(block) == 4 * kSlots);
            std::set<u32> texts;
            for (u32 i = 0; i < kSlots; ++i) texts.insert(process.machine.Read<u32>(block + 4 * i));
            for (const u32 text : texts) process.heap.Free(text);
            process.heap.Free(block);
        } else {
            REQUIRE(used);
        }
        CheckNothingLeft();
        REQUIRE(refused < 200);
    }
    CHECK(refused > 5);
}

TEST_CASE_FIXTURE(Fixture, "a full disk leaves no file, and the message still comes") {
    Start();
    for (const char16_t* name : {u"\\full.bmp", u"\\full.png", u"\\full.jpg", u"\\full.tif"}) {
        process.Attachment<FileRoom>("file room").bytes = 60;
        REQUIRE(Snap(name) == 0);
        CHECK(windows.posted.size() == 1);
        CHECK(std::filesystem::is_empty(process.folder));
    }
    process.Attachment<FileRoom>("file room").bytes.reset();
    End();
}

TEST_CASE_FIXTURE(Fixture, "a resolution is set with its pauses, and without them while nothing runs") {
    REQUIRE(Select() == 0);
    struct Step {
        std::string call;
        u64 at;
    };
    std::vector<Step> steps;
    for (const bool previewing : {false, true}) {
        if (previewing) REQUIRE(Cam("StartPreview") == 0);
        steps.clear();
        Calls(process).onCall = [&](const std::string& call) {
            const bool counts = call.starts_with("IVideoWindow::") || call.starts_with("IMediaControl::") ||
                                call.starts_with("IGraphBuilder::");
            if (counts) steps.push_back({call, process.scheduler.Now()});
        };
        REQUIRE(Cam("SetResolution", {1}) == 0);
        Calls(process).onCall = nullptr;
        steps.push_back({"return", process.scheduler.Now()});
        if (!previewing) CHECK(steps.back().at == steps.front().at);
    }
    Names names;
    std::vector<u64> pauses;
    for (const Step& step : steps) {
        names.push_back(step.call);
        pauses.push_back(step.at - steps[pauses.empty() ? 0 : pauses.size() - 1].at);
    }
    // The window's owner, then the halt; halted, then the pins; the owner again, then the run.
    CHECK(names == Names{"IMediaControl::GetState", "IVideoWindow::put_Owner", "IMediaControl::Pause",
                         "IMediaControl::Stop", "IGraphBuilder::Disconnect", "IGraphBuilder::Disconnect",
                         "IGraphBuilder::ConnectDirect", "IVideoWindow::put_Owner", "IMediaControl::Run",
                         "return"});
    pauses[3] = 0;  // how long the driver takes to halt
    CHECK(pauses == std::vector<u64>{0, 0, 100, 0, 100, 0, 0, 0, 100, 200});
    End();
}

TEST_CASE_FIXTURE(Fixture, "what a driver says of its formats is not trusted") {
    constexpr u32 kFormatAt = 44, kBlockSizeAt = 64;
    REQUIRE(Select() == 0);
    SourcePin& still = platform.capture.still;
    const auto dimensions = [&] {
        return Cam("GetResolutionDimensions", {place, place + 4, 1}) == 0 ? process.machine.Read<i32>(place)
                                                                          : -1;
    };
    // A driver that needs more room for its record than the system defines gets it; one that needs less does
    // not know what it writes.
    still.capabilityBytes = 200;
    CHECK(dimensions() == 240);
    still.capabilityBytes = 120;
    CHECK(Cam("SetResolution", {0}) == kInvalid);
    still.capabilityBytes = 128;
    still.onCapability = [&](u32 type) { process.machine.Write(type + kBlockSizeAt, 88u); };
    CHECK(dimensions() == -1);
    still.onCapability = [&](u32 type) { process.machine.Write(type + kBlockSizeAt, 89u); };
    CHECK(dimensions() == 240);
    still.onCapability = [&](u32 type) { WriteGuid(process.machine, type + kFormatAt, kIidUnknown); };
    CHECK(dimensions() == -1);
    still.onCapability = nullptr;
    CHECK(windows.boxes.size() == 1);
    End();
}

TEST_CASE_FIXTURE(Fixture, "the end may come while the pins are apart, and nothing runs that did not") {
    const struct {
        const char* call;
        bool parted;
    } faults[] = {{"ICaptureGraphBuilder2::FindInterface", false},
                  {"IAMStreamConfig::GetStreamCaps", false},
                  {"IGraphBuilder::Disconnect", false},
                  {"IAMStreamConfig::SetFormat", true},
                  {"IGraphBuilder::ConnectDirect", true}};
    for (const auto& [call, parted] : faults) {
        for (const bool previewing : {false, true}) {
            CAPTURE(std::string(call));
            REQUIRE(Select() == 0);
            if (previewing) REQUIRE(Cam("StartPreview") == 0);
            Calls(process).Answer(call, kFail);
            CHECK(Cam("SetResolution", {2}) == kInvalid);
            CHECK(platform.capture.still.Connected() == !parted);
            CHECK(platform.graph->state == (previewing ? 2 : 0));
            CHECK(platform.graph->windowOwner == (previewing ? kOwner : 0));
            Play();
            End();
        }
    }
}

// A box serves the application's messages, and what they call is called inside the change.
TEST_CASE_FIXTURE(Fixture,
                  "while a message box waits the camera can be used, and a preview goes on after it") {
    constexpr u32 kStopped = 2, kPreviewing = 3;
    const struct {
        const char* call;
        std::vector<u32> words;
        u32 state;
    } cases[] = {{"GetState", {place}, kPreviewing},
                 {"StopPreview", {}, kStopped},
                 {"SetResolution", {0}, kPreviewing}};
    for (const auto& [call, words, state] : cases) {
        CAPTURE(std::string(call));
        Start();
        Calls(process).Answer("IGraphBuilder::ConnectDirect", kFail);
        i32 result = -1;
        windows.onBox = [&] {
            windows.onBox = nullptr;
            Play();
            result = Cam(call, words);
        };
        CHECK(Cam("SetResolution", {2}) == kInvalid);
        CHECK(result == 0);
        CHECK(State() == static_cast<i32>(state));
        CHECK(platform.graph->state == (state == kPreviewing ? 2 : 0));
        End();
    }
}

TEST_CASE_FIXTURE(Fixture, "a call that fails without saying why has failed all the same") {
    process.Unload(module);
    std::string refused;
    process.wrapImport = [&](const Module&, const std::string& function, Handler carryOut) -> Handler {
        return [this, &refused, function, carryOut](Arguments& arguments) -> u64 {
            if (function != refused) return carryOut(arguments);
            process.SetLastError(0);
            return 0;
        };
    };
    Module& wrapped = process.Load(BuiltDll("ocellus.dll"));
    platform.RegisterFilters(wrapped);
    const auto call = [&](const std::string& name, const std::vector<u32>& words = {}) {
        return static_cast<i32>(process.Call(wrapped, "cam" + name, words));
    };
    refused = "DuplicateHandle";
    CHECK(call("Select", {kOwner, 0, 0, kDShow}) == static_cast<i32>(kFail));
    refused.clear();
    CHECK(call("Select", {kOwner, 0, 0, kDShow}) == 0);
    refused = "GetClientRect";
    CHECK(call("StartPreview") == kFailed);
    refused.clear();
    CHECK(call("StartPreview") == 0);
    CHECK(call("ShutDown") == 0);
}

TEST_CASE_FIXTURE(Fixture, "a line is drawn eight times around its place, and once upon it") {
    Start();
    auto& drawing = process.Attachment<Drawing>("drawing");
    REQUIRE(Snap(u"\\t.png", u"Ab\r\n", 0x45030201) == 0);
    std::vector<TextOut> expected;
    constexpr u32 kTransparent = 1, kRed = 0x0000FF;
    for (const auto& [left, top] : {std::pair{0, 0}, {1, 0}, {2, 0}, {0, 1}, {2, 1}, {0, 2}, {1, 2}, {2, 2}})
        expected.push_back({u"Ab", left, top, 0, kRed, kTransparent, kFont});
    // The highest byte of the text's colour is set, which the system overlooks.
    expected.push_back({u"Ab", 1, 1, 0, 0xFF030201, kTransparent, kFont});
    CHECK(drawing.texts == expected);
    // Without memory for it the picture is taken as it is, and the next text is stamped.
    drawing.texts.clear();
    drawing.refuseSections = true;
    const size_t open = process.Handles();
    REQUIRE(Snap(u"\\t.png", u"no\nmemory", 0x10FFFFFF) == 0);
    drawing.refuseSections = false;
    CHECK(drawing.texts.empty());
    CHECK(process.Handles() == open);
    REQUIRE(Snap(u"\\t.png", u"yes", 0x1FFFFFFF) == 0);
    CHECK(drawing.texts.size() == 1);
    End();
}

TEST_CASE_FIXTURE(Fixture, "a settings document is read once, and let go when another takes its place") {
    Write("cam.exm", "<?xml version='1.0'?>\n<ConfigDoc><Section name='Camera'/></ConfigDoc>");
    Write("broken.exm", "<?xml version='1.0'?>\n<ConfigDoc><Section name='Camera'>");
    const u32 section = process.NewText(u"Camera");
    const auto start = [&](std::u16string_view path) {
        const u32 name = process.NewText(path);
        REQUIRE(Cam("Init", {kOwner, name, section}) == 0);
        process.heap.Free(name);
        REQUIRE(Cam("ShutDown") == 0);
        return parser.loads;
    };
    CHECK(start(u"\\cam.exm") == 1);
    CHECK(start(u"\\cam") == 1);
    const auto file = process.folder + "/cam.exm";
    std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) + std::chrono::seconds(3));
    CHECK(start(u"\\cam.exm") == 2);
    CHECK(ReferencedObjects(process) == "  XML document (1)\n");
    start(u"\\broken.exm");
    process.heap.Free(section);
    CheckNothingLeft();
}

TEST_CASE_FIXTURE(Fixture, "the imager's frames come every 40 ms, drawn in the window's size") {
    u32 drawn = 0;
    process.Bind(
        "coredll.dll", "StretchDIBits",
        [&](u32 context, u32, u32, u32 width, u32 height, u32, u32, u32, u32 rows, u32, u32, u32, u32) {
            drawn += context && width == windows.clientWidth && height == windows.clientHeight;
            return rows;
        });
    process.Load(BuiltDll("imvoxa.dll"));
    REQUIRE(Select(kImager) == 0);
    REQUIRE(Cam("StartPreview") == 0);
    process.scheduler.Sleep(1000);
    CHECK((drawn >= 24 && drawn <= 26));
    REQUIRE(Cam("ShutDown") == 0);
}

TEST_CASE_FIXTURE(Fixture, "without a usable imager library the camera says so, and the other one works") {
    const auto check = [&](u32 result) {
        for (int i = 0; i < 2; ++i) CHECK(Select(kImager) == static_cast<i32>(result));
        CHECK(State() == 0);
        CHECK(Cam("StartPreview") == kFailed);
        CHECK(Cam("StopPreview") == 0);
        CHECK(Cam("GetSnapshot", {place}) == kInvalid);
        CHECK(Cam("SetProperty", {6, 1, 2}) == kInvalid);
        CHECK(Cam("GetProperty", {13, place, place + 4}) == kInvalid);
        End();
    };
    check(0x8007007E);
    Start();
    REQUIRE(Snap(u"\\one.bmp") == 0);
    End();
    const std::string path = process.folder + "/Imvoxa.dll";
    std::filesystem::copy_file(BuiltDll("provider.dll"), path);
    process.Load(path);
    handles = process.Handles();
    mark = process.heap.Mark();
    check(0x8007007F);
}

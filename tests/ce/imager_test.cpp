// The imager camera on ARM code, against an imager library of the same kind: found by its ordinals, driven,
// and its pictures read by others.
#include "camera_fixture.h"
#include "tables/imager_properties.h"
#include "tables/stamping.h"

using namespace ce;

namespace {

constexpr u32 kImager = 2;
constexpr i32 kInvalid = 3, kCaptureFailed = 8, kFailed = 10;
constexpr u32 kLibraryStatus = 1234;

using Lines = std::vector<std::string>;

struct WithoutLibrary : Fixture {
    i32 Select() { return Cam("Select", {kOwner, 0, 0, kImager}); }
};

struct WithLibrary : WithoutLibrary {
    struct Drawing {
        u32 context, width, height;
    };
    std::vector<Drawing> drawings;
    Module& imager = LoadImager();
    struct Frame {
        u32 pixels, size, height, width, stride;
        std::vector<u8> bytes;
    };
    std::vector<Frame> frames, stills;
    static constexpr u32 kLogBytes = 0x40000;
    const u32 log = HostMemory(process, kLogBytes);
    size_t lines = 0, cleared = 0;

    // The system draws nowhere, but tells.
    Module& LoadImager() {
        process.Bind("coredll.dll", "StretchDIBits",
                     [this](u32 context, u32, u32, u32 width, u32 height, u32, u32, u32, u32 rows, u32, u32,
                            u32, u32) {
                         drawings.push_back({context, width, height});
                         return rows;
                     });
        return process.Load(BuiltDll("imvoxa.dll"));
    }
    // The calls of the operations named, or of all that do more than look at a picture, as the device kit
    // notes them.
    Lines CallsTo(const std::set<std::string>& operations = {}) {
        const u32 size = process.Call(imager, "imvKitCallLog", {0, 0});
        REQUIRE(2 * size <= kLogBytes);
        process.Call(imager, "imvKitCallLog", {log, size});
        const std::u16string text = process.machine.Text(log);
        Lines calls;
        size_t line = 0;
        for (size_t from = 0, end; (end = text.find(u'\n', from)) != text.npos; from = end + 1) {
            const std::string call(text.begin() + static_cast<i32>(from),
                                   text.begin() + static_cast<i32>(end));
            const std::string operation = call.substr(0, call.find(' '));
            const bool looks = operation.find("Dimension") != call.npos || operation == "Pixels";
            if (line++ >= cleared && (operations.empty() ? !looks : operations.contains(operation)))
                calls.push_back(call);
        }
        lines = line;
        return calls;
    }
    size_t CountOf(const std::string& operation) { return CallsTo({operation}).size(); }
    void ClearCalls() {
        CallsTo();
        cleared = lines;
    }
    // The next such call fails.
    void Fail(const char16_t* call) {
        const u32 text = process.NewText(call);
        CHECK(process.Call(imager, "imvKitAnswerNext", {text, kLibraryStatus}) == 1);
        process.heap.Free(text);
    }
    // The library's record of its calls is none of the camera's.
    void End() {
        REQUIRE(Cam("ShutDown") == 0);
        CHECK(CountOf("Shutdown") >= 1);
        process.Call(imager, "imvKitReset");
        cleared = 0;
        CheckNothingLeft();
    }
    u32 Recorder(std::vector<Frame>& into) {
        return process.machine.AddStub(
            "frame callback",
            MakeHandler(std::function([this, &into](u32 pixels, u32 size, u32 height, u32 width, u32 stride) {
                const u8* bytes = process.machine.Bytes(pixels, size);
                into.push_back({pixels, size, height, width, stride, {bytes, bytes + size}});
            })));
    }
    void StartImager() {
        REQUIRE(Select() == 0);
        REQUIRE(Cam("SetEventsWindow", {kEvents}) == 0);
        REQUIRE(Cam("StartPreview") == 0);
        process.scheduler.Sleep(100);
    }
    // What the library keeps after its first use it keeps.
    WithLibrary() {
        StartImager();
        REQUIRE(Cam("ShutDown") == 0);
        process.Call(imager, "imvKitReset");
        mark = process.heap.Mark();
    }
    // The picture in the file has the still's very greys, rows from the top down.
    void CheckFile(const char* name, const Frame& still) {
        const Picture picture = Decode(process.folder + "/" + name);
        REQUIRE(picture.width == static_cast<int>(still.width));
        REQUIRE(picture.height == static_cast<int>(still.height));
        size_t different = 0;
        for (size_t i = 0; i < still.bytes.size(); ++i) different += picture.rgb[3 * i] != still.bytes[i];
        CHECK(different == 0);
    }
    std::string Barcode(const char* name) {
        FILE* pipe =
            popen(("zbarimg -q --raw '" + process.folder + "/" + name + "' 2>/dev/null").c_str(), "r");
        REQUIRE(pipe);
        char text[64] = {};
        const size_t length = std::fread(text, 1, sizeof text - 1, pipe);
        pclose(pipe);
        return {text, text + length};
    }
};

}  // namespace

TEST_CASE_FIXTURE(WithLibrary,
                  "the library is opened, frames reach the callback and the window, and all ends") {
    process.machine.CheckAlignment(true);
    for (int round = 0; round < 2; ++round) {
        CAPTURE(round);
        ClearCalls();
        frames.clear();
        drawings.clear();
        const u32 path = process.NewText(u"\\settings.ini"), section = process.NewText(u"Imager");
        REQUIRE(Cam("Select", {kOwner, path, section, kImager}) == 0);
        const u32 place = HostMemory(process, 4);
        REQUIRE(Cam("GetSelectedType", {place}) == 0);
        CHECK(process.machine.Read<u32>(place) == kImager);
        CHECK(State() == 1);
        // Of what could be applied again only the colour is.
        CHECK(CallsTo() == Lines{"Open \\settings.ini Imager", "imgEnableMonoColor 0"});
        process.heap.Free(path);
        process.heap.Free(section);

        REQUIRE(Cam("RegisterPreviewCallback", {Recorder(frames)}) == 0);
        ClearCalls();
        const u64 begin = process.scheduler.Now();
        REQUIRE(Cam("StartPreview") == 0);
        process.scheduler.Sleep(1000);
        // One frame in a pass of 40 ms.
        CHECK(process.scheduler.Now() - begin == 1000);
        CHECK(frames.size() >= 24);
        CHECK(frames.size() <= 26);
        const size_t before = frames.size();
        REQUIRE(Cam("StopPreview") == 0);
        CHECK(frames.size() == before + 1);
        for (const Frame& frame : frames) {
            CHECK(frame.size == 320 * 240);
            CHECK(frame.height == 240);
            CHECK(frame.width == 320);
            CHECK(frame.stride == 320);
        }
        CHECK(frames.front().bytes != frames.back().bytes);
        // The snapshot is the image that came last.
        REQUIRE(Cam("GetSnapshot", {place}) == 0);
        CHECK(process.machine.Read<u32>(place) == frames.back().pixels);
        CHECK(Cam("GetSnapshot", {0}) == kInvalid);

        Lines expected = {"OpenEngine", "Start"};
        for (size_t i = 0; i < frames.size(); ++i)
            expected.insert(expected.end(), {"Acquire 3", "Draw 1 10 1"});
        expected.insert(expected.end(), {"Stop", "CloseEngine"});
        CHECK(CallsTo({"OpenEngine", "Start", "Acquire", "Draw", "Stop", "CloseEngine"}) == expected);
        CHECK(drawings.size() == frames.size());
        for (const Drawing& drawing : drawings) {
            CHECK(drawing.context != 0);
            CHECK(std::pair(drawing.width, drawing.height) == std::pair(320u, 240u));  // the window's size
        }
        process.scheduler.Sleep(200);
        CHECK(frames.size() == before + 1);

        ClearCalls();
        End();
        CHECK(Cam("ShutDown") == 1);
    }
    MESSAGE("deepest stack: ", process.scheduler.DeepestStack(), " bytes");
}

TEST_CASE_FIXTURE(WithLibrary,
                  "stills are written by the library's BMP operation, whatever they are called") {
    StartImager();
    REQUIRE(Cam("RegisterStillImageCallback", {Recorder(stills)}) == 0);
    ClearCalls();
    struct Case {
        u32 resolution;
        const char16_t* name;
        const char* file;
        u32 mode, width, height;
    };
    const Case cases[] = {{1, u"\\large.bmp", "large.bmp", 2, 640, 480},
                          {0, u"\\small.BMP", "small.BMP", 3, 320, 240},
                          {1, u"\\named.jpg", "named.jpg", 2, 640, 480},
                          {0, u"\\named.Png", "named.Png", 3, 320, 240}};
    for (const Case& one : cases) {
        CAPTURE(std::string(one.file));
        REQUIRE(Cam("SetResolution", {one.resolution}) == 0);
        auto& posted = process.Attachment<Windows>("windows").posted;
        posted.clear();
        stills.clear();
        ClearCalls();
        REQUIRE(Snap(one.name) == 0);
        REQUIRE(posted.size() == 1);
        CHECK(posted[0].window == kEvents);
        CHECK(posted[0].message == kStillCaptured);
        CHECK(State() == 3);
        const Lines acquired = CallsTo({"Acquire"});
        CHECK(std::count(acquired.begin(), acquired.end(), "Acquire 2") == (one.mode == 2));
        REQUIRE(stills.size() == 1);
        CHECK(stills[0].width == one.width);
        CHECK(stills[0].height == one.height);
        CHECK(stills[0].stride == one.width);
        CHECK(stills[0].size == one.width * one.height);
        FILE* file = std::fopen((process.folder + "/" + one.file).c_str(), "rb");
        REQUIRE(file);
        char start[2] = {};
        CHECK(std::fread(start, 1, 2, file) == 2);
        std::fclose(file);
        CHECK(std::string(start, 2) == "BM");
        // By its contents, not its name.
        std::filesystem::copy_file(process.folder + "/" + one.file, process.folder + "/copy.bmp",
                                   std::filesystem::copy_options::overwrite_existing);
        CheckFile("copy.bmp", stills[0]);
        CHECK(Barcode("copy.bmp") == "OCELLUS2\n");
        CHECK(CallsTo({"SaveJpeg", "SavePng"}).empty());
        CHECK(CountOf("SaveBmp") == 1);
    }
    // Without a name nothing is written, but all the rest happens.
    ClearCalls();
    REQUIRE(Snap(u"") == 0);
    CHECK(State() == 3);
    CHECK(CountOf("SaveBmp") == 0);
    // A name that this camera does not write is refused, with the state as if it had been taken up.
    process.Attachment<Windows>("windows").posted.clear();
    CHECK(Snap(u"\\x.tif") == kCaptureFailed);
    CHECK(State() == 5);
    process.scheduler.Sleep(200);
    CHECK(process.Attachment<Windows>("windows").posted.empty());
    CHECK(!std::filesystem::exists(process.folder + "/x.tif"));
    REQUIRE(Cam("StopPreview") == 0);
    End();
}

TEST_CASE_FIXTURE(WithLibrary, "text is stamped by the library, at its own positions") {
    StartImager();
    const u32 name = process.NewText(u"\\t.bmp"), text = process.NewText(u"Text and more");
    const auto snap = [&](u32 length, u32 position, u32 font) {
        auto& posted = process.Attachment<Windows>("windows").posted;
        posted.clear();
        ClearCalls();
        REQUIRE(Cam("SnapPictureWithText", {name, 0, text, length, position, 0, font}) == 0);
        for (int i = 0; i < 100 && posted.empty(); ++i) process.scheduler.Sleep(20);
        REQUIRE(posted.size() == 1);
        return CallsTo({"StampText"});
    };
    constexpr u32 kFont = 0x000F0042;
    for (const auto& [asked, stamped] : tables::kImagerPositions) {
        CAPTURE(asked);
        CHECK(snap(4, asked, kFont) == Lines{"StampText " + std::to_string(stamped) + " 12 0x00660046 Text"});
    }
    // Without a text, its length or a font there is nothing to stamp.
    CHECK(snap(0, 0, kFont).empty());
    CHECK(snap(4, 0, 0).empty());
    process.heap.Free(name);
    process.heap.Free(text);
    End();
}

TEST_CASE_FIXTURE(WithLibrary, "properties answer and reach the library as the table says; resolutions") {
    REQUIRE(Select() == 0);
    const u32 place = HostMemory(process, 24);
    const auto word = [&](u32 index) { return process.machine.Read<i32>(place + 4 * index); };
    using Numbers = std::vector<i32>;
    using Do = tables::ImagerStep::Do;
    for (const tables::ImagerStep& step : tables::kImagerSteps) {
        CAPTURE(static_cast<int>(step.what));
        CAPTURE(step.id);
        CAPTURE(step.value);
        for (u32 i = 0; i < 5; ++i) process.machine.Write(place + 4 * i, 77);
        if (step.what == Do::kGet) process.machine.Write(place, step.value);
        ClearCalls();
        const u32 id = static_cast<u32>(step.id);
        const i32 result =
            step.what == Do::kGet ? Cam("GetProperty", {id, place, place + 4})
            : step.what == Do::kSet
                ? Cam("SetProperty", {id, static_cast<u32>(step.value), 2})
                : Cam("GetPropertyRange", {id, place, place + 4, place + 8, place + 12, place + 16});
        CHECK(result == (step.result == 0 ? 0 : kInvalid));
        Numbers answer;
        for (u32 i = 0; i < step.answer.size(); ++i) answer.push_back(word(i));
        CHECK(answer == step.answer);
        CHECK(CallsTo() == (step.told.empty() ? Lines{} : Lines{step.told}));
    }
    // A status of the library's is no matter to a switch.
    for (const auto& [id, call] : {std::pair{16u, u"SetSwitch16"}, {80u, u"SetSwitch80"}}) {
        Fail(call);
        CHECK(Cam("SetProperty", {id, 0, 2}) == 0);
    }
    REQUIRE(Cam("GetResolutionCount", {place}) == 0);
    CHECK(word(0) == 2);
    const auto dimensions = [&](u32 index) {
        REQUIRE(Cam("GetResolutionDimensions", {place, place + 4, index}) == 0);
        return Numbers{word(0), word(1)};
    };
    CHECK(dimensions(0) == Numbers{240, 320});
    CHECK(dimensions(0xFFFFFFFF) == Numbers{480, 640});
    REQUIRE(Cam("SetResolution", {0}) == 0);
    CHECK(dimensions(0xFFFFFFFF) == Numbers{240, 320});
    CHECK(Cam("SetResolution", {2}) == kInvalid);
    CHECK(Cam("GetResolutionDimensions", {place, place + 4, 2}) == kInvalid);
    End();
}

TEST_CASE_FIXTURE(WithLibrary, "a call that the library fails ends what it belongs to, and no more") {
    Fail(u"Open");
    CHECK(Select() == static_cast<i32>(kFail));
    CHECK(State() == 0);
    const auto preview = [&] {
        ClearCalls();
        StartImager();
    };
    const auto stopped = [&] {
        // The thread has ended by itself: there is nothing to wait for.
        const u64 now = process.scheduler.Now();
        REQUIRE(Cam("StopPreview") == 0);
        CHECK(process.scheduler.Now() == now);
    };
    for (const char16_t* call : {u"OpenEngine", u"79"}) {
        Fail(call);
        preview();
        CHECK(CallsTo({"Acquire", "Stop", "CloseEngine"}).empty());
        stopped();
    }
    preview();
    Fail(u"Acquire 3");
    process.scheduler.Sleep(100);
    CHECK(CallsTo({"Stop", "CloseEngine"}) == Lines{"Stop", "CloseEngine"});
    stopped();
    // A still that fails leaves the engine open, and no message is sent.
    for (const char16_t* call : {u"Acquire 2", u"SaveBmp"}) {
        preview();
        process.Attachment<Windows>("windows").posted.clear();
        Fail(call);
        CHECK(Snap(u"\\f.bmp") == 0);
        CHECK(process.Attachment<Windows>("windows").posted.empty());
        CHECK(!std::filesystem::exists(process.folder + "/f.bmp"));
        CHECK(State() == 5);
        CHECK(CallsTo({"Stop", "CloseEngine"}).empty());
        stopped();
    }
    // And the next preview is a whole one.
    preview();
    CHECK(Snap(u"\\f.bmp") == 0);
    CHECK(Barcode("f.bmp") == "OCELLUS2\n");
    End();
}

TEST_CASE_FIXTURE(WithoutLibrary, "without the library the camera says so, and the other one works") {
    constexpr u32 kNoModule = 0x8007007E;
    for (int i = 0; i < 2; ++i) CHECK(Select() == static_cast<i32>(kNoModule));
    CHECK(State() == 0);
    CHECK(Cam("StartPreview") == kFailed);
    CHECK(Cam("StopPreview") == 0);
    const u32 place = HostMemory(process, 20);
    CHECK(Cam("GetSnapshot", {place}) == kInvalid);
    CHECK(Cam("SetProperty", {6, 1, 2}) == kInvalid);
    CHECK(Cam("GetProperty", {13, place, place + 4}) == kInvalid);
    End();
    Start();
    REQUIRE(Snap(u"\\one.bmp") == 0);
    End();
}

TEST_CASE_FIXTURE(WithoutLibrary, "a library of that name that lacks the operations is refused") {
    constexpr u32 kNoProcedure = 0x8007007F;
    const std::string path = process.folder + "/Imvoxa.dll";
    std::filesystem::copy_file(BuiltDll("provider.dll"), path);
    process.Load(path);
    CHECK(Select() == static_cast<i32>(kNoProcedure));
    CHECK(State() == 0);
    End();
}

// The library's DLL on ARM code, against a capture graph played by the host: from start-up to files that
// other decoders read.
#include "camera_fixture.h"

using namespace ce;

TEST_CASE_FIXTURE(Fixture, "the graph is built in its order, and everything is given back") {
    process.machine.CheckAlignment(true);
    REQUIRE(Cam("Init", {kOwner, 0, 0}) == 0);
    CHECK(PlatformCallsOf(process) == Expected(tables::kConstruction));
    CHECK(State() == 1);
    End();
    CHECK(process.Call(module, "DllCanUnloadNow") == 0);
    process.Unload(module);
    CHECK(process.heap.LeakedSince(0) == "");
}

TEST_CASE_FIXTURE(Fixture, "preview: frames reach the callback and the renderer, and stop") {
    struct Frame {
        u32 size, width, height, stride;
    };
    std::vector<Frame> frames;
    std::vector<u32> types;
    const u32 frameCallback = process.machine.AddStub(
        "preview callback", MakeHandler(std::function([&](u32, u32 size, u32 height, u32 width, u32 stride) {
            frames.push_back({size, width, height, stride});
        })));
    const u32 typeCallback = process.machine.AddStub("media type callback", [&](Arguments& arguments) -> u64 {
        for (int i = 0; i < 6; ++i) types.push_back(arguments.Word());
        return 0;
    });
    REQUIRE(Cam("Init", {kOwner, 0, 0}) == 0);
    REQUIRE(Cam("RegisterPreviewCallback", {frameCallback}) == 0);
    REQUIRE(Cam("RegisterMediaTypeCallback", {typeCallback}) == 0);
    REQUIRE(Cam("StartPreview") == 0);
    CHECK(State() == 3);
    process.scheduler.Sleep(500);
    CHECK(frames.size() >= 10);
    CHECK(types == std::vector<u32>{120, 160, 38400, 320, 3, 30});
    CHECK(frames.front().size >= 38400);
    CHECK(frames.front().stride == 320);
    CHECK(platform.graph->windowOwner == kOwner);
    REQUIRE(Cam("StopPreview") == 0);
    CHECK(State() == 2);
    const size_t seen = frames.size();
    CHECK(platform.renderer.input.frames == platform.capture.preview.delivered);
    std::vector<u8> chart(platform.capture.preview.Format().Size());
    PaintChart(chart.data(), platform.capture.preview.Format(), platform.capture.preview.delivered - 1);
    CHECK(platform.renderer.input.lastFrame == chart);
    process.scheduler.Sleep(200);
    CHECK(frames.size() == seen);
    End();
}

TEST_CASE_FIXTURE(Fixture, "pictures: what other decoders see in the files") {
    // The pictures are converted and compressed by some ten million instructions; the small ones have been
    // watched for alignment.
    Start();
    auto& windows = process.Attachment<Windows>("windows");
    for (u32 resolution = 0; resolution < 4; ++resolution) {
        process.machine.CheckAlignment(resolution != 3);
        if (resolution > 0) REQUIRE(Cam("SetResolution", {resolution}) == 0);
        const VideoFormat format = platform.capture.still.Format();
        CAPTURE(format.width);
        CAPTURE(format.height);
        for (const char* extension : {"bmp", "png", "jpg", "tif"}) {
            CAPTURE(std::string(extension));
            windows.posted.clear();
            const std::string name = "p" + std::to_string(resolution) + "." + extension;
            REQUIRE(Snap(u"\\" + std::u16string(name.begin(), name.end())) == 0);
            REQUIRE(windows.posted.size() == 1);
            CHECK(windows.posted[0].window == kEvents);
            CHECK(windows.posted[0].message == kStillCaptured);
            CHECK(State() == 3);
            const Picture picture = Decode(process.folder + "/" + name);
            const std::string kind = extension;
            if (kind == "tif") {
                CHECK(picture.width == (format.width + 7) / 8 * 8);  // the file's rows are whole bytes
                CHECK(picture.height == std::abs(format.height));
                for (const u8 byte : picture.rgb) REQUIRE((byte == 0 || byte == 255));
            } else {
                const Difference difference = Compare(picture, format);
                CHECK((kind == "jpg" ? difference.mean < 8 : difference.worst <= (kind == "bmp" ? 4 : 0)));
            }
            if (kind == "bmp") CHECK(FileSize(name) == 66 + format.Size());
        }
    }
    End();
    MESSAGE("deepest stack: ", process.scheduler.DeepestStack(), " bytes");
    CHECK(process.scheduler.DeepestStack() < 40 * 1024);
}

TEST_CASE_FIXTURE(Fixture, "JPEG quality comes from the registry") {
    Start();
    REQUIRE(Snap(u"\\high.jpg", 1) == 0);
    const u8 low[] = {10, 0, 0, 0};
    SetRegistryValue(process, kLocalMachine,
                     u"Software\\Microsoft\\DirectShow\\ImageSink\\Quality\\1\\JPG\\Quality", u"Value",
                     kRegistryNumber, std::vector<u8>(low, low + 4));
    REQUIRE(Snap(u"\\low.jpg", 1) == 0);
    CHECK(FileSize("low.jpg") * 2 < FileSize("high.jpg"));
    REQUIRE(Cam("ShutDown") == 0);
}

TEST_CASE_FIXTURE(Fixture, "snapshot and resume") {
    Start();
    const u32 place = HostMemory(process, 20);
    REQUIRE(Cam("GetSnapshot", {place}) == 0);
    CHECK(process.machine.Read<u32>(place) == 0);
    REQUIRE(Snap(u"") == 0);
    REQUIRE(Cam("GetSnapshot", {place}) == 0);
    const auto bitmap = process.FromHandle<Bitmap>(process.machine.Read<u32>(place));
    REQUIRE(bitmap);
    CHECK(bitmap->width == 160);

    const auto stops = [&] { return CallsOf(process, {"IMediaControl::Stop", "IMediaControl::Run"}); };
    const size_t before = stops().size();
    PostPowerMessage(process, 2);
    process.scheduler.Sleep(2000);
    CHECK(stops().size() == before + 2);
    CHECK(State() == 3);
    REQUIRE(Cam("ShutDown") == 0);
}

TEST_CASE_FIXTURE(Fixture, "a full disk leaves no file, and the message still comes") {
    Start();
    for (const char16_t* name : {u"\\full.bmp", u"\\full.png", u"\\full.jpg", u"\\full.tif"}) {
        process.Attachment<FileRoom>("file room").bytes = 60;
        process.Attachment<Windows>("windows").posted.clear();
        REQUIRE(Snap(name) == 0);
        CHECK(process.Attachment<Windows>("windows").posted.size() == 1);
        CHECK(std::filesystem::is_empty(process.folder));
    }
    process.Attachment<FileRoom>("file room").bytes.reset();
    End();
}

TEST_CASE_FIXTURE(
    Fixture,
    "whatever step of building the graph fails, its result is passed on and everything is given back") {
    REQUIRE(Cam("Init", {kOwner, 0, 0}) == 0);
    REQUIRE(Cam("ShutDown") == 0);
    constexpr u32 kStrange = 0x80041234;
    for (const tables::PlatformCall& step : tables::kConstruction) {
        if (step.OnOwnObject()) continue;
        CAPTURE(step.call);
        Calls(process).Answer(step.call, kStrange);
        CHECK(Cam("Init", {kOwner, 0, 0}) == (step.matters ? static_cast<i32>(kStrange) : 0));
        Calls(process).Play({});
        End();
    }
}

TEST_CASE_FIXTURE(Fixture,
                  "whatever step of preview fails, results and states tell, and everything is given back") {
    for (const tables::PreviewFault& fault : tables::kPreviewFaults) {
        if (fault.at.OnOwnObject()) continue;
        CAPTURE(fault.at.call);
        Calls(process).Answer(fault.at.call, kFail);
        REQUIRE(Cam("Init", {kOwner, 0, 0}) == 0);
        CHECK(Cam("StartPreview") == fault.start);
        CHECK(State() == fault.started);
        CHECK(Cam("StopPreview") == fault.stop);
        CHECK(State() == fault.stopped);
        End();
    }
}

TEST_CASE_FIXTURE(Fixture, "whatever allocation fails, nothing is lost and nothing breaks") {
    int failed = 0;
    for (int allocations = 0; allocations < 400; ++allocations) {
        process.heap.FailAfter(allocations);
        const bool up = Cam("Init", {kOwner, 0, 0}) == 0 && Cam("StartPreview") == 0;
        if (up) {
            Cam("SetEventsWindow", {kEvents});
            for (const char16_t* name : {u"\\m.png", u"\\m.tif", u"\\m.jpg"}) Snap(name);
        }
        failed += !up;
        const bool used = process.heap.FailAfter(-1);
        Cam("ShutDown");
        CAPTURE(allocations);
        REQUIRE(ReferencedObjects(process) == "");
        REQUIRE(process.heap.LeakedSince(mark) == "");
        REQUIRE(process.Handles() == handles);
        if (!used) break;  // everything went through before the count was reached
    }
    CHECK(failed > 5);
}

TEST_CASE_FIXTURE(Fixture, "registration writes the classes and takes them away") {
    auto& registry = process.Attachment<Registry>("registry");
    REQUIRE(process.Call(module, "DllRegisterServer") == 0);
    const std::u16string key = u"0\\clsid\\{b62f694e-0593-4e60-aa1c-16af6496ac39}\\inprocserver32";
    REQUIRE(registry.keys.contains(key));
    const auto& path = registry.values.at({key, u""}).contents;
    CHECK(std::u16string(reinterpret_cast<const char16_t*>(path.data())) == u"\\Windows\\ocellus.dll");
    REQUIRE(process.Call(module, "DllUnregisterServer") == 0);
    CHECK(!registry.keys.contains(key));
    CHECK(process.Handles() == handles);
}

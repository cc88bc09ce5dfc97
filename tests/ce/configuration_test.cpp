// Profiles and persisted settings on ARM code: files on the device's disk, and the system's XML parser played
// by the host.
#include <fstream>

#include "camera_fixture.h"
#include "emulator/graph/dom.h"
#include "tables/settings.h"

using namespace ce;

namespace {

constexpr size_t kSlots = 32;
constexpr u32 kUntouched = 0xABCD;

struct Configuration : Fixture {
    Parser& parser = RegisterParser(process);

    Configuration() {
        // Whatever is set is accepted, unless a test narrows it.
        for (const u32 number : {0u, 6u})
            platform.capture.videoProperties[number] = {-1000, 1000, 1, 0, 0, 2};
        for (const u32 number : {3u, 6u, 7u, 50u, 51u, 52u, 53u})
            platform.capture.cameraProperties[number] = {-1000, 1000, 1, 0, 0, 2};
    }
    void Write(const std::string& name, const std::string& content) {
        std::ofstream(process.folder + "/" + name, std::ios::binary) << content;
    }

    // The slots as the shared tables have them. The list is freed as an application does it.
    std::string Profiles(std::u16string_view path) {
        const u32 out = HostMemory(process, 4), name = process.NewText(path);
        process.machine.Write(out, kUntouched);
        CHECK(Cam("GetProfiles", {name, out}) == 0);
        process.heap.Free(name);
        const u32 block = process.machine.Read<u32>(out);
        if (block == kUntouched) return "none";
        CHECK(process.heap.Size(block) == 4 * kSlots);
        std::u16string slots;
        size_t end = 0;
        std::set<u32> texts;
        for (u32 i = 0; i < kSlots; ++i) {
            const u32 text = process.machine.Read<u32>(block + 4 * i);
            slots += (text ? process.machine.Text(text) : u"-") + u" ";
            if (!text) continue;
            end = slots.size() - 1;
            texts.insert(text);
        }
        for (const u32 text : texts) process.heap.Free(text);
        process.heap.Free(block);
        return std::filesystem::path(slots.substr(0, end)).string();
    }

    // What a start with these settings sets, in its order.
    std::vector<CaptureFilter::Setting> SettingsOf(std::u16string_view path, std::u16string_view section) {
        platform.capture.settings.clear();
        Calls(process).Forget();
        const u32 name = process.NewText(path), area = process.NewText(section);
        // Whatever becomes of the settings, the camera comes up.
        CHECK(Cam("Init", {kOwner, name, area}) == 0);
        CHECK(State() == 1);
        process.heap.Free(name);
        process.heap.Free(area);
        resolution = {platform.capture.still.Format().width,
                      std::abs(platform.capture.still.Format().height)};
        REQUIRE(Cam("ShutDown") == 0);
        CHECK(process.Handles() == handles);
        return platform.capture.settings;
    }
    std::pair<i32, i32> resolution;
};

// What is preset, but for some values.
std::vector<CaptureFilter::Setting> Applied(const std::map<std::string, i32>& values) {
    std::vector<CaptureFilter::Setting> settings;
    for (const auto& [key, set, number, preset] : tables::kApplied) {
        const auto value = values.find(key);
        if (set)
            settings.push_back(
                {set, static_cast<u32>(number), value == values.end() ? preset : value->second, 2});
    }
    return settings;
}

}  // namespace

namespace doctest {
template <>
struct StringMaker<std::vector<CaptureFilter::Setting>> {
    static String convert(const std::vector<CaptureFilter::Setting>& settings) {
        std::string text;
        for (const auto& one : settings) {
            text += one.interface + " " + std::to_string(one.number) + "=" + std::to_string(one.value) +
                    " (" + std::to_string(one.mode) + "), ";
        }
        return text.c_str();
    }
};
}  // namespace doctest

TEST_CASE_FIXTURE(Configuration, "profiles are the sections in the section of that name") {
    process.machine.CheckAlignment(true);
    for (const auto& [text, slots] : tables::kProfiles) {
        CAPTURE(text);
        Write("case.exm", text);
        CHECK(Profiles(u"\\case.exm") == slots);
    }
    Write("many.exm", tables::Profiles(tables::Sections(kSlots)));
    CHECK(Profiles(u"\\many.exm").ends_with(" P30 P31"));
    Write("dtd.exm",
          "<!DOCTYPE ConfigDoc [<!ENTITY e \"x\">]><ConfigDoc><Section name=\"Profiles\"/></ConfigDoc>");
    for (const char16_t* name : {u"\\dtd.exm", u"\\absent.exm"}) CHECK(Profiles(name) == "none");
    process.heap.Validate();
    CHECK(ReferencedObjects(process) == "");
    CHECK(process.heap.LeakedSince(mark) == "");
    CHECK(process.Handles() == handles);
}

TEST_CASE_FIXTURE(Configuration,
                  "no allocation that fails while profiles are read loses or breaks anything") {
    Write(
        "p.exm",
        "<ConfigDoc><Section name=\"Profiles\"><Section name=\"A\"/><Section/><Section name=\"B\"/></Section>"
        "</ConfigDoc>");
    const u32 out = HostMemory(process, 4), name = process.NewText(u"\\p.exm");
    // A thread's first exception leaves a record that lasts as long as the thread.
    process.heap.FailAfter(1);
    REQUIRE(Cam("GetProfiles", {name, out}) == 0);
    REQUIRE(process.heap.FailAfter(-1));
    mark = process.heap.Mark();
    int refused = 0;
    for (int allocations = 0; allocations < 200; ++allocations) {
        CAPTURE(allocations);
        process.machine.Write(out, kUntouched);
        process.heap.FailAfter(allocations);
        REQUIRE(Cam("GetProfiles", {name, out}) == 0);
        const bool used = process.heap.FailAfter(-1);
        if (!used) {
            REQUIRE(process.machine.Read<u32>(out) != kUntouched);
            break;
        }
        ++refused;
        if (process.machine.Read<u32>(out) == kUntouched) {
            REQUIRE(process.heap.LeakedSince(mark) == "");
        } else {
            // A name that could not be read is none.
            const u32 block = process.machine.Read<u32>(out);
            std::set<u32> texts;
            for (u32 i = 0; i < kSlots; ++i) texts.insert(process.machine.Read<u32>(block + 4 * i));
            for (const u32 text : texts) process.heap.Free(text);
            process.heap.Free(block);
            REQUIRE(process.heap.LeakedSince(mark) == "");
        }
        REQUIRE(ReferencedObjects(process) == "");
        REQUIRE(process.Handles() == handles);
    }
    CHECK(refused > 5);
}

TEST_CASE_FIXTURE(Configuration, "a setting is what the file says, or else what is preset") {
    process.machine.CheckAlignment(true);
    const int preset = tables::kApplied[9].preset;
    const auto check = [&](const std::string& name, const tables::SettingsCase& one) {
        CAPTURE(one.text);
        Write(name, one.text);
        const auto settings = SettingsOf(u"\\" + std::u16string(name.begin(), name.end()), u"Camera");
        REQUIRE(settings.size() == 9);
        CHECK(settings.back().value == (one.zoom == tables::kNotSet ? preset : one.zoom));
    };
    for (const auto& one : tables::kIniSettings) check("case.ini", one);
    // A document is kept as long as the file of that name has its time.
    int number = 0;
    for (const auto& one : tables::kXmlSettings) check("case" + std::to_string(number++) + ".exm", one);
}

TEST_CASE_FIXTURE(Configuration, "settings from an INI file are applied in their order") {
    process.machine.CheckAlignment(true);
    Write("cam.ini",
          "; Brightness=1\n[Other]\nBrightness=99\n[Camera]\r\nBrightness=-7\r\nAUTOFOCUS=0\nFlash=2\n"
          "Resolution=3\nColor=0\nFocusMin=0x10\nFocusMax=010\nFocusStep= 7\nFocusFixed=44 and more\n"
          "Zoom = 9\nBrightness=12=13\n[]\nFlash=3\n[Last]\nColor=5\n");
    CHECK(SettingsOf(u"\\cam.ini", u"camera") == Applied({{"Brightness", 12},
                                                          {"Autofocus", 0},
                                                          {"Flash", 3},
                                                          {"Color", 0},
                                                          {"FocusMin", 16},
                                                          {"FocusMax", 8},
                                                          {"FocusStep", 7},
                                                          {"FocusFixed", 44}}));
    CHECK(resolution == std::pair(640, 480));
    // The resolution comes between the others.
    std::vector<std::string> order;
    for (const auto& one : tables::kApplied)
        order.push_back(one.set ? std::string(one.set) + "::Set" : "IAMStreamConfig::SetFormat Still");
    CHECK(CallsOf(process, {"IAMVideoProcAmp", "IAMCameraControl", "IAMStreamConfig::SetFormat"}) == order);
    // A section that is not there leaves what is preset, and the resolution with index 1.
    CHECK(SettingsOf(u"\\cam.ini", u"absent") == Applied({}));
    CHECK(resolution == std::pair(320, 240));
    // A file that is not there sets nothing.
    CHECK(SettingsOf(u"\\absent.ini", u"camera").empty());
    CHECK(SettingsOf(u"\\absent.pro", u"camera").empty());
    CHECK(SettingsOf(u"\\absent.exm", u"camera").empty());
    CHECK(ReferencedObjects(process) == "");
    CHECK(process.heap.LeakedSince(mark) == "");
}

TEST_CASE_FIXTURE(Configuration, "settings from an XML document are applied in their order, and read once") {
    process.machine.CheckAlignment(true);
    const std::string xml = tables::Camera(
        "<Key name=\"Brightness\">-3</Key><Key name=\"Resolution\">2</Key><Key name=\"Color\" "
        "flags=\"1\">0</Key>"
        "<Section name=\"Inner\"><Key name=\"FocusStep\">3</Key></Section><Key "
        "name=\"FocusFixed\">151</Key>");
    Write("cam.exm", xml);
    const auto expected = Applied({{"Brightness", -3}, {"FocusFixed", 151}});
    CHECK(SettingsOf(u"\\cam.exm", u"camera") == expected);
    CHECK(resolution == std::pair(161, 101));
    CHECK(parser.loads == 1);
    CHECK(SettingsOf(u"\\cam.exm", u"Camera") == expected);
    CHECK(parser.loads == 1);
    // A name without extension means the XML document rather than the INI file.
    Write("cam.ini", "[Camera]\nZoom=5\n");
    CHECK(SettingsOf(u"\\cam", u"camera") == expected);
    CHECK(parser.loads == 1);
    const auto file = process.folder + "/cam.exm";
    std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) + std::chrono::seconds(3));
    CHECK(SettingsOf(u"\\cam", u"camera") == expected);
    CHECK(parser.loads == 2);
    // XML is told by its first line, whatever the file is called; and so is what is none.
    Write("xml.ini", xml);
    CHECK(SettingsOf(u"\\xml.ini", u"camera") == expected);
    Write("ini.exm", "[Camera]\nZoom=5\n");
    CHECK(SettingsOf(u"\\ini.exm", u"camera") == Applied({{"Zoom", 5}}));
    std::filesystem::remove(file);
    CHECK(SettingsOf(u"\\cam", u"camera") == Applied({{"Zoom", 5}}));
    // Of all documents only the one read last is still held, for the next start.
    CHECK(ReferencedObjects(process) == "  XML document (1)\n");

    Write("broken.exm", "<?xml version=\"1.0\"?>\n<ConfigDoc><Section name=\"Camera\">");
    CHECK(SettingsOf(u"\\broken.exm", u"camera").empty());
    CHECK(ReferencedObjects(process) == "");
    CHECK(process.heap.LeakedSince(mark) == "");
}

TEST_CASE_FIXTURE(Configuration, "the first setting that the camera refuses is the last that is tried") {
    Write("cam.ini", "[Camera]\nFlash=2\nResolution=1\nFocusMax=8\n");
    const auto all = Applied({{"Flash", 2}, {"FocusMax", 8}});
    const auto until = [&](size_t count) {
        return std::vector<CaptureFilter::Setting>(all.begin(),
                                                   all.begin() + static_cast<std::ptrdiff_t>(count));
    };
    auto& camera = platform.capture.cameraProperties;
    REQUIRE(SettingsOf(u"\\cam.ini", u"Camera") == all);
    camera[51].maximum = 7;
    CHECK(SettingsOf(u"\\cam.ini", u"Camera") == until(6));
    CHECK(resolution == std::pair(320, 240));
    camera.erase(7);
    CHECK(SettingsOf(u"\\cam.ini", u"Camera") == until(3));
    CHECK(resolution == std::pair(320, 240));  // the driver's own memory of it
    camera[7] = {0, 9, 1, 0, 0, 2};
    Write("cam.ini", "[Camera]\nFlash=2\nResolution=4\n");
    CHECK(SettingsOf(u"\\cam.ini", u"Camera") == until(3));
    auto& boxes = process.Attachment<Windows>("windows").boxes;
    REQUIRE(boxes.size() == 1);
    CHECK(boxes[0].first == u"Error setting resolution");
}

// Settings files and profiles: what is read from them, and what the camera is set to.
#include <cstdlib>

#include "camera.h"
#include "check.h"
#include "files.h"
#include "kit.h"
#include "platform.h"
#include "tables/settings.h"

namespace verify {

namespace {

// ---- What is applied, and in which order -----------------------------------------------------------------

struct Applied {
    const char* key;
    const char* call;  // the driver's
    int id, preset;    // -1: the resolution, which is no property
};
constexpr Applied kApplied[] = {{"Brightness", "IAMVideoProcAmp::Set 0", CAM_PROPERTY_BRIGHTNESS, 0},
                                {"Autofocus", "IAMCameraControl::Set 6", CAM_PROPERTY_FOCUS, 1},
                                {"Flash", "IAMCameraControl::Set 7", CAM_PROPERTY_FLASH, 0},
                                {"Resolution", "IAMStreamConfig::SetFormat Still", -1, 1},
                                {"Color", "IAMVideoProcAmp::Set 6", CAM_PROPERTY_COLOR_ENABLE, 1},
                                {"FocusMin", "IAMCameraControl::Set 52", CAM_PROPERTY_FOCUS_MINIMUM, 100},
                                {"FocusMax", "IAMCameraControl::Set 51", CAM_PROPERTY_FOCUS_MAXIMUM, 200},
                                {"FocusStep", "IAMCameraControl::Set 50", CAM_PROPERTY_FOCUS_STEP, 8},
                                {"FocusFixed", "IAMCameraControl::Set 53", CAM_PROPERTY_FOCUS_FIXED, 150},
                                {"Zoom", "IAMCameraControl::Set 3", CAM_PROPERTY_ZOOM, 1}};
constexpr size_t kAppliedCount = std::size(kApplied);

// A camera that takes any value, three resolutions, and possibly a call that fails.
std::wstring Lenient(const std::string& failing = {}) {
    std::string text =
        "{\"stillFormats\": [{\"width\": 320, \"height\": 240}, {\"width\": 640, \"height\": 480}, "
        "{\"width\": 161, \"height\": 121}], \"properties\": {";
    const char* names[] = {"brightness",   "focus",     "flash",      "colorEnable", "focusMinimum",
                           "focusMaximum", "focusStep", "focusFixed", "zoom"};
    for (const char* name : names) {
        text += (text.back() == '{' ? "\"" : ", \"") + std::string(name) +
                "\": {\"minimum\": -1000, \"maximum\": 1000, \"flags\": [\"manual\"]}";
    }
    text += "}";
    if (!failing.empty()) text += ", \"calls\": {\"" + failing + "\": {\"result\": \"0x80004005\"}}";
    return Wide(text + "}");
}

// What a camera that is brought up with these settings sets, in its order; its values stay until it is shut
// down.
struct WithSettings {
    Lines set;

    WithSettings(const std::wstring& scenario, const wchar_t* path, const wchar_t* section) {
        Play(scenario);
        Equal("the camera comes up all the same", cam.Init(nullptr, path, section), camResult{camOk});
        Equal("state", State(), int{CAM_STATE_INITIALISED});
        for (const std::string& call : Calls()) {
            if (call.find("::Set") != std::string::npos && call.find("SetMode") == std::string::npos) {
                set.push_back(call.substr(0, call.find('=')));
            }
        }
    }
    ~WithSettings() { cam.ShutDown(); }
    WithSettings(const WithSettings&) = delete;
    WithSettings& operator=(const WithSettings&) = delete;
};

Lines FirstApplied(size_t count) {
    Lines calls;
    for (size_t i = 0; i < count; ++i) calls.push_back(kApplied[i].call);
    return calls;
}

// Of the first word of a call only, since the log may have arguments behind it.
void CheckSet(const Lines& set, size_t count) {
    const Lines expected = FirstApplied(count);
    if (!Equal("number of settings", set.size(), expected.size())) Equal("settings", set, expected);
    for (size_t i = 0; i < set.size() && i < expected.size(); ++i) {
        Equal("setting", set[i].substr(0, expected[i].size()), expected[i]);
    }
}

long Value(int id) {
    long value = -77, flags = 0;
    if (id >= 0) {
        cam.GetProperty(id, &value, &flags);
        Equal("flags", flags, long{CAM_FLAG_MANUAL});
        return value;
    }
    long width = 0, height = 0;
    cam.GetResolutionDimensions(&height, &width, -1);
    return width == 320 ? 0 : width == 640 ? 1 : 2;
}

void CheckValues(const std::vector<long>& expected) {
    for (size_t i = 0; i < kAppliedCount; ++i) {
        const Row row(kApplied[i].key);
        Equal("value", Value(kApplied[i].id), expected[i]);
    }
}

std::vector<long> Presets() {
    std::vector<long> presets;
    for (const Applied& one : kApplied) presets.push_back(one.preset);
    return presets;
}

const std::string kIni =
    "; "
    "Brightness=1\n[Other]\nBrightness=99\n[Camera]\r\nBrightness=-7\r\nAUTOFOCUS=0\nFlash=2\nResolution="
    "2\nColor=0\nFocusMin=0x10\n"
    "FocusMax=010\nFocusStep= 7\nFocusFixed=44 and more\nZoom = "
    "9\nBrightness=12=13\n[]\nFlash=3\n[Last]\nColor=5\n";
void Order() {
    const TestFile file(L"camera.ini", kIni);
    {
        const Row row("all");
        const WithSettings camera(Lenient(), file.path(), L"camera");
        CheckSet(camera.set, kAppliedCount);
        CheckValues({12, 0, 3, 2, 0, 16, 8, 7, 44, 1});
    }
    {
        const Row row("a section that is not there");
        const WithSettings camera(Lenient(), file.path(), L"Elsewhere");
        CheckSet(camera.set, kAppliedCount);
        CheckValues(Presets());
    }
    const TestFile missing(L"missing.ini"),
        broken(L"broken.exm", tables::kXmlHead + "<ConfigDoc><Section name=\"Camera\">");
    const struct {
        const char* name;
        const wchar_t *path, *section;
    } nothing[] = {{"no path", nullptr, L"Camera"},
                   {"no section", file.path(), nullptr},
                   {"no file", missing.path(), L"Camera"},
                   {"no whole document", broken.path(), L"Camera"}};
    for (const auto& [name, path, section] : nothing) {
        const Row row(name);
        const WithSettings camera(Lenient(), path, section);
        Equal("settings", camera.set, Lines());
    }
}

void FirstRefusal() {
    const TestFile file(L"camera.ini", kIni);
    platform::TakeMessageBoxes();
    for (const size_t last : {0, 1, 3, 9}) {
        const std::string call = kApplied[last].call;
        const Row row(call);
        const WithSettings camera(Lenient(call.substr(0, call.find(" Still"))), file.path(), L"Camera");
        CheckSet(camera.set, last + 1);
    }
    platform::TakeMessageBoxes();
}

// ---- What stands in a file -------------------------------------------------------------------------------

void CheckZoom(const tables::SettingsCase& one, const std::wstring& name) {
    const Row row(one.text);
    const TestFile file(name, one.text);
    const WithSettings camera(Lenient(), file.path(), L"Camera");
    Equal("zoom", Value(CAM_PROPERTY_ZOOM), one.zoom == tables::kNotSet ? long{1} : long{one.zoom});
}

void IniFiles() {
    for (const auto& one : tables::kIniSettings) CheckZoom(one, L"case.ini");
}

void XmlFiles() {
    // A document is kept as long as the file of that name has its time.
    int number = 0;
    for (const auto& one : tables::kXmlSettings)
        CheckZoom(one, L"case" + Wide(std::to_string(number++)) + L".exm");
}

void FileNames() {
    const std::string ini = "[Camera]\nZoom=5\n", xml = tables::Camera("<Key name='Zoom'>6</Key>");
    const auto zoomOf = [](const std::wstring& name) {
        const WithSettings camera(Lenient(), (WorkFolder() + name).c_str(), L"Camera");
        return Value(CAM_PROPERTY_ZOOM);
    };
    const TestFile iniFile(L"both.ini", ini);
    {
        const Row row("without extension the .exm is meant rather than the .ini");
        const TestFile xmlFile(L"both.exm", xml);
        Equal("zoom", zoomOf(L"both"), long{6});
    }
    const Row row("kinds are told by the first line");
    Equal("zoom of the .ini without extension", zoomOf(L"both"), long{5});
    const TestFile xmlInIni(L"xml.ini", xml), iniInXml(L"ini.exm", ini),
        marked(L"marked.exm", "\xEF\xBB\xBF" + xml);
    Equal("zoom of XML in .ini", zoomOf(L"xml.ini"), long{6});
    Equal("zoom of INI in .exm", zoomOf(L"ini.exm"), long{5});
    Equal("zoom of XML with a byte-order mark", zoomOf(L"marked.exm"), long{1});
}

// ---- Profiles --------------------------------------------------------------------------------------------

// The slots: names with blanks between them, "-" for an empty one, and none at the end; "none" when there is
// no list.
std::string SlotsOf(const wchar_t* path) {
    wchar_t** slots = nullptr;
    Equal("result", cam.GetProfiles(path, &slots), camResult{camOk});
    if (!slots) return "none";
    std::string text;
    size_t end = 0;
    for (int i = 0; i < CAM_PROFILE_SLOTS; ++i) {
        text += (slots[i] ? Utf8(slots[i]) : "-") + " ";
        if (slots[i]) end = text.size() - 1;
    }
    // A profile without a name shares the text of the one before it.
    for (int i = 0; i < CAM_PROFILE_SLOTS; ++i) {
        bool freed = false;
        for (int j = 0; j < i; ++j) freed = freed || slots[j] == slots[i];
        if (!freed) free(slots[i]);
    }
    free(slots);
    return text.substr(0, end);
}

void ProfileFiles() {
    for (const auto& [text, slots] : tables::kProfiles) {
        const Row row(text);
        const TestFile file(L"profiles.exm", text);
        Equal("slots", SlotsOf(file.path()), std::string(slots));
    }
    const TestFile full(L"full.exm", tables::Profiles(tables::Sections(CAM_PROFILE_SLOTS))),
        missing(L"missing.exm");
    const std::string all = SlotsOf(full.path());
    Equal("the last of 32", all.substr(all.size() - 4), std::string(" P31"));
    Equal("a file that is not there", SlotsOf(missing.path()), std::string("none"));
    Equal("no path", SlotsOf(nullptr), std::string("none"));
}

constexpr char kParser[] =
    "see that the system's XML parser (MSXML) is installed; else a fault of the library";
constexpr Check kChecks[] = {
    {"settings are applied one after the other, or their defaults, or none", kKit, Order, kLibraryFault},
    {"the first setting that the camera refuses is the last that is tried", kKit, FirstRefusal,
     kLibraryFault},
    {"what an INI file says", kKit, IniFiles, kLibraryFault},
    {"what an XML file says", kKit, XmlFiles, kParser},
    {"which file is meant, and of which kind it is", kKit, FileNames, kParser},
    {"profiles are the sections in the section of that name", kNothing, ProfileFiles, kParser},
};

}  // namespace

const Group kSettings = {"settings", "settings files and profiles", kChecks};

}  // namespace verify

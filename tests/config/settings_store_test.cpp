#include "config/settings_store.h"

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "config/camera_settings.h"
#include "config/config_texts.h"
#include "camverify/tables/settings.h"

using namespace cam::config;
using tables::Camera;
using tables::Document;

namespace {

constexpr int32_t kUntouched = tables::kNotSet;

int32_t ReadZoom(const wchar_t* path, const wchar_t* section = L"Camera") {
    int32_t zoom = kUntouched;
    CHECK(settingsStore.ReadInteger(path, section, L"Zoom", &zoom) == 0);
    return zoom;
}

int32_t ReadZoomOf(const std::string& bytes, const wchar_t* section = L"Camera") {
    const TestFile file(L"zoom.exm", bytes);
    settingsStore.ReadSettings(nullptr, {});  // times are too coarse to tell the files of this test apart
    return ReadZoom(file.path(), section);
}

std::vector<LONG> Values(const CameraSettings& s) {
    return {s.autofocus,    s.brightness, s.color,      s.flash,      s.focusMinimum,
            s.focusMaximum, s.focusStep,  s.focusFixed, s.resolution, s.zoom};
}

SettingsFileType TypeOf(const std::wstring& name, std::wstring* path = nullptr) {
    const SettingsFile file = settingsStore.Classify(name.c_str());
    if (path) *path = file.path;
    return file.type;
}

}  // namespace

TEST_CASE("the first line of a file decides its type") {
    for (const auto& [name, bytes, type] :
         {std::tuple<const wchar_t*, std::string, SettingsFileType>{L"a.exm", "<?xml version=\"1.0\"?>",
                                                                    SettingsFileType::Xml},
          {L"a.ini", "<?XML Version='1.0' encoding='UTF-8' standalone='yes'?><a/>", SettingsFileType::Xml},
          {L"a.exm", "[Camera]", SettingsFileType::Ini},
          {L"a.exm", "", SettingsFileType::Ini},
          {L"a.exm", "\r\n<?xml version='1.0'?>", SettingsFileType::Ini},
          {L"a.exm", " <?xml version='1.0'?>", SettingsFileType::Ini},
          {L"a.exm", "<?xml  version='1.0'?>", SettingsFileType::Ini},
          {L"a.exm", "<?xml version", SettingsFileType::Ini},
          {L"a.exm", "\xEF\xBB\xBF<?xml version='1.0'?>", SettingsFileType::Ini},
          {L"a.exm", ToUtf16("<?xml version='1.0'?>", true), SettingsFileType::Ini}}) {
        CAPTURE(bytes);
        const TestFile file(name, bytes);
        std::wstring path;
        CHECK(TypeOf(file.path(), &path) == type);
        CHECK(path == file.path());
    }
}

TEST_CASE("a file that is not there is taken for what its extension says") {
    for (const auto& [name, type] :
         {std::pair{L"missing.ini", SettingsFileType::Ini},
          {L"missing.PRO", SettingsFileType::Ini},
          {L"missing.mnu", SettingsFileType::Ini},
          {L"missing.ini2", SettingsFileType::Ini},  // four characters count
          {L"missing.in", SettingsFileType::Xml},
          {L"missing.exm", SettingsFileType::Xml},
          {L"missing.xml", SettingsFileType::Xml},
          {L"missing.x\\file", SettingsFileType::Xml},  // the last dot counts, wherever it is
          {L"missing", SettingsFileType::Ini},
          {L"", SettingsFileType::Ini}}) {
        CAPTURE(Narrow(name));
        CHECK(TypeOf(name) == type);
    }
    int32_t zoom = kUntouched;
    const TestFile missing(L"missing.pro");
    CHECK(settingsStore.ReadInteger(missing.path(), nullptr, L"Zoom", &zoom) == -1);
    const TestFile missingXml(L"missing.exm");
    CHECK(settingsStore.ReadInteger(missingXml.path(), nullptr, L"Zoom", &zoom) == -1);
    CHECK(settingsStore.ReadInteger(std::wstring(1000, L'x').c_str(), nullptr, L"Zoom", &zoom) == -1);
    CHECK(settingsStore.ReadInteger((std::wstring(300, L'x') + L".exm").c_str(), nullptr, L"Zoom", &zoom) ==
          -1);
    CHECK(zoom == kUntouched);
}

TEST_CASE("a name without extension finds the .exm file before the .ini file") {
    const TestFile xml(L"both.exm", Camera("<Key name='Zoom'>3</Key>"));
    const TestFile ini(L"both.ini", "[Camera]\r\nZoom=4\r\n");
    const std::wstring name = std::wstring(xml.path()).substr(0, wcslen(xml.path()) - 4);
    std::wstring path;
    CHECK(TypeOf(name, &path) == SettingsFileType::XmlBesideIni);
    CHECK(path == xml.path());
    CHECK(ReadZoom(name.c_str()) == 3);

    xml.Write("[Camera]\nZoom=5\n");
    CHECK(TypeOf(name) == SettingsFileType::Ini);
    CHECK(ReadZoom(name.c_str()) == 5);

    xml.Remove();
    CHECK(TypeOf(name, &path) == SettingsFileType::Ini);
    CHECK(path == ini.path());
    CHECK(ReadZoom(name.c_str()) == 4);

    ini.Remove();
    xml.Write(tables::kXmlHead);
    CHECK(TypeOf(name) == SettingsFileType::Xml);
    xml.Remove();
    CHECK(TypeOf(name, &path) == SettingsFileType::Ini);
    CHECK(path == name);
}

TEST_CASE("XML values come from live keys of live sections below the root") {
    for (const auto& [text, zoom] : tables::kXmlSettings) {
        CAPTURE(text);
        CHECK(ReadZoomOf(text) == zoom);
    }
    CHECK(ReadZoomOf(Document("<Section name='A'><Key name='Zoom'>1</Key></Section>"
                              "<Section name='B'><Key name='Zoom'>2</Key></Section>"),
                     nullptr) == 2);
}

TEST_CASE("an XML key fills the first request that asks for it, an INI key all of them") {
    int32_t first = kUntouched;
    int32_t second = kUntouched;
    SettingsRequest requests[] = {{nullptr, L"k", 0, &first, 0, 0, 9}, {L"s", L"K", 0, &second, 0, 0, 9}};
    const TestFile xml(L"first.exm",
                       Document("<Section name='s'><Key name='k' flags='32'>1</Key></Section>"));
    CHECK(settingsStore.ReadSettings(xml.path(), requests) == 0);
    CHECK(first == 1);
    CHECK(second == kUntouched);
    CHECK(requests[0].found == 1);
    CHECK(requests[0].keyFlag == 1);
    CHECK(requests[1].found == 0);
    CHECK(requests[1].keyFlag == 9);

    const TestFile ini(L"first.ini", "[s]\nk=2\n");
    CHECK(settingsStore.ReadSettings(ini.path(), requests) == 0);
    CHECK(first == 2);
    CHECK(second == 2);
    CHECK(requests[0].keyFlag == 0);
}

TEST_CASE("the flag of an XML key is told with its text only") {
    const TestFile file(L"flags.exm",
                        Camera("<Key name='a' flags='48'>1</Key><Key name='b' flags='16'>1</Key>"
                               "<Key name='c' flags='32'/>"));
    int32_t values[3];
    SettingsRequest requests[] = {{nullptr, L"a", 0, &values[0], 0, 0, 9},
                                  {nullptr, L"b", 0, &values[1], 0, 0, 9},
                                  {nullptr, L"c", 0, &values[2], 0, 0, 9}};
    CHECK(settingsStore.ReadSettings(file.path(), requests) == 0);
    CHECK(requests[0].keyFlag == 1);
    CHECK(requests[1].keyFlag == 0);
    CHECK(requests[2].keyFlag == 9);
    CHECK(requests[2].found == 1);
}

TEST_CASE("strings fill their buffer, from XML with one character more for the terminator") {
    const TestFile xml(L"text.exm", Camera("<Key name='t'>abcdef</Key><Key name='e'/>"));
    const TestFile ini(L"text.ini", "[Camera]\nt=abcdef\ne=\n");
    for (const auto& [length, fromXml, fromIni] : {std::tuple<int, std::wstring, std::wstring>{1, L"a", L""},
                                                   {5, L"abcde", L"abcd"},
                                                   {6, L"abcdef", L"abcde"},
                                                   {7, L"abcdef", L"abcdef"}}) {
        // Heap blocks of exactly the size that is allowed, for a run with heap checks.
        const auto wide = std::make_unique<wchar_t[]>(static_cast<size_t>(length) + 1);
        CHECK(settingsStore.ReadString(xml.path(), L"camera", L"T", wide.get(), length) == 0);
        CHECK(std::wstring(wide.get()) == fromXml);
        const auto narrow = std::make_unique<wchar_t[]>(static_cast<size_t>(length));
        CHECK(settingsStore.ReadString(ini.path(), L"camera", L"T", narrow.get(), length) == 0);
        CHECK(std::wstring(narrow.get()) == fromIni);
    }
    wchar_t text[7];
    for (const auto& [key, length, expected] :
         {std::tuple{L"missing", 6, L"before"}, {L"t", -1, L"before"}, {L"t", 0, L""}, {L"e", 6, L""}}) {
        wcscpy(text, L"before");
        CHECK(settingsStore.ReadString(xml.path(), nullptr, key, text, length) == 0);
        CHECK(std::wstring(text) == expected);
    }
    CHECK(settingsStore.ReadIniString(ini.path(), nullptr, L"t", text, 7) == 0);
    CHECK(std::wstring(text) == L"abcdef");
    int32_t number = kUntouched;
    CHECK(settingsStore.ReadIniInteger(ini.path(), L"Camera", L"t", &number) == 0);
    CHECK(number == 0);
}

TEST_CASE("a document stays loaded while its file keeps its time") {
    constexpr ULONGLONG kTime = 0x01D0000000000000;
    constexpr ULONGLONG kSecond = 10'000'000;
    const TestFile file(L"cached.exm");
    const auto store = [&](int zoom, ULONGLONG time) {
        file.Write(Camera("<Key name='Zoom'>" + std::to_string(zoom) + "</Key>"));
        const FILETIME written = {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
        const HANDLE handle =
            CreateFileW(file.path(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        REQUIRE(SetFileTime(handle, nullptr, nullptr, &written));
        CloseHandle(handle);
    };
    store(1, kTime);
    CHECK(ReadZoom(file.path()) == 1);
    store(2, kTime);
    CHECK(ReadZoom(file.path()) == 1);  // the loaded document still
    store(2, kTime + kSecond);
    CHECK(ReadZoom(file.path()) == 2);
    store(3, kTime);  // older counts as changed as well
    CHECK(ReadZoom(file.path()) == 3);

    // Another path, even one that differs in case only, discards the document.
    store(4, kTime);
    CHECK(ReadZoom(file.path()) == 3);
    std::wstring otherCase = file.path();
    otherCase.back() = L'M';
    CHECK(ReadZoom(otherCase.c_str()) == 4);

    // So does a null path, and a file that has become unreadable; INI files do not touch it.
    store(5, kTime);
    const TestFile ini(L"other.ini", "[Camera]\nZoom=9\n");
    CHECK(ReadZoom(ini.path()) == 9);
    CHECK(ReadZoom(otherCase.c_str()) == 4);
    CHECK(ReadZoom(nullptr) == kUntouched);
    CHECK(ReadZoom(otherCase.c_str()) == 5);
    file.Write("<?xml version='1.0'?><broken");
    int32_t zoom = kUntouched;
    CHECK(settingsStore.ReadInteger(otherCase.c_str(), nullptr, L"Zoom", &zoom) == -1);
    CHECK(zoom == kUntouched);
    store(6, kTime);
    CHECK(ReadZoom(otherCase.c_str()) == 6);
    file.Remove();
    CHECK(settingsStore.ReadSettings(otherCase.c_str(), {}) == -1);
}

TEST_CASE("the settings of a camera come from one section, and keep their defaults") {
    for (const auto& [name, language] : {std::pair{L"camera.ini", "ini"}, {L"camera.exm", "xml"}}) {
        const TestFile file(name, DocumentedExample(language, 0));
        CameraSettings settings;
        CHECK(ReadCameraSettings(file.path(), &settings, L"camera") == 0);
        CHECK(Values(settings) == std::vector<LONG>{1, 10, 1, 0, 100, 300, 8, 150, 2, 2});
    }
    const TestFile file(L"all.ini",
                        "[S]\nAutofocus=11\nBrightness=12\nColor=13\nFlash=14\nFocusMin=15\nFocusMax=16\n"
                        "FocusStep=17\nFocusFixed=18\nResolution=19\nZoom=20\n");
    CameraSettings settings;
    CHECK(ReadCameraSettings(file.path(), &settings, L"other") == 0);
    CHECK(settings.focusFixed == 150);
    CHECK(ReadCameraSettings(file.path(), &settings, L"s") == 0);
    CHECK(Values(settings) == std::vector<LONG>{11, 12, 13, 14, 15, 16, 17, 18, 19, 20});
    file.Remove();
    CHECK(ReadCameraSettings(file.path(), &settings, L"s") == -1);
    CHECK(settings.zoom == 20);
}

TEST_CASE("INI settings are written, XML settings only reported") {
    const TestFile log(L"boxes.txt");
    SetEnvironmentVariableW(L"OCELLUS_MESSAGE_BOX_LOG", log.path());
    SetEnvironmentVariableW(L"OCELLUS_HEADLESS", L"1");
    int32_t zoom = 3;
    const SettingsRequest request = {L"Camera", L"Zoom", 0, &zoom, 0, 0, 0};
    const TestFile ini(L"write.ini");
    CHECK(settingsStore.WriteSettings(ini.path(), {&request, 1}) == 0);
    CHECK(ReadBytes(ini.path()) == "[Camera]\r\nZoom=3\r\n");
    CHECK(GetFileAttributesW(log.path()) == INVALID_FILE_ATTRIBUTES);

    const std::string before = Camera("<Key name='Zoom'>1</Key>");
    const TestFile xml(L"write.exm", before);
    CHECK(settingsStore.WriteSettings(xml.path(), {&request, 1}) == -1);
    CHECK(ReadBytes(xml.path()) == before);
    const std::string box =
        "QVXXmlSettings Error\tAttempt to call QVXXMLSettingsWrite() detected. Please report this error to "
        "Tech Support\n";
    CHECK(ReadBytes(log.path()) == box);
    CHECK(settingsStore.WriteSettings(nullptr, {&request, 1}) == -1);
    CHECK(ReadBytes(log.path()) == box + box);
    SetEnvironmentVariableW(L"OCELLUS_MESSAGE_BOX_LOG", nullptr);
}

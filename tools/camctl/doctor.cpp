// Looks for what keeps cameras from working, and says what to do about it.
#include <objbase.h>

#include <cstdio>

#include "commands.h"
#include "library.h"
#include "text.h"

namespace camctl {

namespace {

enum class State { Ok, Note, Problem };

struct Finding {
    const char* check;
    State state;
    std::string text;
    std::string remedy;
};
using Findings = std::vector<Finding>;

const char* NameOf(State state) {
    switch (state) {
        case State::Ok:
            return "ok";
        case State::Note:
            return "note";
        case State::Problem:
            return "problem";
    }
    return "";
}

// Empty: there is no such value.
std::wstring ReadText(HKEY root, const std::wstring& key, const wchar_t* value, DWORD view = 0) {
    wchar_t text[MAX_PATH + 1] = {};
    DWORD size = sizeof text - sizeof(wchar_t);
    HKEY open = nullptr;
    if (RegOpenKeyExW(root, key.c_str(), 0, KEY_READ | view, &open) != ERROR_SUCCESS) return L"";
    DWORD type = 0;
    const LONG error = RegQueryValueExW(open, value, nullptr, &type, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(open);
    return error == ERROR_SUCCESS && type == REG_SZ ? text : L"";
}

bool Exists(const std::wstring& file) {
    return GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES;
}

constexpr bool kIs64Bit = sizeof(void*) == 8;
constexpr const char* kWidth = kIs64Bit ? "64" : "32";

Finding CheckLibrary(HMODULE library) {
    wchar_t revision[14];
    camGetDllRevision(revision);
    return {"library", State::Ok, ToUtf8(revision) + ", " + kWidth + " bit, " + ToUtf8(PathOf(library)), ""};
}

// Nothing needs registering but programs that look the library's filters up by class.
Finding CheckRegistration(HMODULE library) {
    const std::wstring key = L"CLSID\\{B62F694E-0593-4E60-AA1C-16AF6496AC39}\\InprocServer32";
    const std::wstring here = ReadText(HKEY_CLASSES_ROOT, key, nullptr);
    const std::wstring there =
        ReadText(HKEY_CLASSES_ROOT, key, nullptr, kIs64Bit ? KEY_WOW64_32KEY : KEY_WOW64_64KEY);
    const std::string path = ToUtf8(here);
    const std::string remedy = "regsvr32 \"" + ToUtf8(PathOf(library)) + "\"";
    if (!here.empty() && !Exists(here)) {
        return {"registration", State::Problem, "what is registered is not there: " + path,
                remedy + ", or remove what was left: regsvr32 /u"};
    }
    if (!here.empty() && lstrcmpiW(here.c_str(), PathOf(library).c_str()) != 0) {
        return {"registration", State::Note, "another one is registered: " + path,
                "for programs that look filters up by class: " + remedy};
    }
    if (!here.empty()) return {"registration", State::Ok, path, ""};
    const std::string text = there.empty() ? "not registered" : "registered for the other width only";
    return {"registration", State::Ok, text + "; only programs that look filters up by class need it", ""};
}

Finding CheckApartment() {
    const HMODULE ole = GetModuleHandleW(L"ole32.dll");
    if (ole && GetProcAddress(ole, "CoIncrementMTAUsage"))
        return {"apartment", State::Ok, "the library keeps one of its own; any thread may call it", ""};
    return {"apartment", State::Note, "this system has none without a thread that asked for it",
            "in your program, on a thread that stays: CoInitializeEx(NULL, COINIT_MULTITHREADED)"};
}

struct Switch {
    HKEY root;
    const wchar_t* key;
    const char* name;  // as the settings call it
};

void CheckPrivacy(Findings& findings) {
    constexpr wchar_t kConsent[] =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\CapabilityAccessManager\\ConsentStore\\webcam";
    const Switch kSwitches[] = {{HKEY_LOCAL_MACHINE, L"", "Camera access"},
                                {HKEY_CURRENT_USER, L"", "Let apps access your camera"},
                                {HKEY_CURRENT_USER, L"\\NonPackaged", "Let desktop apps access your camera"}};
    const size_t before = findings.size();
    for (const Switch& one : kSwitches) {
        if (ReadText(one.root, std::wstring(kConsent) + one.key, L"Value") != L"Deny") continue;
        findings.push_back({"privacy", State::Problem, std::string("'") + one.name + "' is off",
                            "switch it on in ms-settings:privacy-webcam"});
    }
    if (findings.size() == before) findings.push_back({"privacy", State::Ok, "no switch is off", ""});
}

Finding CheckImager() {
    const HMODULE module = LoadLibraryW((ProgramFolder() + L"Imvoxa.dll").c_str());
    const DWORD error = GetLastError();
    if (module) {
        const std::string path = ToUtf8(PathOf(module));
        FreeLibrary(module);
        return {"imager", State::Ok, path, ""};
    }
    return {
        "imager", State::Note,
        error == ERROR_BAD_EXE_FORMAT ? "Imvoxa.dll is for another width"
                                      : "no Imvoxa.dll: only --type imager needs it",
        std::string("for an imager, put its maker's Imvoxa.dll for ") + kWidth + " bit beside ocellus.dll"};
}

// Opens the camera, and waits for its first frame.
Finding CheckCamera(const CameraOptions& options, const std::string& name) try {
    ShowProgress("opening " + name);
    const double start = Seconds();
    CameraSession session(options);
    const double opened = Seconds();
    session.StartPreview();
    session.SkipFrames(1);
    const double first = Seconds();
    session.StopPreview();
    char text[80];
    snprintf(text, sizeof text, ": opened in %.0f ms, first frame after another %.0f ms",
             (opened - start) * 1000, (first - opened) * 1000);
    return {"camera", State::Ok, name + text, ""};
} catch (const ToolError& error) {
    const std::string result = error.result ? ": " + ResultText(error.result) : "";
    return {"camera", State::Problem, name + ": " + error.problem + result, error.remedy};
}

void CheckCameras(const CameraOptions& options, Findings& findings) {
    const bool isChosen = !options.camera.empty() || options.type == CAM_TYPE_IMAGER;
    const std::vector<camDevice> devices = isChosen ? std::vector<camDevice>() : ListDevices();
    for (const camDevice& device : devices) {
        CameraOptions one = options;
        one.camera = ToUtf8(device.identity);
        findings.push_back(CheckCamera(one, ToUtf8(device.name)));
    }
    // The library may find one that has not been recorded yet.
    if (!devices.empty()) return;
    const std::string name = options.type == CAM_TYPE_IMAGER ? "the imager" : "the camera";
    findings.push_back(CheckCamera(options, options.camera.empty() ? name : options.camera));
}

}  // namespace

void Doctor(const CameraOptions& options, bool asJson) {
    const HMODULE library = RequireLibrary();
    Findings findings = {CheckLibrary(library), CheckRegistration(library), CheckApartment()};
    CheckPrivacy(findings);
    findings.push_back(CheckImager());
    CheckCameras(options, findings);
    ShowProgress("");

    Json list = Json::array();
    std::string text;
    const Finding* worst = nullptr;
    for (const Finding& finding : findings) {
        if (finding.state == State::Problem && !worst) worst = &finding;
        list.push_back({{"check", finding.check},
                        {"state", NameOf(finding.state)},
                        {"text", finding.text},
                        {"remedy", finding.remedy}});
        char head[40];
        snprintf(head, sizeof head, "%-8s %-13s ", NameOf(finding.state), finding.check);
        text += head + finding.text + "\n";
        if (!finding.remedy.empty()) text += std::string(23, ' ') + "remedy: " + finding.remedy + "\n";
    }
    PrintResult(asJson, {{"ok", !worst}, {"findings", list}}, text);
    if (worst) throw Diagnosed{};
}

}  // namespace camctl

// camverify: whether library, filters and camera on this machine behave as an application may expect.
#include <windows.h>
#include <objbase.h>

#include <algorithm>

#include "camera.h"
#include "check.h"
#include "files.h"
#include "kit.h"
#include "library.h"
#include "options.h"
#include "platform.h"
#include "run.h"

namespace verify {

namespace {

const Group* const kGroups[] = {&kRegistration, &kArguments,    &kLife,   &kDevices,    &kResume,
                                &kPreview,      &kStills,       &kText,   &kProperties, &kResolutions,
                                &kSettings,     &kImagerCamera, &kFaults, &kResources};

struct NeedName {
    unsigned need;
    const char* name;
};
constexpr NeedName kNeedNames[] = {{kCamera, "a camera"},
                                   {kDShow, "--type dshow"},
                                   {kImager, "--type imager"},
                                   {kKit, "the device kit"},
                                   {kImagerKit, "the device kit's imager"},
                                   {kDesktop, "a desktop"},
                                   {kMessageBoxes, "recorded message boxes"}};

void List() {
    for (const Group* group : kGroups) {
        Say(std::string(group->name) + ": " + group->about + "\n");
        for (size_t i = 0; i < group->count; ++i) {
            const Check& check = group->checks[i];
            std::string needs;
            for (const NeedName& one : kNeedNames) {
                if (check.needs & one.need)
                    needs += (needs.empty() ? " (needs " : ", ") + std::string(one.name);
            }
            Say(std::string("    ") + check.name + needs + (needs.empty() ? "\n" : ")\n"));
        }
    }
}

std::wstring ProgramFolder() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return FolderOf(path);
}

// The end, with a line that names the thing and another that says what to do.
int BailOut(int exitCode, const std::string& problem, const std::string& remedy) {
    Say("Bail out! " + problem + "\n# Remedy: " + remedy + "\n");
    return exitCode;
}

std::string WhyNotLoaded(DWORD error, const std::wstring& path, std::string& remedy) {
    const std::string width = std::to_string(8 * sizeof(void*)) + "-bit";
    const bool there = FileExists(path);
    switch (error) {
        case ERROR_BAD_EXE_FORMAT:
            remedy = "use the camverify that was built with this library";
            return Utf8(path) + " is no " + width + " library for this processor";
        case ERROR_MOD_NOT_FOUND:
        case ERROR_FILE_NOT_FOUND:
            remedy = there ? "install the libraries that it needs"
                           : "put ocellus.dll beside camverify, or name it with --library";
            return there ? "a library that " + Utf8(path) + " needs is missing"
                         : "there is no library " + Utf8(path);
        default:
            remedy = "see that the file is whole and may be read";
            return Utf8(path) + " could not be loaded: error " + std::to_string(error);
    }
}

int Main(int count, wchar_t** arguments) {
    Options options;
    const std::string mistake = ReadOptions(count, arguments, options);
    BeginReport(options);
    if (!mistake.empty()) {
        Say("camverify: " + mistake + "\n");
        return kUsageOrLibrary;
    }
    if (options.help) Say(kUsage);
    if (options.list) List();
    if (options.help || options.list) return kPassed;

    std::vector<const Group*> groups;
    for (const std::string& name : options.groups) {
        const auto* const found = std::find_if(std::begin(kGroups), std::end(kGroups),
                                               [&](const Group* group) { return group->name == name; });
        if (found == std::end(kGroups)) {
            Say("camverify: there is no group '" + name + "'; see camverify --list\n");
            return kUsageOrLibrary;
        }
        groups.push_back(*found);
    }
    if (groups.empty()) groups.assign(std::begin(kGroups), std::end(kGroups));
    if (!options.pictures.empty() && !KeepPicturesIn(options.pictures)) {
        Say("camverify: the folder '" + Utf8(options.pictures) + "' is not there and cannot be made\n");
        return kUsageOrLibrary;
    }

    Say("TAP version 14\n");
    const std::wstring path = options.library.empty() ? ProgramFolder() + L"ocellus.dll" : options.library;
    std::string remedy;
    if (const DWORD error = cam.Load(path)) {
        const std::string problem = WhyNotLoaded(error, path, remedy);
        return BailOut(kUsageOrLibrary, problem, remedy);
    }
    if (const std::string lacking = cam.Lacking(); !lacking.empty()) {
        return BailOut(kUsageOrLibrary, Utf8(path) + " is no complete ocellus.dll; it lacks " + lacking,
                       "install the library that this camverify came with");
    }
    wchar_t revision[20] = {};
    cam.GetDllRevision(revision);

    Setting setting;
    setting.revision = Utf8(revision);
    setting.kitIsMissing = options.noKit ? "left out by --no-kit" : FindKit(FolderOf(cam.Path()));
    cameraType = options.type;
    cycleCount = static_cast<int>(options.cycles);
    setting.present = platform::Present() | (options.type == CAM_TYPE_IMAGER ? kImager : kDShow) |
                      (kit.there ? kKit : 0U) | (imagerKit.there ? kImagerKit : 0U);
    Say("# ocellus.dll " + setting.revision + " at " + Utf8(cam.Path()) + ", " +
        (kit.there ? "camera played by the device kit"
                   : "the machine's own camera (no device kit: " + setting.kitIsMissing + ")") +
        "\n");

    unsigned needed = 0;
    for (const Group* group : groups) {
        unsigned all = ~0U, some = 0;
        for (size_t i = 0; i < group->count; ++i) {
            all &= group->checks[i].needs;
            some |= group->checks[i].needs;
        }
        needed |= some;
        // Asked for by name, and nothing of it could be checked.
        if (!options.groups.empty() && (all & ~setting.present & (kKit | kImagerKit))) {
            return BailOut(
                kUsageOrLibrary,
                std::string("group ") + group->name + " needs the device kit: " + setting.kitIsMissing,
                "put devicekit.dll and Imvoxa.dll of the device kit beside ocellus.dll, or leave the group "
                "out");
        }
    }
    if (needed & kCamera) {
        const camResult result = TryCamera();
        if (result != camOk) {
            return BailOut(kNoCamera, "no camera: camSelect answers " + ResultText(result),
                           RemedyFor(result));
        }
    }
    setting.present |= kCamera;
    return RunChecks(groups, setting);
}

}  // namespace

}  // namespace verify

extern "C" int wmain(int count, wchar_t** arguments) {
    return verify::Main(count, arguments);
}

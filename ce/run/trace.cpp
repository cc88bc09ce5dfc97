#include "run/trace.h"

#include <cstdio>
#include <cstring>
#include <map>

#include "emulator/graph/graph.h"
#include "emulator/text.h"

namespace ce {

namespace {

// Arguments that point at something worth showing: w wide text, n narrow text, g GUID; - a number, and so is
// what is not listed.
const std::map<std::string, std::string, std::less<>> kSignatures = {{"CoCreateInstance", "g--g-"},
                                                                     {"CopyFileW", "ww-"},
                                                                     {"CreateDirectoryW", "w"},
                                                                     {"CreateEventW", "---w"},
                                                                     {"CreateFileW", "w"},
                                                                     {"CreateWindowExW", "-ww"},
                                                                     {"DeleteFileW", "w"},
                                                                     {"FindFirstDevice", "-g-"},
                                                                     {"FindFirstFileW", "w"},
                                                                     {"FindWindowW", "ww"},
                                                                     {"GetFileAttributesW", "w"},
                                                                     {"GetModuleHandleW", "w"},
                                                                     {"GetProcAddressA", "-n"},
                                                                     {"GetProcAddressW", "-w"},
                                                                     {"LoadLibraryExW", "w"},
                                                                     {"LoadLibraryW", "w"},
                                                                     {"MessageBoxW", "-ww"},
                                                                     {"MoveFileW", "ww"},
                                                                     {"OutputDebugStringW", "w"},
                                                                     {"RegCreateKeyExW", "-w"},
                                                                     {"RegDeleteKeyW", "-w"},
                                                                     {"RegDeleteValueW", "-w"},
                                                                     {"RegOpenKeyExW", "-w"},
                                                                     {"RegQueryValueExW", "-w"},
                                                                     {"RegSetValueExW", "-w"},
                                                                     {"RemoveDirectoryW", "w"},
                                                                     {"SetWindowTextW", "-w"},
                                                                     {"StringFromGUID2", "g"},
                                                                     {"SysAllocString", "w"},
                                                                     {"_putws", "w"},
                                                                     {"_wfopen", "ww"},
                                                                     {"fopen", "nn"},
                                                                     {"fprintf", "-n"},
                                                                     {"fputs", "n"},
                                                                     {"fputws", "w"},
                                                                     {"fwprintf", "-w"},
                                                                     {"printf", "n"},
                                                                     {"puts", "n"},
                                                                     {"wprintf", "w"},
                                                                     {"wsprintfW", "ww"},
                                                                     {"_snwprintf", "w-w"},
                                                                     {"_vsnwprintf", "w-w"},
                                                                     {"wcscmp", "ww"},
                                                                     {"_wcsicmp", "ww"},
                                                                     {"wcslen", "w"},
                                                                     {"wcscpy", "ww"},
                                                                     {"strcmp", "nn"},
                                                                     {"strlen", "n"}};

const std::pair<Guid, const char*> kNames[] = {
    {kIidUnknown, "IUnknown"},
    {kIidClassFactory, "IClassFactory"},
    {kIidBaseFilter, "IBaseFilter"},
    {kIidPin, "IPin"},
    {kIidEnumPins, "IEnumPins"},
    {kIidEnumMediaTypes, "IEnumMediaTypes"},
    {kIidMemInputPin, "IMemInputPin"},
    {kIidMemAllocator, "IMemAllocator"},
    {kIidMediaSample, "IMediaSample"},
    {kIidStreamConfig, "IAMStreamConfig"},
    {ParseGuid("56A868A9-0AD4-11CE-B03A-0020AF0BA770"), "IGraphBuilder"},
    {ParseGuid("56A868B1-0AD4-11CE-B03A-0020AF0BA770"), "IMediaControl"},
    {ParseGuid("56A868B6-0AD4-11CE-B03A-0020AF0BA770"), "IMediaEvent"},
    {ParseGuid("56A868A2-0AD4-11CE-B03A-0020AF0BA770"), "IMediaEventSink"},
    {ParseGuid("56A868B4-0AD4-11CE-B03A-0020AF0BA770"), "IVideoWindow"},
    {ParseGuid("93E5A4E0-2D50-11D2-ABFA-00A0C9C6E38D"), "ICaptureGraphBuilder2"},
    {ParseGuid("37D84F60-42CB-11CE-8135-00AA004BB851"), "IPersistPropertyBag"},
    {ParseGuid("6A2E0670-28E4-11D0-A18C-00A0C9118956"), "IAMVideoControl"},
    {ParseGuid("C6E13360-30AC-11D0-A18C-00A0C9118956"), "IAMVideoProcAmp"},
    {ParseGuid("C6E13370-30AC-11D0-A18C-00A0C9118956"), "IAMCameraControl"},
    {kClsidGrabber, "CLSID_SampleGrabber"},
    {kClsidSink, "CLSID_StillImageSink"},
    {ParseGuid("BF87B6E0-8C27-11D0-B3F0-00AA003761C5"), "CLSID_CaptureGraphBuilder"},
    {ParseGuid("E436EBB3-524F-11CE-9F53-0020AF0BA770"), "CLSID_FilterGraph"},
    {ParseGuid("F80B6E95-B55A-4619-AEC4-A10EAEDE980C"), "CLSID_VideoCapture"},
    {ParseGuid("70E102B0-5556-11CE-97C0-00AA0055595A"), "CLSID_VideoRenderer"},
    {kClsidMemoryAllocator, "CLSID_MemoryAllocator"},
    {kCategoryPreview, "PIN_CATEGORY_PREVIEW"},
    {kCategoryStill, "PIN_CATEGORY_STILL"},
    {kCameraClass, "the class of cameras"}};

constexpr size_t kShownText = 100;

std::string Number(u32 value) {
    const auto number = static_cast<i32>(value);
    return number > -1000 && number < 100000 ? std::to_string(number) : Hex(value);
}

std::string Escaped(const std::u16string& text) {
    std::string out;
    for (const char c : ToUtf8(text)) {
        if (c == '\n' || c == '\r' || c == '\t') {
            out += c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t";
        } else {
            out += c;
        }
    }
    return "\"" + out + "\"" + (text.size() == kShownText ? "..." : "");
}

// Below the first 64 KB are atoms, ordinals and null, not addresses.
std::string TextAt(Machine& machine, u32 address, u32 unit) {
    if (address < 0x10000) return Number(address);
    std::u16string text;
    for (; machine.IsMapped(address, unit) && text.size() < kShownText; address += unit) {
        const u16 value = unit == 2 ? machine.Read<u16>(address) : machine.Read<u8>(address);
        if (!value) break;
        text.push_back(static_cast<char16_t>(value));
    }
    return Escaped(text);
}

std::string GuidAt(Machine& machine, u32 address) {
    if (!machine.IsMapped(address, 16)) return Number(address);
    const Guid guid = ReadGuid(machine, address);
    for (const auto& [known, name] : kNames) {
        if (known == guid) return name;
    }
    return FormatGuid(guid);
}

std::string ShowArguments(Machine& machine, const std::string& name, const std::vector<u32>& words) {
    const auto found = kSignatures.find(name);
    std::string signature = found == kSignatures.end() ? "" : found->second;
    if (name.ends_with("::QueryInterface")) signature = "-g-";
    signature.resize(std::max(signature.size(), words.size()), '-');
    std::string text;
    for (size_t i = 0; i < words.size(); ++i) {
        if (i) text += ", ";
        text += signature[i] == 'w'   ? TextAt(machine, words[i], 2)
                : signature[i] == 'n' ? TextAt(machine, words[i], 1)
                : signature[i] == 'g' ? GuidAt(machine, words[i])
                                      : Number(words[i]);
    }
    return text;
}

}  // namespace

void TraceCalls(Process& process) {
    process.machine.onCall = [&process, errors = std::map<u32, u32>()](const std::string& stub,
                                                                       const std::vector<u32>& words,
                                                                       const u64* result) mutable {
        const std::string name = stub.substr(stub.find('!') + 1);
        const Thread& thread = process.scheduler.Current();
        std::string line = std::to_string(process.scheduler.Now()) + " ms  " + thread.ShortName() + "  " +
                           name + "(" + ShowArguments(process.machine, name, words) + ")";
        const u32 value = result ? static_cast<u32>(*result) : 0;
        if (!result) line += " does not return";
        if (result && value != kUnset) line += " = " + Number(value);
        // Only what the call itself set.
        u32& known = errors[thread.id];
        if (thread.lastError != known && thread.lastError && name != "SetLastError")
            line += ", last error " + std::to_string(thread.lastError);
        known = thread.lastError;
        std::fflush(stdout);
        std::fprintf(stderr, "%s\n", line.c_str());
    };
}

}  // namespace ce

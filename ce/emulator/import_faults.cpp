#include "emulator/import_faults.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <stdexcept>

namespace ce {

namespace {

enum class How {
    Refused,  // nothing is done
    Told,     // what gives something back: done all the same, so that what stays open is the caller's doing
};

struct Failing {
    std::string_view function;
    u32 result;
    u32 lastError = 0;  // 0: none is set
    How how = How::Refused;
    int cleared = -1;  // the argument that points at a word which becomes 0 even so
};

constexpr u32 kFalseResult = 0, kNull = 0, kAllOnes = 0xFFFFFFFF;
constexpr u32 kNoMemory = 8, kNoResources = 1450, kNoAccess = 5, kNotFound = 2, kDiskFull = 112,
              kReadFault = 30, kInvalidHandle = 6, kNoModule = 126, kNoProcedure = 127, kNoMoreFiles = 18,
              kInvalidWindow = 1400, kNoTranslation = 1113, kQueueFull = 1816;
constexpr u32 kOutOfMemoryResult = 0x8007000E, kWrongType = 0x80020005, kStreamError = 0xFFFFFFFF;

// As the system's documentation has it. What is not listed does not fail: it computes, compares or copies,
// leaves a lock, tells the time, or has no way to say so.
constexpr Failing kFailing[] = {
    {"malloc", kNull},
    {"calloc", kNull},
    {"_wcsdup", kNull},
    {"CoTaskMemAlloc", kNull},
    {"SysAllocString", kNull},
    {"CreateThread", kNull, kNoMemory},
    {"WaitForSingleObject", kAllOnes, kInvalidHandle},
    {"WaitForMultipleObjects", kAllOnes, kInvalidHandle},
    {"MsgWaitForMultipleObjectsEx", kAllOnes, kInvalidHandle},
    {"CreateEventW", kNull, kNoMemory},
    {"EventModify", kFalseResult, kInvalidHandle},
    {"CreateMutexW", kNull, kNoMemory},
    {"ReleaseMutex", kFalseResult, kInvalidHandle, How::Told},
    {"CloseHandle", kFalseResult, kInvalidHandle, How::Told},
    {"DuplicateHandle", kFalseResult, kNoMemory},
    {"TlsCall", kAllOnes},
    {"TlsSetValue", kFalseResult, kNoMemory},
    {"CreateMsgQueue", kNull, kNoMemory},
    {"ReadMsgQueue", kFalseResult, kNoResources},
    {"CloseMsgQueue", kFalseResult, kInvalidHandle, How::Told},
    {"RequestPowerNotifications", kNull, kNoMemory},
    {"StopPowerNotifications", kInvalidHandle, kInvalidHandle, How::Told},
    {"LoadLibraryW", kNull, kNoModule},
    {"FreeLibrary", kFalseResult, kInvalidHandle, How::Told},
    {"GetProcAddressA", kNull, kNoProcedure},
    {"GetModuleHandleW", kNull, kNoModule},
    {"GetModuleFileNameW", kFalseResult, kNoMemory},
    {"FindFirstDevice", kAllOnes, kNoMoreFiles},
    {"FindNextDevice", kFalseResult, kNoMoreFiles},
    {"CreateFileW", kAllOnes, kNoAccess},
    {"ReadFile", kFalseResult, kReadFault, How::Refused, 3},
    {"WriteFile", kFalseResult, kDiskFull, How::Refused, 3},
    {"SetFilePointer", kAllOnes, kInvalidHandle},
    {"SetEndOfFile", kFalseResult, kDiskFull},
    {"GetFileTime", kFalseResult, kInvalidHandle},
    {"GetFileAttributesW", kAllOnes, kNotFound},
    {"DeleteFileW", kFalseResult, kNoAccess},
    {"FindClose", kFalseResult, kInvalidHandle, How::Told},
    {"RegOpenKeyExW", kNotFound},
    {"RegCreateKeyExW", kNoAccess},
    {"RegCloseKey", kInvalidHandle, 0, How::Told},
    {"RegQueryValueExW", kNotFound},
    {"RegSetValueExW", kNoMemory},
    {"RegDeleteKeyW", kNoAccess},
    {"RegDeleteValueW", kNoAccess},
    {"PostMessageW", kFalseResult, kQueueFull},
    {"UpdateWindow", kFalseResult},
    {"GetClientRect", kFalseResult, kInvalidWindow},
    {"GetForegroundWindow", kNull},
    {"MessageBoxW", kFalseResult, kNoMemory},
    {"GetDC", kNull},
    {"ReleaseDC", kFalseResult, 0, How::Told},
    {"CreateCompatibleDC", kNull, kNoMemory},
    {"DeleteDC", kFalseResult, kInvalidHandle, How::Told},
    {"CreateBitmap", kNull, kNoMemory},
    {"CreateDIBSection", kNull, kNoMemory, How::Refused, 3},
    {"SelectObject", kNull, kInvalidHandle},
    {"DeleteObject", kFalseResult, kInvalidHandle, How::Told},
    {"CreateSolidBrush", kNull, kNoMemory},
    {"FillRect", kFalseResult, kNoMemory},
    {"SetTextColor", kAllOnes, kInvalidHandle},
    {"SetBkMode", kFalseResult, kInvalidHandle},
    {"GetTextExtentExPointW", kFalseResult, kNoMemory},
    {"GetTextMetricsW", kFalseResult, kNoMemory},
    {"ExtTextOutW", kFalseResult, kNoMemory},
    {"MultiByteToWideChar", kFalseResult, kNoTranslation},
    {"_wfopen", kNull},
    {"fclose", kStreamError, 0, How::Told},
    {"fread", kFalseResult},
    {"fwrite", kFalseResult},
    {"fflush", kStreamError},
    {"fputc", kStreamError},
    {"CoInitializeEx", kOutOfMemoryResult},
    {"CoCreateInstance", kOutOfMemoryResult, 0, How::Refused, 4},
    {"StringFromGUID2", kFalseResult},
    {"VariantClear", kWrongType, 0, How::Told},
    {"VariantCopy", kOutOfMemoryResult},
    {"VariantChangeType", kOutOfMemoryResult},
};

const Failing* Find(std::string_view function) {
    const auto found = std::find_if(std::begin(kFailing), std::end(kFailing),
                                    [&](const Failing& one) { return one.function == function; });
    return found == std::end(kFailing) ? nullptr : found;
}

}  // namespace

ImportFaults::ImportFaults(Process& owner, std::string watched) : process(owner) {
    for (char& c : watched) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    process.wrapImport = [this, watched = std::move(watched)](const Module& module,
                                                              const std::string& function, Handler handler) {
        return module.name == watched ? Watched(function, std::move(handler)) : handler;
    };
}

bool ImportFaults::CanFail(const std::string& function) {
    return Find(function) != nullptr;
}

void ImportFaults::Fail(const std::string& function, u32 call) {
    if (!CanFail(function)) throw std::runtime_error("'" + function + "' is no import that can fail");
    chosen = function;
    chosenCall = call;
}

Handler ImportFaults::Watched(const std::string& function, Handler carryOut) {
    calls.try_emplace(function, 0);
    return [this, function, carryOut = std::move(carryOut)](Arguments& arguments) mutable {
        if (++calls[function] != chosenCall || function != chosen) return carryOut(arguments);
        return Refuse(function, carryOut, arguments);
    };
}

u64 ImportFaults::Refuse(const std::string& function, Handler& carryOut, Arguments& arguments) {
    hasFailed = true;
    const Failing& failing = *Find(function);
    if (failing.how == How::Told) carryOut(arguments);
    u32 place = 0;
    for (int i = 0; i <= failing.cleared; ++i) place = arguments.Word();
    if (place) process.machine.Write(place, 0u);
    if (failing.lastError) process.SetLastError(failing.lastError);
    return failing.result;
}

}  // namespace ce

// The maker's imager library for the device: the device kit's imager behind the ordinals. It keeps a record of the calls, and fails when told to.
#include <windows.h>

#include <string_view>

#include "imager.h"

using imvoxa::GreyPicture;

namespace {

constexpr DWORD kMaximumCalls = 4096;
constexpr int kArguments = 6;

// As the tests read it.
struct Call {
    DWORD ordinal;
    DWORD arguments[kArguments];
};

struct Calls {
    DWORD count;
    Call calls[kMaximumCalls];
};

Calls log;
DWORD failingOrdinal;
DWORD failingArgument;  // 0: whatever it is
DWORD failingStatus;
imvoxa::Imager imager;

template <typename Argument>
DWORD Word(Argument argument) {
    return (DWORD)argument;
}

// The status that the call is to fail with, else 0. `arguments`: those behind the engine.
template <typename... Arguments>
DWORD Note(DWORD ordinal, Arguments... arguments) {
    Call call = {ordinal, {Word(arguments)...}};
    if (log.count < kMaximumCalls) log.calls[log.count++] = call;
    const bool fails =
        ordinal == failingOrdinal && (failingArgument == 0 || failingArgument == call.arguments[0]);
    return fails ? failingStatus : 0;
}

GreyPicture* LastOf(HANDLE engine) {
    return imager.IsOpen(engine) ? imager.Last() : nullptr;
}

#pragma pack(push, 2)
struct BmpHeaders {
    BITMAPFILEHEADER file;
    BITMAPINFOHEADER info;
    RGBQUAD greys[256];
};
#pragma pack(pop)
BmpHeaders headers;

bool Write(HANDLE file, const void* bytes, DWORD size) {
    DWORD done = 0;
    return WriteFile(file, bytes, size, &done, nullptr) && done == size;
}

// Rows from the bottom up; the pictures' widths are multiples of four.
DWORD SaveGreyBmp(GreyPicture& picture, const wchar_t* name) {
    const DWORD pixels = static_cast<DWORD>(picture.pixels.size());
    headers = {};
    headers.file.bfType = 0x4D42;
    headers.file.bfOffBits = sizeof headers;
    headers.file.bfSize = sizeof headers + pixels;
    headers.info.biSize = sizeof headers.info;
    headers.info.biWidth = picture.width;
    headers.info.biHeight = picture.height;
    headers.info.biPlanes = 1;
    headers.info.biBitCount = 8;
    for (int i = 0; i < 256; ++i) {
        const BYTE grey = static_cast<BYTE>(i);
        headers.greys[i] = {grey, grey, grey, 0};
    }
    const HANDLE file =
        CreateFileW(name, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return GetLastError();
    bool written = Write(file, &headers, sizeof headers);
    for (int y = picture.height - 1; written && y >= 0; --y)
        written = Write(file, picture.Row(y), static_cast<DWORD>(picture.width));
    CloseHandle(file);
    return written ? 0 : ERROR_DISK_FULL;
}

struct ExposureRecord {
    LONG index;
    LONG value;
};

}  // namespace

extern "C" {

// ---- For the tests ---------------------------------------------------------------------------------------------------

const Calls* WINAPI testCalls() {
    return &log;
}

void WINAPI testFail(DWORD ordinal, DWORD argument, DWORD status) {
    failingOrdinal = ordinal;
    failingArgument = argument;
    failingStatus = status;
}

// ---- The operations --------------------------------------------------------------------------------------------------

DWORD WINAPI imvOpen(const wchar_t* path, const wchar_t* section, DWORD* word, DWORD* record) {
    if (const DWORD status = Note(32, path, section, *word)) return status;
    for (DWORD i = 0; i < 5; ++i) record[i] = i + 1;
    imager.Open();
    return 0;
}

void WINAPI imvShutdown() {
    Note(50);
    imager.Shutdown();
}

HANDLE WINAPI imvOpenEngine() {
    return Note(15) ? nullptr : imager.OpenEngine();
}

DWORD WINAPI imvCloseEngine(HANDLE engine) {
    Note(51, engine);
    return imager.CloseEngine(engine) ? 0 : ERROR_INVALID_HANDLE;
}

DWORD WINAPI imvStart() {
    const DWORD status = Note(79);
    return status ? status : imager.Start();
}

void WINAPI imvStop() {
    Note(80);
    imager.Stop();
}

DWORD WINAPI imvAcquire(HANDLE engine, DWORD mode) {
    const DWORD status = Note(81, mode);
    return status ? status : imager.Acquire(engine, mode);
}

LONG WINAPI imvFirstDimension(HANDLE engine) {
    const GreyPicture* picture = LastOf(engine);
    return picture ? picture->width : 0;
}

LONG WINAPI imvSecondDimension(HANDLE engine) {
    const GreyPicture* picture = LastOf(engine);
    return picture ? picture->height : 0;
}

void* WINAPI imvPixels(HANDLE engine) {
    GreyPicture* picture = LastOf(engine);
    return picture ? picture->pixels.data() : nullptr;
}

void* WINAPI imvCurrentImage(HANDLE engine) {
    Note(3, engine);
    GreyPicture* picture = imager.Last();
    return picture ? picture->pixels.data() : nullptr;
}

DWORD WINAPI imvStampText(HANDLE engine, const wchar_t* text, DWORD position, LONG height, DWORD operation) {
    Note(57, position, height, operation, wcslen(text), text[0]);
    GreyPicture* picture = LastOf(engine);
    if (!picture) return ERROR_INVALID_PARAMETER;
    imvoxa::StampText(*picture, text, static_cast<imvoxa::StampPosition>(position), height);
    return 0;
}

DWORD WINAPI imvSaveBmp(HANDLE engine, const wchar_t* file) {
    if (const DWORD status = Note(39, file)) return status;
    GreyPicture* picture = LastOf(engine);
    return picture ? SaveGreyBmp(*picture, file) : ERROR_INVALID_PARAMETER;
}

DWORD WINAPI imvSaveJpeg(HANDLE, const wchar_t* file, LONG quality) {
    Note(40, file, quality);
    return ERROR_NOT_SUPPORTED;
}

DWORD WINAPI imvSavePng(HANDLE, const wchar_t* file) {
    Note(41, file);
    return ERROR_NOT_SUPPORTED;
}

// Nothing is drawn: the emulated device has no screen.
DWORD WINAPI imvDraw(HANDLE, HDC context, const RECT* target, DWORD first, DWORD second, DWORD third) {
    return Note(83, context, target->right, target->bottom, first, second, third);
}

LONG WINAPI imvFirstDimensionOf0() {
    return imager.Small().height;
}

LONG WINAPI imvSecondDimensionOf0() {
    return imager.Small().width;
}

LONG WINAPI imvFirstDimensionOf1() {
    return imager.Large().height;
}

LONG WINAPI imvSecondDimensionOf1() {
    return imager.Large().width;
}

DWORD WINAPI imvGetExposure(LONG* value) {
    const DWORD status = Note(99);
    if (!status) *value = imager.DirectExposure();
    return status;
}

DWORD WINAPI imvSetExposure(LONG value) {
    const DWORD status = Note(70, value);
    return status ? status : imager.SetDirectExposure(value);
}

DWORD WINAPI imvGetExposureSetting(ExposureRecord* record, DWORD size) {
    Note(67, record->index, size);
    const DWORD index = static_cast<DWORD>(record->index);
    if (size != sizeof *record || !imvoxa::Imager::Setting(index)) return ERROR_INVALID_PARAMETER;
    record->value = imager.SettingValue(index);
    return 0;
}

DWORD WINAPI imvSetExposureSetting(const ExposureRecord* record, DWORD size) {
    Note(59, record->index, record->value, size);
    if (size != sizeof *record) return ERROR_INVALID_PARAMETER;
    return imager.SetSetting(static_cast<DWORD>(record->index), record->value);
}

DWORD WINAPI imgGetExposureSettingParms(DWORD index, LONG* table) {
    Note(68, index);
    const imvoxa::ExposureSetting* setting = imvoxa::Imager::Setting(index);
    if (!setting) return ERROR_INVALID_PARAMETER;
    table[0] = table[1] = -1;
    table[2] = setting->minimum;
    table[3] = setting->maximum;
    table[4] = setting->defaultValue;
    return 0;
}

DWORD WINAPI imvSetSwitch16(DWORD value) {
    imager.SetIllumination(value != 0);
    return Note(44, value);
}

DWORD WINAPI imvSetSwitch80(DWORD value) {
    imager.SetAimer(value != 0);
    return Note(75, value);
}

void WINAPI imgEnableMonoColor(bool enable) {
    Note(69, enable);
    imager.SetMonoColor(enable);
}

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
}

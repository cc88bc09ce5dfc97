// The view that the imager camera has of the maker's imager library, Imvoxa.dll.
#pragma once

#include <windows.h>

#include "base/unique_resource.h"

namespace cam {

// 0 is success, anything else a failure of the library's own.
using ImagerStatus = DWORD;

// One exposure setting's range, as the library fills it in.
struct TES_TableTag {
    DWORD library[2];  // the library's own
    LONG minimum;
    LONG maximum;
    LONG defaultValue;
};
static_assert(sizeof(TES_TableTag) == 20, "five words of the imager library");

// One exposure setting and its value.
struct ImagerExposureSetting {
    LONG index;
    LONG value;
};
static_assert(sizeof(ImagerExposureSetting) == 8, "its size is told to the imager library");

// What the library's open fills in: at least five words, of which the fifth is looked at. The rest is room
// for a longer record.
struct ImagerOpenRecord {
    DWORD words[16];
};

// The operations, by the library's ordinals. All have the system's calling convention (WINAPI), which on a
// device is the only one. Pictures are one byte of grey a pixel. Null before Load has succeeded.
struct ImagerOperations {
    ImagerStatus(WINAPI* open)(const wchar_t* settingsPath, const wchar_t* settingsSection, DWORD* word,
                               ImagerOpenRecord* record);      // 32
    void(WINAPI* shutdown)();                                  // 50
    HANDLE(WINAPI* openEngine)();                              // 15: null is failure
    ImagerStatus(WINAPI* start)();                             // 79: acquisition
    ImagerStatus(WINAPI* acquire)(HANDLE engine, DWORD mode);  // 81: one image
    LONG(WINAPI* firstDimension)(HANDLE engine);               // 53: of the last image
    LONG(WINAPI* secondDimension)(HANDLE engine);              // 26: of the last image
    void*(WINAPI* pixels)(HANDLE engine);                      // 4: of the last image; the library's
    ImagerStatus(WINAPI* stampText)(HANDLE engine, const wchar_t* text, DWORD position, LONG textHeight,
                                    DWORD rasterOperation);             // 57: on the last image
    ImagerStatus(WINAPI* saveBmp)(HANDLE engine, const wchar_t* file);  // 39: the last image
    ImagerStatus(WINAPI* saveJpeg)(HANDLE engine, const wchar_t* file, LONG quality);                 // 40
    ImagerStatus(WINAPI* savePng)(HANDLE engine, const wchar_t* file);                                // 41
    ImagerStatus(WINAPI* draw)(HANDLE engine, HDC context, const RECT* target, DWORD, DWORD, DWORD);  // 83
    void(WINAPI* stop)();                                                                             // 80
    ImagerStatus(WINAPI* closeEngine)(HANDLE engine);                                                 // 51
    void*(WINAPI* currentImage)(HANDLE engine);                                                       // 3
    LONG(WINAPI* firstDimensionOf0)();                                                                // 108
    LONG(WINAPI* secondDimensionOf0)();                                                               // 109
    LONG(WINAPI* firstDimensionOf1)();                                                                // 106
    LONG(WINAPI* secondDimensionOf1)();                                                               // 107
    ImagerStatus(WINAPI* getExposure)(LONG* value);                                                   // 99
    ImagerStatus(WINAPI* setExposure)(LONG value);                                                    // 70
    ImagerStatus(WINAPI* getExposureSetting)(ImagerExposureSetting* setting, DWORD size);             // 67
    ImagerStatus(WINAPI* setExposureSetting)(ImagerExposureSetting* setting, DWORD size);             // 59
    ImagerStatus(WINAPI* setSwitch16)(DWORD value);                                                   // 44
    ImagerStatus(WINAPI* setSwitch80)(DWORD value);                                                   // 75
    void(WINAPI* enableMonoColor)(bool enable);                                                       // 69
    ImagerStatus(WINAPI* getExposureSettingParms)(DWORD index, TES_TableTag* table);                  // 68
};

// Loaded while it runs, not bound at start-up: a machine without the library still has camera type 1.
class ImagerLibrary {
  public:
    // Loads the library and finds every operation; all or nothing. S_OK,
    // HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND) or what else the system says against loading it,
    // HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND) when it lacks an operation.
    HRESULT Load();

    // What Load returned.
    HRESULT Status() const { return status; }

    const ImagerOperations* operator->() const { return &operations; }

  private:
    bool FindOperations();

    UniqueLibrary module;
    HRESULT status = E_FAIL;
    ImagerOperations operations = {};
};

}  // namespace cam

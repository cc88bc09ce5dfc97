// The exported functions of Imvoxa.dll. Their ordinals stand in imvoxa.def.
#include <windows.h>

#include <stdio.h>
#include <string.h>

#include <string>

#include "calls.h"
#include "imager.h"
#include "imvoxa_kit.h"
#include "base/lock.h"
#include "picture_output.h"
#include "scenario.h"

using cam::LockGuard;
using imvoxa::Call;
using imvoxa::GreyPicture;
using imvoxa::Operation;

namespace {

constexpr DWORD kInfoWords = 5;

struct Library {
    cam::Lock lock;
    imvoxa::Imager imager;
    bool scenarioGiven = false;  // by imvKitLoadScenario: the environment does not count
};

// Made when the library is loaded: the guard of a local one would outlive the library with its handles.
Library theLibrary;

std::wstring Text(const wchar_t* text) {
    return text ? text : L"(null)";
}
std::wstring Number(long long number) {
    return std::to_wstring(number);
}

// Does the work under the lock unless the scenario fails the call.
template <typename Work>
DWORD Run(const Call& call, Work work) {
    if (call.Fails()) return call.Result();
    LockGuard guard(theLibrary.lock);
    return work(theLibrary.imager);
}

bool ApplyScenario(const std::wstring& text, std::wstring& error) {
    imvoxa::Scenario scenario;
    if (!imvoxa::ReadScenario(text, scenario, error)) return false;
    imvoxa::ResetCalls(std::move(scenario.calls));
    theLibrary.imager.Show(scenario.scene);
    return true;
}

// False: the environment's scenario cannot be used; the reason goes to stderr, where who set it will look.
bool ApplyEnvironment() {
    constexpr DWORD kLongest = 32767;
    std::wstring text(kLongest, L'\0');
    text.resize(GetEnvironmentVariableW(L"DEVICEKIT_SCENARIO", text.data(), kLongest));
    if (text.empty()) return true;
    std::wstring error;
    if (ApplyScenario(text, error)) return true;
    fwprintf(stderr, L"Imvoxa.dll: DEVICEKIT_SCENARIO: %ls\n", error.c_str());
    return false;
}

// The last image of an open engine, or null.
GreyPicture* LastOf(imvoxa::Imager& imager, HANDLE engine) {
    return imager.IsOpen(engine) ? imager.Last() : nullptr;
}

template <typename Save>
DWORD SaveLast(const Call& call, HANDLE engine, const wchar_t* file, Save save) {
    return Run(call, [&](imvoxa::Imager& imager) -> DWORD {
        const GreyPicture* picture = LastOf(imager, engine);
        if (!picture || !file) return ERROR_INVALID_PARAMETER;
        return save(*picture, file);
    });
}

struct ExposureRecord {
    LONG index;
    LONG value;
};

}  // namespace

extern "C" {

// ---- Life ---------------------------------------------------------------------------------------------

DWORD WINAPI imvOpen(const wchar_t* settingsPath, const wchar_t* settingsSection, DWORD* word,
                     DWORD* record) {
    {
        LockGuard guard(theLibrary.lock);
        if (!theLibrary.scenarioGiven && !ApplyEnvironment()) return ERROR_INVALID_DATA;
    }
    const Call call(Operation::Open, Text(settingsPath) + L" " + Text(settingsSection));
    return Run(call, [&](imvoxa::Imager& imager) -> DWORD {
        if (!word || !record) return ERROR_INVALID_PARAMETER;
        for (DWORD index = 0; index < kInfoWords; ++index) record[index] = index + 1;
        imager.Open();
        return 0;
    });
}

void WINAPI imvShutdown() {
    Run(Call(Operation::Shutdown), [](imvoxa::Imager& imager) {
        imager.Shutdown();
        return 0;
    });
}

HANDLE WINAPI imvOpenEngine() {
    const Call call(Operation::OpenEngine);
    if (call.Fails()) return reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(call.Result()));
    LockGuard guard(theLibrary.lock);
    return theLibrary.imager.OpenEngine();
}

DWORD WINAPI imvCloseEngine(HANDLE engine) {
    return Run(Call(Operation::CloseEngine), [engine](imvoxa::Imager& imager) -> DWORD {
        return imager.CloseEngine(engine) ? 0 : ERROR_INVALID_HANDLE;
    });
}

DWORD WINAPI imvStart() {
    return Run(Call(Operation::Start), [](imvoxa::Imager& imager) { return imager.Start(); });
}

void WINAPI imvStop() {
    Run(Call(Operation::Stop), [](imvoxa::Imager& imager) {
        imager.Stop();
        return 0;
    });
}

// ---- Images -------------------------------------------------------------------------------------------

DWORD WINAPI imvAcquire(HANDLE engine, DWORD mode) {
    return Run(Call(Operation::Acquire, Number(mode)),
               [=](imvoxa::Imager& imager) { return imager.Acquire(engine, mode); });
}

LONG WINAPI imvFirstDimension(HANDLE engine) {
    return static_cast<LONG>(Run(Call(Operation::FirstDimension), [engine](imvoxa::Imager& imager) -> DWORD {
        const GreyPicture* picture = LastOf(imager, engine);
        return picture ? static_cast<DWORD>(picture->width) : 0;
    }));
}

LONG WINAPI imvSecondDimension(HANDLE engine) {
    return static_cast<LONG>(Run(Call(Operation::SecondDimension), [engine](imvoxa::Imager& imager) -> DWORD {
        const GreyPicture* picture = LastOf(imager, engine);
        return picture ? static_cast<DWORD>(picture->height) : 0;
    }));
}

void* WINAPI imvPixels(HANDLE engine) {
    const Call call(Operation::Pixels);
    LockGuard guard(theLibrary.lock);
    GreyPicture* picture = call.Fails() ? nullptr : LastOf(theLibrary.imager, engine);
    return picture ? picture->pixels.data() : nullptr;
}

// Whatever the engine: the current image can still be looked at when the engine has been closed.
void* WINAPI imvCurrentImage(HANDLE) {
    const Call call(Operation::CurrentImage);
    LockGuard guard(theLibrary.lock);
    GreyPicture* picture = call.Fails() ? nullptr : theLibrary.imager.Last();
    return picture ? picture->pixels.data() : nullptr;
}

DWORD WINAPI imvStampText(HANDLE engine, const wchar_t* text, DWORD position, LONG textHeight,
                          DWORD operation) {
    wchar_t numbers[48];
    swprintf(numbers, sizeof numbers / sizeof numbers[0], L"%lu %ld 0x%08lX ", position, textHeight,
             operation);
    return Run(Call(Operation::StampText, numbers + Text(text)), [=](imvoxa::Imager& imager) -> DWORD {
        GreyPicture* picture = LastOf(imager, engine);
        if (!picture || !text || position > static_cast<DWORD>(imvoxa::StampPosition::Centre)) {
            return ERROR_INVALID_PARAMETER;
        }
        imvoxa::StampText(*picture, text, static_cast<imvoxa::StampPosition>(position),
                          static_cast<int>(textHeight));
        return 0;
    });
}

DWORD WINAPI imvSaveBmp(HANDLE engine, const wchar_t* file) {
    return SaveLast(Call(Operation::SaveBmp, Text(file)), engine, file, imvoxa::SaveBmp);
}

DWORD WINAPI imvSaveJpeg(HANDLE engine, const wchar_t* file, LONG quality) {
    return SaveLast(Call(Operation::SaveJpeg, Number(quality) + L" " + Text(file)), engine, file,
                    [quality](const GreyPicture& picture, const wchar_t* path) {
                        return imvoxa::SaveJpeg(picture, path, quality);
                    });
}

DWORD WINAPI imvSavePng(HANDLE engine, const wchar_t* file) {
    return SaveLast(Call(Operation::SavePng, Text(file)), engine, file, imvoxa::SavePng);
}

DWORD WINAPI imvDraw(HANDLE engine, HDC context, const RECT* target, DWORD first, DWORD second, DWORD third) {
    const std::wstring numbers = Number(first) + L" " + Number(second) + L" " + Number(third);
    return Run(Call(Operation::Draw, numbers), [=](imvoxa::Imager& imager) -> DWORD {
        const GreyPicture* picture = LastOf(imager, engine);
        if (!picture || !context || !target) return ERROR_INVALID_PARAMETER;
        return imvoxa::DrawPicture(*picture, context, *target);
    });
}

LONG WINAPI imvFirstDimensionOf0() {
    return static_cast<LONG>(Run(Call(Operation::FirstDimensionOf0), [](imvoxa::Imager& imager) {
        return static_cast<DWORD>(imager.Small().height);
    }));
}

LONG WINAPI imvSecondDimensionOf0() {
    return static_cast<LONG>(Run(Call(Operation::SecondDimensionOf0), [](imvoxa::Imager& imager) {
        return static_cast<DWORD>(imager.Small().width);
    }));
}

LONG WINAPI imvFirstDimensionOf1() {
    return static_cast<LONG>(Run(Call(Operation::FirstDimensionOf1), [](imvoxa::Imager& imager) {
        return static_cast<DWORD>(imager.Large().height);
    }));
}

LONG WINAPI imvSecondDimensionOf1() {
    return static_cast<LONG>(Run(Call(Operation::SecondDimensionOf1), [](imvoxa::Imager& imager) {
        return static_cast<DWORD>(imager.Large().width);
    }));
}

// ---- Settings -----------------------------------------------------------------------------------------

DWORD WINAPI imvGetExposure(LONG* value) {
    return Run(Call(Operation::GetExposure), [value](imvoxa::Imager& imager) -> DWORD {
        if (!value) return ERROR_INVALID_PARAMETER;
        *value = imager.DirectExposure();
        return 0;
    });
}

DWORD WINAPI imvSetExposure(LONG value) {
    return Run(Call(Operation::SetExposure, Number(value)),
               [value](imvoxa::Imager& imager) { return imager.SetDirectExposure(value); });
}

DWORD WINAPI imvGetExposureSetting(ExposureRecord* record, DWORD size) {
    const std::wstring index = record ? Number(record->index) : L"(null)";
    return Run(Call(Operation::GetExposureSetting, index + L" " + Number(size)),
               [=](imvoxa::Imager& imager) -> DWORD {
                   if (!record || size != sizeof *record) return ERROR_INVALID_PARAMETER;
                   if (!imvoxa::Imager::Setting(static_cast<DWORD>(record->index)))
                       return ERROR_INVALID_PARAMETER;
                   record->value = imager.SettingValue(static_cast<DWORD>(record->index));
                   return 0;
               });
}

DWORD WINAPI imvSetExposureSetting(const ExposureRecord* record, DWORD size) {
    const std::wstring content = record ? Number(record->index) + L"=" + Number(record->value) : L"(null)";
    return Run(Call(Operation::SetExposureSetting, content + L" " + Number(size)),
               [=](imvoxa::Imager& imager) -> DWORD {
                   if (!record || size != sizeof *record) return ERROR_INVALID_PARAMETER;
                   return imager.SetSetting(static_cast<DWORD>(record->index), record->value);
               });
}

DWORD WINAPI imgGetExposureSettingParms(DWORD index, DWORD* table) {
    return Run(Call(Operation::GetExposureSettingParms, Number(static_cast<LONG>(index))),
               [=](imvoxa::Imager&) -> DWORD {
                   const imvoxa::ExposureSetting* setting = imvoxa::Imager::Setting(index);
                   if (!setting || !table) return ERROR_INVALID_PARAMETER;
                   const LONG words[] = {static_cast<LONG>(index), 0, setting->minimum, setting->maximum,
                                         setting->defaultValue};
                   memcpy(table, words, sizeof words);
                   return 0;
               });
}

DWORD WINAPI imvSetSwitch16(DWORD value) {
    return Run(Call(Operation::SetSwitch16, Number(static_cast<LONG>(value))),
               [value](imvoxa::Imager& imager) {
                   imager.SetIllumination(value != 0);
                   return 0;
               });
}

DWORD WINAPI imvSetSwitch80(DWORD value) {
    return Run(Call(Operation::SetSwitch80, Number(static_cast<LONG>(value))),
               [value](imvoxa::Imager& imager) {
                   imager.SetAimer(value != 0);
                   return 0;
               });
}

void WINAPI imgEnableMonoColor(bool enable) {
    Run(Call(Operation::EnableMonoColor, Number(enable)), [enable](imvoxa::Imager& imager) {
        imager.SetMonoColor(enable);
        return 0;
    });
}

// ---- For tests and tools ------------------------------------------------------------------------------

BOOL WINAPI imvKitLoadScenario(const wchar_t* scenario, wchar_t* error, DWORD errorLength) {
    LockGuard guard(theLibrary.lock);
    std::wstring reason;
    if (ApplyScenario(Text(scenario), reason)) {
        theLibrary.scenarioGiven = true;
        return TRUE;
    }
    if (error && errorLength > 0) lstrcpynW(error, reason.c_str(), static_cast<int>(errorLength));
    return FALSE;
}

void WINAPI imvKitReset() {
    LockGuard guard(theLibrary.lock);
    imvoxa::ResetCalls({});
    theLibrary.imager.Shutdown();
    theLibrary.imager.Show(imvoxa::Scene::Barcode);
    theLibrary.scenarioGiven = false;
}

LONG WINAPI imvKitCallCount(const wchar_t* operation) {
    Operation wanted{};
    return operation && imvoxa::FindOperation(operation, wanted) ? imvoxa::CallCount(wanted) : -1;
}

DWORD WINAPI imvKitCallLog(wchar_t* buffer, DWORD length) {
    const std::wstring log = imvoxa::CallLog();
    if (buffer && length > 0) lstrcpynW(buffer, log.c_str(), static_cast<int>(length));
    return static_cast<DWORD>(log.size() + 1);
}

LONG WINAPI imvKitOpenEngines() {
    LockGuard guard(theLibrary.lock);
    return theLibrary.imager.OpenEngines();
}

}  // extern "C"

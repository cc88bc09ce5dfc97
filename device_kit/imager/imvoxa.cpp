// The operations of Imvoxa.dll. Their ordinals stand in imvoxa.def.
#include <windows.h>

#include <string.h>

#include <optional>
#include <string>

#include "calls.h"
#include "library.h"
#include "picture_output.h"
#include "scenario.h"
#include "text.h"

using cam::LockGuard;
using imvoxa::Call;
using imvoxa::GreyPicture;

namespace {

constexpr DWORD kInfoWords = 5;

std::string Text(const wchar_t* text) {
    return text ? kit::Narrow(text) : "(null)";
}
std::string Number(long long number) {
    return std::to_string(number);
}
// As it stands in the system's headers: 0x00660046.
std::string RasterOperation(DWORD operation) {
    std::string text = "0x";
    for (int shift = 28; shift >= 0; shift -= 4) text += "0123456789ABCDEF"[operation >> shift & 0xF];
    return text;
}

// Does the work under the lock unless the scenario fails the call.
template <typename Work>
DWORD Run(const Call& call, Work work) {
    if (call.Fails()) return call.Result();
    LockGuard guard(imvoxa::theLibrary.lock);
    return work(imvoxa::theLibrary.imager);
}

bool PlayEnvironment() {
    std::optional<imvoxa::Scenario> scenario;
    if (!imvoxa::ReadEnvironment(scenario)) return false;
    if (scenario) imvoxa::Play(std::move(*scenario));
    return true;
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
        LockGuard guard(imvoxa::theLibrary.lock);
        if (!imvoxa::theLibrary.scenarioGiven && !PlayEnvironment()) return ERROR_INVALID_DATA;
    }
    const Call call("Open", Text(settingsPath) + " " + Text(settingsSection));
    return Run(call, [&](imvoxa::Imager& imager) -> DWORD {
        if (!word || !record) return ERROR_INVALID_PARAMETER;
        for (DWORD index = 0; index < kInfoWords; ++index) record[index] = index + 1;
        imager.Open();
        return 0;
    });
}

void WINAPI imvShutdown() {
    Run(Call("Shutdown"), [](imvoxa::Imager& imager) {
        imager.Shutdown();
        return 0;
    });
}

HANDLE WINAPI imvOpenEngine() {
    const Call call("OpenEngine");
    if (call.Fails()) return reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(call.Result()));
    LockGuard guard(imvoxa::theLibrary.lock);
    return imvoxa::theLibrary.imager.OpenEngine();
}

DWORD WINAPI imvCloseEngine(HANDLE engine) {
    return Run(Call("CloseEngine"), [engine](imvoxa::Imager& imager) -> DWORD {
        return imager.CloseEngine(engine) ? 0 : ERROR_INVALID_HANDLE;
    });
}

DWORD WINAPI imvStart() {
    return Run(Call("Start"), [](imvoxa::Imager& imager) { return imager.Start(); });
}

void WINAPI imvStop() {
    Run(Call("Stop"), [](imvoxa::Imager& imager) {
        imager.Stop();
        return 0;
    });
}

// ---- Images -------------------------------------------------------------------------------------------

DWORD WINAPI imvAcquire(HANDLE engine, DWORD mode) {
    return Run(Call("Acquire", Number(mode)),
               [=](imvoxa::Imager& imager) { return imager.Acquire(engine, mode); });
}

LONG WINAPI imvFirstDimension(HANDLE engine) {
    return static_cast<LONG>(Run(Call("FirstDimension"), [engine](imvoxa::Imager& imager) -> DWORD {
        const GreyPicture* picture = LastOf(imager, engine);
        return picture ? static_cast<DWORD>(picture->width) : 0;
    }));
}

LONG WINAPI imvSecondDimension(HANDLE engine) {
    return static_cast<LONG>(Run(Call("SecondDimension"), [engine](imvoxa::Imager& imager) -> DWORD {
        const GreyPicture* picture = LastOf(imager, engine);
        return picture ? static_cast<DWORD>(picture->height) : 0;
    }));
}

void* WINAPI imvPixels(HANDLE engine) {
    const Call call("Pixels");
    LockGuard guard(imvoxa::theLibrary.lock);
    GreyPicture* picture = call.Fails() ? nullptr : LastOf(imvoxa::theLibrary.imager, engine);
    return picture ? picture->pixels.data() : nullptr;
}

// Whatever the engine: the current image can still be looked at when the engine has been closed.
void* WINAPI imvCurrentImage(HANDLE) {
    const Call call("CurrentImage");
    LockGuard guard(imvoxa::theLibrary.lock);
    GreyPicture* picture = call.Fails() ? nullptr : imvoxa::theLibrary.imager.Last();
    return picture ? picture->pixels.data() : nullptr;
}

DWORD WINAPI imvStampText(HANDLE engine, const wchar_t* text, DWORD position, LONG textHeight,
                          DWORD operation) {
    const std::string numbers = Number(static_cast<long long>(position)) + " " + Number(textHeight) + " " +
                                RasterOperation(operation) + " ";
    return Run(Call("StampText", numbers + Text(text)), [=](imvoxa::Imager& imager) -> DWORD {
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
    return SaveLast(Call("SaveBmp", Text(file)), engine, file, imvoxa::SaveBmp);
}

DWORD WINAPI imvSaveJpeg(HANDLE engine, const wchar_t* file, LONG quality) {
    return SaveLast(Call("SaveJpeg", Number(quality) + " " + Text(file)), engine, file,
                    [quality](const GreyPicture& picture, const wchar_t* path) {
                        return imvoxa::SaveJpeg(picture, path, quality);
                    });
}

DWORD WINAPI imvSavePng(HANDLE engine, const wchar_t* file) {
    return SaveLast(Call("SavePng", Text(file)), engine, file, imvoxa::SavePng);
}

DWORD WINAPI imvDraw(HANDLE engine, HDC context, const RECT* target, DWORD first, DWORD second, DWORD third) {
    const std::string numbers = Number(first) + " " + Number(second) + " " + Number(third);
    return Run(Call("Draw", numbers), [=](imvoxa::Imager& imager) -> DWORD {
        const GreyPicture* picture = LastOf(imager, engine);
        if (!picture || !context || !target) return ERROR_INVALID_PARAMETER;
        return imvoxa::DrawPicture(*picture, context, *target);
    });
}

LONG WINAPI imvFirstDimensionOf0() {
    return static_cast<LONG>(Run(Call("FirstDimensionOf0"), [](imvoxa::Imager& imager) {
        return static_cast<DWORD>(imager.Small().height);
    }));
}

LONG WINAPI imvSecondDimensionOf0() {
    return static_cast<LONG>(Run(Call("SecondDimensionOf0"), [](imvoxa::Imager& imager) {
        return static_cast<DWORD>(imager.Small().width);
    }));
}

LONG WINAPI imvFirstDimensionOf1() {
    return static_cast<LONG>(Run(Call("FirstDimensionOf1"), [](imvoxa::Imager& imager) {
        return static_cast<DWORD>(imager.Large().height);
    }));
}

LONG WINAPI imvSecondDimensionOf1() {
    return static_cast<LONG>(Run(Call("SecondDimensionOf1"), [](imvoxa::Imager& imager) {
        return static_cast<DWORD>(imager.Large().width);
    }));
}

// ---- Settings -----------------------------------------------------------------------------------------

DWORD WINAPI imvGetExposure(LONG* value) {
    return Run(Call("GetExposure"), [value](imvoxa::Imager& imager) -> DWORD {
        if (!value) return ERROR_INVALID_PARAMETER;
        *value = imager.DirectExposure();
        return 0;
    });
}

DWORD WINAPI imvSetExposure(LONG value) {
    return Run(Call("SetExposure", Number(value)),
               [value](imvoxa::Imager& imager) { return imager.SetDirectExposure(value); });
}

DWORD WINAPI imvGetExposureSetting(ExposureRecord* record, DWORD size) {
    const std::string index = record ? Number(record->index) : "(null)";
    return Run(Call("GetExposureSetting", index + " " + Number(size)), [=](imvoxa::Imager& imager) -> DWORD {
        if (!record || size != sizeof *record) return ERROR_INVALID_PARAMETER;
        if (!imvoxa::Imager::Setting(static_cast<DWORD>(record->index))) return ERROR_INVALID_PARAMETER;
        record->value = imager.SettingValue(static_cast<DWORD>(record->index));
        return 0;
    });
}

DWORD WINAPI imvSetExposureSetting(const ExposureRecord* record, DWORD size) {
    const std::string content = record ? Number(record->index) + "=" + Number(record->value) : "(null)";
    return Run(Call("SetExposureSetting", content + " " + Number(size)),
               [=](imvoxa::Imager& imager) -> DWORD {
                   if (!record || size != sizeof *record) return ERROR_INVALID_PARAMETER;
                   return imager.SetSetting(static_cast<DWORD>(record->index), record->value);
               });
}

DWORD WINAPI imgGetExposureSettingParms(DWORD index, DWORD* table) {
    return Run(Call("imgGetExposureSettingParms", Number(static_cast<LONG>(index))),
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
    return Run(Call("SetSwitch16", Number(static_cast<LONG>(value))), [value](imvoxa::Imager& imager) {
        imager.SetIllumination(value != 0);
        return 0;
    });
}

DWORD WINAPI imvSetSwitch80(DWORD value) {
    return Run(Call("SetSwitch80", Number(static_cast<LONG>(value))), [value](imvoxa::Imager& imager) {
        imager.SetAimer(value != 0);
        return 0;
    });
}

void WINAPI imgEnableMonoColor(bool enable) {
    Run(Call("imgEnableMonoColor", Number(enable)), [enable](imvoxa::Imager& imager) {
        imager.SetMonoColor(enable);
        return 0;
    });
}

}  // extern "C"

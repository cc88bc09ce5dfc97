#include "imvoxa_kit.h"

#include <optional>
#include <string>
#include <utility>

#include "calls.h"
#include "library.h"
#include "operations.h"
#include "text.h"

namespace imvoxa {

// Made when the library is loaded: the guard of a local one would outlive the library with its handles.
Library theLibrary;

void Play(Scenario scenario) {
    TheCalls().Locked()->Play(std::move(scenario.calls));
    theLibrary.imager.Show(scenario.scene);
}

namespace {

// As much as there is room for, and a zero.
void Copy(const std::wstring& text, wchar_t* buffer, DWORD length) {
    if (!buffer || length == 0) return;
    buffer[text.copy(buffer, length - 1)] = 0;
}

std::optional<std::string> Find(const wchar_t* call) {
    return call ? FindOperation(kit::Narrow(call)) : std::nullopt;
}

}  // namespace
}  // namespace imvoxa

using imvoxa::theLibrary;

BOOL WINAPI imvKitLoadScenario(const wchar_t* scenario, wchar_t* error, DWORD errorLength) {
    cam::LockGuard guard(theLibrary.lock);
    imvoxa::Scenario read;
    std::wstring reason;
    if (!imvoxa::ReadScenario(scenario ? scenario : L"(null)", read, reason)) {
        imvoxa::Copy(reason, error, errorLength);
        return FALSE;
    }
    imvoxa::Play(std::move(read));
    theLibrary.scenarioGiven = true;
    return TRUE;
}

void WINAPI imvKitReset() {
    cam::LockGuard guard(theLibrary.lock);
    theLibrary.imager.Shutdown();
    imvoxa::Play({});
    theLibrary.scenarioGiven = false;
}

BOOL WINAPI imvKitAnswerNext(const wchar_t* call, DWORD result) {
    auto noted = imvoxa::Find(call);
    if (!noted) return FALSE;
    imvoxa::TheCalls().Locked()->AnswerNext(std::move(*noted), result);
    return TRUE;
}

LONG WINAPI imvKitCallCount(const wchar_t* operation) {
    const auto noted = imvoxa::Find(operation);
    return noted ? imvoxa::TheCalls().Locked()->Count(*noted) : -1;
}

DWORD WINAPI imvKitCallLog(wchar_t* buffer, DWORD length) {
    const std::wstring log = kit::Widen(imvoxa::TheCalls().Locked()->Log());
    imvoxa::Copy(log, buffer, length);
    return static_cast<DWORD>(log.size() + 1);
}

LONG WINAPI imvKitOpenEngines() {
    cam::LockGuard guard(theLibrary.lock);
    return theLibrary.imager.OpenEngines();
}

/*
 * The device kit's imager library, Imvoxa.dll: what it offers tests and tools beside the imager library's
 * own ordinals. Plain C.
 *
 * The library plays the member "imager" of the scenario that DEVICEKIT_SCENARIO names (docs/device-kit.md);
 * it is read whenever the library is opened. imvKitLoadScenario takes precedence from then on.
 */
#pragma once

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Applies a scenario: a path, or JSON text that starts with "{". Counts and log begin anew. FALSE: nothing
 * changed, and `error` (of `errorLength` characters, may be null) says which member has which value and what
 * it should be. On a device the kit reads the scenario, which is there in the emulator only. */
BOOL WINAPI imvKitLoadScenario(const wchar_t* scenario, wchar_t* error, DWORD errorLength);

/* The barcode, no faults, no counts, an empty log, and an imager that was never opened. DEVICEKIT_SCENARIO
 * counts again. */
void WINAPI imvKitReset(void);

/* The next call of an operation, given by name (L"Acquire") or ordinal (L"81"), or only one with such
 * arguments (L"Acquire 3"), does nothing but return `result`, whatever the scenario says. FALSE: there is no
 * such operation. */
BOOL WINAPI imvKitAnswerNext(const wchar_t* call, DWORD result);

/* How often an operation came in, by name (L"Acquire") or ordinal (L"81"), perhaps with arguments, since the
 * scenario was loaded; -1: there is none such. */
LONG WINAPI imvKitCallCount(const wchar_t* operation);

/* The calls so far, in their order, one a line, with their arguments ("StampText 6 18 0x00660046 hello").
 * Returns the characters needed, the terminating zero included; writes at most `length`. */
DWORD WINAPI imvKitCallLog(wchar_t* buffer, DWORD length);

/* Engines that have been opened and not closed. */
LONG WINAPI imvKitOpenEngines(void);

#ifdef __cplusplus
}
#endif

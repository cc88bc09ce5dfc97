/*
 * The device kit: the camera hardware played in software. Interface of devicekit.dll, plain C, for tests and
 * tools.
 *
 * The kit is driven by a scenario, a JSON text (docs/device-kit.md). A program that only wants a scene sets
 * the environment variable DEVICEKIT_SCENARIO to the path of a scenario file, or to the JSON text itself,
 * before the camera is brought up; the kit reads it when its capture filter is created. A program that wants
 * faults, counts or the order of calls loads devicekit.dll and calls kitLoadScenario, which takes precedence
 * from then on.
 */
#pragma once

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Applies a scenario: a path, or JSON text that starts with "{". Devices are recorded as active, faults and
 * the call log begin anew. FALSE: nothing changed, and `error` (of `errorLength` characters, may be null)
 * says which member has which value and what it should be. Call it from a thread of the multithreaded
 * apartment, while no camera is up. */
BOOL WINAPI kitLoadScenario(const wchar_t* scenario, wchar_t* error, DWORD errorLength);

/* The default scenario again: one device, the test chart, no faults, an empty call log. */
void WINAPI kitReset(void);

/* Posts a resume notification to this process's cameras, as after the device slept. FALSE: nobody listens. */
BOOL WINAPI kitResume(void);

/* The camera is gone: from now on no frames come and every call on the capture filter fails. */
void WINAPI kitLoseDevice(void);

/* The next call such as L"IAMVideoControl::SetMode" does nothing but return `result`, a failure, whatever the
 * scenario says; at any time. FALSE: there is no such call, or it is one on the graph that is not watched. */
BOOL WINAPI kitAnswerNext(const wchar_t* call, HRESULT result);

/* How often a call such as L"IGraphBuilder::AddFilter" came in since the scenario was loaded. Calls on the
 * graph, its builder and its control interfaces are seen only when the scenario has "watchGraph": true or a
 * fault on one of them. */
LONG WINAPI kitCallCount(const wchar_t* call);

/* The calls so far, in their order, one a line, with arguments that matter ("IGraphBuilder::AddFilter Video
 * Renderer"). Returns the characters needed, the terminating zero included; writes at most `length`. */
DWORD WINAPI kitCallLog(wchar_t* buffer, DWORD length);

/* Objects of the kit (filters, pins, samples, watched interfaces) that are alive. */
LONG WINAPI kitLiveObjects(void);

/* Preview frames and still pictures delivered since the scenario was loaded. */
LONG WINAPI kitPreviewFrames(void);
LONG WINAPI kitStillPictures(void);

/* The performance counter when the newest preview frame was handed on by the camera; 0: none was. */
LONGLONG WINAPI kitFrameSent(void);

#ifdef __cplusplus
}
#endif

#include "kit.h"

#include <cstdio>
#include <mutex>
#include <random>

#include "devicekit.h"
#include "filter_base/com_object.h"
#include "read_scenario.h"
#include "text.h"
#include "watch/call_names.h"
#include "watch/class_watch.h"
#include "webcam/webcam_filter.h"

namespace kit {
namespace {

constexpr std::size_t kMaxListedCalls = 20000;

struct State {
    std::mutex lock;
    std::shared_ptr<const Scenario> scenario = std::make_shared<Scenario>();
    bool chosen = false;
    CallRules calls{kMaxListedCalls};
    std::optional<std::minstd_rand> chaos;
    std::atomic<bool> lost = false;
    std::atomic<LONG> previewFrames = 0;
    std::atomic<LONG> stills = 0;
    std::atomic<LONGLONG> frameSent = 0;
};

// Never destroyed: streaming threads and other libraries may still be at work while the process ends.
State& TheState() {
    static State* const state = new State;
    return *state;
}

}  // namespace

namespace {

// With the state locked. Milliseconds; 0 without chaos.
std::uint32_t ChaosDelay(State& state) {
    constexpr std::uint32_t kLongest = 5;
    return state.chaos ? static_cast<std::uint32_t>((*state.chaos)()) % (kLongest + 1) : 0;
}

void DawdleOverFrame() {
    std::uint32_t delayMs = 0;
    {
        const std::lock_guard guard(TheState().lock);
        delayMs = ChaosDelay(TheState());
    }
    if (delayMs > 0) Sleep(delayMs);
}

}  // namespace

std::shared_ptr<const Scenario> CurrentScenario() {
    const std::lock_guard guard(TheState().lock);
    return TheState().scenario;
}

void PlayScenario(Scenario scenario) {
    State& state = TheState();
    const auto shared = std::make_shared<const Scenario>(std::move(scenario));
    {
        const std::lock_guard guard(state.lock);
        state.scenario = shared;
        state.calls.Play(shared->calls);
        state.chaos.reset();
        if (shared->chaosSeed) state.chaos.emplace(*shared->chaosSeed + 1);
        state.lost = false;
        state.previewFrames = 0;
        state.stills = 0;
        state.frameSent = 0;
    }
    RecordDevices(shared->devices);
    if (shared->webcams) RecordWebcams(*shared->webcams);
}

void KeepScenario() {
    const std::lock_guard guard(TheState().lock);
    TheState().chosen = true;
}

HRESULT PrepareScenario() {
    {
        const std::lock_guard guard(TheState().lock);
        if (TheState().chosen) return RecordDevices(TheState().scenario->devices);
    }
    Scenario scenario;
    const DWORD length = GetEnvironmentVariableW(L"DEVICEKIT_SCENARIO", nullptr, 0);
    if (length > 1) {
        std::wstring value(length, L'\0');
        value.resize(GetEnvironmentVariableW(L"DEVICEKIT_SCENARIO", value.data(), length));
        std::string error;
        if (!ReadScenario(value, scenario, error)) {
            std::fprintf(stderr, "devicekit: DEVICEKIT_SCENARIO: %s\n", error.c_str());
            return E_INVALIDARG;
        }
        // The graph exists already when the camera is created; half a graph cannot be watched.
        if (WatchesGraph(scenario)) {
            std::fprintf(stderr,
                         "devicekit: DEVICEKIT_SCENARIO: \"watchGraph\" and calls on the graph are seen only "
                         "in a scenario that "
                         "the program loads itself; call kitLoadScenario, or leave them out\n");
            return E_INVALIDARG;
        }
    }
    PlayScenario(std::move(scenario));
    return S_OK;
}

HRESULT Judge(std::wstring_view call, std::wstring_view argument, bool quiet) {
    Verdict verdict;
    {
        const std::lock_guard guard(TheState().lock);
        verdict = TheState().calls.Note(Narrow(call), Narrow(argument), !quiet);
        verdict.delayMs += ChaosDelay(TheState());
    }
    if (verdict.delayMs > 0) Sleep(verdict.delayMs);
    return static_cast<HRESULT>(verdict.result.value_or(S_OK));
}

bool IsLost() {
    return TheState().lost;
}

LONG CallCount(const std::wstring& call) {
    const std::lock_guard guard(TheState().lock);
    return TheState().calls.Count(Narrow(call));
}

std::wstring CallLog() {
    const std::lock_guard guard(TheState().lock);
    return Widen(TheState().calls.Log());
}

void CountPreviewFrame() {
    DawdleOverFrame();
    const LONG frames = ++TheState().previewFrames;
    const auto scenario = CurrentScenario();
    if (frames == scenario->resumeAfterFrames) kitResume();
    if (frames == scenario->loseDeviceAfterFrames) kitLoseDevice();
}

void NoteFrameSent() {
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    TheState().frameSent = now.QuadPart;
}

void CountStill() {
    DawdleOverFrame();
    ++TheState().stills;
}

}  // namespace kit

void WINAPI kitLoseDevice() {
    kit::TheState().lost = true;
}
LONG WINAPI kitPreviewFrames() {
    return kit::TheState().previewFrames;
}
LONG WINAPI kitStillPictures() {
    return kit::TheState().stills;
}
LONGLONG WINAPI kitFrameSent() {
    return kit::TheState().frameSent;
}
LONG WINAPI kitLiveObjects() {
    return cam::filter_base::LiveObjects() + kit::LiveObject::Count();
}
LONG WINAPI kitCallCount(const wchar_t* call) {
    return call ? kit::CallCount(call) : 0;
}

BOOL WINAPI kitAnswerNext(const wchar_t* call, HRESULT result) {
    if (!call || !kit::IsKnownCall(call)) return FALSE;
    const std::lock_guard guard(kit::TheState().lock);
    if (kit::IsGraphCall(call) && !kit::WatchesGraph(*kit::TheState().scenario)) return FALSE;
    kit::TheState().calls.AnswerNext(kit::Narrow(call), static_cast<std::uint32_t>(result));
    return TRUE;
}

DWORD WINAPI kitCallLog(wchar_t* buffer, DWORD length) {
    const std::wstring log = kit::CallLog();
    if (buffer && length > 0) {
        const std::size_t count = std::min<std::size_t>(log.size(), length - 1);
        log.copy(buffer, count);
        buffer[count] = 0;
    }
    return static_cast<DWORD>(log.size() + 1);
}

BOOL WINAPI kitResume() {
    // Every camera that listens has such a window; only those of this process are meant.
    BOOL posted = FALSE;
    for (const HWND parent : {static_cast<HWND>(nullptr), HWND_MESSAGE}) {
        HWND window = nullptr;
        while ((window = FindWindowExW(parent, window, L"OcellusPowerNotifications", nullptr)) != nullptr) {
            DWORD process = 0;
            GetWindowThreadProcessId(window, &process);
            if (process == GetCurrentProcessId() &&
                PostMessageW(window, WM_POWERBROADCAST, PBT_APMRESUMEAUTOMATIC, 0))
                posted = TRUE;
        }
    }
    return posted;
}

BOOL WINAPI kitLoadScenario(const wchar_t* scenario, wchar_t* error, DWORD errorLength) {
    kit::Scenario read;
    std::string reason = "no scenario is given; give a path or JSON text beginning with \"{\"";
    bool good = scenario && kit::ReadScenario(scenario, read, reason);
    if (good && kit::WatchesGraph(read) && FAILED(kit::watch::WatchClasses())) {
        reason =
            "the graph cannot be watched from this thread; call CoInitializeEx with COINIT_MULTITHREADED "
            "first";
        good = false;
    }
    if (good) {
        if (!kit::WatchesGraph(read)) kit::watch::UnwatchClasses();
        kit::KeepScenario();
        kit::PlayScenario(std::move(read));
        return TRUE;
    }
    if (error && errorLength > 0) {
        const std::wstring text = kit::Widen(reason).substr(0, errorLength - 1);
        text.copy(error, text.size());
        error[text.size()] = 0;
    }
    return FALSE;
}

void WINAPI kitReset() {
    kit::watch::UnwatchClasses();
    kit::KeepScenario();
    kit::PlayScenario(kit::Scenario());
}

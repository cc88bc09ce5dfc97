#include "run.h"

#include "camera.h"
#include "files.h"
#include "json.h"
#include "kit.h"
#include "platform.h"

namespace verify {

namespace {

struct Failure {
    std::string row, what, seen, expected, call;
};

struct Outcome {
    const Group* group;
    const Check* check;
    enum { Ok, NotOk, Skipped } kind = Ok;
    std::string reason;  // why it was skipped
    std::vector<Failure> failures;
    std::vector<std::string> measured;
    DWORD ms = 0;
};

// What the checks say and the watchdog reads; all of it guarded by `lock`.
struct Run {
    CRITICAL_SECTION lock;
    const Options* options = nullptr;
    const Setting* setting = nullptr;
    std::vector<Outcome> outcomes;
    std::string row, call;
    bool calling = false;
    bool checking = false;
    DWORD since = 0;  // of the check, or of its row
    std::string output;
    HANDLE over = nullptr;  // set at the end of the run
    HANDLE watchdog = nullptr;
};
Run run;

class Locked {
  public:
    Locked() { EnterCriticalSection(&run.lock); }
    ~Locked() { LeaveCriticalSection(&run.lock); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
};

void Write(const std::string& text) {
    platform::Print(text);
    if (run.options->output.empty()) return;
    // The whole of it each time: a device may be reset in the middle of a check.
    run.output += text;
    WriteFileBytes(run.options->output, run.output);
}

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char unit : text) {
        if (unit == '"' || unit == '\\') quoted += '\\';
        quoted += unit == '\n' || unit == '\r' ? std::string(unit == '\n' ? "\\n" : "\\r")
                  : unit == '\t'               ? std::string("\\t")
                                               : std::string(1, unit);
    }
    return quoted + "\"";
}

void WriteOutcome(const Outcome& outcome) {
    const std::string name = std::string(outcome.group->name) + ": " + outcome.check->name;
    std::string text = outcome.kind == Outcome::NotOk ? "not ok " : "ok ";
    text += std::to_string(run.outcomes.size()) + " - " + name;
    if (outcome.kind == Outcome::Skipped) text += " # SKIP " + outcome.reason;
    text += '\n';
    if (!outcome.failures.empty()) {
        text += "  ---\n  remedy: " + Quoted(outcome.check->remedy) + "\n  failures:\n";
        for (const Failure& failure : outcome.failures) {
            text += "    - what: " + Quoted(failure.what) + "\n";
            if (!failure.row.empty()) text += "      row: " + Quoted(failure.row) + "\n";
            text += "      expected: " + Quoted(failure.expected) + "\n      seen: " + Quoted(failure.seen) +
                    "\n";
            text += "      call: " + Quoted(failure.call) + "\n";
        }
        text += "  ...\n";
    }
    for (const std::string& line : outcome.measured) text += "# " + line + "\n";
    Write(text);
}

void WriteJson() {
    if (run.options->json.empty()) return;
    Json json;
    json.BeginObject().Text("program", "camverify").Text("library", run.setting->revision);
    json.Text("system", platform::SystemVersion())
        .Number("pointerBits", 8 * static_cast<int>(sizeof(void*)))
        .Text("type", run.options->type == CAM_TYPE_IMAGER ? "imager" : "dshow")
        .Flag("deviceKit", (run.setting->present & kKit) != 0)
        .BeginList("checks");
    constexpr const char* kResults[] = {"ok", "failed", "skipped"};
    for (const Outcome& outcome : run.outcomes) {
        json.BeginObject()
            .Text("group", outcome.group->name)
            .Text("name", outcome.check->name)
            .Text("result", kResults[outcome.kind])
            .Number("ms", outcome.ms);
        if (!outcome.reason.empty()) json.Text("reason", outcome.reason);
        if (!outcome.measured.empty()) {
            json.BeginList("measured");
            for (const std::string& line : outcome.measured) json.Text({}, line);
            json.EndList();
        }
        if (!outcome.failures.empty()) {
            json.BeginList("failures");
            for (const Failure& failure : outcome.failures) {
                json.BeginObject()
                    .Text("what", failure.what)
                    .Text("row", failure.row)
                    .Text("expected", failure.expected)
                    .Text("seen", failure.seen)
                    .Text("call", failure.call)
                    .EndObject();
            }
            json.EndList();
        }
        json.EndObject();
    }
    json.EndList().EndObject();
    if (!WriteFileBytes(run.options->json, json.text() + "\n")) {
        Write("# " + Utf8(run.options->json) + " could not be written: " + std::to_string(GetLastError()) +
              "\n");
    }
}

// Nothing can be judged after a hang, so the program ends there, with what has been found so far.
DWORD WINAPI Watch(void* over) {
    constexpr DWORD kLookEveryMs = 100;
    while (WaitForSingleObject(static_cast<HANDLE>(over), kLookEveryMs) == WAIT_TIMEOUT) {
        const Locked locked;
        const DWORD limit = run.options->deadlineMs;
        if (!run.checking || GetTickCount() - run.since < limit) continue;
        const std::string within = " within " + std::to_string(limit / 1000) + " s";
        if (!run.outcomes.empty()) {
            Outcome& outcome = run.outcomes.back();
            outcome.kind = Outcome::NotOk;
            outcome.failures.push_back({run.row, run.calling ? "the call returns" : "the check ends",
                                        "no end" + within, "an end", run.call});
            WriteOutcome(outcome);
        }
        Write("Bail out! " +
              (run.calling ? run.call + " did not return" : "a check did not end, after " + run.call) +
              within + "\n");
        if (run.setting) WriteJson();
        TerminateProcess(GetCurrentProcess(), kSomeFailed);
    }
    return 0;
}

std::string WhyNot(unsigned missing) {
    if (missing & kDesktop) return "needs a desktop";
    if (missing & kMessageBoxes) return "needs message boxes that are recorded";
    if (missing & (kKit | kImagerKit)) return "needs the device kit: " + run.setting->kitIsMissing;
    if (missing & kDShow) return "needs --type dshow";
    if (missing & kImager) return "needs --type imager";
    return "needs a camera";
}

void RunOne(Outcome& outcome) {
    const unsigned missing = outcome.check->needs & ~run.setting->present;
    if (missing) {
        outcome.kind = Outcome::Skipped;
        outcome.reason = WhyNot(missing);
        return;
    }
    const DWORD started = GetTickCount();
    {
        const Locked locked;
        run.row.clear();
        run.since = started;
        run.checking = true;
    }
    try {
        ResetKit();
        outcome.check->run();
    } catch (const Ended&) {
    }
    const Locked locked;
    run.checking = false;
    outcome.ms = GetTickCount() - started;
    if (!outcome.failures.empty()) outcome.kind = Outcome::NotOk;
}

}  // namespace

void Failed(const char* what, const std::string& seen, const std::string& expected) {
    const Locked locked;
    constexpr size_t kMaxFailures = 8;  // of one check; more tell nothing new
    if (run.outcomes.empty()) return Write("# " + std::string(what) + ": " + seen + "\n");
    std::vector<Failure>& failures = run.outcomes.back().failures;
    if (failures.size() < kMaxFailures) failures.push_back({run.row, what, seen, expected, run.call});
}

void Skip(const std::string& reason) {
    {
        const Locked locked;
        run.outcomes.back().kind = Outcome::Skipped;
        run.outcomes.back().reason = reason;
    }
    throw Ended();
}

Row::Row(const std::string& name) : length(run.row.size()) {
    const Locked locked;
    run.row += (run.row.empty() ? "" : ", ") + name;
    run.since = GetTickCount();
}

Row::~Row() {
    const Locked locked;
    run.row.resize(length);
    run.since = GetTickCount();
}

void Measured(const std::string& name, long long value, const char* unit) {
    Measured(name, std::to_string(value) + (*unit ? " " : "") + unit);
}

void Measured(const std::string& name, const std::string& text) {
    const Locked locked;
    run.outcomes.back().measured.push_back(name + ": " + text);
}

CallUnderWay::CallUnderWay(std::string text) {
    const Locked locked;
    run.call = std::move(text);
    run.calling = true;
}

LONG CallUnderWay::Returned(LONG result) {
    const Locked locked;
    run.call += " = " + ResultText(result);
    return result;
}

CallUnderWay::~CallUnderWay() {
    const Locked locked;
    run.calling = false;
}

void BeginReport(const Options& options) {
    InitializeCriticalSection(&run.lock);
    run.options = &options;
    run.over = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    run.watchdog = CreateThread(nullptr, 0, Watch, run.over, 0, nullptr);
}

void Say(const std::string& text) {
    Write(text);
}

LONG TryCamera() {
    run.since = GetTickCount();
    run.checking = true;
    LONG result = E_FAIL;
    try {
        ResetKit();
        result = cam.Select(nullptr, nullptr, nullptr, cameraType);
        cam.ShutDown();
    } catch (const Ended&) {
    }
    const Locked locked;
    run.checking = false;
    return result;
}

int RunChecks(const std::vector<const Group*>& groups, const Setting& setting) {
    run.setting = &setting;
    size_t count = 0;
    for (const Group* group : groups) count += group->count;
    run.outcomes.reserve(count);
    Write("1.." + std::to_string(count) + "\n");

    size_t failed = 0, skipped = 0;
    for (const Group* group : groups) {
        for (size_t i = 0; i < group->count; ++i) {
            {
                const Locked locked;
                run.outcomes.push_back({group, &group->checks[i], Outcome::Ok, {}, {}, {}, 0});
            }
            Outcome& outcome = run.outcomes.back();
            RunOne(outcome);
            WriteOutcome(outcome);
            failed += outcome.kind == Outcome::NotOk;
            skipped += outcome.kind == Outcome::Skipped;
        }
    }
    SetEvent(run.over);
    WaitForSingleObject(run.watchdog, INFINITE);
    CloseHandle(run.watchdog);
    CloseHandle(run.over);
    Write("# " + std::to_string(count) + " checks: " + std::to_string(count - failed - skipped) +
          " passed, " + std::to_string(failed) + " failed, " + std::to_string(skipped) + " skipped\n");
    WriteJson();
    return failed ? kSomeFailed : kPassed;
}

}  // namespace verify

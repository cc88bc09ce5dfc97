// Checks, the groups that they stand in, and what a check says while it runs.
#pragma once

#include <string>
#include <vector>

#include "text.h"

namespace verify {

// What a check cannot do without. Where it is missing the check is skipped, with the reason.
enum Needs : unsigned {
    kNothing = 0,
    kCamera = 1,         // any camera of the chosen type
    kDShow = 2,          // that is one of type dshow
    kImager = 4,         // that is the imager
    kKit = 8,            // the device kit plays the camera
    kImagerKit = 16,     // the device kit plays the imager, whatever type is chosen
    kDesktop = 32,       // something that Windows CE does not have
    kMessageBoxes = 64,  // message boxes are recorded instead of shown
};

struct Check {
    const char* name;
    unsigned needs;
    void (*run)();
    const char* remedy;  // what to do when it fails
};

// Remedy.
inline constexpr char kLibraryFault[] = "a fault of the library: report it with this output";

struct Group {
    const char* name;
    const char* about;
    const Check* checks;
    size_t count;

    template <size_t N>
    constexpr Group(const char* groupName, const char* groupAbout, const Check (&all)[N])
        : name(groupName), about(groupAbout), checks(all), count(N) {}
};

extern const Group kRegistration, kArguments, kLife, kDevices, kResume, kPreview, kStills, kText, kProperties,
    kResolutions, kSettings, kImagerCamera, kFaults, kResources;

// ---- Inside a check --------------------------------------------------------------------------------------

// Thrown to end a check: what it has said counts.
struct Ended {};

void Failed(const char* what, const std::string& seen, const std::string& expected);
[[noreturn]] void Skip(const std::string& reason);

// Says what was seen when it is not what was expected; whether it is.
template <typename Seen, typename Expected>
bool Equal(const char* what, const Seen& seen, const Expected& expected) {
    if (seen == expected) return true;
    Failed(what, Show(seen), Show(expected));
    return false;
}
inline bool Holds(const char* what, bool holds) {
    return Equal(what, holds, true);
}
// As Equal and Holds, for what the rest of the check builds upon.
template <typename Seen, typename Expected>
void Need(const char* what, const Seen& seen, const Expected& expected) {
    if (!Equal(what, seen, expected)) throw Ended();
}
inline void Need(const char* what, bool holds) {
    Need(what, holds, true);
}

// While it lives, failures name this row of a table. The row has the whole deadline.
class Row {
  public:
    explicit Row(const std::string& name);
    ~Row();
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;

  private:
    size_t length;  // of the rows around it
};

// A measured value, for the report.
void Measured(const std::string& name, long long value, const char* unit);
void Measured(const std::string& name, const std::string& text);

// Around each call of the library's: a call that hangs is reported with its name, a failure with the call
// before it.
class CallUnderWay {
  public:
    explicit CallUnderWay(std::string text);
    ~CallUnderWay();
    CallUnderWay(const CallUnderWay&) = delete;
    CallUnderWay& operator=(const CallUnderWay&) = delete;
    LONG Returned(LONG result);
};

}  // namespace verify

// The imager camera's properties, in one run from its start: what each call answers and what it tells the
// imager library.
#pragma once

#include <string>
#include <vector>

namespace tables {

struct ImagerStep {
    enum class Do { kGet, kSet, kRange } what;
    int id;
    int value;        // given; of a get it is what stands in the variable before
    unsigned result;  // HRESULT
    std::vector<int>
        answer;  // a get's value and flags, or a range's five numbers; kUntouched is what stood there before
    std::string told;  // the call in the imager kit's words, or ""
};

inline const std::vector<ImagerStep> kImagerSteps = [] {
    using enum ImagerStep::Do;
    constexpr int kUntouched = 77;
    constexpr unsigned kOk = 0, kFail = 0x80004005, kNotImplemented = 0x80004001, kInvalid = 0x80070057;
    std::vector<ImagerStep> steps;
    const auto add = [&](std::vector<ImagerStep> more) {
        steps.insert(steps.end(), more.begin(), more.end());
    };
    // On or off: kept as given.
    const struct {
        int id;
        const char *on, *off;
    } switches[] = {{6, "imgEnableMonoColor 1", "imgEnableMonoColor 0"},
                    {16, "SetSwitch16 5", "SetSwitch16 0"},
                    {80, "SetSwitch80 5", "SetSwitch80 0"}};
    for (const auto& [id, on, off] : switches) {
        add({{kGet, id, 9, kOk, {0, 2}, ""},
             {kRange, id, 0, kOk, {0, 1, 1, 0, 2}, ""},
             {kSet, id, 5, kOk, {}, on},
             {kGet, id, 9, kOk, {5, 2}, ""},
             {kSet, id, 0, kOk, {}, off}});
    }
    for (const int id : {0, 5, 7, 8, 9, 12, 14, 15, 17, 79}) {
        add({{kGet, id, 9, kNotImplemented, {0, 2}, ""},
             {kRange, id, 0, kNotImplemented, {0, 0, 0, 0, 1}, ""},
             {kSet, id, 1, kNotImplemented, {}, ""}});
    }
    // A get of the exposure selects the setting that is set and ranged from then on; -1 is the exposure
    // itself, and at first there is none.
    const std::vector<int> none = {kUntouched, kUntouched, kUntouched, kUntouched, 2};
    add({{kRange, 13, 0, kInvalid, none, "imgGetExposureSettingParms -2"},
         {kSet, 13, 1, kFail, {}, "SetExposureSetting -2=1 8"},
         {kGet, 13, -1, kOk, {2, 2}, "GetExposure"},
         {kRange, 13, 0, kOk, {0, 2, 2, 2, 2}, ""},
         {kSet, 13, 1, kOk, {}, "SetExposure 1"},
         {kGet, 13, -1, kOk, {1, 2}, "GetExposure"},
         {kSet, 13, 3, kFail, {}, "SetExposure 3"},
         {kGet, 13, 0, kOk, {50, 2}, "GetExposureSetting 0 8"},
         {kRange, 13, 0, kOk, {1, 100, 1, 50, 2}, "imgGetExposureSettingParms 0"},
         {kSet, 13, 80, kOk, {}, "SetExposureSetting 0=80 8"},
         {kSet, 13, 101, kFail, {}, "SetExposureSetting 0=101 8"},
         {kSet, 13, -1, kFail, {}, "SetExposureSetting 0=-1 8"},  // a value, which selects nothing
         {kGet, 13, 0, kOk, {80, 2}, "GetExposureSetting 0 8"},
         {kGet, 13, 1, kOk, {0, 2}, "GetExposureSetting 1 8"},
         {kRange, 13, 0, kOk, {0, 15, 1, 0, 2}, "imgGetExposureSettingParms 1"},
         // No such setting, yet it is selected.
         {kGet, 13, 9, kFail, {9, 2}, "GetExposureSetting 9 8"},
         {kRange, 13, 0, kInvalid, none, "imgGetExposureSettingParms 9"}});
    return steps;
}();

}  // namespace tables

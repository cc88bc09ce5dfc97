#include "operations.h"

#include <algorithm>

namespace imvoxa {
namespace {

struct Operation {
    int ordinal;
    const char* name;
};

constexpr Operation kOperations[] = {
    {3, "CurrentImage"},
    {4, "Pixels"},
    {15, "OpenEngine"},
    {26, "SecondDimension"},
    {32, "Open"},
    {39, "SaveBmp"},
    {40, "SaveJpeg"},
    {41, "SavePng"},
    {44, "SetSwitch16"},
    {50, "Shutdown"},
    {51, "CloseEngine"},
    {53, "FirstDimension"},
    {57, "StampText"},
    {59, "SetExposureSetting"},
    {67, "GetExposureSetting"},
    {68, "imgGetExposureSettingParms"},
    {69, "imgEnableMonoColor"},
    {70, "SetExposure"},
    {75, "SetSwitch80"},
    {79, "Start"},
    {80, "Stop"},
    {81, "Acquire"},
    {83, "Draw"},
    {99, "GetExposure"},
    {106, "FirstDimensionOf1"},
    {107, "SecondDimensionOf1"},
    {108, "FirstDimensionOf0"},
    {109, "SecondDimensionOf0"},
};

}  // namespace

std::optional<std::string> FindOperation(const std::string& call) {
    const auto end = std::find(call.begin(), call.end(), ' ');
    const std::string operation(call.begin(), end);
    for (const Operation& known : kOperations) {
        if (operation != known.name && operation != std::to_string(known.ordinal)) continue;
        return known.name + std::string(end, call.end());
    }
    return {};
}

}  // namespace imvoxa

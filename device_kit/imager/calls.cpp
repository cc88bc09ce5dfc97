#include "calls.h"

#include <cstddef>

#include "base/lock.h"

namespace imvoxa {
namespace {

constexpr std::size_t kMostLoggedCalls = 10000;

struct NamedOperation {
    Operation operation;
    const wchar_t* name;
};

constexpr NamedOperation kOperations[] = {
    {Operation::CurrentImage, L"CurrentImage"},
    {Operation::Pixels, L"Pixels"},
    {Operation::OpenEngine, L"OpenEngine"},
    {Operation::SecondDimension, L"SecondDimension"},
    {Operation::Open, L"Open"},
    {Operation::SaveBmp, L"SaveBmp"},
    {Operation::SaveJpeg, L"SaveJpeg"},
    {Operation::SavePng, L"SavePng"},
    {Operation::SetSwitch16, L"SetSwitch16"},
    {Operation::Shutdown, L"Shutdown"},
    {Operation::CloseEngine, L"CloseEngine"},
    {Operation::FirstDimension, L"FirstDimension"},
    {Operation::StampText, L"StampText"},
    {Operation::SetExposureSetting, L"SetExposureSetting"},
    {Operation::GetExposureSetting, L"GetExposureSetting"},
    {Operation::GetExposureSettingParms, L"imgGetExposureSettingParms"},
    {Operation::EnableMonoColor, L"imgEnableMonoColor"},
    {Operation::SetExposure, L"SetExposure"},
    {Operation::SetSwitch80, L"SetSwitch80"},
    {Operation::Start, L"Start"},
    {Operation::Stop, L"Stop"},
    {Operation::Acquire, L"Acquire"},
    {Operation::Draw, L"Draw"},
    {Operation::GetExposure, L"GetExposure"},
    {Operation::FirstDimensionOf1, L"FirstDimensionOf1"},
    {Operation::SecondDimensionOf1, L"SecondDimensionOf1"},
    {Operation::FirstDimensionOf0, L"FirstDimensionOf0"},
    {Operation::SecondDimensionOf0, L"SecondDimensionOf0"},
};

constexpr std::size_t kOrdinals = 110;

struct Record {
    cam::Lock lock;
    std::vector<CallRule> rules;
    LONG counts[kOrdinals] = {};
    std::vector<std::wstring> log;
};

// Made when the library is loaded: the guard of a local one would outlive the library with its handles.
Record record;

std::size_t Ordinal(Operation operation) {
    return static_cast<std::size_t>(operation);
}

const wchar_t* Name(Operation operation) {
    for (const NamedOperation& known : kOperations) {
        if (known.operation == operation) return known.name;
    }
    return L"";
}

}  // namespace

bool FindOperation(const std::wstring& nameOrOrdinal, Operation& operation) {
    for (const NamedOperation& known : kOperations) {
        if (nameOrOrdinal == known.name || nameOrOrdinal == std::to_wstring(Ordinal(known.operation))) {
            operation = known.operation;
            return true;
        }
    }
    return false;
}

void ResetCalls(std::vector<CallRule> rules) {
    cam::LockGuard guard(record.lock);
    record.rules = std::move(rules);
    for (LONG& count : record.counts) count = 0;
    record.log.clear();
}

LONG CallCount(Operation operation) {
    cam::LockGuard guard(record.lock);
    return record.counts[Ordinal(operation)];
}

std::wstring CallLog() {
    cam::LockGuard guard(record.lock);
    std::wstring text;
    for (const std::wstring& line : record.log) text += line + L"\n";
    return text;
}

Call::Call(Operation operation, const std::wstring& arguments) {
    {
        cam::LockGuard guard(record.lock);
        const LONG count = ++record.counts[Ordinal(operation)];
        if (record.log.size() < kMostLoggedCalls) {
            record.log.push_back(arguments.empty() ? Name(operation) : Name(operation) + (L" " + arguments));
        }
        for (const CallRule& candidate : record.rules) {
            if (candidate.operation != operation || count < candidate.at) continue;
            if (candidate.times == 0 || count - candidate.at < candidate.times) rule = candidate;
        }
    }
    if (rule.delayMs > 0) Sleep(rule.delayMs);
}

}  // namespace imvoxa

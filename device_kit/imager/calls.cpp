#include "calls.h"

namespace imvoxa {
namespace {

constexpr std::size_t kMaxListedCalls = 10000;

// Made when the library is loaded: the guard of a local one would outlive the library with its handles.
cam::Guarded<kit::CallRules> theCalls(kit::CallRules{kMaxListedCalls});

}  // namespace

cam::Guarded<kit::CallRules>& TheCalls() {
    return theCalls;
}

Call::Call(std::string_view operation, std::string_view arguments)
    : verdict(theCalls.Locked()->Note(operation, arguments)) {
    if (verdict.delayMs > 0) Sleep(verdict.delayMs);
}

}  // namespace imvoxa

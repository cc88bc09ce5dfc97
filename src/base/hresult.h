// Small helpers around HRESULTs.
#pragma once

#include <windows.h>

namespace cam {

// A Win32 error as an HRESULT. An error that is not positive (zero, or an HRESULT already) is taken as it is.
constexpr HRESULT HresultFromError(DWORD error) {
    const auto code = static_cast<HRESULT>(error);
    return code > 0 ? static_cast<HRESULT>((error & 0xFFFF) | 0x80070000) : code;
}

inline HRESULT HresultFromLastError() {
    return HresultFromError(GetLastError());
}

// For a call that has failed, whatever the last error says: not all of the system's set one.
inline HRESULT FailureFromLastError() {
    const HRESULT result = HresultFromLastError();
    return FAILED(result) ? result : E_FAIL;
}

// What is answered to a call that would have to wait for somebody who waits for it.
inline constexpr HRESULT kNotNow = RPC_E_CANTCALLOUT_ININPUTSYNCCALL;

// The last error plus 0x80000000: not the form of other failures, but the one that is settled for picture
// files.
inline DWORD FileErrorFromLastError() {
    return GetLastError() + 0x80000000;
}

// Leaves the function with the result of `expression` when that is a failure.
#define CAM_RETURN_IF_FAILED(expression)                                                    \
    do {                                                                                    \
        if (const HRESULT camResult_ = (expression); FAILED(camResult_)) return camResult_; \
    } while (false)

}  // namespace cam

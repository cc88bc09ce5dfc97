// The webcams that the desktop knows.
#pragma once

#include <objidl.h>

#include <optional>
#include <string>
#include <vector>

#include "base/com_ptr.h"

namespace cam::driver {

struct Webcam {
    std::wstring legacyName;  // "WEB1:", by which this process calls it
    std::wstring identity;    // its device path; of one that has none, the system's name for it
    std::wstring name;        // for people; several may have the same
    ComPtr<IMoniker> moniker;
};

// In the system's order. Reads what is recorded of each and opens none: a faulty driver harms whoever opens
// it. Empty with OCELLUS_WEBCAMS=0 in the environment. Needs COM. Any thread.
std::vector<Webcam> ListWebcams();

// A webcam keeps its legacy name as long as the process lives, also when it was away meanwhile. Empty: that
// name has not been given to one.
std::wstring IdentityOf(const wchar_t* legacyName);
// From 1 on; 0 for a name of another form.
long WebcamNumber(const wchar_t* legacyName);

std::optional<Webcam> FindWebcam(const std::wstring& identity);

}  // namespace cam::driver

// A window of the library's own that hears what the system tells all windows.
#pragma once

#include <windows.h>

#include "base/unique_resource.h"

namespace cam::platform {

// Hidden and top-level, since a message-only window would not hear; on a thread of its own, which is in the
// multithreaded apartment. Opened and closed by one thread at a time; the procedure runs on the window's.
class HiddenWindow {
  public:
    HiddenWindow(const wchar_t* windowClass, WNDPROC windowProcedure)
        : className(windowClass), procedure(windowProcedure) {}

    // Nothing happens when it is open. False, with the thread's last error: there is no window.
    bool Open();
    void Close();

  private:
    static DWORD WINAPI Serve(void* argument);
    void ServeMessages(HANDLE ready) const;

    const wchar_t* const className;
    const WNDPROC procedure;
    UniqueHandle thread;
    DWORD threadId = 0;
};

// The module that holds this code.
HINSTANCE OwnModule();

}  // namespace cam::platform

// Windows: plain numbers that the test gives out; what is sent to them is recorded.
#include "emulator/windows.h"

namespace ce {

namespace {

const std::string kLibrary = "coredll.dll";

}  // namespace

void BindWindows(Process& p) {
    auto& windows = p.Attachment<Windows>("windows");
    p.Bind(kLibrary, "PostMessageW", [&windows](u32 window, u32 message, u32 first, u32 second) -> u32 {
        windows.posted.push_back({window, message, first, second});
        return 1;
    });
    p.Bind(kLibrary, "PeekMessageW", [](u32, u32, u32, u32, u32) -> u32 { return 0; });
    p.Bind(kLibrary, "TranslateMessage", [](u32) -> u32 { return 0; });
    p.Bind(kLibrary, "DispatchMessageW", [](u32) -> u32 { return 0; });
    p.Bind(kLibrary, "UpdateWindow", [&windows](u32) -> u32 { return ++windows.updates, 1; });
    p.Bind(kLibrary, "GetForegroundWindow", [] { return u32{0}; });
    p.Bind(kLibrary, "GetClientRect", [&p, &windows](u32, u32 rectangle) -> u32 {
        p.machine.Write(rectangle, 0u);
        p.machine.Write(rectangle + 4, 0u);
        p.machine.Write(rectangle + 8, windows.clientWidth);
        p.machine.Write(rectangle + 12, windows.clientHeight);
        return 1;
    });
    p.Bind(kLibrary, "MessageBoxW", [&p, &windows](u32, u32 text, u32 caption, u32) -> u32 {
        windows.boxes.push_back({p.machine.Text(text), p.machine.Text(caption)});
        return 1;
    });
}

}  // namespace ce

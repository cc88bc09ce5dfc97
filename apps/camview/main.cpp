// camview: the camera's live picture, every control it has, pictures, and with the device kit a menu of
// faults.
#include <windows.h>

#include <commctrl.h>
#include <shellapi.h>

#include <ocellus/camera.hpp>

#include "model/command_line.h"
#include "task_thread.h"
#include "ui/main_window.h"
#include "ui/screen.h"

namespace {

using namespace camview;

std::vector<std::wstring> Words() {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::wstring> list(words + 1, words + count);
    LocalFree(words);
    return list;
}

// Where the program was started: a terminal or a pipe reads along, and otherwise there is a box, since there
// is no window yet.
void SayBeforehand(const std::string& text, bool isError) {
    const HANDLE out = GetStdHandle(isError ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
    DWORD written = 0;
    if (out && WriteFile(out, text.data(), static_cast<DWORD>(text.size()), &written, nullptr)) return;
    MessageBoxW(nullptr, ocellus::ToUtf16(text).c_str(), Say(Text::Title), MB_OK);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    const CommandLineAnswer answer = ParseCommandLine(Words());
    if (!answer.goOn) {
        SayBeforehand(answer.text, answer.exitCode != 0);
        return answer.exitCode;
    }
    // What the library has to say in a box stands in the log and in the banner.
    SetEnvironmentVariableW(L"OCELLUS_HEADLESS", L"1");
    INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    NameThread(L"camview window");
    ForceDpi(answer.wanted.dpi);
    auto* const window = new MainWindow(answer.wanted);
    window->Show();
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (!window->TakeKey(message) && !IsDialogMessageW(window->Window(), &message)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        window->NoteFocus();
    }
    // The camera has been shut down; a dialog may still be open on its thread, which is not waited for.
    ExitProcess(static_cast<UINT>(message.wParam));
}

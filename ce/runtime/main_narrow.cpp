// wmain of a program that begins with main: the arguments in the system's code page.
#include <windows.h>

#include "runtime.h"

namespace {

char text[2 * ce::kMaxCommandLine];  // two bytes for a character at most
char* narrowed[ce::kMaxArguments + 1];

}  // namespace

extern "C" {

int main(int count, char** arguments);

int wmain(int count, wchar_t** wide) {
    char* out = text;
    for (int i = 0; i < count; ++i) {
        narrowed[i] = out;
        const int room = static_cast<int>(text + sizeof text - out) - 1;
        const int used = WideCharToMultiByte(CP_ACP, 0, wide[i], -1, out, room, nullptr, nullptr);
        out += used;
        if (used == 0) *out++ = 0;
    }
    return main(count, narrowed);
}
}

// What portable C libraries expect of a C library and the system's lacks. Error texts of the picture
// libraries reach the system's stderr.
#include <stdarg.h>
#include <stddef.h>

extern "C" {

struct FILE;
int iswctype(wchar_t character, unsigned short type);
FILE* _getstdfilex(int index);
int _vsnprintf(char* buffer, size_t size, const char* format, va_list arguments);

FILE* __acrt_iob_func(unsigned index) {
    return _getstdfilex(static_cast<int>(index));
}
int __ms_vsnprintf(char* buffer, size_t size, const char* format, va_list arguments) {
    return _vsnprintf(buffer, size, format, arguments);
}
int iswspace(wchar_t character) {
    constexpr unsigned short kSpace = 0x0008;
    return iswctype(character, kSpace);
}
char* getenv(const char*) {
    return nullptr;
}
}

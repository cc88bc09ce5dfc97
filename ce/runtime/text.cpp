// Wide-character block functions, which the standard library's strings call and the system's C library lacks.
#include <string.h>
#include <wchar.h>

extern "C" {

wchar_t* wmemcpy(wchar_t* to, const wchar_t* from, size_t count) {
    return static_cast<wchar_t*>(memcpy(to, from, count * sizeof(wchar_t)));
}

wchar_t* wmemmove(wchar_t* to, const wchar_t* from, size_t count) {
    return static_cast<wchar_t*>(memmove(to, from, count * sizeof(wchar_t)));
}

wchar_t* wmemset(wchar_t* to, wchar_t character, size_t count) {
    for (size_t i = 0; i < count; ++i) to[i] = character;
    return to;
}

int wmemcmp(const wchar_t* one, const wchar_t* other, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (one[i] != other[i]) return one[i] < other[i] ? -1 : 1;
    }
    return 0;
}

wchar_t* wmemchr(const wchar_t* text, wchar_t character, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (text[i] == character) return const_cast<wchar_t*>(text + i);
    }
    return nullptr;
}
}

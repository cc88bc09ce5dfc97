/* Lets a Windows program under Wine run a compiler of the machine below: the program of this one's own name, with paths of drive Z as they are
 * there. Wine gives no handle to such a process, which build tools want; so it is waited for here. */
#include <windows.h>

#include <process.h>
#include <stdio.h>
#include <string.h>

static char* BelowWine(const char* word) {
    char* const path = _strdup(word);
    char* to = path;
    for (const char* from = path; *from; ++from) {
        if (from[0] == 'Z' && from[1] == ':' && (from[2] == '/' || from[2] == '\\')) ++from, ++from;
        *to++ = *from == '\\' ? '/' : *from;
    }
    *to = 0;
    return path;
}

int main(int count, char** words) {
    typedef LONG(__cdecl * Spawn)(char* const words[], int wait);
    const Spawn spawn = (Spawn)(void*)GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "__wine_unix_spawnvp");
    char name[MAX_PATH] = "";
    GetModuleFileNameA(NULL, name, MAX_PATH);
    char* const tool = strrchr(name, '\\') + 1;
    char* const end = strrchr(tool, '.');
    if (!spawn || !end || count > 1000) return 126;
    *end = 0;
    char* below[1002] = {tool};
    for (int at = 1; at < count; ++at) below[at] = BelowWine(words[at]);
    const LONG status = spawn(below, TRUE);
    if (status) fprintf(stderr, "%s ended with %ld\n", tool, status);
    return status ? 1 : 0;
}

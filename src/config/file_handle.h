// Owners for open files: handles of the system, and streams of the C library.
#pragma once

#include <windows.h>

#include <cstdio>

#include "base/unique_resource.h"

namespace cam::config {

struct FileHandlePolicy {
    using Type = HANDLE;
    static Type Empty() { return INVALID_HANDLE_VALUE; }
    static void Close(Type handle) { CloseHandle(handle); }
};
using UniqueFileHandle = UniqueResource<FileHandlePolicy>;

struct StreamPolicy {
    using Type = FILE*;
    static Type Empty() { return nullptr; }
    static void Close(Type stream) { fclose(stream); }
};
using UniqueStream = UniqueResource<StreamPolicy>;

}  // namespace cam::config

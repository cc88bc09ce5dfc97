// Included before everything else: what the tests' sources expect of their project's own headers.
#pragma once

#define __WINE_ALLOC_SIZE(...)
#define __WINE_DEALLOC(...)
#define __WINE_MALLOC
#define __WINE_PRINTF_ATTR(format, arguments)
#define DECLSPEC_HIDDEN
#define NO_DSHOW_STRSAFE
#include <stdarg.h>
#include <windows.h>

#ifndef ARRAY_SIZE
#define ARRAY_SIZE(x) (sizeof(x) / sizeof((x)[0]))
#endif

extern const GUID OcellusGrabber, OcellusSink;
const char* wine_dbgstr_w(const WCHAR* text);
const char* wine_dbgstr_guid(const GUID* id);
#define CLSID_SampleGrabber OcellusGrabber
#define CLSID_NullRenderer OcellusSink

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

// Frames of 32 x 16 pixels, RGB 5-6-5.
#define FRAME_MAJOR                                        \
    {                                                      \
        0x73646976, 0x0000, 0x0010, {                      \
            0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71 \
        }                                                  \
    }
#define FRAME_SUB                                          \
    {                                                      \
        0xE436EB7B, 0x524F, 0x11CE, {                      \
            0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70 \
        }                                                  \
    }
#define FRAME_FORMAT                                       \
    {                                                      \
        0x05589F80, 0xC356, 0x11CE, {                      \
            0xBF, 0x01, 0x00, 0xAA, 0x00, 0x55, 0x59, 0x5A \
        }                                                  \
    }
extern BYTE frameFormat[88];
BOOL IsFrameType(const void* mediaType);

/* The record of a found file is shorter than the desktop's: the file's object identifier stands where that
 * has two reserved words and short names. */
#ifndef OCELLUS_CE_MINWINBASE_H
#define OCELLUS_CE_MINWINBASE_H

#define _WIN32_FIND_DATAW DesktopFindData
#define WIN32_FIND_DATAW DesktopFindDataType
#define PWIN32_FIND_DATAW DesktopFindDataPointer
#define LPWIN32_FIND_DATAW DesktopFindDataLongPointer
#include_next <minwinbase.h>
#undef _WIN32_FIND_DATAW
#undef WIN32_FIND_DATAW
#undef PWIN32_FIND_DATAW
#undef LPWIN32_FIND_DATAW

typedef struct _WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwOID;
    WCHAR cFileName[MAX_PATH];
} WIN32_FIND_DATAW, *PWIN32_FIND_DATAW, *LPWIN32_FIND_DATAW;

#endif

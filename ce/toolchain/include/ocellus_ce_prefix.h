/*
 * Included before everything else in a Windows CE build: what the target's own compiler would predefine, and
 * the fundamental types as the ARM compiler has them, declared before the desktop headers choose others.
 */
#ifndef OCELLUS_CE_PREFIX_H
#define OCELLUS_CE_PREFIX_H

#if defined(__ARM_PCS) && !defined(OCELLUS_CE_OTHER_CONVENTION) /* a test has it on purpose */
#error The calling convention of the system is that of -mabi=apcs-gnu: the other one passes 64-bit arguments elsewhere
#endif

#define _WIN32 1
#define _WIN32_WCE 0x500
#define UNDER_CE 500
#define UNICODE 1
#define _UNICODE 1
#define _M_ARM 1
#define ARM 1
#define __MSVCRT__ 1
#define WINVER 0x0601
#define _WIN32_WINNT 0x0601

#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#define NO_DSHOW_STRSAFE
#define STRSAFE_NO_DEPRECATE
#define __CRT__NO_INLINE 1
#define __USE_MINGW_ANSI_STDIO 0
#define _ALLOCA_S_MARKER_SIZE 8 /* malloc.h has it for the desktop's processors only */

/* There is one calling convention, and imports go through thunks. */
#define __stdcall
#define __cdecl
#define __fastcall
#define __thiscall
#define __declspec(x)

/* The compiler's operator new takes its own size type, so size_t has to be that one everywhere. */
#define _SIZE_T_DEFINED
#define _SSIZE_T_DEFINED
#define _PTRDIFF_T_DEFINED
#define _INTPTR_T_DEFINED
#define _UINTPTR_T_DEFINED
typedef __SIZE_TYPE__ size_t;
typedef __PTRDIFF_TYPE__ ptrdiff_t;
typedef int ssize_t;
typedef int intptr_t;
typedef unsigned int uintptr_t;

/* The first declaration decides the alignment: 64-bit members of the system's records stand on 8-byte
   boundaries, although the calling convention packs 64-bit arguments to 4 bytes. */
typedef long long LONGLONG __attribute__((aligned(8)));
typedef unsigned long long ULONGLONG __attribute__((aligned(8)));
typedef unsigned long long DWORDLONG __attribute__((aligned(8)));
typedef double DOUBLE __attribute__((aligned(8)));
typedef double DATE __attribute__((aligned(8)));

/* The desktop's windows.h brings offsetof along. */
#include <stddef.h>

#endif

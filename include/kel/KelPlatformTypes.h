// KelPlatformTypes.h - the operating-system types that appear in the interface.
//
// On Windows these come from <windows.h>. Elsewhere this header defines them
// under the same names, with the same sizes and field names, so that host
// code uses one set of names on every system:
//
//   SYSTEMTIME st = {};      // wYear, wMonth, ... as on Windows
//   unsigned __int64 size = MAX_PATH;

#ifndef KEL_KELPLATFORMTYPES_H
#define KEL_KELPLATFORMTYPES_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)

// clang-format off
#include <windows.h>  // first: the other system headers rely on its types
#include <oleauto.h>
// clang-format on

#else  // !_WIN32

#include <errno.h>

#ifndef __int64
// As MinGW does it: a macro, so that "unsigned __int64" is well formed.
#define __int64 long long
#endif

#ifndef _ERRNO_T_DEFINED
#define _ERRNO_T_DEFINED
typedef int errno_t;
#endif

typedef struct HWND__* HWND;

// A COM string: the text is preceded by its length in bytes (32 bits) and
// followed by a terminator. Release it with kelSysFreeString.
typedef wchar_t* BSTR;

typedef struct _SYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek;
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;

// 100-nanosecond intervals since 1601-01-01 00:00:00 UTC.
typedef struct _FILETIME {
    uint32_t dwLowDateTime;
    uint32_t dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

#ifndef MAX_PATH
#define MAX_PATH 260
#endif

// Message-box styles.
#define MB_OK 0x00000000L
#define MB_OKCANCEL 0x00000001L
#define MB_ABORTRETRYIGNORE 0x00000002L
#define MB_YESNOCANCEL 0x00000003L
#define MB_YESNO 0x00000004L
#define MB_RETRYCANCEL 0x00000005L
#define MB_CANCELTRYCONTINUE 0x00000006L
#define MB_ICONHAND 0x00000010L
#define MB_ICONQUESTION 0x00000020L
#define MB_ICONEXCLAMATION 0x00000030L
#define MB_ICONASTERISK 0x00000040L
#define MB_ICONWARNING MB_ICONEXCLAMATION
#define MB_ICONERROR MB_ICONHAND
#define MB_ICONINFORMATION MB_ICONASTERISK
#define MB_ICONSTOP MB_ICONHAND
#define MB_DEFBUTTON1 0x00000000L
#define MB_DEFBUTTON2 0x00000100L
#define MB_DEFBUTTON3 0x00000200L
#define MB_DEFBUTTON4 0x00000300L
#define MB_APPLMODAL 0x00000000L
#define MB_SYSTEMMODAL 0x00001000L
#define MB_TASKMODAL 0x00002000L
#define MB_SETFOREGROUND 0x00010000L
#define MB_TOPMOST 0x00040000L
#define MB_TYPEMASK 0x0000000FL
#define MB_ICONMASK 0x000000F0L
#define MB_DEFMASK 0x00000F00L

// Message-box results.
#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7
#define IDTRYAGAIN 10
#define IDCONTINUE 11

#endif  // _WIN32

// The runtime's bounded-function constants, on every system.
#ifndef _TRUNCATE
#define _TRUNCATE ((size_t)-1)
#endif
#ifndef STRUNCATE
#define STRUNCATE 80
#endif

#endif  // KEL_KELPLATFORMTYPES_H

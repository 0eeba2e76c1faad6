/// @file KelPlatformTypes.h
/// The operating-system types that appear in the interface.
///
/// On Windows these come from <windows.h>. Elsewhere this header defines them
/// under the same names, with the same sizes and field names, so that host
/// code uses one set of names on every system:
///
/// @code
///   SYSTEMTIME st = {};      // wYear, wMonth, ... as on Windows
///   unsigned __int64 size = MAX_PATH;
/// @endcode

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
/// As MinGW does it: a macro, so that "unsigned __int64" is well formed.
#define __int64 long long
#endif

#ifndef _ERRNO_T_DEFINED
/// Defined together with errno_t, as the Windows runtime's headers do, so
/// that other headers that test it leave errno_t alone.
#define _ERRNO_T_DEFINED
/// The error number the bounded runtime routines return: 0 or an errno value.
typedef int errno_t;
#endif

/// A window handle: the owner of message boxes and of the progress dialog.
/// Outside Windows it is opaque: the library hands it to the message-box hook
/// (kelSetMessageBoxHandler) and otherwise does not use it.
typedef struct HWND__* HWND;

/// A COM string: the text is preceded by its length in bytes (32 bits) and
/// followed by a terminator. Release it with kelSysFreeString.
typedef wchar_t* BSTR;

/// A calendar date and time of day, as Windows keeps it; which time zone
/// it is in depends on where it came from.
typedef struct _SYSTEMTIME {
    uint16_t wYear;          ///< the year, for example 2024
    uint16_t wMonth;         ///< 1 (January) to 12
    uint16_t wDayOfWeek;     ///< 0 (Sunday) to 6 (Saturday)
    uint16_t wDay;           ///< the day of the month, 1 to 31
    uint16_t wHour;          ///< 0 to 23
    uint16_t wMinute;        ///< 0 to 59
    uint16_t wSecond;        ///< 0 to 59
    uint16_t wMilliseconds;  ///< 0 to 999
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;
/// @typedef PSYSTEMTIME
/// A pointer to a SYSTEMTIME.
/// @typedef LPSYSTEMTIME
/// A pointer to a SYSTEMTIME.

/// 100-nanosecond intervals since 1601-01-01 00:00:00 UTC.
typedef struct _FILETIME {
    uint32_t dwLowDateTime;   ///< the low 32 bits of the count
    uint32_t dwHighDateTime;  ///< the high 32 bits of the count
} FILETIME, *PFILETIME, *LPFILETIME;
/// @typedef PFILETIME
/// A pointer to a FILETIME.
/// @typedef LPFILETIME
/// A pointer to a FILETIME.

#ifndef MAX_PATH
/// The capacity of a path in characters, terminator included.
#define MAX_PATH 260
#endif

/// @name Message-box styles
/// The values of Windows. A style is one button set, one icon and one
/// default button or'ed together, with any of the flags that follow them.
/// The box drawn on Linux has the buttons, the icon and the default button;
/// it honours MB_TOPMOST and MB_SETFOREGROUND, and no owner.
///@{
#define MB_OK 0x00000000L                   ///< an OK button
#define MB_OKCANCEL 0x00000001L             ///< OK and Cancel buttons
#define MB_ABORTRETRYIGNORE 0x00000002L     ///< Abort, Retry and Ignore buttons
#define MB_YESNOCANCEL 0x00000003L          ///< Yes, No and Cancel buttons
#define MB_YESNO 0x00000004L                ///< Yes and No buttons
#define MB_RETRYCANCEL 0x00000005L          ///< Retry and Cancel buttons
#define MB_CANCELTRYCONTINUE 0x00000006L    ///< Cancel, Try Again and Continue buttons
#define MB_ICONHAND 0x00000010L             ///< the error (stop) icon
#define MB_ICONQUESTION 0x00000020L         ///< the question icon
#define MB_ICONEXCLAMATION 0x00000030L      ///< the warning (exclamation) icon
#define MB_ICONASTERISK 0x00000040L         ///< the information icon
#define MB_ICONWARNING MB_ICONEXCLAMATION   ///< the warning icon
#define MB_ICONERROR MB_ICONHAND            ///< the error icon
#define MB_ICONINFORMATION MB_ICONASTERISK  ///< the information icon
#define MB_ICONSTOP MB_ICONHAND             ///< the error icon
#define MB_DEFBUTTON1 0x00000000L           ///< the first button is the default
#define MB_DEFBUTTON2 0x00000100L           ///< the second button is the default
#define MB_DEFBUTTON3 0x00000200L           ///< the third button is the default
#define MB_DEFBUTTON4 0x00000300L           ///< a fourth (help) button is the default
#define MB_APPLMODAL 0x00000000L            ///< modal for the owner window
#define MB_SYSTEMMODAL 0x00001000L          ///< modal, and above every other window
#define MB_TASKMODAL 0x00002000L            ///< modal for the calling thread's windows
#define MB_SETFOREGROUND 0x00010000L        ///< brought to the foreground
#define MB_TOPMOST 0x00040000L              ///< kept above other windows
#define MB_TYPEMASK 0x0000000FL             ///< the bits of the button set
#define MB_ICONMASK 0x000000F0L             ///< the bits of the icon
#define MB_DEFMASK 0x00000F00L              ///< the bits of the default button
///@}

/// @name Message-box results
/// The button the user chose.
///@{
#define IDOK 1                              ///< OK
#define IDCANCEL 2                          ///< Cancel, or the box closed where it has Cancel
#define IDABORT 3                           ///< Abort
#define IDRETRY 4                           ///< Retry
#define IDIGNORE 5                          ///< Ignore
#define IDYES 6                             ///< Yes
#define IDNO 7                              ///< No
#define IDTRYAGAIN 10                       ///< Try Again
#define IDCONTINUE 11                       ///< Continue
///@}

#endif  // _WIN32

// The runtime's bounded-function constants, on every system.
#ifndef _TRUNCATE
/// A count for the bounded copies (kelstrncpy, kelstrncat, ...): copy what
/// fits and return STRUNCATE when that is not all.
#define _TRUNCATE ((size_t)-1)
#endif
#ifndef STRUNCATE
/// The result of a bounded copy that _TRUNCATE cut short.
#define STRUNCATE 80
#endif

#endif  // KEL_KELPLATFORMTYPES_H

/// @file KelPlatform.h
/// Process-wide services the library shares with its host.
///
/// The last-error value, the debug-output sink, the handler the bounded
/// runtime functions call on invalid parameters, the message-box hook, the
/// calling thread's id and the narrow code page the library converts with.
///
/// @code
///   kelSetDebugOutputHandler([](const wchar_t* text, void*) { log(text); }, nullptr);
///   if (!ok) printf("failed: %lu\n", kelGetLastError());
/// @endcode

#ifndef KEL_KELPLATFORM_H
#define KEL_KELPLATFORM_H

#include <kel/KelExport.h>
#include <kel/KelPlatformTypes.h>

#include <stdint.h>

/// The calling thread's last-error value, with the Windows error codes the
/// library uses (for example 80 "file exists", 122 "insufficient buffer").
/// On Windows these forward to GetLastError / SetLastError; elsewhere the
/// value is thread-local.
KEL_API unsigned long kelGetLastError();
/// @copydoc kelGetLastError
KEL_API void kelSetLastError(unsigned long code);

/// Receives every line the library writes to the debugger output.
typedef void (*KelDebugOutputHandler)(const wchar_t* text, void* context);

/// Installs `handler` (with `context` passed back on each call) as the
/// debug-output sink; a null handler restores the default. By default the
/// output goes to the debugger on Windows and nowhere elsewhere, and to
/// stderr as well when the environment variable KEL_DEBUG_OUTPUT is "1".
KEL_API void kelSetDebugOutputHandler(KelDebugOutputHandler handler, void* context);

/// Writes `text` to the debug-output sink. A null pointer writes nothing.
KEL_API void kelOutputDebugString(const wchar_t* text);

/// Called by the library's bounded runtime functions when an argument is
/// invalid (null pointer, zero size, a result that does not fit). The
/// signature is that of the Windows runtime's _invalid_parameter_handler:
/// the violated condition, the function that detected it, the source file
/// and line (null and 0 when not known), and a reserved 0.
typedef void (*KelInvalidParameterHandler)(const wchar_t* expression, const wchar_t* function,
                                           const wchar_t* file, unsigned int line,
                                           uintptr_t reserved);

/// Installs a handler and returns the previous one; a null handler restores
/// the default, which reports to the debug-output sink and returns, so that
/// the failing function returns its error number. A host that prefers to
/// stop the process installs a handler that aborts. The previous handler is
/// null while the default was in place.
KEL_API KelInvalidParameterHandler
kelSetInvalidParameterHandler(KelInvalidParameterHandler handler);
/// The handler installed now; null while the default is in place.
KEL_API KelInvalidParameterHandler kelGetInvalidParameterHandler();

/// Shows one message box for the library: `owner` is the owner window (may
/// be null), `style` the MB_* flags (buttons, icon, default button). Returns
/// the button the user chose (IDOK 1, IDCANCEL 2, IDABORT 3, IDRETRY 4,
/// IDIGNORE 5, IDYES 6, IDNO 7), or 0 when the box could not be shown.
typedef int (*KelMessageBoxHandler)(HWND owner, const wchar_t* text, const wchar_t* caption,
                                    unsigned int style, void* context);

/// Installs `handler` (with `context` passed back on each call) as the one
/// way the library shows message boxes: its own boxes, KelWinMessage, the
/// error tracer's, the performance monitor's and the progress dialog's all
/// pass through it. A null handler restores the default: MessageBoxW on
/// Windows; elsewhere a dialog of the desktop's toolkit when a display
/// exists, otherwise one line "caption: text" on stderr and the result 0.
/// A host that draws its own dialogs (a Qt or GTK application) installs its
/// own here.
KEL_API void kelSetMessageBoxHandler(KelMessageBoxHandler handler, void* context);

/// The operating system's id of the calling thread (the kernel thread id on
/// Linux, GetCurrentThreadId on Windows).
KEL_API unsigned long kelGetCurrentThreadId();

/// The narrow ("ANSI") code page of the process: what code page 0 means in
/// every conversion of the library. On Windows the system's ANSI code page;
/// elsewhere 65001 (UTF-8) unless the environment variable KEL_ACP names
/// another Windows code page number (for example 1252 or 932) when the
/// library is loaded.
KEL_API unsigned int kelGetNarrowCodePage();

#endif  // KEL_KELPLATFORM_H

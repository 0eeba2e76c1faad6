// Message boxes: every box the library shows passes through here.
//
// A host that draws its own dialogs installs a handler with
// kelSetMessageBoxHandler; without one the system half shows the box (the
// system's message box on Windows; elsewhere the user-interface backend, or
// one line on stderr when there is no display).
//
//   int answer = kel::detail::showMessageBox(owner, L"Continue?", L"Gantrix", MB_YESNO);

#ifndef KEL_PLATFORM_MESSAGE_BOX_H
#define KEL_PLATFORM_MESSAGE_BOX_H

#include <kel/KelPlatformTypes.h>

namespace kel::detail {

// Shows a box through the installed handler, or the system default, and
// returns its result (IDOK, IDYES, ...; 0 when no box could be shown).
// Null texts are shown as empty ones.
int showMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style);

// The system half: the box shown when the host installed no handler.
int systemMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style);

// The box every system can show: one line "caption: text" on stderr,
// result 0 (no box was shown).
int consoleMessageBox(const wchar_t* text, const wchar_t* caption);

}  // namespace kel::detail

#endif  // KEL_PLATFORM_MESSAGE_BOX_H

// The user-interface backend: the one place where the library draws windows.
//
// Two things are drawn: the message box that the default message-box
// handler shows, and the progress dialog of KelProgressCtrlWindow. On
// Windows they are MessageBoxW and a modeless dialog built from dialog
// resource 101 of the library's module. Elsewhere they are GTK 3 windows;
// GTK is loaded at run time ("libgtk-3.so.0"), so the library neither links
// it nor fails to load without it.
//
//   if (kel::detail::ui::createProgressDialog()) {
//       kel::detail::ui::setProgressTitle(L"Copying parts");
//       kel::detail::ui::setProgressPercent(42);      // bar at 42, text "42%"
//   }
//
// Threads: the library has no main loop, and GTK may only ever be used from
// one thread. On Linux the first thread that shows a window through this
// backend owns GTK for the rest of the process; on any other thread a
// message box falls back to the console line and the progress dialog cannot
// be created. On Windows a message box may come from any thread, and the
// progress dialog belongs to the thread that created it, whose message loop
// serves it. Either way: show the progress dialog from the application's
// user-interface thread.

#ifndef KEL_PROCESS_UI_BACKEND_H
#define KEL_PROCESS_UI_BACKEND_H

#include <kel/KelPlatformTypes.h>

#include <string>

namespace kel::detail::ui {

// Item ids of the progress dialog (dialog resource 101).
constexpr int kProgressDialogId = 101;
constexpr int kProgressBarId = 1001;
constexpr int kProgressTitleId = 1002;
constexpr int kProgressPercentId = 1003;

// The text of the title line before a title is set.
constexpr const wchar_t* kProgressInitialTitle = L"Progress of the process ";
// Shown when the dialog's progress bar cannot be created.
constexpr const wchar_t* kProgressBarNotCreated = L"Progress Bar not created!";

// Whether the toolkit can show windows on the calling thread: a display
// exists and the toolkit loaded (always true on Windows). The answer about
// the display is settled by the first call and kept for the process.
bool available();

// Shows a modal message box with the buttons, icon and default button that
// `style` names (MB_* flags) and returns the button chosen (IDOK ... IDNO,
// IDTRYAGAIN, IDCONTINUE). Returns -1, without showing anything, when no box
// can be shown here (no display, no toolkit, or not the toolkit's thread).
int messageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style);

// Creates the process-wide progress dialog (owner none) with its title
// line, bar (range 0 to 100, step 1, at 0) and empty percentage text, and
// shows it. A dialog that already exists is destroyed first: there is one
// for the whole process. False when no dialog can be created. When the bar
// alone cannot be made, the dialog says "Progress Bar not created!" in a
// box and exists without it.
bool createProgressDialog();

// Destroys the progress dialog; nothing when there is none.
void destroyProgressDialog();

// True while the progress dialog exists.
bool progressDialogExists();

// Sets the title line (item 1002). Nothing when there is no dialog.
void setProgressTitle(const wchar_t* title);

// Moves the bar to `percent` and sets the percentage text (item 1003) to
// "<percent>%". Nothing when there is no dialog.
void setProgressPercent(int percent);

// The text of an item of the progress dialog (1002 or 1003) as the window
// shows it; empty when there is no dialog or no such item.
std::wstring progressItemText(int id);

// Shows the one message the dialog itself has: "Progress Bar not created!"
// in a plain box without caption, through the message-box hook.
void showBarNotCreated();

// The position of the dialog's bar, 0 to 100; -1 when there is no dialog.
int progressBarPosition();

// The window-system id of the progress dialog (an X11 window id, or the
// HWND), 0 when there is none. For tests and tools that look at the window
// from outside.
unsigned long progressWindowId();

}  // namespace kel::detail::ui

#endif  // KEL_PROCESS_UI_BACKEND_H

/// @file KelMessage.h
/// Message boxes: the library's one way of telling the user something.
///
/// @code
///   KelMessage::setCadHWND(mainWindow);               // once, at start-up
///   KelMessage::messageBox(L"Numbering", 310);         // prompt ("Numbering", 310)
///   if (KelMessage::messageBoxYesNo(1205, nullptr)) { ... }   // the user chose Yes
///   KelWinMessage::messageBox(L"Licence file not found");
/// @endcode
///
/// The texts of most boxes, and always their caption, come from the host's
/// prompts database through KelPromptsProxy: the caption is the prompt of
/// section "GUI", number 14200. Those prompt-based boxes stay silent while a
/// property sheet is marked open or while the host has not set its prompt
/// function (showMessage() is false then); a silenced Yes/No box answers 0.
/// The two overloads with an explicit caption and KelWinMessage always show.
///
/// Every box passes through the message-box hook of KelPlatform.h
/// (kelSetMessageBoxHandler): a host that draws its own dialogs receives
/// owner, text, caption and style there. Without a hook the box is the
/// system's (MessageBoxW on Windows, a GTK dialog on Linux with a display)
/// or, without a display, one line "caption: text" on stderr.
///
/// Boxes are modal and block the caller; call them from the application's
/// user-interface thread. Nothing is locked.

#ifndef KEL_KELMESSAGE_H
#define KEL_KELMESSAGE_H

#include <kel/KelExport.h>
#include <kel/KelPlatformTypes.h>
#include <kel/KelString.h>
#include <kel/KelStringClassArray.h>

/// @copydoc KelMessage.h
class KEL_API KelMessage {
public:
    /// True when no property sheet is marked open and the prompts service
    /// has its prompt-lookup function set: the condition for every
    /// prompt-based box below to appear.
    static bool showMessage();

    /// Stores the application's main window, the default owner of every box.
    static void setCadHWND(HWND hwnd);

    /// Marks a property sheet open (nonzero) or closed (0); while one is
    /// open the prompt-based boxes are suppressed.
    static void propertySheetOpen(int open);
    /// The value last given to propertySheetOpen (0 initially).
    static int isPropertySheetOpen();

    /// Shows `text` with the information icon, owned by `owner`, or by
    /// m_CadHWND when `owner` is null. Suppressed unless showMessage().
    static void messageBox(const KelString& text, HWND owner);

    /// The same as messageBox(text, nullptr): owned by m_CadHWND.
    static void printError(const KelString& text);

    /// Shows the prompt (`section`, `number`) with the information icon,
    /// owned by m_CadHWND. Suppressed unless showMessage().
    static void messageBox(const KelString& section, int number);

    /// Shows the prompt ("GUI", `number`) with the information icon, brought
    /// to the foreground and kept on top (MB_SETFOREGROUND | MB_TOPMOST).
    /// Suppressed unless showMessage().
    static void messageBox(int number);

    /// Shows the prompt ("GUI", `number`) followed, for each entry of `lines`
    /// in order, by "\n" and the entry; information icon, owner m_CadHWND.
    /// An empty array shows the prompt alone. Suppressed unless showMessage().
    static void messageBox(int number, KelStringClassArray lines);

    /// Asks the prompt ("GUI", `number`) with Yes and No buttons and the
    /// information icon, owned by `owner`, or by m_CadHWND when it is null.
    /// 1 when the user chose Yes; 0 for No, for a box that could not be
    /// shown, and when suppressed (showMessage() false).
    static int messageBoxYesNo(int number, HWND owner);

    /// Asks `text` with Yes and No buttons, owned by m_CadHWND. 1 for Yes,
    /// else 0; 0 when suppressed.
    static int messageBoxYesNo(const KelString& text);

    /// Shows `text` with `caption` and the MB_* `style` as given, owned by
    /// m_CadHWND, and returns the platform result (IDOK 1 ... IDNO 7; 0 when
    /// no box could be shown). Never suppressed.
    static int messageBox(const KelString& text, const KelString& caption, unsigned int style);

    /// The same with the owner as given (null: no owner). Never suppressed.
    static int messageBox(const KelString& text, const KelString& caption, unsigned int style,
                          HWND owner);

    /// The default owner of every box; null until setCadHWND.
    static HWND m_CadHWND;
    /// Nonzero while a property sheet is open.
    static int m_propertySheetIsOpen;
};

/// A plain message box captioned with the product name, for messages that
/// must reach the user before prompts or the main window exist.
///
/// @see KelMessage, whose example shows it too.
class KEL_API KelWinMessage {
public:
    /// Shows `text` with the information icon and no owner, captioned with
    /// the product name (KelProductDefines::getGXProductName(), "Gantrix"
    /// unless the host changed it). Needs neither prompts nor an owner and
    /// is never suppressed. Returns the platform result (IDOK, or 0 when no
    /// box could be shown).
    static int messageBox(const KelString& text);
};

#endif  // KEL_KELMESSAGE_H

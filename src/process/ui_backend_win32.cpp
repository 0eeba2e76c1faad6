// The user-interface backend on Windows: MessageBoxW, and the progress
// dialog built from dialog resource 101 of the module that holds this code
// (kel.dll; a program that links the library statically carries the
// resource only if it compiles resources/progress_dialog.rc itself).

#include <windows.h>

#include <commctrl.h>

#include <cwchar>

#include "process/ui_backend.h"

namespace kel::detail::ui {

namespace {

// One dialog for the whole process, and its bar.
HWND g_dialog = nullptr;
HWND g_bar = nullptr;

INT_PTR CALLBACK progressDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM);

// The module whose resources hold the dialog: the one this code is in.
HINSTANCE ownModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<LPCWSTR>(&progressDialogProc), &module);
    return module;
}

INT_PTR CALLBACK progressDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
        case WM_INITDIALOG:
            // The bar is made here rather than in the template; created without
            // a title, smooth, range 0 to 100, step 1.
            g_bar = CreateWindowExW(0, PROGRESS_CLASSW, nullptr, WS_CHILD | WS_VISIBLE | PBS_SMOOTH,
                                    10, 40, 290, 20, dialog,
                                    reinterpret_cast<HMENU>(static_cast<INT_PTR>(kProgressBarId)),
                                    ownModule(), nullptr);
            if (g_bar == nullptr) {
                showBarNotCreated();
            } else {
                SendMessageW(g_bar, PBM_SETRANGE, 0, MAKELPARAM(0, 100));
                SendMessageW(g_bar, PBM_SETSTEP, 1, 0);
            }
            return TRUE;
        case WM_COMMAND:
            if (LOWORD(wParam) == IDOK || LOWORD(wParam) == IDCANCEL) {
                EndDialog(dialog, LOWORD(wParam));
                return TRUE;
            }
            break;
        default:
            break;
    }
    return FALSE;
}

// The common controls are loaded when the first dialog needs its bar, not
// linked: a host that never shows the dialog does not pay for them, and a
// process without a desktop (a service, Wine without a display) starts
// even though they could not initialise there.
bool registerProgressClass() {
    HMODULE commonControls = LoadLibraryW(L"comctl32.dll");
    if (commonControls == nullptr)
        return false;
    using Init = BOOL(WINAPI*)(const INITCOMMONCONTROLSEX*);
    const auto init = reinterpret_cast<Init>(
        reinterpret_cast<void*>(GetProcAddress(commonControls, "InitCommonControlsEx")));
    INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_PROGRESS_CLASS};
    return init != nullptr && init(&controls) != FALSE;
}

// The library has no message loop of its own: the changed dialog is
// painted at once instead of when the host's loop next runs.
void repaint() {
    RedrawWindow(g_dialog, nullptr, nullptr,
                 RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
}

}  // namespace

bool available() {
    return true;
}

int messageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style) {
    const int result = MessageBoxW(owner, text, caption, style);
    return result != 0 ? result : -1;
}

bool createProgressDialog() {
    destroyProgressDialog();
    static const bool commonControls = registerProgressClass();
    (void)commonControls;  // without it the bar is missing, and the dialog says so
    g_dialog = CreateDialogParamW(ownModule(), MAKEINTRESOURCEW(kProgressDialogId), nullptr,
                                  progressDialogProc, 0);
    if (g_dialog == nullptr) {
        g_bar = nullptr;
        return false;
    }
    ShowWindow(g_dialog, SW_SHOW);
    repaint();
    return true;
}

void destroyProgressDialog() {
    if (g_dialog != nullptr)
        DestroyWindow(g_dialog);
    g_dialog = nullptr;
    g_bar = nullptr;
}

bool progressDialogExists() {
    return g_dialog != nullptr;
}

void setProgressTitle(const wchar_t* title) {
    if (g_dialog == nullptr)
        return;
    SetDlgItemTextW(g_dialog, kProgressTitleId, title != nullptr ? title : L"");
    repaint();
}

void setProgressPercent(int percent) {
    if (g_dialog == nullptr)
        return;
    if (g_bar != nullptr)
        SendMessageW(g_bar, PBM_SETPOS, static_cast<WPARAM>(percent), 0);
    wchar_t text[16];
    std::swprintf(text, 16, L"%d%%", percent);
    SetDlgItemTextW(g_dialog, kProgressPercentId, text);
    repaint();
}

std::wstring progressItemText(int id) {
    if (g_dialog == nullptr || GetDlgItem(g_dialog, id) == nullptr)
        return std::wstring();
    wchar_t text[512] = {};
    GetDlgItemTextW(g_dialog, id, text, 512);
    return text;
}

int progressBarPosition() {
    if (g_dialog == nullptr)
        return -1;
    return g_bar != nullptr ? static_cast<int>(SendMessageW(g_bar, PBM_GETPOS, 0, 0)) : 0;
}

unsigned long progressWindowId() {
    // Window handles carry 32 significant bits, also in 64-bit processes.
    return static_cast<unsigned long>(reinterpret_cast<uintptr_t>(g_dialog));
}

}  // namespace kel::detail::ui

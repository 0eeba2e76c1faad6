#include <windows.h>

#include "platform/message_box.h"
#include "process/ui_backend.h"

namespace kel::detail {

// MessageBoxW; the console line where the system cannot show a box (a
// service without a desktop).
int systemMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style) {
    const int result = ui::messageBox(owner, text, caption, style);
    return result >= 0 ? result : consoleMessageBox(text, caption);
}

}  // namespace kel::detail

#include "platform/message_box.h"
#include "process/ui_backend.h"

namespace kel::detail {

// A GTK dialog where there is a display and GTK can be loaded (on the
// thread that uses GTK); the console line otherwise.
int systemMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style) {
    const int result = ui::messageBox(owner, text, caption, style);
    return result >= 0 ? result : consoleMessageBox(text, caption);
}

}  // namespace kel::detail

#include "platform/message_box.h"

namespace kel::detail {

int systemMessageBox(HWND, const wchar_t* text, const wchar_t* caption, unsigned int) {
    return consoleMessageBox(text, caption);
}

}  // namespace kel::detail

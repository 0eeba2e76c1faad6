#include <windows.h>

#include "platform/message_box.h"

namespace kel::detail {

int systemMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style) {
    return ::MessageBoxW(owner, text, caption, style);
}

}  // namespace kel::detail

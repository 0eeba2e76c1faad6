#include "process/ui_backend.h"

#include "platform/message_box.h"

namespace kel::detail::ui {

void showBarNotCreated() {
    showMessageBox(nullptr, kProgressBarNotCreated, L"", MB_OK);
}

}  // namespace kel::detail::ui

// Demonstration: the progress dialog running from 0 to 100, and one message
// box, when there is a display to show them on.

#include <kel/Kel.h>

#include <chrono>
#include <string>
#include <thread>

#include "command.h"
#include "process/ui_backend.h"

namespace kel::tool {

namespace {

std::string n(int value) {
    return std::to_string(value);
}

void showWindows() {
    if (!kel::detail::ui::available()) {
        line("No display: the progress dialog and the message box are skipped.");
        return;
    }
    const int activated = KelProgressCtrl::activate(L"kel demo: numbering 100 parts");
    line("KelProgressCtrl::activate(L\"kel demo: numbering 100 parts\") -> " + n(activated));
    if (activated != 0) {
        for (int percent = 0; percent <= 100; ++percent) {
            KelProgressCtrl::setPercentage(percent, 0);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        int percent = -1;
        KelProgressCtrl::getPercentage(percent);
        line("setPercentage(0 .. 100, 0), then getPercentage -> " + n(percent));
        line("KelProgressCtrl::reset() -> " + n(KelProgressCtrl::reset()));
    }
    line("KelWinMessage::messageBox(...): answer the box to go on");
    const int answer =
        KelWinMessage::messageBox(L"The progress dialog ran from 0 to 100 %. Press OK.");
    line("-> " + n(answer) + (answer == IDOK ? " (IDOK)" : ""));
}

const DemoSection ui(75, "Message boxes and the progress dialog", showWindows);

}  // namespace

}  // namespace kel::tool

// "kel message": a message box from the shell, for scripts.
//
//   kel message TEXT [--caption CAPTION] [--yesno]
//
// Shows TEXT in a box with an OK button (with Yes and No buttons and the
// question icon for --yesno), captioned with CAPTION or the product name,
// and exits with the button chosen: 1 OK, 6 Yes, 7 No, 2 for a closed box
// that has Cancel. Without a display the box is one line "CAPTION: TEXT" on
// stderr and the exit code is 0, the result of a box that was not shown.

#include <kel/Kel.h>

#include <cstdio>
#include <string>
#include <vector>

#include "command.h"

namespace kel::tool {

namespace {

constexpr char kUsage[] =
    "usage: kel message TEXT [--caption CAPTION] [--yesno]\n"
    "\n"
    "Shows TEXT in a message box with an OK button, or with Yes and No for\n"
    "--yesno, captioned with CAPTION or the product name. The exit code is the\n"
    "button chosen: 1 OK, 6 Yes, 7 No, 2 a closed box that has Cancel. Without\n"
    "a display the box is one line \"CAPTION: TEXT\" on stderr, exit code 0.\n";

int runMessage(const std::vector<std::string>& arguments) {
    const std::string* text = nullptr;
    const std::string* caption = nullptr;
    bool yesNo = false;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--yesno") {
            yesNo = true;
        } else if (argument == "--caption" && i + 1 < arguments.size() && caption == nullptr) {
            caption = &arguments[++i];
        } else if (argument.empty() || argument[0] != '-' || argument == "-") {
            if (text != nullptr)
                return usageError(kUsage);
            text = &argument;
        } else {
            return usageError(kUsage);
        }
    }
    if (text == nullptr)
        return usageError(kUsage);
    const KelString shownCaption = caption != nullptr
                                       ? KelString(caption->c_str())
                                       : KelString(KelProductDefines::getGXProductName());
    const unsigned int style = yesNo ? MB_YESNO | MB_ICONQUESTION : MB_OK | MB_ICONINFORMATION;
    return KelMessage::messageBox(KelString(text->c_str()), shownCaption, style,
                                  static_cast<HWND>(nullptr));
}

const Command messageCommand("message", "show a message box; the exit code is the answer", kUsage,
                             runMessage);

}  // namespace

}  // namespace kel::tool

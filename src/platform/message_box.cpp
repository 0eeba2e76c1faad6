#include "platform/message_box.h"

#include <kel/KelPlatform.h>

#include <cstdio>
#include <mutex>
#include <string>

#include "platform/utf.h"

namespace kel::detail {

namespace {

struct Hook {
    std::mutex mutex;
    KelMessageBoxHandler handler = nullptr;
    void* context = nullptr;
};

Hook& hook() {
    static Hook* instance = new Hook;  // never destroyed: a box may come during exit
    return *instance;
}

}  // namespace

int showMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style) {
    if (text == nullptr)
        text = L"";
    if (caption == nullptr)
        caption = L"";
    Hook& h = hook();
    KelMessageBoxHandler handler;
    void* context;
    {
        std::lock_guard<std::mutex> lock(h.mutex);
        handler = h.handler;
        context = h.context;
    }
    // The lock is not held while the box is up: a handler may show another.
    if (handler != nullptr)
        return handler(owner, text, caption, style, context);
    return systemMessageBox(owner, text, caption, style);
}

int consoleMessageBox(const wchar_t* text, const wchar_t* caption) {
    std::string line = wideToUtf8(caption);
    line += ": ";
    line += wideToUtf8(text);
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
    return 0;
}

}  // namespace kel::detail

void kelSetMessageBoxHandler(KelMessageBoxHandler handler, void* context) {
    auto& h = kel::detail::hook();
    std::lock_guard<std::mutex> lock(h.mutex);
    h.handler = handler;
    h.context = handler != nullptr ? context : nullptr;
}

#include "platform/debug_output.h"

#include <kel/KelPlatform.h>

#include <cstdarg>
#include <mutex>
#include <string>

#include "platform/format.h"

namespace kel::detail {

namespace {

struct Sink {
    std::mutex mutex;
    KelDebugOutputHandler handler = nullptr;
    void* context = nullptr;
};

Sink& sink() {
    static Sink* instance = new Sink;  // never destroyed: output may come during exit
    return *instance;
}

}  // namespace

void debugOutput(const wchar_t* text) {
    if (text == nullptr)
        return;
    Sink& s = sink();
    KelDebugOutputHandler handler;
    void* context;
    {
        std::lock_guard<std::mutex> lock(s.mutex);
        handler = s.handler;
        context = s.context;
    }
    if (handler != nullptr) {
        handler(text, context);
    } else {
        systemDebugOutput(text);
    }
}

void debugOutputFormat(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const std::wstring text = formatToString(format, args);
    va_end(args);
    debugOutput(text.c_str());
}

}  // namespace kel::detail

void kelSetDebugOutputHandler(KelDebugOutputHandler handler, void* context) {
    auto& s = kel::detail::sink();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.handler = handler;
    s.context = handler != nullptr ? context : nullptr;
}

void kelOutputDebugString(const wchar_t* text) {
    kel::detail::debugOutput(text);
}

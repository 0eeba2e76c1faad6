#include "platform/invalid_parameter.h"

#include <kel/KelPlatform.h>

#include <atomic>
#include <string>

#include "platform/debug_output.h"
#include "platform/utf.h"

namespace kel::detail {

namespace {

void reportToDebugOutput(const wchar_t* expression, const wchar_t* function, const wchar_t*,
                         unsigned int, uintptr_t) {
    debugOutputFormat(L"kel: invalid parameter in %s: %s", function ? function : L"?",
                      expression ? expression : L"?");
}

std::atomic<KelInvalidParameterHandler> g_handler{nullptr};

}  // namespace

void invalidParameter(const wchar_t* expression, const char* function) {
    KelInvalidParameterHandler handler = g_handler.load(std::memory_order_acquire);
    if (handler == nullptr)
        handler = reportToDebugOutput;
    const std::wstring name = utf8ToWide(function != nullptr ? function : "");
    handler(expression, name.c_str(), nullptr, 0, 0);
}

}  // namespace kel::detail

KelInvalidParameterHandler kelSetInvalidParameterHandler(KelInvalidParameterHandler handler) {
    return kel::detail::g_handler.exchange(handler, std::memory_order_acq_rel);
}

KelInvalidParameterHandler kelGetInvalidParameterHandler() {
    return kel::detail::g_handler.load(std::memory_order_acquire);
}

#include <windows.h>

#include "numbering/large_stack.h"

namespace kel::detail {

namespace {

struct Call {
    void (*task)(void*);
    void* context;
};

DWORD WINAPI trampoline(LPVOID argument) {
    const Call* call = static_cast<const Call*>(argument);
    call->task(call->context);
    return 0;
}

}  // namespace

bool runOnLargeStack(void (*task)(void*), void* context) {
    Call call{task, context};
    // A reservation only: pages are committed as the stack grows.
    HANDLE thread = ::CreateThread(nullptr, kLargeStackBytes, trampoline, &call,
                                   STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (thread == nullptr)
        return false;
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
    return true;
}

}  // namespace kel::detail

#include <pthread.h>

#include "numbering/large_stack.h"

namespace kel::detail {

namespace {

struct Call {
    void (*task)(void*);
    void* context;
};

void* trampoline(void* argument) {
    const Call* call = static_cast<const Call*>(argument);
    call->task(call->context);
    return nullptr;
}

}  // namespace

bool runOnLargeStack(void (*task)(void*), void* context) {
    Call call{task, context};
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    pthread_t thread;
    const bool started = pthread_attr_setstacksize(&attributes, kLargeStackBytes) == 0 &&
                         pthread_create(&thread, &attributes, trampoline, &call) == 0;
    pthread_attr_destroy(&attributes);
    if (!started)
        return false;
    pthread_join(thread, nullptr);
    return true;
}

}  // namespace kel::detail

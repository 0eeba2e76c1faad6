#include <windows.h>

#include <kel/KelPlatform.h>

#include "platform/thread_id.h"

namespace kel::detail {

unsigned long currentThreadId() {
    // Never 0: Windows does not give that id to a thread.
    return ::GetCurrentThreadId();
}

}  // namespace kel::detail

unsigned long kelGetCurrentThreadId() {
    return ::GetCurrentThreadId();
}

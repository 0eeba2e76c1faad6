#include <sys/syscall.h>
#include <unistd.h>

#include <kel/KelPlatform.h>

#include "platform/thread_id.h"

namespace kel::detail {

unsigned long currentThreadId() {
    // The kernel id does not change for the life of a thread; asking the
    // kernel once per thread keeps this off the hot path of string work.
    thread_local const unsigned long t_id = static_cast<unsigned long>(::syscall(SYS_gettid));
    return t_id;
}

}  // namespace kel::detail

unsigned long kelGetCurrentThreadId() {
    return kel::detail::currentThreadId();
}

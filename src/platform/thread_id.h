// The operating system's id of the calling thread.

#ifndef KEL_PLATFORM_THREAD_ID_H
#define KEL_PLATFORM_THREAD_ID_H

namespace kel::detail {

// Never 0, so that 0 can mark "no thread" in tables of ids.
unsigned long currentThreadId();

}  // namespace kel::detail

#endif  // KEL_PLATFORM_THREAD_ID_H

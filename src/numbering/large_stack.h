// Running a deeply recursive task on a stack of its own.
//
// The regular-expression engine recurses once per repeated character and
// per nesting level, so a long text or a deeply nested pattern would
// exhaust the caller's stack (1 MiB on Windows, 8 MiB by default on Linux)
// and crash the host. Such work runs on a helper thread with a large stack
// reservation instead; the caller waits for it, so nothing runs
// concurrently with the caller.
//
//   runOnLargeStack([](void* context) { ... }, &state);

#ifndef KEL_NUMBERING_LARGE_STACK_H
#define KEL_NUMBERING_LARGE_STACK_H

#include <cstddef>

namespace kel::detail {

// The stack reserved for the helper: address space, committed only as far
// as it is used.
constexpr size_t kLargeStackBytes = sizeof(void*) >= 8 ? 512u << 20 : 64u << 20;

// Runs task(context) on a helper thread with a stack of kLargeStackBytes and
// waits for it. The task must not throw. When no helper thread can be
// started, the task runs on the caller's thread.
void runOnLargeStack(void (*task)(void*), void* context);

}  // namespace kel::detail

#endif  // KEL_NUMBERING_LARGE_STACK_H

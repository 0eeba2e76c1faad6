// Running a deeply recursive task on a stack of its own.
//
// The regular-expression engine recurses once per repeated group and per
// nesting level. It is bounded (see regex_engine.h), but within its bounds
// a long text needs tens of MiB of stack: more than the caller's thread may
// have (1 MiB on Windows, 8 MiB by default on Linux, less on threads that
// their creator made small). Such work runs on a helper thread with a stack
// of known size instead; the caller waits for it, so nothing runs
// concurrently with the caller.
//
//   if (!runOnLargeStack([](void* context) { ... }, &state)) { ...no thread... }

#ifndef KEL_NUMBERING_LARGE_STACK_H
#define KEL_NUMBERING_LARGE_STACK_H

#include <cstddef>

namespace kel::detail {

// The stack reserved for the helper: address space, committed only as far
// as it is used.
constexpr size_t kLargeStackBytes = size_t(64) << 20;

// Runs task(context) on a helper thread with a stack of kLargeStackBytes and
// waits for it; false, without running the task, when no such thread can
// be started. The task must not throw.
bool runOnLargeStack(void (*task)(void*), void* context);

}  // namespace kel::detail

#endif  // KEL_NUMBERING_LARGE_STACK_H

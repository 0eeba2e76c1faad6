// A library that the stack walker's tests load after their first walk: its
// frames must be named although it was not there when the walker started.

#define WALKED_EXPORT extern "C" __attribute__((visibility("default")))

static int g_callLine = 0;

// Calls `function(context)` and returns its result; its frame stays on the
// stack while the function runs.
WALKED_EXPORT __attribute__((noinline)) int kelTestWalkedCallBack(int (*function)(void*),
                                                                  void* context) {
    const int result = (g_callLine = __LINE__, function(context));
    return result;
}

// The line of the call above.
WALKED_EXPORT int kelTestWalkedCallLine() {
    return g_callLine;
}

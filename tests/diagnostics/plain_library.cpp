// A library built without debug information, whose function calls back into
// the stack walker's tests: its frame has a name but no source line.

#if defined(_WIN32)
#define PLAIN_EXPORT extern "C" __declspec(dllexport)
#else
#define PLAIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

// Calls `function(context)`; its frame stays on the stack while it runs.
PLAIN_EXPORT __attribute__((noinline)) int kelTestPlainCallBack(int (*function)(void*),
                                                                void* context) {
    const int result = function(context);
    return result;
}

// A small shared library with a version of its own (2.3.4), which the
// module-listing tests load and expect to find in the listing.

#if defined(_WIN32)
#define KEL_TEST_EXPORT __declspec(dllexport)
#else
#define KEL_TEST_EXPORT __attribute__((visibility("default")))
#endif

extern "C" KEL_TEST_EXPORT int kelTestVersionedLibrary() {
    return 234;
}

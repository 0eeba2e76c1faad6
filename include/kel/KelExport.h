/// @file KelExport.h
/// The one macro that marks the library's public interface.
///
/// Every exported class and free function is declared with KEL_API. The
/// library is built with hidden symbol visibility, so anything without the
/// macro stays private to the shared library.
///
/// @code
///   class KEL_API KelString { ... };
///   KEL_API int kelstrcpy(char* dst, unsigned __int64 size, const char* src);
/// @endcode

#ifndef KEL_KELEXPORT_H
#define KEL_KELEXPORT_H

#if defined(KEL_STATIC)
#define KEL_API
#elif defined(_WIN32) || defined(__CYGWIN__)
#if defined(KEL_BUILDING_LIBRARY)
#define KEL_API __declspec(dllexport)
#else
#define KEL_API __declspec(dllimport)
#endif
#else
/// Marks a class or function as part of the library's exported interface:
/// default symbol visibility on POSIX systems; on Windows dllexport while
/// the library itself is built (KEL_BUILDING_LIBRARY) and dllimport in its
/// clients. Empty where KEL_STATIC is defined, for a static build.
#define KEL_API __attribute__((visibility("default")))
#endif

#endif  // KEL_KELEXPORT_H

// Reporting of invalid arguments to the library's bounded runtime functions.

#ifndef KEL_PLATFORM_INVALID_PARAMETER_H
#define KEL_PLATFORM_INVALID_PARAMETER_H

namespace kel::detail {

// Calls the installed invalid-parameter handler (the default one reports to
// the debug-output sink and returns). The caller then returns its error.
// `function` is the plain name of the function that detected the problem.
void invalidParameter(const wchar_t* expression, const char* function);

}  // namespace kel::detail

// Yields the value of `condition`, reporting it first when it is false, in
// the way the runtime's bounded functions check their arguments:
//
//   if (!KEL_VALIDATE(dst != nullptr)) return EINVAL;
#define KEL_VALIDATE(condition) \
    ((condition) ? true : (::kel::detail::invalidParameter(L## #condition, __func__), false))

#endif  // KEL_PLATFORM_INVALID_PARAMETER_H

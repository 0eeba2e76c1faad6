// The process-wide debug-output sink (the debugger output on Windows).

#ifndef KEL_PLATFORM_DEBUG_OUTPUT_H
#define KEL_PLATFORM_DEBUG_OUTPUT_H

namespace kel::detail {

// Sends one line to the installed handler, or to the system default.
void debugOutput(const wchar_t* text);

// Formats with the library's wide printf semantics, then sends the result.
void debugOutputFormat(const wchar_t* format, ...);

// The system half: where output goes when the host installed no handler.
void systemDebugOutput(const wchar_t* text);

}  // namespace kel::detail

#endif  // KEL_PLATFORM_DEBUG_OUTPUT_H

// The log writers' streams: the runtime's streams as the files subsystem
// opens them, written with the library's wide printf rules.
//
// Text reaches the file in the narrow code page (UTF-8 by default on POSIX,
// the ANSI code page on Windows), without a byte-order mark; "\n" is
// written as given, and Windows' text mode turns it into "\r\n" there.
//
//   std::FILE* log = openLog(L"Ferrolab.LOG", L"a+");
//   if (log != nullptr) {
//       printLog(log, L"%s", L"entry");
//       closeLog(log);
//   }

#ifndef KEL_DIAGNOSTICS_LOG_STREAM_H
#define KEL_DIAGNOSTICS_LOG_STREAM_H

#include <cstdio>
#include <string>

namespace kel::detail {

// Opens `path` (either separator) with a runtime mode such as "w" or "a+";
// null when it cannot be opened, with `error` (when given) set to the
// errno value.
std::FILE* openLog(const std::wstring& path, const wchar_t* mode, int* error = nullptr);

// Closes a stream from openLog.
void closeLog(std::FILE* stream);

// Empties (or creates) the file at `path` by opening it with mode "w", and
// leaves that stream open: it is closed only when the open reports an
// error. Deliberate: the log writers empty their file this way, and the
// stream stays behind unused until the process ends.
void truncateLeavingOpen(const std::wstring& path);

// The system half of truncateLeavingOpen: the runtime's own stream with
// mode "w" (nothing is ever written through it, and the runtime keeps it on
// its list of open streams until the process ends), not inherited by child
// processes where the system allows; null when it cannot be opened.
std::FILE* openTruncatingStream(const std::wstring& path);

// Formats and writes; the count of characters written, or -1.
int printLog(std::FILE* stream, const wchar_t* format, ...);

// Formats with the library's wide printf rules.
std::wstring formatText(const wchar_t* format, ...);

}  // namespace kel::detail

#endif  // KEL_DIAGNOSTICS_LOG_STREAM_H

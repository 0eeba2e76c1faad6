// The system half of the text streams (text_stream_posix.cpp,
// text_stream_win32.cpp): how a file becomes a runtime stream, how the
// library learns that it closed, and the few facts that differ between
// systems. Everything else about the streams is shared (text_stream.cpp).

#ifndef KEL_FILES_TEXT_STREAM_SYSTEM_H
#define KEL_FILES_TEXT_STREAM_SYSTEM_H

#include <cstdio>
#include <string_view>

#include "files/text_stream.h"

namespace kel::detail {

// True where the runtime's text mode (a mode without "b") writes "\r\n" for
// "\n" and reads "\r\n" as "\n". The runtime does it for plain streams; the
// shared layer reproduces it for the encoded ones, which it reads and
// writes as bytes.
extern const bool kTextModeTranslatesLineEnds;

// Opens `name` as a stream with `mode`'s access, update and exclusive
// flags. `runtimeMode` is the mode as the Windows runtime takes it, without
// an encoding and without "x" (the encoded modes ask for "b" here). Returns
// 0 or the error number; a folder cannot be opened (EACCES).
int openSystemStream(std::FILE** stream, std::wstring_view name, const StreamMode& mode,
                     std::wstring_view runtimeMode);

// 64-bit fseek and ftell on the stream's bytes: 0 or -1.
int seekSystemStream(std::FILE* stream, long long offset, int origin);
int tellSystemStream(std::FILE* stream, long long& position);

// Provided by the shared layer: drops what the library keeps about a
// stream. The system half calls it where it learns that a stream closed.
void forgetStream(std::FILE* stream);

}  // namespace kel::detail

#endif  // KEL_FILES_TEXT_STREAM_SYSTEM_H

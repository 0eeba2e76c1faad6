// Runtime streams that remember the encoding they were opened in.
//
// Streams are opened with the Windows runtime's mode strings, including the
// encoded modes "r, ccs=UTF-8", "w, ccs=UTF-16LE" and "a, ccs=UNICODE" (the
// blank after the comma is optional). The library does the transcoding of
// the encoded modes itself, on every system, over a stream of the file's
// bytes:
//
// - A file created for writing in an encoded mode starts with a byte-order
//   mark: EF BB BF for UTF-8, FF FE for UTF-16LE and for UNICODE (which
//   writes UTF-16LE).
// - Reading or appending an existing file, a mark decides the encoding
//   (UTF-8 or UTF-16LE) and is skipped; without one the mode's own encoding
//   applies (UTF-8 for UNICODE). Seeking into the mark (seekStream) lands
//   behind it.
// - Wide text is encoded into the file's encoding; narrow text is taken to
//   be in the narrow code page and converted, so the file stays valid.
// - Reading bytes from an encoded stream delivers UTF-16LE code units, as
//   the Windows runtime does.
// - Text mode (a mode without "b") keeps the system's line ends: on Windows
//   "\n" is written as "\r\n" and "\r\n" is read as "\n", for the encoded
//   modes as the runtime does it for the others; elsewhere nothing changes.
// - Positions are byte offsets in the file.
//
//   std::FILE* f = nullptr;
//   if (openTextStream(&f, L"a.txt", L"w, ccs=UTF-8") == 0) {
//       writeWide(f, L"Tr\u00e4ger\n");   // EF BB BF 54 72 C3 A4 ...
//       closeTextStream(f);
//   }

#ifndef KEL_FILES_TEXT_STREAM_H
#define KEL_FILES_TEXT_STREAM_H

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include "platform/format.h"

namespace kel::detail {

// The encodings an encoded mode names.
enum class ModeEncoding { None, Unicode, Utf8, Utf16Le };

// A runtime mode string taken apart.
struct StreamMode {
    bool valid = false;
    char access = 0;         // 'r', 'w' or 'a'
    bool update = false;     // '+'
    bool exclusive = false;  // 'x'
    bool binary = false;     // 'b' (the last of 'b' and 't' counts)
    ModeEncoding encoding = ModeEncoding::None;
};

// Parses "r", "wb+", "a, ccs=UTF-8", "r,ccs=unicode" ... The encoding names
// are compared without regard to case.
StreamMode parseStreamMode(std::wstring_view mode);

// The mode as the runtime opens the file: the flags without the encoding
// and without "x"; with `bytes`, "b" in place of any "b" or "t"
// ("w+t, ccs=UTF-8" gives "w+b").
std::wstring runtimeModeOf(std::wstring_view mode, bool bytes);

// Opens `name` (either separator) with a runtime mode. Returns 0 or the
// error number (EINVAL for a bad mode or a null `stream`); `*stream` is null
// on failure.
int openTextStream(std::FILE** stream, std::wstring_view name, std::wstring_view mode);

// fclose, forgetting what the library kept about the stream.
int closeTextStream(std::FILE* stream);

// True for a stream opened in an encoded mode by openTextStream.
bool isEncodedStream(std::FILE* stream);

// Writes wide text in the stream's encoding (the narrow code page for a
// stream without one). 0, or EOF on failure.
int writeWide(std::FILE* stream, std::wstring_view text);

// Formats with the library's wide printf rules and writes the result as
// writeWide does; the count of characters written, or -1.
int printWide(std::FILE* stream, const wchar_t* format, va_list args, WideArgs wideArgs);

// Writes narrow text (in the narrow code page). 0, or EOF on failure.
int writeNarrow(std::FILE* stream, std::string_view text);

// One wide character (a UTF-16 unit where wchar_t has 16 bits, a code point
// where it has 32); false at the end or on an error.
bool readWideChar(std::FILE* stream, wchar_t& c);

// Gives back the character the last readWideChar on this stream returned.
void unreadWideChar(std::FILE* stream, wchar_t c);

// One UTF-16 code unit (a character beyond U+FFFF comes as its two
// surrogates), or -1 at the end.
int readUtf16Unit(std::FILE* stream);

// fread; an encoded stream delivers UTF-16LE units.
size_t readBytes(void* buffer, size_t size, size_t count, std::FILE* stream);

// fgets: at most size - 1 bytes up to and including a line feed. On an
// encoded stream the characters are converted to the narrow code page; a
// character that does not fit whole is left for the next read.
char* readNarrowLine(char* buffer, int size, std::FILE* stream);

int streamEof(std::FILE* stream);
int seekStream(std::FILE* stream, long long offset, int origin);
// 0 and the byte offset, or -1.
int tellStream(std::FILE* stream, long long& position);

// The scans of fwscanf's "%s", "%d" and "%lf": white space first, then the
// item. Each returns 1 when it converted the item, 0 when the input did not
// match (or, for a word, when it was longer than capacity - 1 characters:
// the whole word is then consumed and `word` is empty), EOF when the input
// ended before the item began.
int scanWord(std::FILE* stream, std::wstring& word, size_t capacity);
int scanInt(std::FILE* stream, int& value);
int scanDouble(std::FILE* stream, double& value);

}  // namespace kel::detail

#endif  // KEL_FILES_TEXT_STREAM_H

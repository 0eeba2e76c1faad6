/// @file KelFileAccess.h
/// Text and data files in a chosen encoding, and file helpers.
///
/// A KelFileAccess wraps a runtime stream and remembers the encoding it was
/// opened in, so that callers write wide or narrow text without caring how
/// it ends up on disk:
///
/// @code
///   KelFileAccess out(L"parts.txt", L"w", KelFileAccess::encodeUTF8);
///   out.puts(L"Tr\u00e4ger HEA 200\n");   // EF BB BF, then UTF-8 text
///   out.write(L"%s: %d\n", L"count", 12);
///   out.close();
/// @endcode
///
/// The encodings append a mode suffix to the caller's mode: encodeUnicode
/// ", ccs=UNICODE", encodeUTF8 ", ccs=UTF-8", encodeUTF16LE ", ccs=UTF-16LE".
/// A file created for writing in one of them starts with a byte-order mark
/// (EF BB BF for UTF-8, FF FE for UTF-16LE and UNICODE, which writes UTF-16LE).
/// Reading or appending an existing file, a mark decides between UTF-8 and
/// UTF-16LE and is skipped; without a mark the mode's encoding applies
/// (UTF-8 for UNICODE). Reading bytes (read, readFile) from such a stream
/// delivers UTF-16LE units, as the Windows runtime does. Positions are byte
/// offsets in the file. On Windows a mode without "b" is a text mode, in
/// every encoding: "\n" is written as "\r\n" and "\r\n" is read as "\n";
/// elsewhere line ends pass unchanged.
///
/// Beside the class stand thin, null-safe doors to the runtime's and the
/// system's file operations (kelfopen, kelFileExists, kelCopyFile, ...).
/// Paths may use "\" or "/".

#ifndef KEL_KELFILEACCESS_H
#define KEL_KELFILEACCESS_H

#include <kel/KelExport.h>
#include <kel/KelString.h>

#include <stddef.h>
#include <stdio.h>

namespace kel::detail {
struct StreamShare;
}

/// @copydoc KelFileAccess.h
class KEL_API KelFileAccess {
public:
    /// How the stream was opened. encodeNone and encodeUTF8 move lines as
    /// narrow text (puts, gets), encodeUnicode and encodeUTF16LE as wide text:
    /// a UTF-8 file is written and read line by line through the narrow
    /// routines, and its narrow text is converted from the narrow code page.
    enum encodeType { encodeNone = 0, encodeUnicode = 1, encodeUTF8 = 2, encodeUTF16LE = 3 };

    /// Not open, encoding encodeNone.
    KelFileAccess();
    /// Opens `fileName` (when not empty) with `mode` followed by the suffix of
    /// `enc`, for example "w" and encodeUTF16LE give "w, ccs=UTF-16LE". A
    /// failed open leaves the object closed; `enc` is recorded either way.
    KelFileAccess(const KelString& fileName, const KelString& mode, encodeType enc);
    /// Both copies refer to the same stream: whichever is closed or destroyed
    /// first closes it for both, and the other then behaves as closed.
    KelFileAccess(const KelFileAccess& other);
    /// @copydoc KelFileAccess(const KelFileAccess&)
    KelFileAccess& operator=(const KelFileAccess& other);
    /// Closes the stream if it is open.
    virtual ~KelFileAccess();

    /// @class KelFileAccess
    /// @par Closed streams
    /// Every member that uses the stream does nothing and returns 0 when the
    /// stream is not open.

    /// 1 when the stream is open, else 0.
    int isOpen() const;
    /// Closes the stream if it is open.
    void close();

    /// Formatted wide print. The narrow format is converted from the narrow
    /// code page to wide text first, so it is a wide format: its "%s" takes
    /// a wide string. Returns the number of characters written, -1 on an
    /// error; 0 for a null or empty format.
    int write(const char* format, ...) const;
    /// The same with a wide format; the unsigned short form takes 16-bit
    /// units for the format and for its wide string arguments.
    int write(const wchar_t* format, ...) const;
    /// The same with the format and its wide string arguments as 16-bit
    /// units.
    int write(const unsigned short* format, ...) const;

    /// Writes the text without adding a line end: its narrow form in
    /// encodeNone and encodeUTF8, its wide form in the two wide encodings.
    /// 0 on success, -1 on failure.
    int puts(const KelString& text) const;

    /// Reads one line of at most maxChars - 1 characters, its line feed
    /// included, into `line` (empty at the end of the file) and returns a
    /// copy of it. Narrow encodings read narrow text and convert it from the
    /// narrow code page.
    KelString gets(KelString& line, int maxChars);

    /// fread. On an encoded stream the bytes are UTF-16LE units.
    size_t read(void* buffer, size_t size, size_t count) const;
    /// fseek: 0 on success.
    int seek(long offset, int origin) const;
    /// The byte position (fgetpos): 0 on success, nonzero on failure. The
    /// names lack the "i" on purpose; host code calls them so.
    int getPostion(long long* pos) const;
    /// Goes to a position taken with getPostion: 0 on success.
    int setPostion(const long long* pos);
    /// feof.
    int eof() const;
    /// One wide character as a 16-bit unit: 65535 at the end of the file
    /// (the end marker reduced to 16 bits); a character beyond U+FFFF comes
    /// as two surrogate units. 0 when not open.
    int getChar() const;
    /// One white-space-delimited word (as the scan "%s" into a buffer of 256
    /// wide characters). Returns 1 with the word, 0 when the word had 256 or
    /// more characters (it is consumed and `word` is empty), -1 at the end.
    int readString(KelString& word) const;
    /// The scan "%d": returns its count (1, 0 when the input is not a number,
    /// -1 at the end). `value` receives the scanned value, 0 when nothing was
    /// scanned.
    int readInt(int& value) const;
    /// The scan "%lf", as readInt.
    int readDouble(double& value) const;
    /// The length of the file in bytes. Leaves the stream at the beginning
    /// of the file, not where it was. -1 on failure.
    long getFileLength();
    /// Reads the file with byte-order-mark detection into `text`, at most
    /// `count` units, and returns the number of units (or bytes) read:
    /// 1. The first 2 bytes FF FE or FE FF: `count` 16-bit units after them.
    /// 2. Else the next 3 bytes (bytes 2 to 4: the stream is deliberately not
    ///    rewound) EF BB BF: `count` 16-bit units from there.
    /// 3. Else, in encodeUTF8, those 3 bytes '<' FF '?': from the beginning,
    ///    16-bit units.
    /// 4. Else, in encodeUTF8, the first 3 bytes '<' 00 '?' (a wide XML
    ///    declaration, which is what an encoded UTF-8 stream delivers for an
    ///    XML file): from the beginning, 16-bit units.
    /// 5. Else `count` bytes from the beginning, converted from the narrow
    ///    code page (at most 524,287 characters; longer text gives "").
    ///
    /// The text ends at the first zero unit or byte.
    size_t readFile(KelString& text, size_t count) const;

    /// _wremove (files only): 0 or -1.
    static int removeFile(const KelString& path);
    /// _wrename (never replaces an existing target): 0 or -1.
    static int renameFile(const KelString& from, const KelString& to);
    /// _wchdir: 0 or -1.
    static int changeWorkingDir(const KelString& path);
    /// _wmkdir: 0 when the folder was made or exists already, -1 otherwise
    /// (a missing parent, say).
    static int makeDir(const KelString& path);

private:
    FILE* stream() const;
    void release();

    FILE* m_stream;
    encodeType m_encoding;
    /// What the copies of one open stream share.
    kel::detail::StreamShare* m_share;
};

/// _wfopen_s: opens `name` with a runtime mode, which may name an encoding
/// ("r, ccs=UTF-8"; see KelFileAccess). Returns 0 or the error number; a null
/// `stream` gives 22 (EINVAL); *stream is null on failure.
KEL_API int kelfopen(FILE** stream, const KelString& name, const KelString& mode);
/// fclose; -1 for a null stream.
KEL_API int kelfclose(FILE* stream);
/// vfprintf_s with the Windows runtime's narrow format rules; the text goes
/// through the stream's encoding. Returns the character count, -1 on error.
KEL_API int kelfprintf(FILE* stream, const char* format, ...);
/// vfwprintf_s: a wide format, its "%s" taking wide strings; the unsigned
/// short form takes 16-bit units for the format and its wide strings.
KEL_API int kelfprintf(FILE* stream, const wchar_t* format, ...);
/// The same with the format and its wide strings as 16-bit units.
KEL_API int kelfprintf(FILE* stream, const unsigned short* format, ...);
/// fread; an encoded stream delivers UTF-16LE units. 0 for a null stream.
KEL_API size_t kelfread(void* buffer, size_t size, size_t count, FILE* stream);
/// feof; 0 for a null stream.
KEL_API int kelfeof(FILE* stream);
/// fgets; on an encoded stream the text is converted to the narrow code page.
KEL_API char* kelfgets(char* buffer, int size, FILE* stream);
/// fputs; on an encoded stream the narrow text is converted into its encoding.
/// 0 on success, -1 on failure.
KEL_API int kelfputs(const char* text, FILE* stream);
/// 1 when a file or folder exists at `path`, or when anything matches it as a
/// pattern with "*" and "?" in its last part; else 0.
KEL_API int kelFileExists(const KelString& path);
/// DeleteFileW: nonzero on success; a folder is not deleted.
KEL_API int kelDeleteFile(const KelString& path);
/// Copies `from` to `to` (CopyFileW). Unless `overwrite` is true and
/// `skipCheck` false, the target is tested first: when it exists and
/// `overwrite` is false, the last error becomes 80 and the result is 0.
/// Otherwise an existing target is replaced. Returns nonzero on success.
/// `copied` is set to false and never to true.
KEL_API int kelCopyFile(const KelString& from, const KelString& to, bool overwrite, bool skipCheck,
                        bool& copied);

#endif  // KEL_KELFILEACCESS_H

/// @file KelSafeRuntime.h
/// The C runtime's bounded string, path, number, time and environment routines
/// under the library's own names, and conversions of a KelString for outside
/// consumers.
///
/// Modules built against different runtimes, or with and without a native
/// wchar_t, call one implementation here. Every routine keeps the Windows
/// runtime's rules on every system: it returns 0 or the runtime's error
/// number (EINVAL 22, ERANGE 34, STRUNCATE 80); a null destination, a size
/// of 0 or a result that does not fit calls the invalid-parameter handler
/// (see kelSetInvalidParameterHandler) and, where the runtime does so,
/// leaves the destination empty; a count of _TRUNCATE cuts the result to fit
/// and returns STRUNCATE instead. Sizes count characters: bytes for narrow
/// text, units for wide text.
///
/// @code
///   char name[8];
///   kelstrncpy(name, sizeof name, "HEA 200 S235", _TRUNCATE);   // STRUNCATE, "HEA 200"
///   wchar_t path[MAX_PATH];
///   kelwmakepath8(path, MAX_PATH, L"c", L"\\models", L"beam", L"dxf");  // "c:\models\beam.dxf"
/// @endcode
///
/// Wide routines come in two forms with one behaviour: the name ending in 8
/// takes wchar_t text, the name ending in 6 takes 16-bit units typed as
/// unsigned short (UTF-16), for clients built without a native wchar_t. On
/// Windows both names are one exported function. Where wchar_t is 32 bits
/// (Linux) the 6 form works on the 16-bit units themselves, with identical
/// results.
///
/// Memory the library allocates for a caller (keldupenv) is released with
/// kelFreeBuff; COM strings (kelGetBSTR6/8) with SysFreeString on Windows or
/// kelSysFreeString on every system.

#ifndef KEL_KELSAFERUNTIME_H
#define KEL_KELSAFERUNTIME_H

#include <kel/KelExport.h>
#include <kel/KelPlatformTypes.h>
#include <kel/KelString.h>

#include <time.h>

extern "C" {

// ----- copying and appending ---------------------------------------------------------------

/// strcpy_s: copies src with its terminator. EINVAL for a null dst or src or
/// a size of 0, ERANGE (dst emptied) when src does not fit.
KEL_API int kelstrcpy(char* dst, unsigned __int64 size, const char* src);
/// @copydoc kelstrcpy
KEL_API int kelwcscpy6(unsigned short* dst, unsigned __int64 size, const unsigned short* src);
/// @copydoc kelstrcpy
KEL_API int kelwcscpy8(wchar_t* dst, unsigned __int64 size, const wchar_t* src);

/// strncpy_s: copies at most count characters of src and a terminator. A
/// count of 0 empties dst (and is 0 even for a null dst of size 0); a count
/// of _TRUNCATE copies what fits and returns STRUNCATE when that is not all.
KEL_API int kelstrncpy(char* dst, unsigned __int64 size, const char* src, unsigned __int64 count);
/// @copydoc kelstrncpy
KEL_API int kelwcsncpy6(unsigned short* dst, unsigned __int64 size, const unsigned short* src,
                        unsigned __int64 count);
/// @copydoc kelstrncpy
KEL_API int kelwcsncpy8(wchar_t* dst, unsigned __int64 size, const wchar_t* src,
                        unsigned __int64 count);

/// strcat_s: appends src. EINVAL (dst emptied) when dst has no terminator
/// within size, ERANGE (dst emptied) when the result does not fit.
KEL_API int kelstrcat(char* dst, unsigned __int64 size, const char* src);
/// @copydoc kelstrcat
KEL_API int kelwcscat6(unsigned short* dst, unsigned __int64 size, const unsigned short* src);
/// @copydoc kelstrcat
KEL_API int kelwcscat8(wchar_t* dst, unsigned __int64 size, const wchar_t* src);

/// strncat_s: appends at most count characters of src; _TRUNCATE as for
/// kelstrncpy.
KEL_API int kelstrncat(char* dst, unsigned __int64 size, const char* src, unsigned __int64 count);
/// @copydoc kelstrncat
KEL_API int kelwcsncat6(unsigned short* dst, unsigned __int64 size, const unsigned short* src,
                        unsigned __int64 count);
/// @copydoc kelstrncat
KEL_API int kelwcsncat8(wchar_t* dst, unsigned __int64 size, const wchar_t* src,
                        unsigned __int64 count);

// ----- case and filling --------------------------------------------------------------------

/// _strupr_s / _strlwr_s: the text in upper / lower case, in the C library's
/// current locale. EINVAL (text emptied) without a terminator within size.
KEL_API int kelstrupr(char* text, unsigned __int64 size);
/// @copydoc kelstrupr
KEL_API int kelwcsupr6(unsigned short* text, unsigned __int64 size);
/// @copydoc kelstrupr
KEL_API int kelwcsupr8(wchar_t* text, unsigned __int64 size);
/// @copydoc kelstrupr
KEL_API int kelstrlwr(char* text, unsigned __int64 size);
/// @copydoc kelstrupr
KEL_API int kelwcslwr6(unsigned short* text, unsigned __int64 size);
/// @copydoc kelstrupr
KEL_API int kelwcslwr8(wchar_t* text, unsigned __int64 size);

/// _strset_s: every character of the text becomes c.
KEL_API int kelstrset(char* text, unsigned __int64 size, int c);
/// @copydoc kelstrset
KEL_API int kelwcsset6(unsigned short* text, unsigned __int64 size, int c);
/// @copydoc kelstrset
KEL_API int kelwcsset8(wchar_t* text, unsigned __int64 size, int c);

// ----- environment -------------------------------------------------------------------------

/// _dupenv_s: *value becomes a copy of the variable's value, allocated by
/// the library (release it with kelFreeBuff), and *length its size in
/// characters including the terminator. A variable that is not set gives 0
/// with a null value and a length of 0. length may be null.
KEL_API int keldupenv(char** value, unsigned __int64* length, const char* name);
/// @copydoc keldupenv
KEL_API int kelwdupenv6(unsigned short** value, unsigned __int64* length,
                        const unsigned short* name);
/// @copydoc keldupenv
KEL_API int kelwdupenv8(wchar_t** value, unsigned __int64* length, const wchar_t* name);

/// _searchenv_s: the full path of `file` if it exists in the current
/// directory, else in the first directory of the variable's list (";"
/// separated; ":" also separates on POSIX) that holds it. ENOENT with an
/// empty path when it is nowhere, ERANGE when the path does not fit.
KEL_API int kelsearchenv(const char* file, const char* variable, char* path, unsigned __int64 size);
/// @copydoc kelsearchenv
KEL_API int kelwsearchenv6(const unsigned short* file, const unsigned short* variable,
                           unsigned short* path, unsigned __int64 size);
/// @copydoc kelsearchenv
KEL_API int kelwsearchenv8(const wchar_t* file, const wchar_t* variable, wchar_t* path,
                           unsigned __int64 size);

// ----- tokens ------------------------------------------------------------------------------

/// strtok_s: the next token of s (or, with s null, of the text *context
/// points into), delimiters skipped; null when there is none. The text is
/// changed: each token's end becomes a terminator.
KEL_API char* kelstrtok(char* s, const char* delimiters, char** context);
/// @copydoc kelstrtok
KEL_API unsigned short* kelwcstok6(unsigned short* s, const unsigned short* delimiters,
                                   unsigned short** context);
/// @copydoc kelstrtok
KEL_API wchar_t* kelwcstok8(wchar_t* s, const wchar_t* delimiters, wchar_t** context);

// ----- paths -------------------------------------------------------------------------------

/// _splitpath_s: drive ("X:"), directory (through the last "\" or "/"), file
/// name and extension (from the last "." of the name). Any output may be
/// null with a size of 0. On error every output is emptied.
KEL_API int kelsplitpath(const char* path, char* drive, unsigned __int64 driveSize, char* dir,
                         unsigned __int64 dirSize, char* fname, unsigned __int64 fnameSize,
                         char* ext, unsigned __int64 extSize);
/// @copydoc kelsplitpath
KEL_API int kelwsplitpath6(const unsigned short* path, unsigned short* drive,
                           unsigned __int64 driveSize, unsigned short* dir,
                           unsigned __int64 dirSize, unsigned short* fname,
                           unsigned __int64 fnameSize, unsigned short* ext,
                           unsigned __int64 extSize);
/// @copydoc kelsplitpath
KEL_API int kelwsplitpath8(const wchar_t* path, wchar_t* drive, unsigned __int64 driveSize,
                           wchar_t* dir, unsigned __int64 dirSize, wchar_t* fname,
                           unsigned __int64 fnameSize, wchar_t* ext, unsigned __int64 extSize);

/// _makepath_s: drive letter and ":", the directory with a "\" added when it
/// ends without a separator, the file name, and the extension with a "."
/// added when it lacks one. Null or empty parts are left out.
KEL_API int kelmakepath(char* path, unsigned __int64 size, const char* drive, const char* dir,
                        const char* fname, const char* ext);
/// @copydoc kelmakepath
KEL_API int kelwmakepath6(unsigned short* path, unsigned __int64 size, const unsigned short* drive,
                          const unsigned short* dir, const unsigned short* fname,
                          const unsigned short* ext);
/// @copydoc kelmakepath
KEL_API int kelwmakepath8(wchar_t* path, unsigned __int64 size, const wchar_t* drive,
                          const wchar_t* dir, const wchar_t* fname, const wchar_t* ext);

// ----- clock -------------------------------------------------------------------------------

/// _strtime_s / _strdate_s: the local time "hh:mm:ss" / date "mm/dd/yy";
/// the buffer needs 9 characters (ERANGE, emptied, otherwise).
KEL_API int kelstrtime(char* buffer, unsigned __int64 size);
/// @copydoc kelstrtime
KEL_API int kelwstrtime6(unsigned short* buffer, unsigned __int64 size);
/// @copydoc kelstrtime
KEL_API int kelwstrtime8(wchar_t* buffer, unsigned __int64 size);
/// @copydoc kelstrtime
KEL_API int kelstrdate(char* buffer, unsigned __int64 size);
/// @copydoc kelstrtime
KEL_API int kelwstrdate6(unsigned short* buffer, unsigned __int64 size);
/// @copydoc kelstrtime
KEL_API int kelwstrdate8(wchar_t* buffer, unsigned __int64 size);

/// _localtime64_s: the local calendar time of `time` (seconds since
/// 1970-01-01 UTC). Times before -43200 or after 3000-12-31 23:59:59 give
/// EINVAL (without the handler) and -1 in every field of the result.
KEL_API int kellocaltime(struct tm* result, const __int64* time);

// ----- numbers -----------------------------------------------------------------------------

/// _itoa_s / _ltoa_s: the value in radix 2 to 36 with lower-case letters; a
/// minus sign only in radix 10, the two's complement digits of the type in
/// other radixes. ERANGE (emptied) when it does not fit, EINVAL for a bad
/// radix.
KEL_API int kelitoa(int value, char* buffer, unsigned __int64 size, int radix);
/// @copydoc kelitoa
KEL_API int kelitow6(int value, unsigned short* buffer, unsigned __int64 size, int radix);
/// @copydoc kelitoa
KEL_API int kelitow8(int value, wchar_t* buffer, unsigned __int64 size, int radix);
/// @copydoc kelitoa
KEL_API int kelltoa(long value, char* buffer, unsigned __int64 size, int radix);
/// @copydoc kelitoa
KEL_API int kelltow6(long value, unsigned short* buffer, unsigned __int64 size, int radix);
/// @copydoc kelitoa
KEL_API int kelltow8(long value, wchar_t* buffer, unsigned __int64 size, int radix);

/// _gcvt_s: `digits` significant digits, in decimal form when the exponent
/// lies between -1 and digits - 1 and in exponent form otherwise. A decimal
/// point is written only when the digits leave room for a fraction digit;
/// zeros at the end of the fraction are dropped but the point stays: 12
/// digits of -123456789012.3 give "-123456789012", 5 digits of 1.0 give "1.",
/// 3 digits of 100.0 give "100", 1 digit of 2.5 gives "3" (halves round away
/// from zero), 3 digits of 1000.0 give "1.e+03". ERANGE when digits is not
/// below size.
KEL_API int kelgcvt(char* buffer, unsigned __int64 size, double value, int digits);

// ----- error messages ----------------------------------------------------------------------

/// strerror_s: the runtime's message for an error number ("Invalid
/// argument" for 22, "Unknown error" for numbers it has none for), cut to
/// fit the buffer.
KEL_API int kelstrerror(char* buffer, unsigned __int64 size, int errnum);
/// @copydoc kelstrerror
KEL_API int kelwcserror6(unsigned short* buffer, unsigned __int64 size, int errnum);
/// @copydoc kelstrerror
KEL_API int kelwcserror8(wchar_t* buffer, unsigned __int64 size, int errnum);

// ----- conversions of a KelString ----------------------------------------------------------

/// A new COM string holding the text (SysAllocString), owned by the caller:
/// release it with SysFreeString on Windows or kelSysFreeString anywhere.
/// The 6 form holds UTF-16 units.
KEL_API unsigned short* kelGetBSTR6(const KelString& s);
/// @copydoc kelGetBSTR6
KEL_API wchar_t* kelGetBSTR8(const KelString& s);

/// Releases a COM string from kelGetBSTR6 or kelGetBSTR8 (its text is wiped
/// first). Null does nothing.
KEL_API void kelSysFreeString(void* bstr);

/// The number of bytes of the text in UTF-8, without a terminator; 0 for
/// the empty text.
KEL_API int kelGetUTF8BufferSize(const KelString& s);

/// Writes the text's UTF-8 bytes, without a terminator, into buffer of
/// `size` bytes. Get the size from kelGetUTF8BufferSize, allocate one byte
/// more and write the terminator yourself. A buffer that is too small gets
/// no complete conversion; nothing is reported.
KEL_API void kelGetUTF8(const KelString& s, char*& buffer, int size);

/// Releases memory the library allocated for the caller (keldupenv). Null
/// does nothing.
KEL_API void kelFreeBuff(void* p);

}  // extern "C"

#endif  // KEL_KELSAFERUNTIME_H

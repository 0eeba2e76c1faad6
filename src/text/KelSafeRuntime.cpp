// The bounded runtime routines under the library's names: the narrow forms,
// the wchar_t (8) forms and the conversions of a KelString. Each forwards to
// the one implementation in safe_runtime.cpp; the 16-bit (6) forms are in
// KelSafeRuntime_utf16_<system>.cpp.

#include <kel/KelSafeRuntime.h>

#include <cstdlib>

#include "platform/code_page.h"
#include "text/runtime_services.h"
#include "text/safe_runtime.h"

using kel::detail::toSize;
namespace rt = kel::detail;

// ----- copying and appending -------------------------------------------------------

int kelstrcpy(char* dst, unsigned __int64 size, const char* src) {
    return rt::copyString(dst, toSize(size), src);
}

int kelwcscpy8(wchar_t* dst, unsigned __int64 size, const wchar_t* src) {
    return rt::copyString(dst, toSize(size), src);
}

int kelstrncpy(char* dst, unsigned __int64 size, const char* src, unsigned __int64 count) {
    return rt::copyStringN(dst, toSize(size), src, toSize(count));
}

int kelwcsncpy8(wchar_t* dst, unsigned __int64 size, const wchar_t* src, unsigned __int64 count) {
    return rt::copyStringN(dst, toSize(size), src, toSize(count));
}

int kelstrcat(char* dst, unsigned __int64 size, const char* src) {
    return rt::appendString(dst, toSize(size), src);
}

int kelwcscat8(wchar_t* dst, unsigned __int64 size, const wchar_t* src) {
    return rt::appendString(dst, toSize(size), src);
}

int kelstrncat(char* dst, unsigned __int64 size, const char* src, unsigned __int64 count) {
    return rt::appendStringN(dst, toSize(size), src, toSize(count));
}

int kelwcsncat8(wchar_t* dst, unsigned __int64 size, const wchar_t* src, unsigned __int64 count) {
    return rt::appendStringN(dst, toSize(size), src, toSize(count));
}

// ----- case and filling --------------------------------------------------------------

int kelstrupr(char* text, unsigned __int64 size) {
    return rt::upperString(text, toSize(size));
}

int kelwcsupr8(wchar_t* text, unsigned __int64 size) {
    return rt::upperString(text, toSize(size));
}

int kelstrlwr(char* text, unsigned __int64 size) {
    return rt::lowerString(text, toSize(size));
}

int kelwcslwr8(wchar_t* text, unsigned __int64 size) {
    return rt::lowerString(text, toSize(size));
}

int kelstrset(char* text, unsigned __int64 size, int c) {
    return rt::setString(text, toSize(size), c);
}

int kelwcsset8(wchar_t* text, unsigned __int64 size, int c) {
    return rt::setString(text, toSize(size), c);
}

// ----- environment --------------------------------------------------------------------

namespace {

// The runtime's size_t length handed back as the interface's 64-bit one.
template <typename Char>
int duplicate(Char** value, unsigned __int64* length, const Char* name) {
    size_t count = 0;
    const int result = rt::duplicateEnvironment(value, length != nullptr ? &count : nullptr, name);
    if (length != nullptr)
        *length = count;
    return result;
}

}  // namespace

int keldupenv(char** value, unsigned __int64* length, const char* name) {
    return duplicate(value, length, name);
}

int kelwdupenv8(wchar_t** value, unsigned __int64* length, const wchar_t* name) {
    return duplicate(value, length, name);
}

int kelsearchenv(const char* file, const char* variable, char* path, unsigned __int64 size) {
    return rt::searchEnvironment(file, variable, path, toSize(size));
}

int kelwsearchenv8(const wchar_t* file, const wchar_t* variable, wchar_t* path,
                   unsigned __int64 size) {
    return rt::searchEnvironment(file, variable, path, toSize(size));
}

// ----- tokens ------------------------------------------------------------------------------

char* kelstrtok(char* s, const char* delimiters, char** context) {
    return rt::tokenize(s, delimiters, context);
}

wchar_t* kelwcstok8(wchar_t* s, const wchar_t* delimiters, wchar_t** context) {
    return rt::tokenize(s, delimiters, context);
}

// ----- paths -------------------------------------------------------------------------------

int kelsplitpath(const char* path, char* drive, unsigned __int64 driveSize, char* dir,
                 unsigned __int64 dirSize, char* fname, unsigned __int64 fnameSize, char* ext,
                 unsigned __int64 extSize) {
    return rt::splitPath(path, drive, toSize(driveSize), dir, toSize(dirSize), fname,
                         toSize(fnameSize), ext, toSize(extSize));
}

int kelwsplitpath8(const wchar_t* path, wchar_t* drive, unsigned __int64 driveSize, wchar_t* dir,
                   unsigned __int64 dirSize, wchar_t* fname, unsigned __int64 fnameSize,
                   wchar_t* ext, unsigned __int64 extSize) {
    return rt::splitPath(path, drive, toSize(driveSize), dir, toSize(dirSize), fname,
                         toSize(fnameSize), ext, toSize(extSize));
}

int kelmakepath(char* path, unsigned __int64 size, const char* drive, const char* dir,
                const char* fname, const char* ext) {
    return rt::makePath(path, toSize(size), drive, dir, fname, ext);
}

int kelwmakepath8(wchar_t* path, unsigned __int64 size, const wchar_t* drive, const wchar_t* dir,
                  const wchar_t* fname, const wchar_t* ext) {
    return rt::makePath(path, toSize(size), drive, dir, fname, ext);
}

// ----- clock -------------------------------------------------------------------------------

int kelstrtime(char* buffer, unsigned __int64 size) {
    return rt::clockTime(buffer, toSize(size));
}

int kelwstrtime8(wchar_t* buffer, unsigned __int64 size) {
    return rt::clockTime(buffer, toSize(size));
}

int kelstrdate(char* buffer, unsigned __int64 size) {
    return rt::clockDate(buffer, toSize(size));
}

int kelwstrdate8(wchar_t* buffer, unsigned __int64 size) {
    return rt::clockDate(buffer, toSize(size));
}

int kellocaltime(struct tm* result, const __int64* time) {
    if (time == nullptr)
        return rt::localTime64(result, nullptr);
    const long long value = *time;
    return rt::localTime64(result, &value);
}

// ----- numbers -----------------------------------------------------------------------------

int kelitoa(int value, char* buffer, unsigned __int64 size, int radix) {
    return rt::intToText(value, buffer, toSize(size), radix);
}

int kelitow8(int value, wchar_t* buffer, unsigned __int64 size, int radix) {
    return rt::intToText(value, buffer, toSize(size), radix);
}

int kelltoa(long value, char* buffer, unsigned __int64 size, int radix) {
    return rt::longToText(value, buffer, toSize(size), radix);
}

int kelltow8(long value, wchar_t* buffer, unsigned __int64 size, int radix) {
    return rt::longToText(value, buffer, toSize(size), radix);
}

int kelgcvt(char* buffer, unsigned __int64 size, double value, int digits) {
    return rt::gcvt(buffer, toSize(size), value, digits);
}

// ----- error messages ----------------------------------------------------------------------

int kelstrerror(char* buffer, unsigned __int64 size, int errnum) {
    return rt::errorText(buffer, toSize(size), errnum);
}

int kelwcserror8(wchar_t* buffer, unsigned __int64 size, int errnum) {
    return rt::errorText(buffer, toSize(size), errnum);
}

// ----- conversions of a KelString ----------------------------------------------------------

wchar_t* kelGetBSTR8(const KelString& s) {
    return rt::services::allocateBstr(s.getStringW(), static_cast<unsigned int>(s.length()));
}

void kelSysFreeString(void* bstr) {
    rt::services::freeBstr(bstr);
}

int kelGetUTF8BufferSize(const KelString& s) {
    const int length = s.length();
    if (length == 0)
        return 0;
    return rt::wideToMultiByte(rt::kCodePageUtf8, s.getStringW(), length, nullptr, 0, nullptr,
                               nullptr);
}

void kelGetUTF8(const KelString& s, char*& buffer, int size) {
    const int length = s.length();
    if (length == 0 || buffer == nullptr || size <= 0)
        return;
    rt::wideToMultiByte(rt::kCodePageUtf8, s.getStringW(), length, buffer, size, nullptr, nullptr);
}

void kelFreeBuff(void* p) {
    std::free(p);
}

// The 16-bit (6) forms of the bounded runtime routines where wchar_t is 32
// bits: the same implementation as the 8 forms, instantiated for UTF-16
// units, so that both give identical results.

#include <kel/KelSafeRuntime.h>

#include "platform/utf.h"
#include "text/runtime_services.h"
#include "text/safe_runtime.h"

using kel::detail::toSize;
namespace rt = kel::detail;

using Unit = unsigned short;

int kelwcscpy6(Unit* dst, unsigned __int64 size, const Unit* src) {
    return rt::copyString(dst, toSize(size), src);
}

int kelwcsncpy6(Unit* dst, unsigned __int64 size, const Unit* src, unsigned __int64 count) {
    return rt::copyStringN(dst, toSize(size), src, toSize(count));
}

int kelwcscat6(Unit* dst, unsigned __int64 size, const Unit* src) {
    return rt::appendString(dst, toSize(size), src);
}

int kelwcsncat6(Unit* dst, unsigned __int64 size, const Unit* src, unsigned __int64 count) {
    return rt::appendStringN(dst, toSize(size), src, toSize(count));
}

int kelwcsupr6(Unit* text, unsigned __int64 size) {
    return rt::upperString(text, toSize(size));
}

int kelwcslwr6(Unit* text, unsigned __int64 size) {
    return rt::lowerString(text, toSize(size));
}

int kelwcsset6(Unit* text, unsigned __int64 size, int c) {
    return rt::setString(text, toSize(size), c);
}

int kelwdupenv6(Unit** value, unsigned __int64* length, const Unit* name) {
    size_t count = 0;
    const int result = rt::duplicateEnvironment(value, length != nullptr ? &count : nullptr, name);
    if (length != nullptr)
        *length = count;
    return result;
}

int kelwsearchenv6(const Unit* file, const Unit* variable, Unit* path, unsigned __int64 size) {
    return rt::searchEnvironment(file, variable, path, toSize(size));
}

Unit* kelwcstok6(Unit* s, const Unit* delimiters, Unit** context) {
    return rt::tokenize(s, delimiters, context);
}

int kelwsplitpath6(const Unit* path, Unit* drive, unsigned __int64 driveSize, Unit* dir,
                   unsigned __int64 dirSize, Unit* fname, unsigned __int64 fnameSize, Unit* ext,
                   unsigned __int64 extSize) {
    return rt::splitPath(path, drive, toSize(driveSize), dir, toSize(dirSize), fname,
                         toSize(fnameSize), ext, toSize(extSize));
}

int kelwmakepath6(Unit* path, unsigned __int64 size, const Unit* drive, const Unit* dir,
                  const Unit* fname, const Unit* ext) {
    return rt::makePath(path, toSize(size), drive, dir, fname, ext);
}

int kelwstrtime6(Unit* buffer, unsigned __int64 size) {
    return rt::clockTime(buffer, toSize(size));
}

int kelwstrdate6(Unit* buffer, unsigned __int64 size) {
    return rt::clockDate(buffer, toSize(size));
}

int kelitow6(int value, Unit* buffer, unsigned __int64 size, int radix) {
    return rt::intToText(value, buffer, toSize(size), radix);
}

int kelltow6(long value, Unit* buffer, unsigned __int64 size, int radix) {
    return rt::longToText(value, buffer, toSize(size), radix);
}

int kelwcserror6(Unit* buffer, unsigned __int64 size, int errnum) {
    return rt::errorText(buffer, toSize(size), errnum);
}

Unit* kelGetBSTR6(const KelString& s) {
    const rt::Utf16String units = rt::wideToUtf16(s.getStringW(), static_cast<size_t>(s.length()));
    return static_cast<Unit*>(
        rt::services::allocateBstrBlock(units.data(), units.size() * sizeof(Unit)));
}

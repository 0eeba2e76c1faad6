#include "files/zip_io.h"

#include <cstdio>

#include "files/file_system.h"

namespace kel::detail {

namespace {

voidpf ZCALLBACK openFile(voidpf, const void* name, int mode) {
    if (name == nullptr)
        return nullptr;
    const char* how = nullptr;
    if ((mode & ZLIB_FILEFUNC_MODE_READWRITEFILTER) == ZLIB_FILEFUNC_MODE_READ) {
        how = "rb";
    } else if (mode & ZLIB_FILEFUNC_MODE_EXISTING) {
        how = "r+b";
    } else if (mode & ZLIB_FILEFUNC_MODE_CREATE) {
        how = "wb";
    } else {
        return nullptr;
    }
    return openBinaryStream(static_cast<const wchar_t*>(name), how);
}

uLong ZCALLBACK readFile(voidpf, voidpf stream, void* buffer, uLong size) {
    return static_cast<uLong>(std::fread(buffer, 1, size, static_cast<std::FILE*>(stream)));
}

uLong ZCALLBACK writeFile(voidpf, voidpf stream, const void* buffer, uLong size) {
    return static_cast<uLong>(std::fwrite(buffer, 1, size, static_cast<std::FILE*>(stream)));
}

ZPOS64_T ZCALLBACK tellFile(voidpf, voidpf stream) {
    const long long position = tellBinaryStream(static_cast<std::FILE*>(stream));
    return position < 0 ? static_cast<ZPOS64_T>(-1) : static_cast<ZPOS64_T>(position);
}

long ZCALLBACK seekFile(voidpf, voidpf stream, ZPOS64_T offset, int origin) {
    int whence = SEEK_SET;
    if (origin == ZLIB_FILEFUNC_SEEK_CUR) {
        whence = SEEK_CUR;
    } else if (origin == ZLIB_FILEFUNC_SEEK_END) {
        whence = SEEK_END;
    } else if (origin != ZLIB_FILEFUNC_SEEK_SET) {
        return -1;
    }
    return seekBinaryStream(static_cast<std::FILE*>(stream), static_cast<long long>(offset),
                            whence) == 0
               ? 0
               : -1;
}

int ZCALLBACK closeFile(voidpf, voidpf stream) {
    return std::fclose(static_cast<std::FILE*>(stream));
}

int ZCALLBACK errorFile(voidpf, voidpf stream) {
    return std::ferror(static_cast<std::FILE*>(stream));
}

}  // namespace

zlib_filefunc64_def nativeFileFunctions() {
    zlib_filefunc64_def functions = {};
    functions.zopen64_file = openFile;
    functions.zread_file = readFile;
    functions.zwrite_file = writeFile;
    functions.ztell64_file = tellFile;
    functions.zseek64_file = seekFile;
    functions.zclose_file = closeFile;
    functions.zerror_file = errorFile;
    functions.opaque = nullptr;
    return functions;
}

}  // namespace kel::detail

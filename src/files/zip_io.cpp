#include "files/zip_io.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include "files/file_system.h"

namespace kel::detail {

namespace {

// An open archive file. Archives opened for reading go through a window of
// their bytes: minizip reads the directory field by field, seeking before
// each record, and the window turns that into few system calls. Archives
// being written go straight to the stdio stream.
struct ArchiveFile {
    std::FILE* file = nullptr;
    bool reading = false;
    bool failed = false;
    long long position = 0;  // as minizip sees it: `prefix` bytes ahead of the file's
    long long size = -1;
    long long prefix = 0;
    std::vector<char> window;
    long long windowStart = 0;
    size_t windowLength = 0;
};

constexpr size_t kWindowSize = 65536;

ArchiveFile* archive(voidpf stream) {
    return static_cast<ArchiveFile*>(stream);
}

// Fills the window with the block of bytes that holds `at`; false at the
// end or on an error.
bool fillWindow(ArchiveFile& f, long long at) {
    // Aligned, so that minizip's backward search for the end record reads
    // each block of the file once.
    at -= at % static_cast<long long>(kWindowSize);
    f.windowStart = at;
    f.windowLength = 0;
    if (seekBinaryStream(f.file, at, SEEK_SET) != 0) {
        f.failed = true;
        return false;
    }
    f.window.resize(kWindowSize);
    f.windowLength = std::fread(f.window.data(), 1, kWindowSize, f.file);
    if (std::ferror(f.file) != 0)
        f.failed = true;
    return f.windowLength > 0;
}

uLong readWindowed(ArchiveFile& f, char* out, uLong size) {
    uLong done = 0;
    for (; done < size && f.position < f.prefix; ++done, ++f.position)
        out[done] = 0;
    while (done < size && (f.size < 0 || f.position - f.prefix < f.size)) {
        const long long at = f.position - f.prefix;
        const long long offset = at - f.windowStart;
        if (offset < 0 || offset >= static_cast<long long>(f.windowLength)) {
            if (!fillWindow(f, at) ||
                at - f.windowStart >= static_cast<long long>(f.windowLength)) {
                break;  // the end of the file
            }
            continue;
        }
        const size_t now =
            std::min<size_t>(size - done, f.windowLength - static_cast<size_t>(offset));
        std::memcpy(out + done, f.window.data() + offset, now);
        done += static_cast<uLong>(now);
        f.position += static_cast<long long>(now);
    }
    return done;
}

// An archive without entries is its end record alone, at offset 0, where
// minizip's search takes a record for "not found". Such a file is shown to
// minizip behind one byte of zero, deliberately; minizip reckons offsets
// from where it finds the end record, so the byte changes nothing else.
bool isBareEndRecord(std::FILE* file) {
    unsigned char end[22];
    if (std::fread(end, 1, sizeof end, file) != sizeof end || end[0] != 'P' || end[1] != 'K' ||
        end[2] != 5 || end[3] != 6 || seekBinaryStream(file, 0, SEEK_END) != 0) {
        return false;
    }
    const long long commentLength = end[20] | (end[21] << 8);
    return tellBinaryStream(file) == static_cast<long long>(sizeof end) + commentLength;
}

voidpf ZCALLBACK openFile(voidpf, const void* name, int mode) {
    if (name == nullptr)
        return nullptr;
    const char* how = nullptr;
    const bool reading = (mode & ZLIB_FILEFUNC_MODE_READWRITEFILTER) == ZLIB_FILEFUNC_MODE_READ;
    if (reading) {
        how = "rb";
    } else if (mode & ZLIB_FILEFUNC_MODE_EXISTING) {
        how = "r+b";
    } else if (mode & ZLIB_FILEFUNC_MODE_CREATE) {
        how = "wb";
    } else {
        return nullptr;
    }
    std::FILE* file = openBinaryStream(static_cast<const wchar_t*>(name), how);
    if (file == nullptr)
        return nullptr;
    auto* result = new (std::nothrow) ArchiveFile;
    if (result == nullptr) {
        std::fclose(file);
        return nullptr;
    }
    result->file = file;
    result->reading = reading;
    if (reading && isBareEndRecord(file))
        result->prefix = 1;
    return result;
}

uLong ZCALLBACK readFile(voidpf, voidpf stream, void* buffer, uLong size) {
    ArchiveFile& f = *archive(stream);
    if (f.reading)
        return readWindowed(f, static_cast<char*>(buffer), size);
    return static_cast<uLong>(std::fread(buffer, 1, size, f.file));
}

uLong ZCALLBACK writeFile(voidpf, voidpf stream, const void* buffer, uLong size) {
    ArchiveFile& f = *archive(stream);
    if (f.reading)
        return 0;
    return static_cast<uLong>(std::fwrite(buffer, 1, size, f.file));
}

ZPOS64_T ZCALLBACK tellFile(voidpf, voidpf stream) {
    const ArchiveFile& f = *archive(stream);
    const long long position = f.reading ? f.position : tellBinaryStream(f.file);
    return position < 0 ? static_cast<ZPOS64_T>(-1) : static_cast<ZPOS64_T>(position);
}

long ZCALLBACK seekFile(voidpf, voidpf stream, ZPOS64_T offset, int origin) {
    ArchiveFile& f = *archive(stream);
    int whence = SEEK_SET;
    if (origin == ZLIB_FILEFUNC_SEEK_CUR) {
        whence = SEEK_CUR;
    } else if (origin == ZLIB_FILEFUNC_SEEK_END) {
        whence = SEEK_END;
    } else if (origin != ZLIB_FILEFUNC_SEEK_SET) {
        return -1;
    }
    if (!f.reading)
        return seekBinaryStream(f.file, static_cast<long long>(offset), whence) == 0 ? 0 : -1;
    if (f.size < 0) {
        if (seekBinaryStream(f.file, 0, SEEK_END) != 0)
            return -1;
        f.size = tellBinaryStream(f.file);
    }
    const long long base = whence == SEEK_SET   ? 0
                           : whence == SEEK_CUR ? f.position
                                                : f.size + f.prefix;
    const long long target = base + static_cast<long long>(offset);
    if (target < 0)
        return -1;
    f.position = target;
    return 0;
}

int ZCALLBACK closeFile(voidpf, voidpf stream) {
    ArchiveFile* f = archive(stream);
    const int result = std::fclose(f->file);
    delete f;
    return result;
}

int ZCALLBACK errorFile(voidpf, voidpf stream) {
    const ArchiveFile& f = *archive(stream);
    return f.failed || std::ferror(f.file) != 0 ? 1 : 0;
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

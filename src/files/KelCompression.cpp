#include <kel/KelCompression.h>

#include <zlib.h>

#include <algorithm>
#include <climits>
#include <new>

namespace {

using ByteArray = KelCompression::ByteArray;

// The version text handed to zlib's initialisation calls. zlib compares only
// its first character with its own version, so every 1.x library accepts it.
constexpr const char* kZlibVersion = "1.2.3";

// Lengthens `out` by `block` bytes and returns where the new bytes start,
// or null when the array cannot grow that far.
unsigned char* growBy(ByteArray& out, long block) {
    const long size = std::max(out.length(), 0L);
    if (size > INT_MAX - block)
        return nullptr;
    try {
        out.setLogicalLength(size + block);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return out.getData() + size;
}

bool validInput(const unsigned char* data, long length) {
    return length >= 0 && (data != nullptr || length == 0);
}

// Feeds `length` bytes of `data` to an initialised zlib stream in rounds of
// at most `block` bytes in and out, until `step` returns anything but Z_OK.
// `step(stream, last)` runs deflate or inflate once; `last` is true for the
// round that holds the rest of the input. After every round `out` is `start`
// plus the stream's total output long. Returns the last result of `step`.
template <typename Step>
int pump(z_stream& stream, const unsigned char* data, long length, long block, long start,
         ByteArray& out, Step step) {
    stream.next_in = const_cast<Bytef*>(data);
    unsigned long remaining = static_cast<unsigned long>(length);
    int result = Z_OK;
    do {
        const uInt available = static_cast<uInt>(std::min<unsigned long>(remaining, block));
        unsigned char* tail = growBy(out, block);
        if (tail == nullptr) {
            result = Z_MEM_ERROR;
            break;
        }
        stream.next_out = tail;
        stream.avail_out = static_cast<uInt>(block);
        stream.avail_in = available;
        result = step(stream, available == remaining);
        out.setLogicalLength(start + static_cast<long>(stream.total_out));
        remaining -= available - stream.avail_in;
    } while (result == Z_OK);
    out.setLogicalLength(start + static_cast<long>(stream.total_out));
    return result;
}

}  // namespace

const int KelCompression::m_nCompressLevel = 1;
const int KelCompression::m_nBlockSizeCompress = 32768;
const int KelCompression::m_nBlockSizeUncompress = 32768;

KelCompression::KelCompression() {}

KelCompression::~KelCompression() {}

int KelCompression::compress(const unsigned char* data, long length, ByteArray& out) {
    if (!validInput(data, length))
        return 0;
    z_stream stream = {};
    if (deflateInit_(&stream, m_nCompressLevel, kZlibVersion, static_cast<int>(sizeof stream)) !=
        Z_OK) {
        return 0;
    }
    // Every round but the one that holds the rest of the input ends in a
    // sync flush, so each round's output is complete on its own.
    const int result =
        pump(stream, data, length, m_nBlockSizeCompress, std::max(out.length(), 0L), out,
             [](z_stream& z, bool last) { return deflate(&z, last ? Z_FINISH : Z_SYNC_FLUSH); });
    deflateEnd(&stream);
    return result == Z_STREAM_END ? 1 : 0;
}

int KelCompression::compress(const ByteArray& in, ByteArray& out) {
    return compress(in.getData(), std::max(in.length(), 0L), out);
}

int KelCompression::decompress(const unsigned char* data, long length, ByteArray& out) {
    if (!validInput(data, length))
        return 0;
    z_stream stream = {};
    if (inflateInit_(&stream, kZlibVersion, static_cast<int>(sizeof stream)) != Z_OK)
        return 0;
    // The length is the total output, not the earlier length plus it:
    // deliberate, the output array is expected to start empty.
    const int result = pump(stream, data, length, m_nBlockSizeUncompress, 0, out,
                            [](z_stream& z, bool) { return inflate(&z, Z_SYNC_FLUSH); });
    inflateEnd(&stream);
    return result == Z_STREAM_END ? 1 : 0;
}

int KelCompression::decompress(const ByteArray& in, ByteArray& out) {
    return decompress(in.getData(), std::max(in.length(), 0L), out);
}

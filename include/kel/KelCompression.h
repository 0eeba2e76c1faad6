/// @file KelCompression.h
/// Whole-buffer compression in the zlib stream format.
///
/// KelCompression compresses and decompresses memory buffers as zlib streams
/// (a two-byte header, deflate data and an Adler-32 trailer), driving zlib in
/// output steps of 32 KiB at the fastest compression level.
///
/// @code
///   KelCompression::ByteArray packed, unpacked;
///   if (KelCompression::compress(data, size, packed) &&
///       KelCompression::decompress(packed, unpacked)) { /* unpacked == data */ }
/// @endcode
///
/// compress appends to what the output array already holds; decompress
/// expects an empty output array.

#ifndef KEL_KELCOMPRESSION_H
#define KEL_KELCOMPRESSION_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>

/// @copydoc KelCompression.h
class KEL_API KelCompression {
public:
    /// The byte buffers both directions work on.
    using ByteArray = KelArray<unsigned char, KelArrayObjectCopyReallocator<unsigned char>,
                               KelArrayMemoryController<unsigned char>>;

    /// Compresses `length` bytes at `data` and appends the zlib stream to
    /// `out`, after the bytes it already holds. Returns 1 when the stream was
    /// finished, else 0 (then `out` keeps what was produced so far). Zero
    /// bytes give the minimal stream; a null `data` with a positive length
    /// or a negative length fails.
    static int compress(const unsigned char* data, long length, ByteArray& out);
    /// The same for the elements of `in`.
    static int compress(const ByteArray& in, ByteArray& out);

    /// Decompresses the zlib stream of `length` bytes at `data` into `out`,
    /// which must be empty. Returns 1 when the stream ended properly, 0 for a
    /// corrupt, truncated or empty input. A non-empty `out` is not cleared:
    /// its length becomes the decompressed length and the data is written
    /// after the old bytes, so the result starts with them (deliberate; the
    /// caller's contract is an empty array).
    static int decompress(const unsigned char* data, long length, ByteArray& out);
    /// The same for the elements of `in`.
    static int decompress(const ByteArray& in, ByteArray& out);

private:
    KelCompression();
    ~KelCompression();
    KelCompression(const KelCompression&);
    KelCompression& operator=(const KelCompression&);

    /// The compression level (1, the fastest) and the output steps of both
    /// directions (32768 bytes). Fixed: nothing changes them.
    static const int m_nCompressLevel;
    static const int m_nBlockSizeCompress;
    static const int m_nBlockSizeUncompress;
};

#endif  // KEL_KELCOMPRESSION_H

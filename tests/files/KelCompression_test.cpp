#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <zlib.h>

#include <algorithm>

#include "file_test_support.h"

namespace {

using ByteArray = KelCompression::ByteArray;
using kel::test::Bytes;

Bytes toBytes(const ByteArray& array) {
    return Bytes(array.getData(), array.getData() + array.length());
}

ByteArray toArray(const Bytes& bytes, long grow = 8) {
    ByteArray array(0, grow);
    array.setLogicalLength(static_cast<long>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), array.getData());
    return array;
}

// Compresses and decompresses `input` with the library; the arrays grow in
// steps of `grow` bytes.
void expectRoundTrip(const Bytes& input, long grow = 8) {
    ByteArray packed(0, grow);
    ASSERT_EQ(KelCompression::compress(input.data(), static_cast<long>(input.size()), packed), 1);
    ByteArray unpacked(0, grow);
    ASSERT_EQ(KelCompression::decompress(packed.getData(), packed.length(), unpacked), 1);
    ASSERT_EQ(unpacked.length(), static_cast<long>(input.size()));
    EXPECT_TRUE(std::equal(input.begin(), input.end(), unpacked.getData()));
}

bool containsSyncMarker(const ByteArray& data) {
    static const unsigned char kMarker[] = {0x00, 0x00, 0xFF, 0xFF};
    const unsigned char* begin = data.getData();
    const unsigned char* end = begin + data.length();
    return std::search(begin, end, kMarker, kMarker + 4) != end;
}

TEST(KelCompression, CompressZeroBytes_GivesTheMinimalStream) {
    ByteArray out;
    ASSERT_EQ(KelCompression::compress(nullptr, 0, out), 1);
    EXPECT_EQ(toBytes(out), (Bytes{0x78, 0x01, 0x03, 0x00, 0x00, 0x00, 0x00, 0x01}));
    ByteArray back;
    EXPECT_EQ(KelCompression::decompress(out, back), 1);
    EXPECT_EQ(back.length(), 0);
}

TEST(KelCompression, RoundTrips_SmallAndBlockSizedInputs) {
    for (size_t size : {size_t(1), size_t(32767), size_t(32768), size_t(32769), size_t(100000)}) {
        SCOPED_TRACE(size);
        expectRoundTrip(kel::test::randomBytes(size, 7));
        expectRoundTrip(kel::test::textBytes(size, 7));
    }
}

TEST(KelCompression, RoundTrips_64MiBOfRandomAndOfCompressibleData) {
    const size_t size = size_t(64) << 20;
    // Arrays with a large growth step: the output then grows in few steps.
    expectRoundTrip(kel::test::randomBytes(size, 11), 1 << 22);
    expectRoundTrip(kel::test::textBytes(size, 11), 1 << 22);
}

TEST(KelCompression, OneBlockOfInput_IsFinishedInOneRound) {
    const Bytes input = kel::test::textBytes(32768, 3);
    ByteArray out;
    ASSERT_EQ(KelCompression::compress(input.data(), 32768, out), 1);
    EXPECT_FALSE(containsSyncMarker(out));
}

TEST(KelCompression, MoreThanOneBlock_RunsSyncFlushRoundsBeforeFinishing) {
    const Bytes input = kel::test::textBytes(32769, 3);
    ByteArray out;
    ASSERT_EQ(KelCompression::compress(input.data(), 32769, out), 1);
    EXPECT_TRUE(containsSyncMarker(out));
    // zlib's own decoder reads it back.
    Bytes back(input.size());
    uLongf length = static_cast<uLongf>(back.size());
    ASSERT_EQ(uncompress(back.data(), &length, out.getData(), static_cast<uLong>(out.length())),
              Z_OK);
    EXPECT_EQ(back, input);
}

TEST(KelCompression, Decompress_ReadsStreamsMadeByZlib) {
    const Bytes input = kel::test::textBytes(200000, 5);
    Bytes packed(compressBound(static_cast<uLong>(input.size())));
    uLongf length = static_cast<uLongf>(packed.size());
    ASSERT_EQ(compress2(packed.data(), &length, input.data(), static_cast<uLong>(input.size()), 9),
              Z_OK);
    ByteArray out;
    ASSERT_EQ(KelCompression::decompress(packed.data(), static_cast<long>(length), out), 1);
    EXPECT_EQ(toBytes(out), input);
}

TEST(KelCompression, Compress_AppendsAfterBytesTheArrayHolds) {
    const Bytes input = kel::test::textBytes(50000, 9);
    ByteArray out;
    out.append(1);
    out.append(2);
    out.append(3);
    ASSERT_EQ(KelCompression::compress(input.data(), static_cast<long>(input.size()), out), 1);
    ASSERT_GT(out.length(), 3);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[1], 2);
    EXPECT_EQ(out[2], 3);
    ByteArray back;
    ASSERT_EQ(KelCompression::decompress(out.getData() + 3, out.length() - 3, back), 1);
    EXPECT_EQ(toBytes(back), input);
}

TEST(KelCompression, ArrayOverloads_MatchThePointerForms) {
    const Bytes input = kel::test::textBytes(70000, 4);
    const ByteArray in = toArray(input);
    ByteArray viaArray;
    ByteArray viaPointer;
    ASSERT_EQ(KelCompression::compress(in, viaArray), 1);
    ASSERT_EQ(KelCompression::compress(input.data(), static_cast<long>(input.size()), viaPointer),
              1);
    EXPECT_EQ(toBytes(viaArray), toBytes(viaPointer));
    ByteArray back;
    ASSERT_EQ(KelCompression::decompress(viaArray, back), 1);
    EXPECT_EQ(toBytes(back), input);
}

TEST(KelCompression, Decompress_IntoANonEmptyArray_KeepsTheOldBytesInFront) {
    const Bytes input = kel::test::bytesOf("abc");
    ByteArray packed;
    ASSERT_EQ(KelCompression::compress(input.data(), 3, packed), 1);
    ByteArray out;
    for (int i = 0; i < 5; ++i)
        out.append(9);
    ASSERT_EQ(KelCompression::decompress(packed, out), 1);
    // The length becomes the decompressed length; the data went behind the
    // old bytes, so what remains are old bytes.
    EXPECT_EQ(toBytes(out), (Bytes{9, 9, 9}));
}

TEST(KelCompression, TruncatedStreams_FailToDecompress) {
    const Bytes input = kel::test::textBytes(100000, 2);
    ByteArray packed;
    ASSERT_EQ(KelCompression::compress(input.data(), static_cast<long>(input.size()), packed), 1);
    for (long cut : {1L, 4L, 5L, packed.length() / 2, packed.length() - 2}) {
        SCOPED_TRACE(cut);
        ByteArray out;
        EXPECT_EQ(KelCompression::decompress(packed.getData(), packed.length() - cut, out), 0);
    }
}

TEST(KelCompression, CorruptedStreams_FailToDecompress) {
    const Bytes input = kel::test::textBytes(100000, 2);
    ByteArray packed;
    ASSERT_EQ(KelCompression::compress(input.data(), static_cast<long>(input.size()), packed), 1);
    Bytes damaged = toBytes(packed);
    damaged.back() ^= 0x01;  // the Adler-32 checksum
    ByteArray out;
    EXPECT_EQ(KelCompression::decompress(damaged.data(), static_cast<long>(damaged.size()), out),
              0);
    damaged = toBytes(packed);
    damaged[0] = 0x79;  // not a zlib header
    ByteArray out2;
    EXPECT_EQ(KelCompression::decompress(damaged.data(), static_cast<long>(damaged.size()), out2),
              0);
    const Bytes noise = kel::test::randomBytes(5000, 1);
    ByteArray out3;
    EXPECT_EQ(KelCompression::decompress(noise.data(), static_cast<long>(noise.size()), out3), 0);
}

TEST(KelCompression, BadArguments_Fail) {
    ByteArray out;
    EXPECT_EQ(KelCompression::compress(nullptr, 5, out), 0);
    const unsigned char byte = 1;
    EXPECT_EQ(KelCompression::compress(&byte, -1, out), 0);
    EXPECT_EQ(out.length(), 0);
    EXPECT_EQ(KelCompression::decompress(nullptr, 5, out), 0);
    EXPECT_EQ(KelCompression::decompress(&byte, -1, out), 0);
    EXPECT_EQ(KelCompression::decompress(nullptr, 0, out), 0);
}

TEST(KelCompression, ZlibAcceptsTheVersionTextOfTheInitialisation) {
    // The library hands "1.2.3" to zlib; zlib checks only the first
    // character against its own version.
    EXPECT_EQ(zlibVersion()[0], '1');
    z_stream stream = {};
    ASSERT_EQ(deflateInit_(&stream, 1, "1.2.3", static_cast<int>(sizeof stream)), Z_OK);
    deflateEnd(&stream);
}

}  // namespace

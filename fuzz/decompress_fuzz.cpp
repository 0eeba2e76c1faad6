// KelCompression on arbitrary bytes: decompressing must fail or succeed
// without crashing, and whatever it produced compresses and decompresses
// back to itself.

#include <kel/Kel.h>

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    KelCompression::ByteArray out;
    KelCompression::decompress(data, static_cast<long>(size), out);

    KelCompression::ByteArray packed;
    if (KelCompression::compress(data, static_cast<long>(size), packed) != 1)
        std::abort();
    KelCompression::ByteArray unpacked;
    if (KelCompression::decompress(packed, unpacked) != 1 ||
        unpacked.length() != static_cast<long>(size) ||
        (size > 0 && std::memcmp(unpacked.getData(), data, size) != 0)) {
        std::abort();
    }
    return 0;
}

// The PE version reader on arbitrary bytes: a truncated or hostile file
// gives no version, never a crash or a read outside the bytes (the input
// is read through a copy of exactly its size, so the sanitizers see any
// read beyond it).

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "diagnostics/file_version.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::unique_ptr<uint8_t[]> copy(new uint8_t[size]);
    if (size > 0)
        std::memcpy(copy.get(), data, size);
    kel::detail::MemoryBytes bytes(copy.get(), size);
    kel::detail::FileVersion version;
    if (kel::detail::peFileVersion(bytes, version)) {
        if (version.major > 0xFFFF || version.minor > 0xFFFF || version.build > 0xFFFF ||
            version.revision > 0xFFFF) {
            std::abort();
        }
        const std::wstring text = kel::detail::formatFileVersion(version);
        if (text.size() < 14)
            std::abort();
    }
    // The same bytes as a file name after ".so.".
    std::wstring name(L"lib.so.");
    for (size_t i = 0; i < size && i < 64; ++i)
        name += static_cast<wchar_t>(data[i]);
    kel::detail::versionFromSharedObjectName(name, version);
    return 0;
}

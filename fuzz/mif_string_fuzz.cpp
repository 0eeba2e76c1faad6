// setFromMIFString on arbitrary bytes: never crashes, and the result is the
// value itself.

#include <kel/Kel.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    KelString value(L"before");
    const KelString result = value.setFromMIFString(text.c_str());
    if (result != value)
        std::abort();
    // The decoded text is never longer than its source.
    if (static_cast<size_t>(value.length()) > text.size() + 1)
        std::abort();
    return 0;
}

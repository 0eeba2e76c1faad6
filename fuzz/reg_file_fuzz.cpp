// Registry files as "kel reg import" reads them, in the current format or
// as "REGEDIT4" files: any bytes are either refused with a message or
// parsed; what is parsed, written out again (always in the current format,
// text data of a "REGEDIT4" file then UTF-16), parses back to the same keys
// and values (text without its terminating zero comes back with one, as the
// Windows tools store it).

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "environment/hive_store.h"
#include "environment/reg_file.h"

namespace {

bool sameData(const kel::detail::RegFileValue& a, const kel::detail::RegFileValue& b) {
    if (a.data == b.data)
        return true;
    std::vector<unsigned char> terminated = a.data;
    terminated.insert(terminated.end(), {0, 0});
    return a.type == kel::detail::kRegSz && terminated == b.data;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace kel::detail;
    RegFile file;
    std::wstring error;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (!parseRegFile(bytes, file, error)) {
        if (error.empty())
            std::abort();
        return 0;
    }
    RegFile again;
    if (!parseRegFile(encodeUtf16Le(formatRegFile(file)), again, error))
        std::abort();
    if (again.keys.size() != file.keys.size())
        std::abort();
    for (size_t k = 0; k < file.keys.size(); ++k) {
        const RegFileKey& a = file.keys[k];
        const RegFileKey& b = again.keys[k];
        if (a.remove != b.remove || a.values.size() != b.values.size())
            std::abort();
        for (size_t v = 0; v < a.values.size(); ++v) {
            if (a.values[v].name != b.values[v].name || a.values[v].remove != b.values[v].remove ||
                a.values[v].type != b.values[v].type || !sameData(a.values[v], b.values[v]))
                std::abort();
        }
    }
    return 0;
}

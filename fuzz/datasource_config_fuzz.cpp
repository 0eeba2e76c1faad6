// The data sources' configuration-file scan on arbitrary bytes, read the
// way the library reads the file (UTF-8 through KelFileAccess) and decoded
// directly as UTF-8, where text before a first zero byte names the product.
// Nothing may crash, hang or read beyond the text, and every value found
// must be a piece of the text.

#include <kel/Kel.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "environment/data_sources.h"
#include "fuzz_sandbox.h"
#include "platform/utf.h"

namespace {

void check(const KelString& text, const KelString& value) {
    if (value.length() > text.length())
        std::abort();
    if (!value.isEmpty() && text.find(value) < 0)
        std::abort();
}

void scan(const KelString& text, const KelString& product) {
    for (const kel::detail::ScannedDataSource& entry :
         kel::detail::scanDataSources(text, product)) {
        check(text, entry.name);
        check(text, entry.connectionString);
        check(text, entry.platform);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* bytes = reinterpret_cast<const char*>(data);
    {
        const std::filesystem::path path = kel::fuzz::sandbox() / "DatabaseConfiguration.xml";
        kel::fuzz::writeFile(path, data, size);
        KelFileAccess file(kel::fuzz::wide(path).c_str(), L"r", KelFileAccess::encodeUTF8);
        KelString text;
        const long length = file.getFileLength();
        if (length > 0)
            file.readFile(text, static_cast<size_t>(length));
        scan(text, KelString(L"Gantrix"));
    }
    {
        const void* zero = std::memchr(bytes, 0, size);
        const size_t split = zero != nullptr ? static_cast<const char*>(zero) - bytes : 0;
        const std::wstring product =
            zero != nullptr ? kel::detail::utf8ToWide(std::string_view(bytes, split)) : L"Gantrix";
        const size_t start = zero != nullptr ? split + 1 : 0;
        const std::wstring text =
            kel::detail::utf8ToWide(std::string_view(bytes + start, size - start));
        scan(KelString(text.c_str()), KelString(product.c_str()));
    }
    return 0;
}

#include "environment/hive_store.h"

#include <cstring>

#include "platform/utf.h"

namespace kel::detail {

std::vector<unsigned char> textToValueData(std::wstring_view text, bool terminate) {
    Utf16String units = wideToUtf16(text.data(), text.size());
    if (terminate)
        units.push_back(0);
    std::vector<unsigned char> data(units.size() * sizeof(unsigned short));
    if (!data.empty())
        std::memcpy(data.data(), units.data(), data.size());
    return data;
}

std::wstring valueDataToText(const void* data, size_t size) {
    const size_t count = size / sizeof(unsigned short);
    Utf16String units(count, 0);
    if (count > 0)
        std::memcpy(units.data(), data, count * sizeof(unsigned short));
    const size_t end = units.find(static_cast<unsigned short>(0));
    return utf16ToWide(units.data(), end == Utf16String::npos ? count : end);
}

}  // namespace kel::detail

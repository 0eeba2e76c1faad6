#include "platform/case_fold.h"

#include <algorithm>
#include <cstdint>

namespace kel::detail {

namespace {

struct CaseKeyEntry {
    uint32_t character;
    uint32_t key;
};

#include "platform/case_fold_table.inc"

bool isHighSurrogate(uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendCharacter(std::wstring& text, char32_t c) {
    if (sizeof(wchar_t) == 2 && c > 0xFFFF) {
        c -= 0x10000;
        text += static_cast<wchar_t>(0xD800 + (c >> 10));
        text += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
        return;
    }
    text += static_cast<wchar_t>(c);
}

}  // namespace

const char kCaseFoldingUnicodeVersion[] = KEL_CASE_FOLD_UNICODE_VERSION;

char32_t caseKey(char32_t c) {
    if (c < 0x80)
        return c >= U'a' && c <= U'z' ? c - 0x20 : c;
    const auto* end = std::end(kCaseKeys);
    const auto* entry =
        std::lower_bound(std::begin(kCaseKeys), end, static_cast<uint32_t>(c),
                         [](const CaseKeyEntry& e, uint32_t value) { return e.character < value; });
    return entry != end && entry->character == c ? static_cast<char32_t>(entry->key) : c;
}

std::wstring caseKeyText(std::wstring_view text) {
    using Unit = std::make_unsigned_t<wchar_t>;
    std::wstring keyed;
    keyed.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        uint32_t c = static_cast<Unit>(text[i]);
        if (sizeof(wchar_t) == 2 && isHighSurrogate(c) && i + 1 < text.size() &&
            isLowSurrogate(static_cast<Unit>(text[i + 1]))) {
            c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<Unit>(text[++i]) - 0xDC00);
        }
        appendCharacter(keyed, caseKey(c));
    }
    return keyed;
}

}  // namespace kel::detail

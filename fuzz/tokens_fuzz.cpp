// Both getTokens forms on arbitrary text, delimiters and quotes: never
// crashes, never yields an empty token, and the plain form's tokens hold no
// delimiter.

#include <kel/Kel.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <string>

namespace {

using Tokens = KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
                        KelArrayMemoryController<KelString>>;

// The input's bytes as wide characters: the first byte sizes the delimiter
// set, the second the quote set, the rest is the text.
std::wstring take(const uint8_t*& data, size_t& size, size_t count) {
    std::wstring result;
    for (; count > 0 && size > 0; --count, --size, ++data)
        result.push_back(*data == 0 ? L' ' : static_cast<wchar_t>(*data));
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2)
        return 0;
    const size_t delimiterCount = data[0] % 4;
    const size_t quoteCount = data[1] % 3;
    data += 2;
    size -= 2;
    const std::wstring delimiters = take(data, size, delimiterCount);
    const std::wstring quotes = take(data, size, quoteCount);
    const std::wstring text = take(data, size, size);

    KelString value(text.c_str());
    Tokens tokens;
    KelString::getTokens(value, tokens, KelString(delimiters.c_str()));
    for (long i = 0; i < tokens.length(); ++i) {
        if (tokens[i].isEmpty() || std::wcspbrk(tokens[i].getStringW(), delimiters.c_str()))
            std::abort();
    }
    Tokens quoted;
    KelString::getTokens(value, quoted, KelString(delimiters.c_str()), KelString(quotes.c_str()));
    size_t characters = 0;
    for (long i = 0; i < quoted.length(); ++i) {
        if (quoted[i].isEmpty())
            std::abort();
        characters += static_cast<size_t>(quoted[i].length());
    }
    if (characters > text.size() || std::wcscmp(value.getStringW(), text.c_str()) != 0)
        std::abort();
    return 0;
}

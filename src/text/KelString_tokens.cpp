// Splitting a KelString into tokens, with or without quoted sections.

#include <kel/KelString.h>

#include <string>
#include <string_view>

namespace {

using Tokens = KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
                        KelArrayMemoryController<KelString>>;

// Appends a token built from `length` characters.
void appendToken(Tokens& tokens, const wchar_t* text, size_t length) {
    const std::wstring token(text, length);
    tokens.append(KelString(token.c_str()));
}

bool isIn(const std::wstring_view& set, wchar_t c) {
    return set.find(c) != std::wstring_view::npos;
}

}  // namespace

void KelString::getTokens(KelString& text, Tokens& tokens, const KelString& delimiters) {
    tokens.setLogicalLength(0);
    // The tokens are read in place: the text itself is never changed, and
    // runs of delimiters (leading and trailing ones too) give no empty
    // tokens, as wcstok_s on a copy would.
    const std::wstring_view chars(text.getStringW());
    const std::wstring_view set(delimiters.getStringW());
    size_t start = chars.find_first_not_of(set);
    while (start != std::wstring_view::npos) {
        size_t end = chars.find_first_of(set, start);
        if (end == std::wstring_view::npos)
            end = chars.size();
        appendToken(tokens, chars.data() + start, end - start);
        start = chars.find_first_not_of(set, end);
    }
}

void KelString::getTokens(KelString& text, Tokens& tokens, const KelString& delimiters,
                          KelString quotes) {
    if (quotes.isEmpty()) {
        getTokens(text, tokens, delimiters);
        return;
    }
    tokens.setLogicalLength(0);
    const std::wstring_view chars(text.getStringW());
    const std::wstring_view delimiterSet(delimiters.getStringW());
    const std::wstring_view quoteSet(quotes.getStringW());
    std::wstring token;
    bool quoted = false;
    wchar_t closing = L' ';
    for (size_t i = 0; i < chars.size(); ++i) {
        const wchar_t c = chars[i];
        if (quoted) {
            // Quotes stay in the token; a doubled closing quote is kept
            // doubled and does not end the section.
            token.push_back(c);
            if (c != closing)
                continue;
            if (i + 1 < chars.size() && chars[i + 1] == closing) {
                token.push_back(chars[++i]);
            } else {
                quoted = false;
                closing = L' ';
            }
        } else if (isIn(quoteSet, c)) {
            token.push_back(c);
            quoted = true;
            closing = c;
        } else if (isIn(delimiterSet, c)) {
            if (!token.empty())
                appendToken(tokens, token.data(), token.size());
            token.clear();
        } else {
            token.push_back(c);
        }
    }
    if (!token.empty())
        appendToken(tokens, token.data(), token.size());
}

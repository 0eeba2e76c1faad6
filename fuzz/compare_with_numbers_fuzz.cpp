// compareWithNumbers on arbitrary pairs: the result is always -1, 0 or 1,
// identical texts give 0, and the digit-run shortcut agrees with a literal
// walk of the algorithm.

#include <kel/Kel.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

bool isDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// _wtoi of a text that starts with a digit.
long long readNumber(const std::wstring& s, size_t i) {
    long long value = 0;
    for (; i < s.size() && isDigit(s[i]); ++i) {
        value = value * 10 + (s[i] - L'0');
        if (value > INT_MAX)
            value = INT_MAX + 1LL;
    }
    return value > INT_MAX ? INT_MAX : value;
}

bool digitsToEnd(const std::wstring& s, size_t i) {
    for (; i < s.size(); ++i) {
        if (!isDigit(s[i]))
            return false;
    }
    return true;
}

// The natural comparison, one position at a time, without shortcuts.
int literal(const std::wstring& a, const std::wstring& b) {
    if (a.empty() || b.empty())
        return a.empty() && b.empty() ? 0 : (a.empty() ? -1 : 1);
    if (a[0] == L'-' && b[0] != L'-')
        return -1;
    if (b[0] == L'-' && a[0] != L'-')
        return 1;
    if (a == b)
        return 0;
    int result = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        if (i >= b.size()) {
            result = 1;
            break;
        }
        const wchar_t ca = a[i];
        const wchar_t cb = b[i];
        if (!isDigit(ca) || !isDigit(cb)) {
            if (ca == cb)
                continue;
            result = static_cast<unsigned>(ca) < static_cast<unsigned>(cb) ? -1 : 1;
            break;
        }
        const long long va = readNumber(a, i);
        const long long vb = readNumber(b, i);
        if (va != vb) {
            result = va < vb ? -1 : 1;
            break;
        }
        result = 0;
        if (digitsToEnd(a, i) && digitsToEnd(b, i))
            break;
    }
    if (a[0] == L'-')
        return result == 1 ? -1 : 1;
    return result;
}

std::wstring widen(const uint8_t* data, size_t size) {
    std::wstring result;
    for (size_t i = 0; i < size; ++i) {
        // Mostly digits and a few letters, so that runs of digits meet.
        const uint8_t b = data[i];
        result.push_back(
            b < 160 ? static_cast<wchar_t>(L'0' + b % 10)
                    : (b < 250 ? static_cast<wchar_t>(L'a' + b % 3) : static_cast<wchar_t>(L'-')));
    }
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const size_t split = data[0] % (size);
    const std::wstring a = widen(data + 1, split);
    const std::wstring b = widen(data + 1 + split, size - 1 - split);
    const KelString ka(a.c_str());
    const KelString kb(b.c_str());
    const int ab = KelString::compareWithNumbers(ka, kb);
    if (ab < -1 || ab > 1)
        std::abort();
    if (KelString::compareWithNumbers(ka, ka) != 0)
        std::abort();
    if (ab != literal(a, b))
        std::abort();
    return 0;
}

// KelString three-way comparisons: ordinal, case-insensitive and natural
// (numbers inside the text compared by value).

#include <kel/KelString.h>

#include <climits>
#include <cwchar>
#include <cwctype>
#include <type_traits>

namespace {

using Unit = std::make_unsigned_t<wchar_t>;

int sign(long long difference) {
    return difference < 0 ? -1 : (difference > 0 ? 1 : 0);
}

// Ordinal comparison of at most `n` characters as unsigned values.
int ordinal(const wchar_t* a, const wchar_t* b, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const auto ca = static_cast<Unit>(a[i]);
        const auto cb = static_cast<Unit>(b[i]);
        if (ca != cb)
            return ca < cb ? -1 : 1;
        if (ca == 0)
            return 0;
    }
    return 0;
}

// As the runtime's _wcsicmp: both characters folded to lower case in the
// C library's current locale (so "_" sorts before letters).
int foldedCompare(const wchar_t* a, const wchar_t* b, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const auto ca = static_cast<Unit>(std::towlower(static_cast<wint_t>(a[i])));
        const auto cb = static_cast<Unit>(std::towlower(static_cast<wint_t>(b[i])));
        if (ca != cb)
            return ca < cb ? -1 : 1;
        if (ca == 0)
            return 0;
    }
    return 0;
}

// ----- natural order -------------------------------------------------------------

bool isDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// One text as the natural comparison walks it. At a position inside a run
// of digits it gives the value the runtime's _wtoi reads from there (the
// rest of the run, saturated at INT_MAX) without rescanning the run.
class DigitText {
public:
    explicit DigitText(const wchar_t* text) : m_text(text) {}

    // The end of the run of digits that contains position i.
    int runEnd(int i) {
        if (i >= m_runEnd || i < m_runStart) {
            m_runStart = i;
            m_runEnd = i;
            while (isDigit(m_text[m_runEnd]))
                ++m_runEnd;
            m_nonZero = i;
        }
        return m_runEnd;
    }

    // _wtoi of the text from position i, which holds a digit.
    long long valueAt(int i) {
        const int end = runEnd(i);
        if (m_nonZero < i)
            m_nonZero = i;
        while (m_nonZero < end && m_text[m_nonZero] == L'0')
            ++m_nonZero;
        if (end - m_nonZero > 10)
            return INT_MAX;
        long long value = 0;
        for (int k = m_nonZero; k < end; ++k)
            value = value * 10 + (m_text[k] - L'0');
        return value > INT_MAX ? INT_MAX : value;
    }

    // Whether everything from position i to the end is digits.
    bool digitsToEnd(int i) { return m_text[runEnd(i)] == L'\0'; }

private:
    const wchar_t* m_text;
    int m_runStart = 0;
    int m_runEnd = 0;
    int m_nonZero = 0;
};

// The walk of the natural comparison, position by position, over two non-empty
// texts; the result before negative texts are reversed. The ends of the texts are found
// by their terminators, so no length is counted beforehand.
int walk(const wchar_t* a, const wchar_t* b) {
    DigitText da(a);
    DigitText db(b);
    for (int i = 0; a[i] != L'\0'; ++i) {
        const wchar_t ca = a[i];
        const wchar_t cb = b[i];
        if (cb == L'\0')
            return 1;
        if (!isDigit(ca) || !isDigit(cb)) {
            if (ca == cb)
                continue;
            return static_cast<Unit>(ca) < static_cast<Unit>(cb) ? -1 : 1;
        }
        // A run of digits that is the same text in both gives equal numbers
        // at every one of its positions, so it is passed over at once; it
        // ends the walk with 0 when both texts end with it.
        int same = i;
        while (isDigit(a[same]) && a[same] == b[same])
            ++same;
        if (!isDigit(a[same]) && !isDigit(b[same])) {
            if (a[same] == L'\0' && b[same] == L'\0')
                return 0;
            i = same - 1;
            continue;
        }
        const long long va = da.valueAt(i);
        const long long vb = db.valueAt(i);
        if (va != vb)
            return va < vb ? -1 : 1;
        if (da.digitsToEnd(i) && db.digitsToEnd(i))
            return 0;
        // Deliberate: the walk moves on by one character, not over the whole
        // number, so the rest of the same run is compared again from the
        // next position ('a01' and 'a1' compare equal).
    }
    return 0;
}

}  // namespace

int KelString::compare(const KelString& a, const KelString& b) {
    return ordinal(a.getStringW(), b.getStringW(), static_cast<size_t>(-1));
}

// The count goes to the runtime's wcsncmp as a size_t, so a negative n
// becomes a count beyond any text and the whole texts are compared.
int KelString::compare(const KelString& a, const KelString& b, int n) {
    return ordinal(a.getStringW(), b.getStringW(), static_cast<size_t>(n));
}

int KelString::compareNoCase(const KelString& a, const KelString& b) {
    return foldedCompare(a.getStringW(), b.getStringW(), static_cast<size_t>(-1));
}

// As compare: a negative n compares the whole texts, as _wcsnicmp does
// with the count converted to a size_t.
int KelString::compareNoCase(const KelString& a, const KelString& b, int n) {
    return foldedCompare(a.getStringW(), b.getStringW(), static_cast<size_t>(n));
}

int KelString::compareWithNumbers(const KelString& a, const KelString& b) {
    const wchar_t* ta = a.getStringW();
    const wchar_t* tb = b.getStringW();
    if (ta[0] == L'\0' || tb[0] == L'\0')
        return sign(static_cast<long long>(ta[0] != L'\0') - (tb[0] != L'\0'));
    const bool negativeA = ta[0] == L'-';
    const bool negativeB = tb[0] == L'-';
    if (negativeA != negativeB)
        return negativeA ? -1 : 1;
    // Equal texts give 0. The walk gives 0 for them as well, so only two
    // negative texts, whose result is inverted, need the separate test.
    if (negativeA && a == b)
        return 0;
    const int result = walk(ta, tb);
    // Deliberate: two texts that both begin with "-" are in reverse order,
    // and never equal unless identical ('-5' sorts before '-3').
    if (negativeA)
        return result == 1 ? -1 : 1;
    return result;
}

int KelString::strCompare(const void* a, const void* b) {
    if (a == nullptr || b == nullptr)
        return 0;
    return compare(*static_cast<const KelString*>(a), *static_cast<const KelString*>(b));
}

int KelString::strCompareNoCase(const void* a, const void* b) {
    if (a == nullptr || b == nullptr)
        return 0;
    return compareNoCase(*static_cast<const KelString*>(a), *static_cast<const KelString*>(b));
}

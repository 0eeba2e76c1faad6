// KelString editing: concatenation, shifting, single characters, case,
// replacing, removing and trimming.
//
// An edit copies the text into the calling thread's wide scratch buffer,
// changes it there and assigns the buffer back, which gives the value a new
// representation. A text or result that does not fit the buffer is reported
// through the invalid-parameter handler, which leaves the buffer emptied, and
// that empty text is assigned: the value becomes empty.

#include <kel/KelString.h>

#include <cwchar>
#include <string>
#include <string_view>

#include "platform/code_page.h"
#include "platform/invalid_parameter.h"
#include "text/safe_runtime.h"
#include "text/scratch_text.h"

namespace {

using kel::detail::ScratchText;

constexpr size_t kScratch = static_cast<size_t>(KelString::kTempBufferSize);

// Copies `text` into the scratch buffer; false (reported) when it does not
// fit.
bool load(wchar_t* buffer, const wchar_t* text) {
    return kel::detail::copyString(buffer, kScratch, text) == 0;
}

// One byte of narrow text as a wide character, converted on its own.
wchar_t widenByte(char c) {
    wchar_t converted[5] = {};
    kel::detail::multiByteToWide(kel::detail::kCodePageAcp, &c, 1, converted, 5);
    return converted[0];
}

bool contains(const std::wstring_view& set, wchar_t c) {
    return set.find(c) != std::wstring_view::npos;
}

}  // namespace

// ----- concatenation and shifting -------------------------------------------------

KelString KelString::operator+(const KelString& other) const {
    KelString result;
    wchar_t* buffer = getTempBufferWide();
    if (load(buffer, getStringW()) &&
        kel::detail::appendString(buffer, kScratch, other.getStringW()) == 0) {
        result.assignCopy(buffer, static_cast<int>(std::wcslen(buffer)));
    }
    return result;
}

const KelString& KelString::operator+=(const KelString& other) {
    *this = *this + other;
    return *this;
}

KelString KelString::operator>>(int n) const {
    KelString result(*this);
    result >>= n;
    return result;
}

KelString& KelString::operator>>=(int n) {
    if (n < 1)
        return *this;
    const int size = length();
    // Dropping more than the whole text leaves nothing rather than reading
    // past its end.
    if (n >= size) {
        empty();
        return *this;
    }
    assignCopy(getStringW() + n, size - n);
    return *this;
}

// ----- single characters ------------------------------------------------------------

KelString& KelString::setAt(int i, const wchar_t& c) {
    const int size = length();
    // Writing inside the text, or a terminator right behind it; anything
    // else would reach beyond the characters.
    if (!KEL_VALIDATE(i >= 0 && (i < size || (i == size && c == L'\0'))))
        return *this;
    wchar_t* buffer = getTempBufferWide();
    if (!load(buffer, getStringW())) {
        empty();
        return *this;
    }
    buffer[i] = c;
    assignCopy(buffer, static_cast<int>(std::wcslen(buffer)));
    return *this;
}

KelString& KelString::setAt(int i, const char& c) {
    const wchar_t wide = widenByte(c);
    return setAt(i, wide);
}

KelString& KelString::setAt(int i, const unsigned short& c) {
    const wchar_t wide = static_cast<wchar_t>(c);
    return setAt(i, wide);
}

// ----- case ---------------------------------------------------------------------------

// A text that does not fit the buffer leaves it emptied, and the case
// change of the empty text is assigned.

KelString& KelString::toUpper() {
    wchar_t* buffer = getTempBufferWide();
    load(buffer, getStringW());
    kel::detail::upperString(buffer, kScratch);
    assignCopy(buffer, static_cast<int>(std::wcslen(buffer)));
    return *this;
}

KelString& KelString::toLower() {
    wchar_t* buffer = getTempBufferWide();
    load(buffer, getStringW());
    kel::detail::lowerString(buffer, kScratch);
    assignCopy(buffer, static_cast<int>(std::wcslen(buffer)));
    return *this;
}

// ----- replacing ------------------------------------------------------------------------

int KelString::replace(wchar_t from, wchar_t to) {
    wchar_t* buffer = getTempBufferWide();
    load(buffer, getStringW());  // a text that does not fit leaves it empty
    int count = 0;
    for (wchar_t* p = buffer; *p != L'\0'; ++p) {
        if (*p == from) {
            *p = to;
            ++count;
        }
    }
    // Deliberate: the value is reassigned even when nothing matched, so it
    // always ends with a representation of its own.
    assignCopy(buffer, static_cast<int>(std::wcslen(buffer)));
    return count;
}

int KelString::replace(char from, char to) {
    return replace(widenByte(from), widenByte(to));
}

int KelString::replace(unsigned short from, unsigned short to) {
    return replace(static_cast<wchar_t>(from), static_cast<wchar_t>(to));
}

int KelString::replace(const KelString& from, const KelString& to) {
    if (from.isEmpty())
        return 0;
    const std::wstring_view text(getStringW());
    const std::wstring_view pattern(from.getStringW());
    const std::wstring_view replacement(to.getStringW());
    ScratchText out(getTempBufferWide(), kScratch);
    int count = 0;
    size_t done = 0;
    // Non-overlapping, left to right; the search resumes behind each
    // occurrence in the old text, so a replacement is never searched again.
    for (size_t at = text.find(pattern); at != std::wstring_view::npos;
         at = text.find(pattern, done)) {
        ++count;
        out.append(text.data() + done, at - done);
        out.append(replacement.data(), replacement.size());
        done = at + pattern.size();
    }
    out.append(text.data() + done, text.size() - done);
    // A result that does not fit leaves the buffer emptied and the value
    // empty; the occurrences were counted all the same.
    assignCopy(out.data(), static_cast<int>(out.length()));
    return count;
}

KelString& KelString::replace(int pos, int count, const KelString& with) {
    if (count <= 0)
        return *this;
    const std::wstring_view text(getStringW());
    const long long size = static_cast<long long>(text.size());
    const long long end = static_cast<long long>(pos) + count;
    ScratchText out(getTempBufferWide(), kScratch);
    if (pos > 0)
        out.append(text.data(), static_cast<size_t>(pos < size ? pos : size));
    out.append(with.getStringW(), static_cast<size_t>(with.length()));
    if (end < size) {
        // right(size - end): the whole text when that reaches back past
        // its start.
        const long long keep = size - end < size ? size - end : size;
        out.append(text.data() + (size - keep), static_cast<size_t>(keep));
    }
    assignCopy(out.data(), static_cast<int>(out.length()));
    return *this;
}

// ----- removing ---------------------------------------------------------------------------

void KelString::removeAll(const wchar_t& c) {
    if (isEmpty() || c == L'\0')
        return;
    const std::wstring_view text(getStringW());
    if (text.find(c) == std::wstring_view::npos)
        return;  // nothing removed: the value keeps its representation
    std::wstring kept;
    kept.reserve(text.size());
    for (wchar_t ch : text) {
        if (ch != c)
            kept.push_back(ch);
    }
    assignCopy(kept.data(), static_cast<int>(kept.size()));
}

void KelString::removeAll(const char& c) {
    const wchar_t wide = widenByte(c);
    removeAll(wide);
}

void KelString::removeAll(const unsigned short& c) {
    const wchar_t wide = static_cast<wchar_t>(c);
    removeAll(wide);
}

// ----- trimming ---------------------------------------------------------------------------

namespace {

// Deliberate: carriage return is not trimmed by default, so a trailing
// "\r" of text read in binary mode stays visible to the caller.
const KelString& defaultTrimSet() {
    static const KelString set(L"\t\n ");
    return set;
}

}  // namespace

void KelString::StringToArr(const KelString& text, CharArray& chars) {
    const int size = text.length();
    // Room for all characters at once; the array's own growth rule still
    // applies to anything appended later.
    if (chars.physicalLength() < chars.length() + size)
        chars.setPhysicalLength(chars.length() + size);
    const wchar_t* p = text.getStringW();
    for (int i = 0; i < size; ++i)
        chars.append(p[i]);
}

void KelString::TrimLeft() {
    TrimLeft(defaultTrimSet());
}

void KelString::TrimRight() {
    TrimRight(defaultTrimSet());
}

void KelString::TrimLeft(const KelString& set) {
    if (isEmpty())
        return;
    CharArray setChars;
    CharArray chars;
    StringToArr(set, setChars);
    StringToArr(*this, chars);
    const std::wstring_view members(setChars.getData(), static_cast<size_t>(setChars.length()));
    const int size = static_cast<int>(chars.length());
    int first = 0;
    while (first < size && contains(members, chars[first]))
        ++first;
    if (first == size) {
        empty();
        return;
    }
    if (!KEL_VALIDATE(size - first < KelString::kTempBufferSize)) {
        empty();
        return;
    }
    *this = KelString(chars, first, size - 1);
}

void KelString::TrimRight(const KelString& set) {
    if (isEmpty())
        return;
    CharArray setChars;
    CharArray chars;
    StringToArr(set, setChars);
    StringToArr(*this, chars);
    const std::wstring_view members(setChars.getData(), static_cast<size_t>(setChars.length()));
    int last = static_cast<int>(chars.length()) - 1;
    while (last >= 0 && contains(members, chars[last]))
        --last;
    if (last < 0) {
        empty();
        return;
    }
    if (!KEL_VALIDATE(last + 1 < KelString::kTempBufferSize)) {
        empty();
        return;
    }
    *this = KelString(chars, 0, last);
}

// ----- other setters ------------------------------------------------------------------------

KelString KelString::setFromUnsignedShortString(const unsigned short* s) {
    *this = s;
    return *this;
}

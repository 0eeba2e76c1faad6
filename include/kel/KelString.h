/// @file KelString.h
/// The library's reference-counted wide string.
///
/// A KelString holds wide text in an immutable representation that its
/// copies share: copying, passing by value and assigning cost one pointer
/// and one count change, never a copy of the characters. Every change builds
/// a new representation. Narrow text is converted with the process's narrow
/// code page, characters it cannot represent becoming "?".
///
/// @code
///   KelString name(L"Beam");
///   KelString copy = name;                  // shares name's characters
///   copy.format(L"%s %d", name.getStringW(), 42);
///   const char* narrow = copy.getStringA(); // "Beam 42"
/// @endcode
///
/// Values and their copies belong to one thread at a time: reference counts
/// are not atomic. Most editing operations work in one of six per-thread
/// scratch buffers of 524,288 characters, which bounds the text they accept.

#ifndef KEL_KELSTRING_H
#define KEL_KELSTRING_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>
#include <kel/KelPlatformTypes.h>

#include <stdarg.h>
#include <time.h>

namespace kel::detail {
struct StringAccess;
union EmptyRepStorage;
}  // namespace kel::detail

class KelString;

/// KelString never holds pointers into itself, so arrays of it move their
/// elements by bytes.
template <>
struct KelArrayIsRelocatable<KelString> : std::true_type {};

/// The shared, immutable character storage of KelString values.
class KEL_API KelStringRepr {
    friend class KelString;
    friend union kel::detail::EmptyRepStorage;
    friend struct kel::detail::StringAccess;

    /// Takes ownership of `data` (length + 1 characters, zero-terminated).
    /// The count starts at 1.
    constexpr explicit KelStringRepr(wchar_t* data) : m_data(data), m_refCount(1) {}

    /// Overwrites the characters with zeros, then frees them.
    virtual ~KelStringRepr();

    KelStringRepr(const KelStringRepr&) = delete;
    KelStringRepr& operator=(const KelStringRepr&) = delete;

    wchar_t* m_data;
    int m_refCount;
};

/// @copydoc KelString.h
class KEL_API KelString {
public:
    /// The size of each per-thread scratch buffer, in characters (wide) or
    /// bytes (narrow), terminator included.
    static constexpr int kTempBufferSize = 524288;

    // ----- construction -------------------------------------------------

    /// The empty text.
    KelString();
    /// A copy of the text; null or "" gives the empty text.
    KelString(const wchar_t* text);
    /// The same for UTF-16 text typed as 16-bit units.
    KelString(const unsigned short* text);
    /// Narrow text in the narrow code page; null or "" gives the empty text.
    /// Text that converts to more than 524,287 characters gives the empty
    /// text with last error 122.
    KelString(const char* text);
    /// Shares the other's characters; the narrow cache is not copied.
    KelString(const KelString& other);
    /// Wipes and frees the narrow cache; releases the characters.
    ~KelString();

    // ----- assignment ----------------------------------------------------

    /// Shares the other's characters, as the copy does; this value's narrow
    /// cache is dropped.
    KelString& operator=(const KelString& other);
    /// A copy of wide text, UTF-16 text typed as 16-bit units, or narrow
    /// text in the narrow code page, as the constructors take them.
    /// `text` must not point into this value's own characters while this
    /// value is their only owner: they are released before the copy is made.
    KelString& operator=(const wchar_t* text);
    /// @copydoc operator=(const wchar_t*)
    KelString& operator=(const unsigned short* text);
    /// @copydoc operator=(const wchar_t*)
    KelString& operator=(const char* text);

    // ----- access --------------------------------------------------------

    /// The characters themselves, shared by all copies; valid until this
    /// value changes or dies. Never null.
    const wchar_t* getStringW() const;
    /// The text in the narrow code page, "?" for each character the code
    /// page lacks. Built on first call and kept until this value changes.
    const char* getStringA() const;
    /// Character i; no bounds check.
    const wchar_t& operator[](int i) const;
    /// The number of characters, counted on each call.
    int length() const;
    /// 1 for the empty text, else 0.
    int isEmpty() const;
    /// Makes the text empty.
    KelString& empty();

    /// Ordinal comparison of the characters as unsigned values: no locale,
    /// no case folding; a proper prefix sorts first ("B" < "a").
    bool operator==(const KelString& other) const;
    /// @copydoc operator==(const KelString&) const
    bool operator!=(const KelString& other) const;
    /// @copydoc operator==(const KelString&) const
    bool operator<(const KelString& other) const;
    /// @copydoc operator==(const KelString&) const
    bool operator>(const KelString& other) const;

    // ----- concatenation and shifting ------------------------------------
    /// @class KelString
    /// @par Editing members
    /// Editing members work in the calling thread's scratch buffer: a text
    /// or result of 524,288 characters or more is reported through the
    /// invalid-parameter handler, which leaves the buffer emptied, and the
    /// value becomes that empty text (a returned new value is empty too).

    /// The two texts joined; this value is unchanged.
    KelString operator+(const KelString& other) const;
    /// *this = *this + other.
    const KelString& operator+=(const KelString& other);
    /// A copy with the first n characters dropped (see operator>>=).
    KelString operator>>(int n) const;
    /// Drops the first n characters; n < 1 changes nothing, n at or beyond
    /// the length leaves the empty text.
    KelString& operator>>=(int n);

    /// Writes one character at position i; writing 0 cuts the text there.
    /// A position outside the text is reported and changes nothing. The
    /// narrow form converts the one byte on its own.
    KelString& setAt(int i, const wchar_t& c);
    /// @copydoc setAt(int, const wchar_t&)
    KelString& setAt(int i, const char& c);
    /// @copydoc setAt(int, const wchar_t&)
    KelString& setAt(int i, const unsigned short& c);

    // ----- case and content ----------------------------------------------

    /// Upper / lower case in the C library's current locale.
    KelString& toUpper();
    /// @copydoc toUpper
    KelString& toLower();
    /// True when every character is alphanumeric / alphabetic; true for the
    /// empty text.
    bool IsAlphaNumeric() const;
    /// @copydoc IsAlphaNumeric
    bool IsAlphabetic() const;
    /// True when every character is a digit; false for the empty text (the
    /// asymmetry with the two tests above is deliberate).
    bool IsNumeric() const;
    /// The characters in reverse order.
    KelString strRev() const;

    // ----- searching -----------------------------------------------------

    /// The first position of `what` at or after `start`, else -1; -1 also
    /// for start < 0 or start >= length. An empty `what` yields start.
    int find(const KelString& what, int start = 0) const;
    /// The last index of the byte c in the narrow text, scanning from index
    /// (wide length - 1) down; -1 when absent.
    int find_last_of(char c) const;
    /// The last index of the character c, else -1.
    int find_last_of(unsigned short c) const;

    // ----- replacing and removing ----------------------------------------

    /// Replaces every occurrence of one character; returns the count. The
    /// value always gets a fresh representation. The narrow form converts
    /// each byte on its own.
    int replace(wchar_t from, wchar_t to);
    /// @copydoc replace(wchar_t, wchar_t)
    int replace(char from, char to);
    /// @copydoc replace(wchar_t, wchar_t)
    int replace(unsigned short from, unsigned short to);
    /// Replaces every non-overlapping occurrence, left to right; returns the
    /// count. An empty `from` changes nothing and returns 0.
    int replace(const KelString& from, const KelString& to);
    /// Replaces `count` characters at `pos` by `with`; count <= 0 changes
    /// nothing.
    KelString& replace(int pos, int count, const KelString& with);

    /// Removes every occurrence of c (0 removes nothing). The narrow form
    /// converts the byte on its own.
    void removeAll(const wchar_t& c);
    /// @copydoc removeAll(const wchar_t&)
    void removeAll(const char& c);
    /// @copydoc removeAll(const wchar_t&)
    void removeAll(const unsigned short& c);

    // ----- cutting -------------------------------------------------------

    /// The first / last n characters; n < 0 gives the empty text, n beyond
    /// the length the whole text.
    KelString left(int n) const;
    /// @copydoc left
    KelString right(int n) const;
    /// min(length - start, count) characters from start; a start outside
    /// 0..length or a count <= 0 gives the empty text.
    KelString mid(int start, int count) const;
    /// The characters from start to the end, as mid(start, length - start).
    KelString mid(int start) const;
    /// Sets this value to `count` characters of `src` from `start` (empty
    /// when start < 0, count <= 0 or start >= src's length) and returns a
    /// copy of it.
    KelString copy(const KelString& src, int start, int count);
    /// The same up to the end of `src`, as copy(src, start, length - start).
    KelString copy(const KelString& src, int start);

    // ----- trimming ------------------------------------------------------

    /// Removes leading / trailing tab, line feed and space. Carriage return
    /// is deliberately not in the default set. With `set`, the characters
    /// of `set` are removed instead.
    void TrimLeft();
    /// @copydoc TrimLeft()
    void TrimLeft(const KelString& set);
    /// @copydoc TrimLeft()
    void TrimRight();
    /// @copydoc TrimLeft()
    void TrimRight(const KelString& set);

    // ----- paths ---------------------------------------------------------

    /// Splits into drive ("X:"), directory (with its trailing separator),
    /// file name and extension (with its dot); both separators count.
    void SplitPath(KelString& drive, KelString& dir, KelString& fname, KelString& ext) const;
    /// Joins the four parts into this value: the drive's first letter and
    /// ":", the directory with a "\" added when it ends without a separator,
    /// the name, the extension with a "." added when it lacks one. A path of
    /// 260 characters or more is reported and leaves the value empty.
    void MakePath(const KelString& drive, const KelString& dir, const KelString& fname,
                  const KelString& ext);

    // ----- numbers -------------------------------------------------------

    /// The leading number of the text, as the runtime's _wtoi, _wtoi64,
    /// _wtol and _wtof read it.
    int toInteger() const;
    /// @copydoc toInteger
    __int64 toIntPtr() const;
    /// @copydoc toInteger
    long toLong() const;
    /// @copydoc toInteger
    double toDouble() const;

    /// The value in the given radix (2 to 36, lower-case letters): a minus
    /// sign only in radix 10, the two's complement digits of the type in the
    /// others. A bad radix is reported and gives the empty text.
    static KelString integerToString(int value, int radix = 10);
    /// @copydoc integerToString
    static KelString longToString(long value, int radix = 10);
    /// The value with `digits` significant digits, as _gcvt_s writes it:
    /// decimal form when the exponent lies between -1 and digits - 1, else
    /// exponent form. A decimal point is written only when the digits leave
    /// room for a fraction digit; zeros ending the fraction are dropped, the
    /// point is kept ("-123456789012" for 12 digits of -123456789012.3, "1."
    /// for 5 digits of 1.0, "100" for 3 digits of 100.0). Empty for
    /// digits < 0 or >= 1024.
    static KelString doubleToString(double value, int digits);

    // ----- formatting and clock text -------------------------------------

    /// printf-style formatting with the Windows runtime's conventions: in a
    /// wide format %s takes wide text and %S narrow; in a narrow format the
    /// reverse. I64/I32/I size prefixes are accepted, "%05s" pads with zeros,
    /// "%#p" prefixes "0X", %n is refused. A result of 524,288 characters or
    /// more, or a format the runtime refuses, is reported through the
    /// invalid-parameter handler and leaves the value empty.
    KelString& format(const char* fmt, ...);
    /// @copydoc format
    KelString& format(const wchar_t* fmt, ...);
    /// For 16-bit clients: the format and its wide arguments are 16-bit units.
    KelString& format(const unsigned short* fmt, ...);
    /// format with the arguments in a va_list.
    KelString& vformat(const char* fmt, va_list args);
    /// @copydoc vformat(const char*, va_list)
    KelString& vformat(const wchar_t* fmt, va_list args);
    /// @copydoc vformat(const char*, va_list)
    KelString& vformat(const unsigned short* fmt, va_list args);

    /// strftime into maxSize characters, as the Windows runtime formats in
    /// the "C" locale on every system: %c is "02/29/24 13:05:09", %x
    /// "02/29/24", %X "13:05:09"; %#c and %#x give the long date ("Thursday,
    /// February 29, 2024"), %#d, %#H, %#D, ... drop leading zeros; %z is the
    /// offset from UTC ("-0800"), %Z the time zone's name. An empty result or
    /// one that does not fit gives the empty text; a maxSize of 0, an unknown
    /// directive (%E and %O modifiers included) or a field of `t` out of range
    /// where a directive reads it is also reported through the
    /// invalid-parameter handler.
    KelString& formatTime(unsigned __int64 maxSize, const char* fmt, const struct tm* t);

    /// The local time as "hh:mm:ss" and the local date as "mm/dd/yy".
    static KelString time();
    /// @copydoc time
    static KelString date();

    // ----- comparison ----------------------------------------------------

    /// Ordinal: -1, 0 or 1.
    static int compare(const KelString& a, const KelString& b);
    /// Over at most n characters; only the sign is significant. 0 when n is
    /// 0; a negative n compares the whole texts (the count is taken as a
    /// size_t, as wcsncmp takes it).
    static int compare(const KelString& a, const KelString& b, int n);
    /// Ignoring case: both characters folded to lower case.
    static int compareNoCase(const KelString& a, const KelString& b);
    /// Over at most n characters, ignoring case; n as in compare.
    static int compareNoCase(const KelString& a, const KelString& b, int n);
    /// Natural order, -1, 0 or 1: digits compare as the numbers they start
    /// ("file2" before "file10", "a01" equal to "a1"), a text beginning with
    /// "-" sorts before one that does not, two that both begin with "-" sort
    /// in reverse and are never equal unless identical, and a proper prefix
    /// on the left compares equal ("ab" against "abc" is 0, the reverse 1).
    static int compareWithNumbers(const KelString& a, const KelString& b);
    /// Sort and search callbacks over pointers to KelString values; a null
    /// pointer compares as equal to anything (0). strCompare compares as
    /// compare, strCompareNoCase as compareNoCase.
    static int strCompare(const void* a, const void* b);
    /// @copydoc strCompare
    static int strCompareNoCase(const void* a, const void* b);

    // ----- other setters -------------------------------------------------

    /// This value becomes `s` (null or empty gives the empty text); returns
    /// a copy of it.
    KelString setFromUnsignedShortString(const unsigned short* s);
    /// Decodes the "\M+" multibyte escape notation: "\M+" (tested as a bit
    /// mask), a selector digit and two hexadecimal byte pairs; the last
    /// selector picks the code page of the whole text (1: 932, 2: 950,
    /// 3: 949, 4: 1361, 5: 936, else the narrow code page). This value
    /// becomes the result; returns a copy of it.
    KelString setFromMIFString(const char* s);

    // ----- tokens --------------------------------------------------------

    /// Empties `tokens`, then appends the parts of `text` between delimiter
    /// characters; runs of delimiters give no empty tokens. `text` is not
    /// changed.
    static void getTokens(KelString& text,
                          KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
                                   KelArrayMemoryController<KelString>>& tokens,
                          const KelString& delimiters);
    /// The same, keeping quoted sections together: a quote character opens a
    /// section that runs to the same character (a doubled one stays doubled
    /// and does not close it) or the end; quotes stay in the tokens. An empty
    /// `quotes` is the form above.
    static void getTokens(KelString& text,
                          KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
                                   KelArrayMemoryController<KelString>>& tokens,
                          const KelString& delimiters, KelString quotes);

private:
    friend struct kel::detail::StringAccess;

    using CharArray = KelArray<wchar_t, KelArrayObjectCopyReallocator<wchar_t>,
                               KelArrayMemoryController<wchar_t>>;

    /// The characters first..last (inclusive) of a non-empty array; empty
    /// when the range lies outside it.
    KelString(const CharArray& chars, int first, int last);

    /// Drops this value's share of its representation.
    void ReleaseRep();
    /// Wipes and frees the narrow cache.
    void ReleaseCharCache();
    /// Makes this value hold a fresh copy of `length` characters of `text`.
    void assignCopy(const wchar_t* text, int length);
    /// Makes this value hold `rep` (whose count the caller already took).
    void adopt(KelStringRepr* rep);

    static void StringToArr(const KelString& text, CharArray& chars);

    // ----- per-thread scratch buffers ------------------------------------
    static void init();
    static bool findThreadId(unsigned long id, long& slot);
    static char* getTempBuffer();
    static wchar_t* getTempBufferWide();
    static void resetTempBuffer();
    static void resetTempBufferWide();

    /// The one representation of the empty text: created when the library
    /// is loaded, never counted on release, never freed.
    static KelStringRepr* m_repEmpty;
    /// Whether the scratch buffers exist yet.
    static bool m_bIsInitialized;

    KelStringRepr* m_rep;
    mutable char* m_charCache;
};

// Copying and destroying are the hot path of every value passed around, so
// they are inline: one count change, no call into the library unless the
// last share of the characters goes.

inline KelString::KelString(const KelString& other) : m_rep(other.m_rep), m_charCache(nullptr) {
    // The empty representation is shared by every thread and never
    // released, so its count is not kept.
    if (m_rep != m_repEmpty)
        ++m_rep->m_refCount;
}

inline KelString::~KelString() {
    if (m_rep != m_repEmpty && --m_rep->m_refCount < 1)
        delete m_rep;
    if (m_charCache != nullptr)
        ReleaseCharCache();
}

#endif  // KEL_KELSTRING_H

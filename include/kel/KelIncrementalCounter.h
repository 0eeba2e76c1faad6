/// @file KelIncrementalCounter.h
/// Odometer-style counters for part marks.
///
/// A counter steps a text position by position through a contiguous range
/// of character codes, jumping over listed characters and carrying into a
/// new leading position when the first position wraps:
///
/// @code
///   StructIncrementalCounter marks;
///   marks.startValue = L"A";
///   marks.firstSymbol = L"A";
///   marks.symbolCount = 26;
///   marks.skippedSymbols = L"IO";
///   marks.maxValues = -1;               // unlimited
///   KelIncrementalCounter counter;
///   counter.setDataFrom(marks);         // "A"
///   counter.increment();                // "B" ... "H", "J", ... "Z", "AA"
/// @endcode
///
/// Symbols are 16-bit code units on every system (UTF-16, as on Windows),
/// and their arithmetic wraps as 16-bit values. A counter belongs to one
/// thread at a time.

#ifndef KEL_KELINCREMENTALCOUNTER_H
#define KEL_KELINCREMENTALCOUNTER_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>
#include <kel/KelString.h>

#include <stddef.h>

/// The configuration of a counter, handed to KelIncrementalCounter::setDataFrom.
///
/// @see KelIncrementalCounter, whose example fills one.
struct KEL_API StructIncrementalCounter {
    /// Empty strings; tag -1, symbolCount 1 and maxValues 0, the values of
    /// an unconfigured counter.
    StructIncrementalCounter();

    int tag;                   ///< carried along, never read by the counter
    KelString label;           ///< carried along, never read by the counter
    KelString startValue;      ///< the value after reset, for example "A" or "1"
    KelString firstSymbol;     ///< its last character is the lowest symbol of a position
    int symbolCount;           ///< symbols per position, counted from firstSymbol
    KelString skippedSymbols;  ///< characters a position jumps over, for example "IO"
    int maxValues;             ///< values the counter may deliver, start included; -1 unlimited
    KelString remark;          ///< carried along, never read by the counter
};

/// @copydoc KelIncrementalCounter.h
class KEL_API KelIncrementalCounter {
public:
    /// The result of increment.
    enum eIncrementStatus : int {
        eIncremented = 0,   ///< the value stepped on
        eLimitReached = 1,  ///< maxValues reached: the value stayed
    };

    /// An unconfigured counter: tag -1, empty strings, symbolCount 1 and
    /// maxValues 0, so that every increment reports eLimitReached until
    /// setDataFrom has been called.
    KelIncrementalCounter();
    /// Copies of every field, the current digits included.
    KelIncrementalCounter(const KelIncrementalCounter& other) = default;
    /// @copydoc KelIncrementalCounter(const KelIncrementalCounter&)
    KelIncrementalCounter& operator=(const KelIncrementalCounter& other) = default;
    virtual ~KelIncrementalCounter();

    /// Takes all eight fields, decides whether the counter is numeric (start
    /// value and first symbol made of decimal digits only; empty counts as
    /// digits), then resets. Returns 1.
    int setDataFrom(const StructIncrementalCounter& data);

    /// Back to the start value; the increment count starts again at 0.
    void reset();

    /// Counts the call, then, unless the limit is reached (maxValues not -1
    /// and the calls since the last reset at least maxValues), steps the
    /// value on. When the first position carries, a new leading position is
    /// added, which in a numeric counter never starts with '0'. At the limit
    /// the value stays and eLimitReached is returned.
    eIncrementStatus increment();

    /// The current value.
    KelString getCounterString();
    /// Makes `value` the current value; the increment count is not touched.
    void setCounterString(const KelString& value);

protected:
    /// Steps one position: the next symbol not in `skipped` (while inside the
    /// range). When it reaches exactly symbolCount symbols above the first
    /// symbol it wraps, to '0' in a numeric counter and to the first symbol
    /// otherwise, with `carry` set to 1; else `carry` is 0. A symbol already
    /// beyond the range keeps climbing: the test is for equality on purpose.
    /// Symbols are taken and returned as 16-bit code units.
    wchar_t incrementAtPosition(wchar_t symbol, const KelString& skipped, int& carry);
    /// The lowest symbol of a position: the last code unit of firstSymbol
    /// (0 when it is empty).
    wchar_t initChar();

private:
    typedef KelArray<unsigned short, KelArrayMemCopyReallocator<unsigned short>,
                     KelArrayMemoryController<unsigned short>>
        DigitArray;

    /// stepSymbol is incrementAtPosition on 16-bit units, with the skip list
    /// already converted to them.
    unsigned short stepSymbol(unsigned short symbol, const unsigned short* skipped,
                              size_t skippedLength, int& carry) const;
    unsigned short firstUnit() const;
    void setDigits(const KelString& value);
    void addLeadingPosition(const unsigned short* skipped, size_t skippedLength);

    int m_tag;
    KelString m_label;
    KelString m_startValue;
    KelString m_firstSymbol;
    int m_symbolCount;
    KelString m_skippedSymbols;
    int m_maxValues;
    KelString m_remark;
    int m_numeric;
    KelString m_counterString;
    DigitArray m_digits;  ///< the value as 16-bit units; grows in steps of 8
    int m_incrementCount;
};

#endif  // KEL_KELINCREMENTALCOUNTER_H

/// @file KelNumberCreator.h
/// Running numbers with a prefix and a suffix.
///
/// Each getNextNumber hands out prefix + current value + suffix and then
/// steps the current value on in a range of symbols (digits or letters),
/// jumping over listed characters:
///
/// @code
///   StructNumberingDataRange range;
///   range.firstSymbol = L"1";
///   range.symbolCount = 10;
///   range.startValue = L"1";
///   KelNumberCreator numbers(KelNumberCreator::eDecimal, L"P");
///   numbers.overrideDataRange(range, KelNumberCreator::eDecimal);  // type unchanged: 2
///   numbers.reinit();
///   numbers.getNextNumber();            // "P1", then "P2", ... "P9", "P10"
/// @endcode
///
/// Symbols are 16-bit code units on every system (UTF-16, as on Windows).
/// A creator belongs to one thread at a time.

#ifndef KEL_KELNUMBERCREATOR_H
#define KEL_KELNUMBERCREATOR_H

#include <kel/KelExport.h>
#include <kel/KelString.h>

/// The symbol range of a number creator.
///
/// @see KelNumberCreator, whose example fills one.
struct KEL_API StructNumberingDataRange {
    /// Empty strings, rangeTag and symbolCount 0.
    StructNumberingDataRange();

    int rangeTag;              ///< kept, never read by the creator
    KelString rangeName;       ///< kept, never read by the creator
    KelString firstSymbol;     ///< its first character is the lowest symbol of a position
    int symbolCount;           ///< symbols per position, counted from firstSymbol
    KelString startValue;      ///< the value overrideDataRange and reinit start from
    KelString rangeNote;       ///< kept, never read by the creator
    KelString skippedSymbols;  ///< characters a position jumps over
};

/// @copydoc KelNumberCreator.h
class KEL_API KelNumberCreator {
public:
    /// The numbering type. Only eDecimal (3) behaves differently: its digits
    /// roll over at multiples of ten and a new leading digit is never '0'.
    /// Every other 32-bit value is accepted, carried for the host, and steps
    /// through the range plainly, as eNumberingSymbols (0, the default) does.
    enum eNumberingType : int {
        eNumberingSymbols = 0,
        eDecimal = 3,
    };

    /// Results of the setters: applied, or nothing changed (the value equals
    /// the present one, or it was rejected).
    enum SetCodeTag : int {
        eCodeSet = 0,
        eCodeUnchanged = 2,
    };

    /// Type 0, every string empty, an empty range.
    KelNumberCreator();
    /// The given type and prefix, everything else empty.
    KelNumberCreator(eNumberingType type, const KelString& prefix);
    /// Copies only the type, prefix, start, current value and suffix; the
    /// copy's range stays empty. Deliberately partial: host code copies
    /// creators to share the sequence state, not the range.
    KelNumberCreator(const KelNumberCreator& other);
    /// The same five fields; this creator's range stays as it is.
    /// Assignment to itself does nothing.
    KelNumberCreator& operator=(const KelNumberCreator& other);
    virtual ~KelNumberCreator();

    /// eCodeUnchanged for the present type. Otherwise takes the type, makes
    /// the whole firstSymbol of the range the start and the current value,
    /// and returns eCodeSet.
    SetCodeTag setNumberingType(eNumberingType type);
    /// eCodeUnchanged when equal (exactly, case-sensitively) to the present
    /// text; otherwise stores it and returns eCodeSet.
    SetCodeTag setNumberingPrefix(const KelString& prefix);
    /// The suffix; the spelling with one f is the interface's own.
    SetCodeTag setNumberingSufix(const KelString& suffix);

    /// The prefix, the suffix and the start, as stored.
    const KelString& getNumberingPrefix() const;
    /// @copydoc getNumberingPrefix
    const KelString& getNumberingSufix() const;
    /// @copydoc getNumberingPrefix
    const KelString& getNumberingStart() const;

    /// eCodeUnchanged when a character of `value` lies outside the range;
    /// otherwise `value` becomes the start (the current value is not
    /// changed until reset) and eCodeSet is returned.
    SetCodeTag setNumberingStart(const KelString& value);

    /// Always takes the range first. Then eCodeUnchanged for the present
    /// type; otherwise takes the type, starts again at the range's start
    /// value and returns eCodeSet.
    SetCodeTag overrideDataRange(const StructNumberingDataRange& range, eNumberingType type);

    /// The current value goes back to the start.
    void reset();
    /// The start becomes the range's start value, and so does the current value.
    void reinit();

    /// prefix + the current value + suffix; the current value then steps on.
    /// The first call after reset returns the start itself.
    KelString getNextNumber();

protected:
    /// 1 when every character c of `value` lies in first <= c < first +
    /// symbolCount (first being the first character of firstSymbol); the
    /// empty value passes. Else 0.
    int checkNumber(const KelString& value) const;

private:
    /// Steps one position from `symbol`: the next symbol, rolling over (with
    /// `carry`) at the end of the range, jumping over skipped symbols.
    unsigned short stepPosition(unsigned short symbol, unsigned short first, int base,
                                const unsigned short* skipped, size_t skippedLength,
                                bool& carry) const;

    eNumberingType m_type;
    KelString m_prefix;
    KelString m_suffix;
    KelString m_start;
    StructNumberingDataRange m_range;
    KelString m_current;
};

#endif  // KEL_KELNUMBERCREATOR_H
